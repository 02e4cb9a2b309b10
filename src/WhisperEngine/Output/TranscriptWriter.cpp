#include "WhisperEngine/Output/TranscriptWriter.h"

#include "WhisperEngine/Output/Subtitles.h"
#include "WhisperEngine/Output/TranscriptText.h"
#include "base/Json.h"
#include "base/Text.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <nlohmann/json.hpp>

namespace fenlo::whisper {

namespace {

using Json = nlohmann::ordered_json;

constexpr int samplesPerFrame = 160; // 10 ms at 16 kHz, the unit of "seek"

/// Calls `use` with each segment that has a text, its span and that text on one line.
template <typename Use>
void eachLine(std::span<const TranscriptionResult> results, Use use) {
    for (const TranscriptionResult& result : results)
        for (const TranscriptionSegment& segment : result.segments)
            if (const std::string line = trimmedLine(segment.text); !line.empty())
                use(timeSpan(segment.start, segment.end), line);
}

std::string plainText(std::span<const TranscriptionResult> results) {
    std::string text;
    for (const TranscriptionResult& result : results) {
        eachLine({&result, 1}, [&](TimeSpan, const std::string& line) { text += line + "\n"; });
        if (const std::string line = trimmedLine(result.text); result.segments.empty() && !line.empty())
            text += line + "\n";
    }
    return text;
}

std::string separatedByTabs(std::span<const TranscriptionResult> results) {
    std::string text = "start\tend\ttext\n";
    eachLine(results, [&](TimeSpan span, const std::string& line) {
        text += std::to_string(span.start) + "\t" + std::to_string(span.end) + "\t" + line + "\n";
    });
    return text;
}

/// A measure without the noise that a 32-bit float has in decimals; null for NaN and infinity.
Json number(float value) {
    return std::isfinite(value) ? Json(std::round(static_cast<double>(value) * 1e6) / 1e6) : Json();
}

Json seconds(long time) {
    return static_cast<double>(time) / 1000;
}

Json jsonOf(const WordTiming& word) {
    const TimeSpan span = timeSpan(word.start, word.end);
    return {{"word", cleaned(word.word)},
            {"start", seconds(span.start)},
            {"end", seconds(span.end)},
            {"probability", number(word.probability)}};
}

Json jsonOf(const TranscriptionSegment& segment, std::size_t id) {
    const TimeSpan span = timeSpan(segment.start, segment.end);
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
    return writeJson(root, 2) + "\n";
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

std::string writeTranscript(std::span<const TranscriptionResult> results, TranscriptFormat format,
                            const SubtitleLayout& layout) {
    switch (format) {
    case TranscriptFormat::srt:
        return subRip(results, layout);
    case TranscriptFormat::vtt:
        return webVtt(results, layout);
    case TranscriptFormat::tsv:
        return separatedByTabs(results);
    case TranscriptFormat::json:
        return json(results);
    default:
        return plainText(results);
    }
}

} // namespace fenlo::whisper
