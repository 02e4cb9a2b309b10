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

/// Characters may be spread over pieces, so the bytes of all of them are put together before they are looked at.
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
        else // each byte of a run that is no text is unreadable by itself
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

} // namespace

Decoder Decoder::read(const JsonNode& node) {
    Decoder decoder;
    decoder.add(node);
    if (node.isNull())
        decoder.m_separator = " ";
    return decoder;
}

void Decoder::add(const JsonNode& node) {
    if (node.isNull())
        return;
    requireRoomForStep(node, m_steps.size());
    const std::string type = node.type();
    if (type == "Sequence") {
        node.allowOnly({"type", "decoders"});
        for (const JsonNode& item : node.member("decoders").items())
            add(item);
    } else if (type == "ByteLevel") {
        node.allowOnly({"type", "add_prefix_space", "trim_offsets", "use_regex"});
        m_steps.emplace_back(decodeByteLetters);
    } else if (type == "ByteFallback") {
        node.allowOnly({"type"});
        m_steps.emplace_back(decodeByteFallback);
    } else if (type == "Fuse") {
        node.allowOnly({"type"});
        m_steps.emplace_back([](std::vector<std::string>& pieces) { pieces.assign(1, text::join(pieces, "")); });
    } else if (type == "Replace") {
        m_steps.emplace_back([replace = readReplacement(node, m_growth)](std::vector<std::string>& pieces) {
            for (std::string& piece : pieces)
                piece = replace(piece);
        });
    } else if (type == "Strip") {
        node.allowOnly({"type", "content", "start", "stop"});
        const std::string content = shortText(node.member("content"));
        if (content.empty())
            node.member("content").fail("is empty");
        m_steps.emplace_back([content, start = node.member("start").integer(largestCount),
                              stop = node.member("stop").integer(largestCount)](std::vector<std::string>& pieces) {
            for (std::string& piece : pieces)
                piece = strip(piece, content, start, stop);
        });
    } else if (type == "Metaspace") {
        m_steps.emplace_back([metaspace = Metaspace::read(node)](std::vector<std::string>& pieces) {
            if (!pieces.empty() && metaspace.scheme != Metaspace::Prepend::never)
                pieces.front() = strip(pieces.front(), metaspace.blank, 1, 0);
            for (std::string& piece : pieces)
                piece = text::replaceAll(piece, metaspace.blank, " ");
        });
    } else {
        node.refuseType();
    }
}

std::string Decoder::apply(std::vector<std::string> pieces) const {
    for (const Step& step : m_steps)
        step(pieces);
    return text::join(pieces, m_separator);
}

} // namespace fenlo::hub
