#include "app/transcribe/LoadedSound.h"

#include <utility>

namespace fenlo {

LoadedSound::Share::Share(LoadedSound& all, std::stop_token stop) : m_all(all) {
    std::unique_lock lock(m_all.m_mutex);
    m_all.m_changed.wait(lock, stop, [this] { return !m_all.m_isReading && m_all.m_seconds <= m_all.m_limit; });
    m_all.m_isReading = true;
}

LoadedSound::Share::~Share() {
    loaded(0);
    {
        const std::lock_guard lock(m_all.m_mutex);
        m_all.m_seconds -= m_seconds;
    }
    m_all.m_changed.notify_all();
}

void LoadedSound::Share::loaded(double seconds) {
    if (!std::exchange(m_isReading, false))
        return;
    {
        const std::lock_guard lock(m_all.m_mutex);
        m_all.m_isReading = false;
        m_all.m_seconds += m_seconds = seconds;
    }
    m_all.m_changed.notify_all();
}

} // namespace fenlo
