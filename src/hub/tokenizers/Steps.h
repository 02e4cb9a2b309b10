#pragma once

#include "hub/tokenizers/JsonNode.h"

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

/// What the steps of normalizers, pre-tokenizers and decoders have in common.
namespace fenlo::hub {

/// Refuses a pipeline of more than 64 steps: with texts of bounded length it keeps a hostile file from making work
/// without end.
void requireRoomForStep(const JsonNode& node, std::size_t stepsSoFar);

/// A text of at most 256 bytes.
std::string shortText(const JsonNode& node);

/// The step "Replace". `growth` is how many times longer the steps so far can make a text, and takes this one in; a
/// file whose steps would make text grow without measure is refused.
std::function<std::string(const std::string&)> readReplacement(const JsonNode& node, double& growth);

/// Where the white space that begins at `begin`, or ends at `end`, has its other end. Bytes; `text` is valid UTF-8.
std::size_t blanksEnd(std::string_view text, std::size_t begin);
std::size_t blanksBegin(std::string_view text, std::size_t end);

/// Whether the character that begins, or ends, there belongs to a word; false at the ends of the text.
bool isWordAt(std::string_view text, std::size_t begin);
bool isWordBefore(std::string_view text, std::size_t end);

} // namespace fenlo::hub
