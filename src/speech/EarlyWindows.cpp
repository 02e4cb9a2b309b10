#include "speech/EarlyWindows.h"

#include "WhisperEngine/WhisperError.h"
#include "WhisperEngine/network/Digest.h"

#include <algorithm>
#include <string_view>
#include <utility>

namespace fenlo {

using whisper::DecodingResult;
using whisper::WhisperError;

namespace {

std::string_view bytesOf(std::span<const float> samples) {
    return {reinterpret_cast<const char*>(samples.data()), samples.size_bytes()};
}

[[noreturn]] void throwCancelled() {
    throw WhisperError(WhisperError::Kind::cancelled, "cancelled");
}

} // namespace

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
    {
        std::lock_guard lock(m_mutex);
        m_run = std::move(run);
    }
    return [this](const whisper::WindowQuestion& window, const std::function<DecodingResult()>& decode) {
        return decodeAhead(asked(window), decode);
    };
}

DecodingResult EarlyWindows::decodeAhead(const Question& question, const std::function<DecodingResult()>& decode) {
    {
        std::lock_guard lock(m_mutex);
        if (!m_isOpen)
            throwCancelled();
        if (const DecodingResult* known = find(question))
            return *known;
        m_underWay = question;
    }
    const auto end = [&](const DecodingResult* result) {
        std::lock_guard lock(m_mutex);
        if (result && m_underWay == question)
            m_known.push_back({question, *result});
        m_underWay.reset();
        m_changed.notify_all();
    };
    try {
        DecodingResult result = decode();
        end(&result);
        return result;
    } catch (...) {
        end(nullptr);
        throw;
    }
}

whisper::WindowAnswer EarlyWindows::finished(std::stop_token stop) {
    return [this, stop = std::move(stop)](const whisper::WindowQuestion& window,
                                          const std::function<DecodingResult()>& decode) {
        return hasAny() ? decodeFinished(asked(window), stop, decode) : decode();
    };
}

DecodingResult EarlyWindows::decodeFinished(const Question& question, const std::stop_token& stop,
                                            const std::function<DecodingResult()>& decode) {
    {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, stop, [&] { return m_underWay != question; });
        if (stop.stop_requested())
            throwCancelled();
        if (const DecodingResult* known = find(question)) {
            ++m_taken;
            return *known;
        }
        if (m_underWay)
            m_run.request_stop();
    }
    return decode();
}

bool EarlyWindows::hasAny() const {
    std::lock_guard lock(m_mutex);
    return !m_known.empty() || m_underWay;
}

const DecodingResult* EarlyWindows::find(const Question& question) const {
    const auto found = std::ranges::find(m_known, question, &Known::question);
    return found == m_known.end() ? nullptr : &found->result;
}

void EarlyWindows::begin() {
    forget();
    std::lock_guard lock(m_mutex);
    m_isOpen = true;
    m_taken = 0;
}

void EarlyWindows::finish() {
    std::lock_guard lock(m_mutex);
    m_isOpen = false;
}

void EarlyWindows::forget() {
    std::lock_guard lock(m_mutex);
    m_isOpen = false;
    m_known.clear();
    m_underWay.reset(); // its result is not kept
    m_run.request_stop();
    m_changed.notify_all();
}

std::size_t EarlyWindows::taken() const {
    std::lock_guard lock(m_mutex);
    return m_taken;
}

} // namespace fenlo
