#pragma once

#include "base/Guarded.h"

#include <deque>
#include <functional>
#include <glib.h>
#include <memory>
#include <thread>

namespace fenlo {

/// A thread with a GLib main loop of its own, on which subscribed signals are delivered. The main thread's loop belongs
/// to the toolkit.
///
/// Threads: invoke(), attach() and isCurrent() on any.
class GlibThread {
public:
    GlibThread();
    /// Waits for the task in progress and drops the others.
    ~GlibThread();
    GlibThread(const GlibThread&) = delete;
    GlibThread& operator=(const GlibThread&) = delete;

    /// Runs the task on the thread, after the earlier ones.
    void invoke(std::function<void()> task);
    /// Lets the loop watch a source, which stays the caller's.
    void attach(GSource* source) { g_source_attach(source, m_context.get()); }
    bool isCurrent() const { return std::this_thread::get_id() == m_thread.get_id(); }

private:
    using Context = std::unique_ptr<GMainContext, decltype(&g_main_context_unref)>;
    using Loop = std::unique_ptr<GMainLoop, decltype(&g_main_loop_unref)>;
    using Tasks = std::deque<std::function<void()>>;

    void runNext();

    Context m_context;
    Loop m_loop;
    Guarded<Tasks> m_tasks;
    std::jthread m_thread;
};

} // namespace fenlo
