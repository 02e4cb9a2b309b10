#pragma once

#include "WhisperEngine/TranscriptionResult.h"

#include <optional>
#include <span>
#include <string>
#include <string_view>

/// Transcripts as files that other programs read.
namespace fenlo::whisper {

enum class TranscriptFormat {
    txt,  // a segment a line
    srt,  // SubRip subtitles
    vtt,  // WebVTT subtitles; where there are words, each with its time inside the cue
    tsv,  // start and end in milliseconds, and the text
    json, // everything that is known of the segments and words
};

/// How the text of a segment stands on the screen. Lines and highlighted words need results with the times of words;
/// without them the time of a segment is shared out among its words, and nothing is highlighted.
struct SubtitleLayout {
    int maxLineWidth = 0;        // characters; 0 for a line that is as long as the segment
    int maxLineCount = 0;        // lines at a time, with a line width; 0 for as many as the segment has
    bool highlightWords = false; // the word that is spoken is underlined
};

/// The format of a name or a file's extension, such as "srt"; none for another name.
std::optional<TranscriptFormat> transcriptFormat(std::string_view name);

/// The results of one recording, in their order, as one document. It is valid UTF-8 and well-formed in its format
/// whatever the results hold: no time is negative or before its start, markers of special tokens and segments without
/// text are left out, cues do not overlap, and characters with a meaning in the format are taken from the text or
/// escaped.
std::string writeTranscript(std::span<const TranscriptionResult> results, TranscriptFormat format,
                            const SubtitleLayout& layout = {});

} // namespace fenlo::whisper
