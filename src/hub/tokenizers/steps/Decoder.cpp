#include "hub/tokenizers/steps/Decoder.h"

#include "base/Text.h"
#include "hub/tokenizers/steps/ByteLetters.h"
#include "hub/tokenizers/steps/Metaspace.h"
#include "hub/tokenizers/steps/Steps.h"

#include <algorithm>
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
using JoinSteps = StepList<JoinStep>;

/// Changes each piece by itself.
template <typename Change>
void addPieceStep(JoinSteps& list, Change change) {
    list.steps.emplace_back([change = std::move(change)](Pieces& pieces) {
        for (std::string& piece : pieces)
            piece = change(piece);
    });
}

/// The published list of places where written English has no blank.
std::string withoutOddBlanks(std::string text) {
    static constexpr std::pair<std::string_view, std::string_view> places[]{
        {" .", "."},   {" ?", "?"},           {" !", "!"},   {" ,", ","},     {" ' ", "'"},   {" n't", "n't"},
        {" 'm", "'m"}, {" do not", " don't"}, {" 's", "'s"}, {" 've", "'ve"}, {" 're", "'re"}};
    for (const auto& [odd, right] : places)
        if (text.find(odd) != std::string::npos)
            text = text::replaceAll(text, odd, right);
    return text;
}

void addByteDecoding(const JsonNode&, JoinSteps& list) {
    list.steps.emplace_back(decodeByteLetters);
}

void addByteFallback(const JsonNode&, JoinSteps& list) {
    list.steps.emplace_back(decodeByteFallback);
}

void addSuffixDecoding(const JsonNode& node, JoinSteps& list) {
    list.steps.emplace_back([suffix = filledText(node.member("suffix"))](Pieces& pieces) {
        for (std::size_t i = 0; i < pieces.size(); ++i)
            pieces[i] = text::replaceAll(pieces[i], suffix, i + 1 < pieces.size() ? " " : "");
    });
}

void addCtc(const JsonNode& node, JoinSteps& list) {
    const std::string nothing = filledText(node.member("pad_token"));
    const std::string delimiter = filledText(node.member("word_delimiter_token"));
    const bool cleans = node.member("cleanup").boolean(true);
    list.steps.emplace_back(
        [](Pieces& pieces) { pieces.erase(std::unique(pieces.begin(), pieces.end()), pieces.end()); });
    addPieceStep(list, [=](const std::string& piece) {
        const std::string text = text::replaceAll(piece, nothing, "");
        return cleans ? text::replaceAll(withoutOddBlanks(text), delimiter, " ") : text;
    });
    list.steps.emplace_back([](Pieces& pieces) { std::erase(pieces, ""); });
}

void addFuse(const JsonNode&, JoinSteps& list) {
    list.steps.emplace_back([](Pieces& pieces) { pieces.assign(1, text::join(pieces, "")); });
}

void addReplace(const JsonNode& node, JoinSteps& list) {
    addPieceStep(list, [replacement = Replacement::read(node, list.limits)](std::string& piece) {
        return replacement.applied(std::move(piece));
    });
}

void addPieceStrip(const JsonNode& node, JoinSteps& list) {
    const std::string content = filledText(node.member("content"));
    const int start = node.member("start").integer(largestCount);
    const int stop = node.member("stop").integer(largestCount);
    addPieceStep(list, [=](const std::string& piece) { return strip(piece, content, start, stop); });
}

void addBlankDecoding(const JsonNode& node, JoinSteps& list) {
    list.steps.emplace_back([metaspace = Metaspace::read(node)](Pieces& pieces) {
        if (!pieces.empty() && metaspace.scheme != Metaspace::Prepend::never)
            pieces.front() = strip(pieces.front(), metaspace.blank, 1, 0);
        for (std::string& piece : pieces)
            piece = text::replaceAll(piece, metaspace.blank, " ");
    });
}

void addWordPieces(const JsonNode& node, JoinSteps& list) {
    list.steps.emplace_back([prefix = shortText(node.member("prefix"))](Pieces& pieces) {
        for (std::size_t i = 1; i < pieces.size(); ++i)
            pieces[i] = pieces[i].starts_with(prefix) ? pieces[i].substr(prefix.size()) : " " + pieces[i];
    });
    if (node.member("cleanup").boolean(true))
        addPieceStep(list, withoutOddBlanks);
}

} // namespace

Decoder Decoder::read(const JsonNode& node) {
    JoinSteps list;
    readSteps<JoinStep>(node, "decoders",
                        {{"BPEDecoder", {"suffix"}, addSuffixDecoding},
                         {"ByteFallback", {}, addByteFallback},
                         {"ByteLevel", byteLevelSettings, addByteDecoding},
                         {"CTC", {"pad_token", "word_delimiter_token", "cleanup"}, addCtc},
                         {"Fuse", {}, addFuse},
                         {"Metaspace", Metaspace::settings, addBlankDecoding},
                         {"Replace", {"pattern", "content"}, addReplace},
                         {"Strip", {"content", "start", "stop"}, addPieceStrip},
                         {"WordPiece", {"prefix", "cleanup"}, addWordPieces}},
                        list);
    Decoder decoder;
    decoder.m_steps = std::move(list.steps);
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
