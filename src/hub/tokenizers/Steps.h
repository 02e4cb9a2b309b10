#pragma once

#include "hub/tokenizers/JsonNode.h"

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

/// What the steps of normalizers, pre-tokenizers and decoders have in common.
namespace fenlo::hub {

/// Refuses more than 64 steps. Together with the limit on texts this bounds the work that a hostile file can cause.
void requireRoomForStep(const JsonNode& node, std::size_t stepsSoFar);

/// A type of step in the file.
template <typename Step>
struct StepType {
    std::string_view name;
    std::vector<std::string_view> settings;                        // its members
    std::function<void(const JsonNode&, std::vector<Step>&)> read; // appends its steps
};

/// Appends the steps of a node: none for null, all of a "Sequence", whose items are in its member `list`, or those of
/// one of the types.
/// Errors: TokenizerError for other types and other settings.
template <typename Step>
void readSteps(const JsonNode& node, const std::string& list, const std::vector<StepType<Step>>& types,
               std::vector<Step>& steps) {
    if (node.isNull())
        return;
    requireRoomForStep(node, steps.size());
    const std::string name = node.type();
    if (name == "Sequence") {
        node.allowOnly({"type", list});
        for (const JsonNode& item : node.member(list).items())
            readSteps(item, list, types, steps);
        return;
    }
    for (const StepType<Step>& type : types)
        if (type.name == name) {
            std::vector<std::string_view> members = type.settings;
            members.emplace_back("type");
            node.allowOnly(members);
            return type.read(node, steps);
        }
    node.refuseType();
}

/// A text of at most 256 bytes.
std::string shortText(const JsonNode& node);

/// The settings "pattern" and "content" of the step "Replace". `growth` is how many times longer the steps so far can
/// make a text, and is updated; a file that makes text more than 256 times longer is refused.
std::function<std::string(const std::string&)> readReplacement(const JsonNode& node, double& growth);

/// The other end, in bytes, of the white space that begins at `begin` or ends at `end`. `text` is valid UTF-8.
std::size_t blanksEnd(std::string_view text, std::size_t begin);
std::size_t blanksBegin(std::string_view text, std::size_t end);

/// Whether the character that begins at `begin`, or ends at `end`, belongs to a word; false outside the text.
bool isWordAt(std::string_view text, std::size_t begin);
bool isWordBefore(std::string_view text, std::size_t end);

} // namespace fenlo::hub
