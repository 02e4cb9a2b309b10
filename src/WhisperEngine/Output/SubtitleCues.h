#pragma once

#include "WhisperEngine/Output/TranscriptText.h"
#include "WhisperEngine/Output/TranscriptWriter.h"
#include "WhisperEngine/TranscriptionResult.h"

#include <span>
#include <string>
#include <vector>

namespace fenlo::whisper {

struct SubtitleWord {
    std::string text; // with the blank, or the line end, that stands before it
    TimeSpan span;
};

/// What stands on the screen at a time.
struct SubtitleCue {
    TimeSpan span;
    std::string text;                // without control characters but the ends of lines
    std::vector<SubtitleWord> words; // empty where the times of the words are not known
};

/// The cues of a recording in their order: a segment each, or what the layout makes of the words.
std::vector<SubtitleCue> subtitleCues(std::span<const TranscriptionResult> results, const SubtitleLayout& layout);

} // namespace fenlo::whisper
