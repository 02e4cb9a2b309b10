#pragma once

#include "WhisperEngine/TranscriptionResult.h"

#include <span>
#include <vector>

/// What makes words of an alignment fit to be shown, after the published word timing of Whisper.
namespace fenlo::whisper {

/// A word made of prepend punctuation joins the one after it, a word made of append punctuation the one before. What
/// stands in both tables goes by the blank before it. The end of a word is often found at the mark after it, and so the
/// time of such a mark is the word's; the time of a mark before it is none of it.
void mergePunctuations(std::vector<WordTiming>& words);

/// Seconds; 0 when no word lasts.
struct WordDurations {
    float median = 0; // at most 0.7
    float longest() const { return 2 * median; }
};

WordDurations wordDurations(std::span<const std::vector<WordTiming>> wordsOfSegments);

/// Clips, from the side of the pause, words that are too long before and after the end of a sentence; the last word of
/// a segment is left to clipAtSegmentEdges(). `previous` is the word before the first, if there is one.
void clipAtSentenceEnds(std::vector<WordTiming>& words, const WordTiming* previous, WordDurations durations);

/// Clips the first and the last word of a segment from `segmentStart` to `segmentEnd`, where they reach into the pause
/// around it. Speech before it ended at `lastSpeechTimestamp`.
void clipAtSegmentEdges(std::vector<WordTiming>& words, float segmentStart, float segmentEnd, float lastSpeechTimestamp,
                        WordDurations durations);

} // namespace fenlo::whisper
