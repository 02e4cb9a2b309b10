#include "speech/EarlyWindows.h"

#include "WhisperEngine/WhisperError.h"
#include "WhisperEngine/network/Digest.h"

#include <string_view>
#include <utility>

namespace fenlo {

using whisper::DecodingResult;
using whisper::WhisperError;

namespace {

std::string_view bytesOf(std::span<const float> samples) {
    return {reinterpret_cast<const char*>(samples.data()), samples.size_bytes()};
}

} // namespace

void EarlyWindows::throwCancelled() {
    throw WhisperError(WhisperError::Kind::cancelled, "cancelled");
}

/// Of the options, those that say which windows there are do not matter to a window.
EarlyWindows::Question EarlyWindows::asked(const whisper::WindowQuestion& window) {
    Question question{
        whisper::sha256(bytesOf(window.samples)), {window.prompt.begin(), window.prompt.end()}, window.options};
    question.options.clipTimestamps.clear();
    question.options.maxWindowSeek.reset();
    question.options.endsAtLastSound = false;
    return question;
}

whisper::WindowAnswer EarlyWindows::ahead(std::stop_source run) {
    return [this, run = std::move(run)](const whisper::WindowQuestion& window,
                                        const std::function<DecodingResult()>& decode) {
        return m_answers.ahead(asked(window), run, decode);
    };
}

whisper::WindowAnswer EarlyWindows::finished(std::stop_token stop) {
    return [this, stop = std::move(stop)](const whisper::WindowQuestion& window,
                                          const std::function<DecodingResult()>& decode) {
        return m_answers.hasAny() ? m_answers.finished(asked(window), stop, decode) : decode();
    };
}

} // namespace fenlo
