#pragma once

#include <functional>
#include <glib.h>

namespace fenlo {

/// Runs a task once, after a time, in the GLib loop of the thread that starts it.
///
/// Threads: one.
class GlibTimer {
public:
    GlibTimer() = default;
    ~GlibTimer() { stop(); }
    GlibTimer(const GlibTimer&) = delete;
    GlibTimer& operator=(const GlibTimer&) = delete;

    /// In place of an earlier task, which is dropped. A task may start its own timer again.
    void start(double seconds, std::function<void()> task);
    void stop();

private:
    GSource* m_source = nullptr;
    std::function<void()> m_task;
};

} // namespace fenlo
