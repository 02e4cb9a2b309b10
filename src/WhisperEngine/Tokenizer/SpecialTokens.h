#pragma once

namespace fenlo::whisper {

/// The tokens with a meaning of their own. A literal that the vocabulary lacks has the id of the published
/// English-only vocabulary.
struct SpecialTokens {
    int endToken = 50256;               // "<|endoftext|>"
    int englishToken = 50258;           // "<|en|>"
    int noSpeechToken = 50361;          // "<|nospeech|>"
    int noTimestampsToken = 50362;      // "<|notimestamps|>"
    int specialTokenBegin = 50256;      // the first id that is no text
    int startOfPreviousToken = 50360;   // "<|startofprev|>"
    int startOfTranscriptToken = 50257; // "<|startoftranscript|>"
    int timeTokenBegin = 50363;         // "<|0.00|>"
    int transcribeToken = 50358;        // "<|transcribe|>"
    int translateToken = 50357;         // "<|translate|>"
    int whitespaceToken = 220;          // " "
};

} // namespace fenlo::whisper
