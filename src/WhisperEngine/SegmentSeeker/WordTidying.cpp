#include "WhisperEngine/SegmentSeeker/WordTidying.h"

#include "WhisperEngine/SegmentSeeker/SegmentSeeker.h"

#include <algorithm>
#include <string_view>
#include <utility>

namespace fenlo::whisper {

namespace {

constexpr float greatestMedian = 0.7f;   // seconds
constexpr float strayFromSegment = 0.5f; // seconds that a word may reach out of its segment
constexpr std::string_view sentenceEnds = ".!?";

std::string_view withoutBlanks(std::string_view word) {
    const std::size_t first = word.find_first_not_of(' ');
    return first == word.npos ? std::string_view() : word.substr(first, word.find_last_not_of(' ') - first + 1);
}

/// The first character of UTF-8 text.
std::string_view firstCharacter(std::string_view text) {
    std::size_t length = 1;
    while (length < text.size() && (static_cast<unsigned char>(text[length]) & 0xC0U) == 0x80U)
        ++length;
    return text.substr(0, length);
}

bool isMadeOf(std::string_view table, std::string_view word) {
    if (word.empty())
        return false;
    while (!word.empty()) {
        const std::string_view character = firstCharacter(word);
        if (table.find(character) == table.npos)
            return false;
        word.remove_prefix(character.size());
    }
    return true;
}

bool isPrepended(const std::string& word) {
    const std::string_view marks = withoutBlanks(word);
    return isMadeOf(SegmentSeeker::prependPunctuations, marks) &&
           (word.starts_with(' ') || !isMadeOf(SegmentSeeker::appendPunctuations, marks));
}

bool isAppended(const std::string& word) {
    return isMadeOf(SegmentSeeker::appendPunctuations, word);
}

bool endsSentence(const WordTiming& word) {
    return !word.word.empty() && sentenceEnds.find(word.word.back()) != sentenceEnds.npos;
}

float duration(const WordTiming& word) {
    return word.end - word.start;
}

} // namespace

void mergePunctuations(std::vector<WordTiming>& words) {
    std::vector<WordTiming> merged;
    std::vector<WordTiming> waiting; // prepended marks whose word is still to come
    const auto joinWaiting = [&](WordTiming& word) {
        for (; !waiting.empty(); waiting.pop_back()) {
            word.word.insert(0, waiting.back().word);
            word.tokens.insert(word.tokens.begin(), waiting.back().tokens.begin(), waiting.back().tokens.end());
        }
    };
    for (WordTiming& word : words) {
        if (isPrepended(word.word)) {
            waiting.push_back(std::move(word));
        } else if (waiting.empty() && !merged.empty() && isAppended(word.word)) {
            merged.back().word += word.word;
            merged.back().end = word.end;
            merged.back().tokens.insert(merged.back().tokens.end(), word.tokens.begin(), word.tokens.end());
        } else {
            joinWaiting(word);
            merged.push_back(std::move(word));
        }
    }
    std::ranges::move(waiting, std::back_inserter(merged)); // nothing came after them
    words = std::move(merged);
}

WordDurations wordDurations(std::span<const TranscriptionSegment> segments) {
    std::vector<float> durations;
    for (const TranscriptionSegment& segment : segments)
        for (const WordTiming& word : *segment.words)
            if (duration(word) != 0)
                durations.push_back(duration(word));
    if (durations.empty())
        return {};
    const auto middle = durations.begin() + static_cast<std::ptrdiff_t>(durations.size() / 2);
    std::ranges::nth_element(durations, middle);
    return {.median = std::min(*middle, greatestMedian)};
}

void clipAtSentenceEnds(std::vector<WordTiming>& words, const WordTiming* previous, WordDurations durations) {
    if (durations.median <= 0)
        return;
    for (WordTiming& word : words) {
        const bool isLong = duration(word) > durations.longest();
        if (isLong && previous && endsSentence(*previous))
            word.start = word.end - durations.longest();
        else if (isLong && endsSentence(word) && &word != &words.back())
            word.end = word.start + durations.longest();
        previous = &word;
    }
}

void clipAtSegmentEdges(std::vector<WordTiming>& words, float segmentStart, float segmentEnd, float lastSpeechTimestamp,
                        WordDurations durations) {
    if (words.empty() || durations.median <= 0)
        return;
    const float longest = durations.longest();
    WordTiming& first = words.front();
    WordTiming* const second = words.size() > 1 ? &words[1] : nullptr;
    const bool afterPause = first.end - lastSpeechTimestamp > 4 * durations.median;
    const bool isLong = duration(first) > longest || (second && second->end - first.start > 2 * longest);
    if (afterPause && isLong) {
        if (second && duration(*second) > longest)
            first.end = second->start = second->end - longest;
        first.start = std::max(first.start, first.end - longest);
    }
    // Where the alignment is far off, the segment's own times are better.
    if (segmentStart < first.end && segmentStart - strayFromSegment > first.start)
        first.start = std::max(first.start, std::min(first.end - durations.median, segmentStart));
    WordTiming& last = words.back();
    if (segmentEnd > last.start && segmentEnd + strayFromSegment < last.end)
        last.end = std::min(last.end, std::max(last.start + durations.median, segmentEnd));
}

} // namespace fenlo::whisper
