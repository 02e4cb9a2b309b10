#include "hub/tokenizers/Decoder.h"

#include "base/Text.h"
#include "hub/tokenizers/ByteLetters.h"
#include "hub/tokenizers/Metaspace.h"
#include "hub/tokenizers/Steps.h"

#include <charconv>
#include <optional>
#include <utility>

namespace fenlo::hub {

namespace {

constexpr int largestCount = 1'000'000;

/// A character may be spread over pieces, so their bytes are joined first.
void decodeByteLetters(std::vector<std::string>& pieces) {
    std::string bytes;
    for (const std::string& piece : pieces)
        bytes += fromByteLetters(piece);
    pieces.assign(1, text::repairUtf8(bytes));
}

/// The byte that a piece such as "<0x0A>" stands for.
std::optional<char> byteOf(const std::string& piece) {
    if (piece.size() != 6 || !piece.starts_with("<0x") || !piece.ends_with('>'))
        return std::nullopt;
    unsigned byte = 0;
    const char* end = piece.data() + 5;
    if (std::from_chars(piece.data() + 3, end, byte, 16).ptr != end)
        return std::nullopt;
    return static_cast<char>(byte);
}

void decodeByteFallback(std::vector<std::string>& pieces) {
    std::vector<std::string> out;
    std::string bytes;
    const auto endBytes = [&] {
        if (bytes.empty())
            return;
        if (text::repairUtf8(bytes) == bytes)
            out.push_back(bytes);
        else // in a run that is not UTF-8 each byte is shown as unreadable
            out.insert(out.end(), bytes.size(), "\uFFFD");
        bytes.clear();
    };
    for (std::string& piece : pieces) {
        if (const std::optional<char> byte = byteOf(piece)) {
            bytes += *byte;
        } else {
            endBytes();
            out.push_back(std::move(piece));
        }
    }
    endBytes();
    pieces = std::move(out);
}

/// Takes up to `start` and `stop` times `content` off the ends of the piece.
std::string strip(std::string_view piece, std::string_view content, int start, int stop) {
    for (; start > 0 && piece.starts_with(content); --start)
        piece.remove_prefix(content.size());
    for (; stop > 0 && piece.ends_with(content); --stop)
        piece.remove_suffix(content.size());
    return std::string(piece);
}

using Pieces = std::vector<std::string>;
using JoinStep = std::function<void(Pieces& pieces)>;
using JoinSteps = std::vector<JoinStep>;

void addByteDecoding(const JsonNode&, JoinSteps& steps) {
    steps.emplace_back(decodeByteLetters);
}

void addByteFallback(const JsonNode&, JoinSteps& steps) {
    steps.emplace_back(decodeByteFallback);
}

void addFuse(const JsonNode&, JoinSteps& steps) {
    steps.emplace_back([](Pieces& pieces) { pieces.assign(1, text::join(pieces, "")); });
}

void addPieceStrip(const JsonNode& node, JoinSteps& steps) {
    const std::string content = shortText(node.member("content"));
    if (content.empty())
        node.member("content").fail("is empty");
    const int start = node.member("start").integer(largestCount);
    const int stop = node.member("stop").integer(largestCount);
    steps.emplace_back([content, start, stop](Pieces& pieces) {
        for (std::string& piece : pieces)
            piece = strip(piece, content, start, stop);
    });
}

void addBlankDecoding(const JsonNode& node, JoinSteps& steps) {
    steps.emplace_back([metaspace = Metaspace::read(node)](Pieces& pieces) {
        if (!pieces.empty() && metaspace.scheme != Metaspace::Prepend::never)
            pieces.front() = strip(pieces.front(), metaspace.blank, 1, 0);
        for (std::string& piece : pieces)
            piece = text::replaceAll(piece, metaspace.blank, " ");
    });
}

} // namespace

Decoder Decoder::read(const JsonNode& node) {
    Decoder decoder;
    double growth = 1;
    const auto addReplace = [&growth](const JsonNode& step, JoinSteps& steps) {
        steps.emplace_back([replace = readReplacement(step, growth)](Pieces& pieces) {
            for (std::string& piece : pieces)
                piece = replace(piece);
        });
    };
    readSteps<JoinStep>(node, "decoders",
                        {{"ByteLevel", {"add_prefix_space", "trim_offsets", "use_regex"}, addByteDecoding},
                         {"ByteFallback", {}, addByteFallback},
                         {"Fuse", {}, addFuse},
                         {"Replace", {"pattern", "content"}, addReplace},
                         {"Strip", {"content", "start", "stop"}, addPieceStrip},
                         {"Metaspace", Metaspace::settings, addBlankDecoding}},
                        decoder.m_steps);
    if (node.isNull())
        decoder.m_separator = " ";
    return decoder;
}

std::string Decoder::apply(std::vector<std::string> pieces) const {
    for (const Step& step : m_steps)
        step(pieces);
    return text::join(pieces, m_separator);
}

} // namespace fenlo::hub
