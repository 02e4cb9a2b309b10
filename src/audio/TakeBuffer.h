#pragma once

#include <condition_variable>
#include <cstddef>
#include <filesystem>
#include <functional>
#include <mutex>
#include <span>
#include <stop_token>
#include <thread>
#include <vector>

namespace fenlo {

/// The samples of the running take, and the last moments before it.
///
/// A take that grows beyond four minutes is cut at a quiet spot, and what lies before the cut goes into a chunk file.
/// A thread of this class writes it, so that the audio thread never waits for a disk: it hands the samples over whole
/// and goes on with an empty buffer, to whose front the rest after the cut returns. When the file cannot be written all
/// samples return, and the next buffer tries again.
///
/// Threads: append() on the audio thread, the rest on the main thread; isRecording() on any. begin() and end() wait for
///          a chunk that is being written.
/// Units:   samples at the input's own rate.
class TakeBuffer {
public:
    struct Taken {
        std::vector<float> samples;
        std::vector<std::filesystem::path> chunkFiles;
        bool deviceChanged = false;
    };
    enum class Place { beforeTake, firstOfTake, inTake };

    TakeBuffer();

    /// While no tap runs and no take.
    void setSampleRate(double hertz);

    /// Hears of each chunk file as it is written, on the thread that writes. To be set between takes.
    void setOnChunk(std::function<void(const std::filesystem::path&)> handler);

    void begin();
    /// Adds a buffer to the take, or without one to the moments before the next.
    Place append(std::span<const float> samples);
    Taken end();

    void forgetPreRoll();
    /// Remembers for end() that the input changed under the take. False without a take.
    bool markDeviceChanged();
    bool isRecording() const;

private:
    void rollOn(std::span<const float> samples);
    void flushUntilStopped(const std::stop_token& stop);
    void flush(std::unique_lock<std::mutex>& lock);

    double m_sampleRate = 44100; // hertz
    std::size_t m_chunkLimit = 0;
    std::size_t m_preRollLimit = 0;

    mutable std::mutex m_mutex;
    std::condition_variable_any m_flushChanged;
    std::vector<float> m_current;
    std::vector<float> m_preRoll;
    std::vector<std::filesystem::path> m_chunkFiles;
    bool m_isRecording = false;
    bool m_didPrependPreRoll = false;
    bool m_deviceChanged = false;
    bool m_isFlushing = false;
    std::vector<float> m_flushing;                               // the flusher's own while m_isFlushing
    std::function<void(const std::filesystem::path&)> m_onChunk; // likewise

    std::jthread m_flusher;
};

} // namespace fenlo
