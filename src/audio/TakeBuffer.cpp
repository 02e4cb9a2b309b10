#include "audio/TakeBuffer.h"

#include "audio/ChunkWriter.h"
#include "audio/QuietCut.h"
#include "base/Log.h"

#include <string>
#include <utility>

namespace fenlo {

namespace {

constexpr double chunkDuration = 240.0; // seconds
constexpr double preRollDuration = 0.3;
constexpr double spareDuration = 10.0; // room for what a cut carries over

std::vector<float> emptyTake(double sampleRate) {
    std::vector<float> samples;
    samples.reserve(static_cast<std::size_t>(sampleRate * (chunkDuration + spareDuration)));
    return samples;
}

std::string kilobytes(const std::filesystem::path& file) {
    std::error_code error;
    const std::uintmax_t size = std::filesystem::file_size(file, error);
    return std::to_string(error ? 0 : size / 1024);
}

} // namespace

TakeBuffer::TakeBuffer() : m_flusher([this](const std::stop_token& stop) { flushUntilStopped(stop); }) {
    setSampleRate(m_sampleRate);
}

void TakeBuffer::setSampleRate(double hertz) {
    std::lock_guard lock(m_mutex);
    m_sampleRate = hertz;
    m_chunkLimit = static_cast<std::size_t>(hertz * chunkDuration);
    m_preRollLimit = static_cast<std::size_t>(hertz * preRollDuration);
    m_preRoll.clear();
    m_preRoll.reserve(2 * m_preRollLimit);
}

void TakeBuffer::setOnChunk(std::function<void(const std::filesystem::path&)> handler) {
    std::unique_lock lock(m_mutex);
    m_flushChanged.wait(lock, [this] { return !m_isFlushing; });
    m_onChunk = std::move(handler);
}

void TakeBuffer::begin() {
    std::vector<float> samples = emptyTake(m_sampleRate); // untouched memory costs nothing
    std::vector<std::filesystem::path> chunkFiles;
    std::unique_lock lock(m_mutex);
    m_flushChanged.wait(lock, [this] { return !m_isFlushing; });
    m_current.swap(samples);
    m_chunkFiles.swap(chunkFiles);
    m_didPrependPreRoll = false;
    m_isRecording = true;
    m_deviceChanged = false;
}

TakeBuffer::Place TakeBuffer::append(std::span<const float> samples) {
    std::lock_guard lock(m_mutex);
    if (!m_isRecording) {
        rollOn(samples);
        return Place::beforeTake;
    }
    const bool isFirst = !std::exchange(m_didPrependPreRoll, true);
    if (isFirst) {
        m_current.insert(m_current.begin(), m_preRoll.begin(), m_preRoll.end());
        m_preRoll.clear();
    }
    m_current.insert(m_current.end(), samples.begin(), samples.end());
    if (m_current.size() >= m_chunkLimit && !m_isFlushing) {
        m_flushing = std::exchange(m_current, {});
        m_isFlushing = true;
        m_flushChanged.notify_all();
    }
    return isFirst ? Place::firstOfTake : Place::inTake;
}

void TakeBuffer::rollOn(std::span<const float> samples) {
    m_preRoll.insert(m_preRoll.end(), samples.begin(), samples.end());
    if (m_preRoll.size() > m_preRollLimit)
        m_preRoll.erase(m_preRoll.begin(), m_preRoll.end() - static_cast<std::ptrdiff_t>(m_preRollLimit));
}

TakeBuffer::Taken TakeBuffer::end() {
    Taken taken;
    std::unique_lock lock(m_mutex);
    m_flushChanged.wait(lock, [this] { return !m_isFlushing; });
    m_isRecording = false;
    m_preRoll.clear();
    m_didPrependPreRoll = false;
    taken.samples.swap(m_current);
    taken.chunkFiles.swap(m_chunkFiles);
    taken.deviceChanged = std::exchange(m_deviceChanged, false);
    return taken;
}

void TakeBuffer::forgetPreRoll() {
    std::lock_guard lock(m_mutex);
    m_preRoll.clear();
}

bool TakeBuffer::markDeviceChanged() {
    std::lock_guard lock(m_mutex);
    m_deviceChanged = m_deviceChanged || m_isRecording;
    return m_isRecording;
}

bool TakeBuffer::isRecording() const {
    std::lock_guard lock(m_mutex);
    return m_isRecording;
}

void TakeBuffer::flushUntilStopped(const std::stop_token& stop) {
    std::unique_lock lock(m_mutex);
    while (m_flushChanged.wait(lock, stop, [this] { return m_isFlushing; }))
        flush(lock);
}

/// m_isFlushing gives this thread m_flushing, and keeps the take from ending, until it is cleared.
void TakeBuffer::flush(std::unique_lock<std::mutex>& lock) {
    const double sampleRate = m_sampleRate;
    const std::size_t number = m_chunkFiles.size() + 1;
    lock.unlock();

    const std::span<const float> samples(m_flushing);
    const std::size_t cut = quietCut(samples, sampleRate);
    const auto file = writeChunk(samples.first(cut), sampleRate);
    if (file) {
        if (m_onChunk)
            m_onChunk(*file);
        m_flushing.erase(m_flushing.begin(), m_flushing.begin() + static_cast<std::ptrdiff_t>(cut));
        log("[Fenlo] Flushed chunk " + std::to_string(number) + " → " + kilobytes(*file) + "KB WAV (" +
            std::to_string(m_flushing.size()) + " samples carried over)");
    } else {
        log("[Fenlo] ERROR: Failed to write chunk " + std::to_string(number));
    }

    lock.lock();
    if (file)
        m_chunkFiles.push_back(*file);
    // What came meanwhile fits into the memory that the long buffer already has.
    m_flushing.insert(m_flushing.end(), m_current.begin(), m_current.end());
    m_current = std::exchange(m_flushing, {});
    m_isFlushing = false;
    m_flushChanged.notify_all();
}

} // namespace fenlo
