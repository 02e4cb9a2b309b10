#include "WhisperEngine/SegmentSeeker/SegmentSeeker.h"

#include "WhisperEngine/Tokenizer/WhisperTokenizer.h"

#include <algorithm>

namespace fenlo::whisper {

namespace {

bool isSilent(const DecodingResult& result, const DecodingOptions& options) {
    return options.noSpeechThreshold && result.noSpeechProb > *options.noSpeechThreshold &&
           (!options.logProbThreshold || result.avgLogProb < *options.logProbThreshold);
}

/// Leaves out the prefix. The beginning of a long one was cut off, so any end of it counts.
std::span<const int> withoutPrefix(std::span<const int> tokens, std::span<const int> prefix) {
    while (prefix.size() > tokens.size() || !std::ranges::equal(prefix, tokens.first(prefix.size())))
        prefix = prefix.subspan(1);
    return tokens.subspan(prefix.size());
}

/// What was sampled, without the prompt before it and the end token after it.
std::span<const int> sampledTokens(const DecodingResult& result, const DecodingOptions& options,
                                   const SpecialTokens& special) {
    std::span<const int> tokens(result.tokens);
    const auto start = std::ranges::find(tokens, special.startOfTranscriptToken);
    if (start != tokens.end())
        tokens = tokens.subspan(static_cast<std::size_t>(start - tokens.begin()) + 1);
    if (options.usePrefillPrompt) {
        const auto tellsTheTask = [&](int token) { // or the language, or that no times are wanted
            return token >= special.specialTokenBegin && token < special.timeTokenBegin && token != special.endToken;
        };
        tokens =
            tokens.subspan(static_cast<std::size_t>(std::ranges::find_if_not(tokens, tellsTheTask) - tokens.begin()));
        if (options.prefixTokens)
            tokens = withoutPrefix(tokens, *options.prefixTokens);
    }
    return tokens.first(static_cast<std::size_t>(std::ranges::find(tokens, special.endToken) - tokens.begin()));
}

using Tokens = std::span<const int>;

/// Reads the meaning of a window's tokens.
class Window {
public:
    Window(const SpecialTokens& special, int seek, int size) : m_special(special), m_seek(seek), m_size(size) {}

    bool isTime(int token) const { return token >= m_special.timeTokenBegin; }
    bool isText(int token) const { return token < m_special.specialTokenBegin; }
    bool hasText(Tokens tokens) const {
        return std::ranges::any_of(tokens, [this](int token) { return isText(token); });
    }

    int end() const { return m_seek + m_size; } // samples
    int sampleAt(int timeToken) const { return m_seek + (timeToken - m_special.timeTokenBegin) * samplesPerTimeToken; }

