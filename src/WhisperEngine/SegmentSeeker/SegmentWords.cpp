#include "WhisperEngine/SegmentSeeker/DynamicTimeWarping.h"
#include "WhisperEngine/SegmentSeeker/SegmentSeeker.h"
#include "WhisperEngine/SegmentSeeker/WordTidying.h"

#include "WhisperEngine/Logging.h"
#include "WhisperEngine/Tokenizer/WhisperTokenizer.h"
#include "WhisperEngine/WhisperError.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace fenlo::whisper {

namespace {

WhisperError segmentingFailed(const char* message) {
    return {WhisperError::Kind::segmentingFailed, message};
}

void checkShape(const AlignmentWeights& weights, const Logging& logging) {
    if (weights.tokens > 0 && weights.frames > 0 &&
        weights.values.size() == static_cast<std::size_t>(weights.tokens) * static_cast<std::size_t>(weights.frames))
        return;
    logging.error("Alignment weights shape: [{}, {}]", weights.tokens, weights.frames);
    throw segmentingFailed("Invalid shape in alignmentWeights");
}

/// The upper left corner of a matrix.
std::vector<float> corner(const AlignmentWeights& weights, std::size_t rows, std::size_t columns) {
    std::vector<float> values;
    values.reserve(rows * columns);
    for (std::size_t row = 0; row < rows; ++row) {
        const auto source = weights.values.subspan(row * static_cast<std::size_t>(weights.frames), columns);
        values.insert(values.end(), source.begin(), source.end());
    }
    return values;
}

float meanProbability(std::span<const float> logProbs) {
    float sum = 0;
    for (const float logProb : logProbs)
        sum += std::exp(logProb);
    return sum / static_cast<float>(logProbs.size());
}

/// Words follow each other between two times. Returns the end of the last one.
float holdInOrder(std::vector<WordTiming>& words, float from, float to) {
    for (WordTiming& word : words) {
        word.start = std::clamp(word.start, from, to);
        word.end = std::clamp(word.end, word.start, to);
        from = word.end;
    }
    return from;
}

/// Each segment takes words until they hold its text tokens; `offset` is where the window begins.
void giveWords(std::vector<TranscriptionSegment>& segments, std::span<const WordTiming> words, float offset,
               const SpecialTokens& special) {
    auto word = words.begin();
    for (TranscriptionSegment& segment : segments) {
        const auto textTokens = static_cast<std::size_t>(
            std::ranges::count_if(segment.tokens, [&](int token) { return token < special.specialTokenBegin; }));
        std::vector<WordTiming>& taken = segment.words.emplace();
        for (std::size_t count = 0; count < textTokens && word != words.end(); ++word) {
            count += word->tokens.size();
            taken.push_back(*word);
            taken.back().start += offset;
            taken.back().end += offset;
        }
        mergePunctuations(taken);
    }
}

void tidyWords(std::vector<TranscriptionSegment>& segments, const WindowPlace& window) {
    const WordDurations durations = wordDurations(segments);
    const float windowEnd = secondsAt(window.seek + window.segmentSize);
    float lastSpeech = window.lastSpeechTimestamp;
    float spoken = std::clamp(lastSpeech, secondsAt(window.seek), windowEnd); // the last window's words may reach here
    const WordTiming* previous = nullptr;
    for (TranscriptionSegment& segment : segments) {
        std::vector<WordTiming>& words = *segment.words;
        if (words.empty())
            continue;
        clipAtSentenceEnds(words, previous, durations);
        clipAtSegmentEdges(words, segment.start, segment.end, lastSpeech, durations);
        spoken = holdInOrder(words, spoken, windowEnd);
        segment.start = words.front().start;
        segment.end = words.back().end;
        lastSpeech = segment.end;
        previous = &words.back();
    }
}

} // namespace

std::vector<WordTiming> SegmentSeeker::findAlignment(std::span<const int> wordTokenIds,
                                                     const AlignmentWeights& alignmentWeights,
                                                     std::span<const float> tokenLogProbs,
                                                     const AlignmentContext& context) const {
    checkShape(alignmentWeights, context.logging);
    const std::size_t count = wordTokenIds.size();
    if (static_cast<std::size_t>(alignmentWeights.tokens) != count || tokenLogProbs.size() != count)
        throw segmentingFailed("Invalid alignment matrix shape");
    // Of the published preparation of the weights the median filter and the scaling of each frame are left out: they
    // are made for single heads, and on the mean of the heads they raise the noise of silent frames above the speech.
    std::vector<float> costs(alignmentWeights.values.begin(), alignmentWeights.values.end());
    std::ranges::for_each(costs, [](float& cost) { cost = -cost; });
    std::vector<int> frames = warpedRowStarts(costs, alignmentWeights.tokens, alignmentWeights.frames);
    frames.push_back(alignmentWeights.frames); // where the last token ends
    ++context.timings.totalTimestampAlignmentRuns;

    const auto timeOf = [&](std::size_t token) { return static_cast<float>(frames[token]) * secondsPerTimeToken; };
    const auto isText = [&](int token) { return token < context.tokenizer.specialTokens().specialTokenBegin; };
    std::vector<WordTiming> words;
    for (std::size_t begin = 0; begin < count;) {
        // Words do not reach over a special token.
        std::size_t end = begin;
        while (end < count && isText(wordTokenIds[end]))
            ++end;
        const auto text = wordTokenIds.subspan(begin, end - begin);
        for (auto& [word, tokens] : context.tokenizer.splitToWordTokens(text, context.language)) {
            const std::size_t length = std::min(tokens.size(), end - begin);
            if (length == 0)
                continue;
            words.push_back({.word = std::move(word),
                             .tokens = std::move(tokens),
                             .start = timeOf(begin),
                             .end = timeOf(begin + length),
                             .probability = meanProbability(tokenLogProbs.subspan(begin, length))});
            begin += length;
        }
        begin = end + 1;
    }
    return words;
}

std::vector<TranscriptionSegment> SegmentSeeker::addWordTimestamps(std::vector<TranscriptionSegment> segments,
                                                                   const AlignmentWeights& alignmentWeights,
                                                                   const WindowPlace& window,
                                                                   const AlignmentContext& context) const {
    std::vector<int> tokens;
    std::vector<float> logProbs;
    for (const TranscriptionSegment& segment : segments) {
        tokens.insert(tokens.end(), segment.tokens.begin(), segment.tokens.end());
        logProbs.insert(logProbs.end(), segment.tokenLogProbs.begin(), segment.tokenLogProbs.end());
    }
    if (tokens.empty())
        return segments;
    checkShape(alignmentWeights, context.logging);
    const SpecialTokens& special = context.tokenizer.specialTokens();
    if (static_cast<std::size_t>(alignmentWeights.tokens) > tokens.size()) {
        tokens.push_back(special.endToken); // whatever comes next tells where the last one ends
        logProbs.push_back(0);
    }
    const int rows = std::min(alignmentWeights.tokens, static_cast<int>(tokens.size()));
    const int windowFrames = (window.segmentSize + samplesPerTimeToken - 1) / samplesPerTimeToken;
    const int frames = std::clamp(std::min(windowFrames, mostTimeTokens), 1, alignmentWeights.frames);
    const std::vector<float> values =
        corner(alignmentWeights, static_cast<std::size_t>(rows), static_cast<std::size_t>(frames));
    const auto alignment =
        findAlignment(tokens, {.values = values, .tokens = rows, .frames = frames}, logProbs, context);
    giveWords(segments, alignment, secondsAt(window.seek), special);
    tidyWords(segments, window);
    return segments;
}

} // namespace fenlo::whisper
