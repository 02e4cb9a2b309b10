#pragma once

#include "WhisperEngine/DecodingOptions.h"
#include "WhisperEngine/WindowAnswer.h"

#include <array>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
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
    /// For a finished clip: takes what is known, and waits for it while it is being decoded. A run ahead that decodes
    /// something else is stopped. Valid as long as this object.
    whisper::WindowAnswer finished(std::stop_token stop);

    /// A new take begins.
    void begin();
    /// The take has ended: the run ahead may end the window that it is at.
    void finish();
    /// The take is dropped, or done: nothing stays.
    void forget();

    std::size_t taken() const; // results that finished clips have taken since begin()

private:
    struct Question {
        std::array<std::uint8_t, 32> samples{}; // SHA-256
        std::vector<int> prompt;
        whisper::DecodingOptions options;
        bool operator==(const Question&) const = default;
    };
    struct Known {
        Question question;
        whisper::DecodingResult result;
    };

    static Question asked(const whisper::WindowQuestion& window);
    bool hasAny() const;
    const whisper::DecodingResult* find(const Question& question) const;
    whisper::DecodingResult decodeAhead(const Question& question,
                                        const std::function<whisper::DecodingResult()>& decode);
    whisper::DecodingResult decodeFinished(const Question& question, const std::stop_token& stop,
                                           const std::function<whisper::DecodingResult()>& decode);

    mutable std::mutex m_mutex;
    std::condition_variable_any m_changed;
    std::vector<Known> m_known;
    std::optional<Question> m_underWay;
    std::stop_source m_run{std::nostopstate};
    bool m_isOpen = false;
    std::size_t m_taken = 0;
};

} // namespace fenlo
