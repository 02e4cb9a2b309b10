#include "platform/linux/desktop/GlibThread.h"

#include "base/LogThrown.h"

#include <exception>
#include <string>

namespace fenlo {

GlibThread::GlibThread()
    : m_context(g_main_context_new(), &g_main_context_unref),
      m_loop(g_main_loop_new(m_context.get(), false), &g_main_loop_unref), m_thread([this] {
          g_main_context_push_thread_default(m_context.get());
          g_main_loop_run(m_loop.get());
          g_main_context_pop_thread_default(m_context.get());
      }) {}

GlibThread::~GlibThread() {
    m_tasks.with([](Tasks& tasks) { tasks.clear(); });
    // As a task: a loop that does not run yet would miss the word to end.
    invoke([this] { g_main_loop_quit(m_loop.get()); });
    m_thread.join();
}

void GlibThread::invoke(std::function<void()> task) {
    m_tasks.with([&](Tasks& tasks) { tasks.push_back(std::move(task)); });
    GSource* const source = g_idle_source_new();
    g_source_set_priority(source, G_PRIORITY_DEFAULT);
    const auto run = [](void* self) -> gboolean {
        static_cast<GlibThread*>(self)->runNext();
        return G_SOURCE_REMOVE;
    };
    g_source_set_callback(source, run, this, nullptr);
    g_source_attach(source, m_context.get());
    g_source_unref(source);
}

void GlibThread::runNext() {
    const auto task = m_tasks.with([](Tasks& tasks) {
        std::function<void()> next;
        if (!tasks.empty()) {
            next = std::move(tasks.front());
            tasks.pop_front();
        }
        return next;
    });
    if (task)
        logThrown("Desktop service", task);
}

} // namespace fenlo
