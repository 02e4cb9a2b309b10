#pragma once

#include "WhisperEngine/TranscriptionResult.h"

#include <span>
#include <vector>

/// What makes words of an alignment fit to be shown, after the published word timing of Whisper.
namespace fenlo::whisper {

/// A word made of prepend punctuation joins the one after it, a word made of append punctuation the one before. A mark
/// that is in both tables belongs to the next word when a blank stands before it. A joined word keeps its own start,
/// and ends with the mark after it, since the end of a word is often found there.
void mergePunctuations(std::vector<WordTiming>& words);

struct WordDurations {
    float median = 0; // seconds, at most 0.7; 0 when no word takes time
    float longest() const { return 2 * median; }
};

WordDurations wordDurations(std::span<const TranscriptionSegment> segments);

/// Clips, from the side of the pause, words that are too long before and after the end of a sentence; the last word of
/// a segment is left to clipAtSegmentEdges(). `previous` is the word before the first, if there is one.
void clipAtSentenceEnds(std::vector<WordTiming>& words, const WordTiming* previous, WordDurations durations);

/// Clips the first and the last word of a segment from `segmentStart` to `segmentEnd`, where they reach into the pause
/// around it. Speech before it ended at `lastSpeechTimestamp`.
void clipAtSegmentEdges(std::vector<WordTiming>& words, float segmentStart, float segmentEnd, float lastSpeechTimestamp,
                        WordDurations durations);

} // namespace fenlo::whisper
