#include "platform/linux/desktop/GlibThread.h"

#include "base/Log.h"

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
    // As a task, since a loop that does not run yet cannot be told to end.
    attach(G_PRIORITY_HIGH, [this] { g_main_loop_quit(m_loop.get()); });
    m_thread.join();
}

void GlibThread::invoke(std::function<void()> task) {
    attach(G_PRIORITY_DEFAULT, std::move(task));
}

void GlibThread::attach(int priority, std::function<void()> task) {
    GSource* const source = g_idle_source_new();
    g_source_set_priority(source, priority);
    const auto run = [](void* given) -> gboolean {
        try {
            (*static_cast<std::function<void()>*>(given))();
        } catch (const std::exception& error) {
            log(std::string("[Fenlo] ERROR: Desktop service: ") + error.what());
        }
        return G_SOURCE_REMOVE;
    };
    const auto drop = [](void* given) { delete static_cast<std::function<void()>*>(given); };
    g_source_set_callback(source, run, new std::function<void()>(std::move(task)), drop);
    g_source_attach(source, m_context.get());
    g_source_unref(source);
}

} // namespace fenlo