    /// The time token from which the text runs, and the one after its end.
    std::optional<int> timeBefore(Tokens tokens) const {
        std::optional<int> time;
        for (const int token : tokens)
            if (isText(token))
                break;
            else if (isTime(token))
                time = token;
        return time;
    }
    std::optional<int> timeAfter(Tokens tokens) const {
        std::optional<int> time;
        for (; !tokens.empty() && !isText(tokens.back()); tokens = tokens.first(tokens.size() - 1))
            if (isTime(tokens.back()))
                time = tokens.back();
        return time;
    }

private:
    const SpecialTokens& m_special;
    const int m_seek;
    const int m_size;
};

/// A window's tokens cut between the two of each pair of time tokens, wherever text stands before it. All tokens are in
/// one of the stretches or in the rest, which no pair closes.
struct Cuts {
    std::vector<Tokens> stretches;
    Tokens rest;
    std::optional<int> lastClosing; // the first of the last pair's two time tokens; none without pairs
};

Cuts cutAtPairs(Tokens tokens, const Window& window) {
    Cuts cuts{.stretches = {}, .rest = tokens, .lastClosing = std::nullopt};
    for (std::size_t i = 1; i < tokens.size(); ++i) {
        if (!window.isTime(tokens[i - 1]) || !window.isTime(tokens[i]))
            continue;
        cuts.lastClosing = tokens[i - 1];
        const std::size_t begin = tokens.size() - cuts.rest.size();
        const Tokens stretch = tokens.subspan(begin, i - begin);
        if (window.hasText(stretch)) {
            cuts.stretches.push_back(stretch);
            cuts.rest = tokens.subspan(i);
        }
    }
    return cuts;
}

/// Where the next window begins after one with pairs. Without a value, or with one that does not move on, the whole
/// window is done.
std::optional<int> seekAfterPairs(Tokens tokens, const Cuts& cuts, const Window& window, bool losesNoSpeech) {
    const bool endsInTime = window.isTime(tokens.back());
    const bool endsInPair = endsInTime && window.isTime(tokens[tokens.size() - 2]);
    if (losesNoSpeech) {
        if (endsInTime && !endsInPair)
            return std::nullopt; // the last sentence is whole
        return window.sampleAt(*cuts.lastClosing);
    }
    if (endsInPair)
        return std::nullopt;
    return window.sampleAt(endsInTime ? tokens.back() : window.timeBefore(cuts.rest).value_or(*cuts.lastClosing));
}

} // namespace

SeekResult SegmentSeeker::findSeekPointAndSegments(const DecodingResult& decodingResult, const DecodingOptions& options,
                                                   int allSegmentsCount, int currentSeek, int segmentSize,
                                                   const WhisperTokenizer& tokenizer) const {
    const Window window(tokenizer.specialTokens(), currentSeek, segmentSize);
    if (isSilent(decodingResult, options))
        return {.nextSeek = window.end(), .segments = std::nullopt};

    const Tokens tokens = sampledTokens(decodingResult, options, tokenizer.specialTokens());
    Cuts cuts = options.withoutTimestamps ? Cuts{.stretches = {}, .rest = tokens, .lastClosing = std::nullopt}
                                          : cutAtPairs(tokens, window);
    int nextSeek = window.end();
    if (cuts.lastClosing) {
        const auto seek = seekAfterPairs(tokens, cuts, window, options.losesNoSpeech);
        // A time that leads nowhere, or out of the window, ends the window: a seek that stands still would never end.
        if (seek && *seek > currentSeek && *seek < window.end()) {
            nextSeek = std::min(std::max(*seek, currentSeek + leastStep), window.end());
            if (!window.isTime(tokens.back()))
                cuts.rest = {}; // is decoded again from there
        }
    }
    if (window.hasText(cuts.rest))
        cuts.stretches.push_back(cuts.rest);

    // Without pairs the window is one segment from its very beginning.
    const bool isWhole = !cuts.lastClosing;
    std::vector<TranscriptionSegment> segments;
    int previousEnd = currentSeek;
    for (const Tokens stretch : cuts.stretches) {
        const auto sampleOf = [&](std::optional<int> time, int otherwise, int from) {
            return std::clamp(time ? window.sampleAt(*time) : otherwise, from, window.end());
        };
        const int start = isWhole ? currentSeek : sampleOf(window.timeBefore(stretch), previousEnd, previousEnd);
        const int end = sampleOf(window.timeAfter(stretch), window.end(), start);
        const auto first = static_cast<std::size_t>(stretch.data() - decodingResult.tokens.data());
        TranscriptionSegment segment;
        segment.id = allSegmentsCount + static_cast<int>(segments.size());
        segment.seek = currentSeek;
        segment.start = secondsAt(start);
        segment.end = secondsAt(end);
        segment.text = tokenizer.decode(stretch, options.skipSpecialTokens);
        segment.tokens.assign(stretch.begin(), stretch.end());
        for (std::size_t i = first; i < first + stretch.size(); ++i)
            segment.tokenLogProbs.push_back(i < decodingResult.tokenLogProbs.size() ? decodingResult.tokenLogProbs[i]
                                                                                    : 0.0f);
        segment.temperature = decodingResult.temperature;
        segment.avgLogprob = decodingResult.avgLogProb;
        segment.compressionRatio = decodingResult.compressionRatio;
        segment.noSpeechProb = decodingResult.noSpeechProb;
        segments.push_back(std::move(segment));
        previousEnd = end;
    }
    return {.nextSeek = nextSeek, .segments = std::move(segments)};
}

} // namespace fenlo::whisper
