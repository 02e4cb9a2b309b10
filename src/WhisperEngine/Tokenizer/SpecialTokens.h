#pragma once

namespace fenlo::whisper {

/// What a vocabulary without a literal has in its place. No prompt holds it and no filter forbids it.
inline constexpr int noToken = -1;

/// The tokens with a meaning of their own, each by its literal. Their ids differ between the published vocabularies, so
/// that an id never stands for another vocabulary's.
struct SpecialTokens {
    int endToken = noToken;               // "<|endoftext|>", which every vocabulary has
    int englishToken = noToken;           // "<|en|>"
    int noSpeechToken = noToken;          // "<|nospeech|>"; without it no window counts as silent
    int noTimestampsToken = noToken;      // "<|notimestamps|>"
    int specialTokenBegin = noToken;      // the first id that is no text
    int startOfPreviousToken = noToken;   // "<|startofprev|>"; without it there are no prompts of earlier text
    int startOfTranscriptToken = noToken; // "<|startoftranscript|>", which every vocabulary has
    int timeTokenBegin = noToken;         // "<|0.00|>", or else the id after the last special token
    int transcribeToken = noToken;        // "<|transcribe|>"
    int translateToken = noToken;         // "<|translate|>"
    int whitespaceToken = noToken;        // " "
};

} // namespace fenlo::whisper
