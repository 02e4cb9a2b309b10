#pragma once

#include <condition_variable>
#include <mutex>
#include <stop_token>

namespace fenlo {

/// Bounds the sound that recordings worked on side by side hold in memory: one is read at a time, and none is begun
/// while those in memory last longer than the limit. A single one may be of any length.
///
/// Threads: any.
/// Units:   seconds of sound.
class LoadedSound {
public:
    explicit LoadedSound(double limit) : m_limit(limit) {}

    /// A recording's share, from before it is read.
    class Share {
    public:
        /// Waits for its turn; a stop request ends the wait, and the recording's own work then ends by it too.
        Share(LoadedSound& all, std::stop_token stop);
        ~Share();
        Share(const Share&) = delete;
        Share& operator=(const Share&) = delete;

        /// It is read. Further calls do nothing.
        void loaded(double seconds);

    private:
        LoadedSound& m_all;
        bool m_isReading = true;
        double m_seconds = 0;
    };

private:
    const double m_limit;
    std::mutex m_mutex;
    std::condition_variable_any m_changed;
    bool m_isReading = false;
    double m_seconds = 0;
};

} // namespace fenlo
