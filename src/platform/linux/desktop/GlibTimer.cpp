#include "platform/linux/desktop/GlibTimer.h"

#include "base/LogThrown.h"

#include <utility>

namespace fenlo {

void GlibTimer::start(double seconds, std::function<void()> task) {
    stop();
    m_task = std::move(task);
    m_source = g_timeout_source_new(static_cast<guint>(seconds * 1000));
    const auto run = [](void* given) -> gboolean {
        auto& timer = *static_cast<GlibTimer*>(given);
        // The task may destroy the timer.
        const auto due = std::exchange(timer.m_task, nullptr);
        timer.stop();
        logThrown("Timer", due);
        return G_SOURCE_REMOVE;
    };
    g_source_set_callback(m_source, run, this, nullptr);
    g_source_attach(m_source, g_main_context_get_thread_default());
}

void GlibTimer::stop() {
    if (GSource* const source = std::exchange(m_source, nullptr)) {
        g_source_destroy(source);
        g_source_unref(source);
    }
    m_task = nullptr;
}

} // namespace fenlo
