#include "WhisperEngine/Output/TranscriptWriter.h"

#include "base/Text.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <nlohmann/json.hpp>

namespace fenlo::whisper {

namespace {

using Json = nlohmann::ordered_json;

constexpr long latest = 100L * 3600 * 1000 - 1; // milliseconds: subtitles have two digits for the hours
constexpr int samplesPerFrame = 160;            // 10 ms at 16 kHz, the unit of "seek"

long milliseconds(float seconds) {
    const double value = std::round(static_cast<double>(seconds) * 1000);
    if (!(value > 0)) // also where it is no number
        return 0;
    return value < latest ? static_cast<long>(value) : latest;
}

struct Span {
    long start = 0; // milliseconds
    long end = 0;   // not before the start
};

Span spanOf(float start, float end) {
    const long begin = milliseconds(start);
    return {begin, std::max(begin, milliseconds(end))};
}

/// Valid UTF-8 without markers such as "<|0.00|>".
std::string cleaned(const std::string& text) {
    std::string clean = text::repairUtf8(text);
    for (std::size_t open = 0; (open = clean.find("<|", open)) != clean.npos;) {
        const std::size_t close = clean.find("|>", open + 2);
        if (close == clean.npos)
            break;
        clean.erase(open, close + 2 - open);
    }
    return clean;
}

/// Line ends, tabs and other control characters as blanks.
std::string onOneLine(const std::string& text) {
    std::string line = cleaned(text);
    for (const char* lineEnd : {"\u0085", "\u2028", "\u2029"})
        line = text::replaceAll(line, lineEnd, " ");
    for (char& c : line)
        if (static_cast<unsigned char>(c) < ' ' || c == 0x7F)
            c = ' ';
    return line;
}

std::string trimmedLine(const std::string& text) {
    return text::trimWhitespaceAndNewlines(onOneLine(text));
}

std::string clockTime(long time, char point) {
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%02ld:%02ld:%02ld%c%03ld", time / 3'600'000, time / 60'000 % 60,
                  time / 1000 % 60, point, time % 1000);
    return text.data();
}

/// A cue lasts a millisecond at least, as players pass over empty ones.
std::string cueTimes(Span span, char point) {
    const long start = std::min(span.start, latest - 1);
    return clockTime(start, point) + " --> " + clockTime(std::max(span.end, start + 1), point) + "\n";
}

std::string escapedForVtt(const std::string& text) {
    return text::replaceAll(text::replaceAll(text::replaceAll(text, "&", "&amp;"), "<", "&lt;"), ">", "&gt;");
}

/// SubRip has no escapes; an arrow in the text would look like a line of times.
std::string withoutArrows(std::string text) {
    while (text.find("-->") != text.npos)
        text = text::replaceAll(text, "-->", "->");
    return text;
}

/// The words with the times at which they begin, which rise within the cue.
std::string timedWords(const std::vector<WordTiming>& words, Span cue) {
    std::string text;
    long last = cue.start;
    for (const WordTiming& word : words) {
        const long start = milliseconds(word.start);
        if (start > last && start < cue.end) {
            text += "<" + clockTime(start, '.') + ">";
            last = start;
        }
        text += escapedForVtt(onOneLine(word.word));
    }
    return text::trimWhitespaceAndNewlines(text);
}

std::string vttText(const TranscriptionSegment& segment, Span span) {
    if (segment.words && !segment.words->empty())
        return timedWords(*segment.words, span);
    return escapedForVtt(trimmedLine(segment.text));
}

/// Calls `use` with each segment that has a text, its span and that text on one line.
template <typename Use>
void eachLine(std::span<const TranscriptionResult> results, Use use) {
    for (const TranscriptionResult& result : results)
        for (const TranscriptionSegment& segment : result.segments)
            if (const std::string line = trimmedLine(segment.text); !line.empty())
                use(segment, spanOf(segment.start, segment.end), line);
}

std::string plainText(std::span<const TranscriptionResult> results) {
    std::string text;
    for (const TranscriptionResult& result : results) {
        eachLine({&result, 1},
                 [&](const TranscriptionSegment&, Span, const std::string& line) { text += line + "\n"; });
        if (const std::string line = trimmedLine(result.text); result.segments.empty() && !line.empty())
            text += line + "\n";
    }
    return text;
}

std::string subRip(std::span<const TranscriptionResult> results) {
    std::string text;
    int number = 0;
    eachLine(results, [&](const TranscriptionSegment&, Span span, const std::string& line) {
        text += std::to_string(++number) + "\n" + cueTimes(span, ',') + withoutArrows(line) + "\n\n";
    });
    return text;
}

std::string webVtt(std::span<const TranscriptionResult> results) {
    std::string text = "WEBVTT\n\n";
    eachLine(results, [&](const TranscriptionSegment& segment, Span span, const std::string&) {
        text += cueTimes(span, '.') + vttText(segment, span) + "\n\n";
    });
    return text;
}

std::string separatedByTabs(std::span<const TranscriptionResult> results) {
    std::string text = "start\tend\ttext\n";
    eachLine(results, [&](const TranscriptionSegment&, Span span, const std::string& line) {
        text += std::to_string(span.start) + "\t" + std::to_string(span.end) + "\t" + line + "\n";
    });
    return text;
}

/// A measure without the noise that a 32-bit float has in decimals; null where it is no number.
Json number(float value) {
    return std::isfinite(value) ? Json(std::round(static_cast<double>(value) * 1e6) / 1e6) : Json();
}

Json seconds(long time) {
    return static_cast<double>(time) / 1000;
}

Json jsonOf(const WordTiming& word) {
    const Span span = spanOf(word.start, word.end);
    return {{"word", cleaned(word.word)},
            {"start", seconds(span.start)},
            {"end", seconds(span.end)},
            {"probability", number(word.probability)}};
}

Json jsonOf(const TranscriptionSegment& segment, std::size_t id) {
    const Span span = spanOf(segment.start, segment.end);
    Json json{{"id", id},
              {"seek", std::max(segment.seek, 0) / samplesPerFrame},
              {"start", seconds(span.start)},
              {"end", seconds(span.end)},
              {"text", cleaned(segment.text)},
              {"tokens", segment.tokens},
              {"temperature", number(segment.temperature)},
              {"avg_logprob", number(segment.avgLogprob)},
              {"compression_ratio", number(segment.compressionRatio)},
              {"no_speech_prob", number(segment.noSpeechProb)}};
    if (segment.speechWithoutText)
        json["speech_without_text"] = true;
    if (segment.words) {
        Json words = Json::array();
        for (const WordTiming& word : *segment.words)
            words.push_back(jsonOf(word));
        json["words"] = std::move(words);
    }
    return json;
}

std::string json(std::span<const TranscriptionResult> results) {
    std::vector<std::string> texts;
    std::string language;
    Json segments = Json::array();
    for (const TranscriptionResult& result : results) {
        if (const std::string text = text::trimWhitespaceAndNewlines(cleaned(result.text)); !text.empty())
            texts.push_back(text);
        if (language.empty())
            language = text::repairUtf8(result.language);
        for (const TranscriptionSegment& segment : result.segments)
            segments.push_back(jsonOf(segment, segments.size()));
    }
    const Json root{{"text", text::join(texts, " ")}, {"language", language}, {"segments", std::move(segments)}};
    return root.dump(2) + "\n";
}

} // namespace

std::optional<TranscriptFormat> transcriptFormat(std::string_view name) {
    constexpr std::array<std::pair<std::string_view, TranscriptFormat>, 5> formats{{
        {"txt", TranscriptFormat::txt},
        {"srt", TranscriptFormat::srt},
        {"vtt", TranscriptFormat::vtt},
        {"tsv", TranscriptFormat::tsv},
        {"json", TranscriptFormat::json},
    }};
    for (const auto& [known, format] : formats)
        if (known == name)
            return format;
    return {};
}

std::string writeTranscript(std::span<const TranscriptionResult> results, TranscriptFormat format) {
    switch (format) {
    case TranscriptFormat::srt:
        return subRip(results);
    case TranscriptFormat::vtt:
        return webVtt(results);
    case TranscriptFormat::tsv:
        return separatedByTabs(results);
    case TranscriptFormat::json:
        return json(results);
    default:
        return plainText(results);
    }
}

} // namespace fenlo::whisper
