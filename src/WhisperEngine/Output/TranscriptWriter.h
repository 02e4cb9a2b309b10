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

/// The format of a name or a file's extension, such as "srt"; none for another name.
std::optional<TranscriptFormat> transcriptFormat(std::string_view name);

/// The results of one recording, in their order, as one document. It is valid UTF-8 and well-formed in its format
/// whatever the results hold: no time is negative or before its start, markers of special tokens and segments without
/// text are left out, and characters with a meaning in the format are taken from the text or escaped.
std::string writeTranscript(std::span<const TranscriptionResult> results, TranscriptFormat format);

} // namespace fenlo::whisper
