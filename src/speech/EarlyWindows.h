#pragma once

#include "WhisperEngine/DecodingOptions.h"
#include "WhisperEngine/WindowAnswer.h"
#include "speech/EarlyAnswers.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <stop_token>
#include <vector>

namespace fenlo {

/// What windows of the running take were decoded to while it still went on. A result counts for the finished take only
/// where a window is the same to the last bit, with the same prompt and options; so it is the result that the finished
/// take would have given.
///
/// Threads: any. One run ahead at a time, and beside it the runs over finished clips.
class EarlyWindows {
public:
    /// For a run ahead: decodes what is not known, and keeps it. `run` is the stop of that run; a window that was begun
    /// after finish() or forget() ends in the kind `cancelled`.
    whisper::WindowAnswer ahead(std::stop_source run);
    /// For a finished clip: takes what is known, and waits for it while it is being decoded. Once the take has ended, a
    /// run ahead that decodes something else is stopped. Valid as long as this object.
    whisper::WindowAnswer finished(std::stop_token stop);

    void begin() { m_answers.begin(); }
    void finish() { m_answers.finish(); }
    void forget() { m_answers.forget(); }

    std::size_t taken() const { return m_answers.taken(); } // results that finished clips have taken since begin()

private:
    struct Question {
        std::array<std::uint8_t, 32> samples{}; // SHA-256
        std::vector<int> prompt;
        whisper::DecodingOptions options;
        bool operator==(const Question&) const = default;
    };

    static Question asked(const whisper::WindowQuestion& window);
    [[noreturn]] static void throwCancelled();

    EarlyAnswers<Question, whisper::DecodingResult> m_answers{throwCancelled};
};

} // namespace fenlo
