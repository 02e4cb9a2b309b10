#include "platform/linux/secrets/SecretDeadline.h"

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace fenlo {

namespace {

void cancelAfter(GCancellable* cancellable, double seconds, std::stop_token stop) {
    std::mutex mutex;
    std::condition_variable_any sleep;
    std::unique_lock lock(mutex);
    sleep.wait_for(lock, stop, std::chrono::duration<double>(seconds), [] { return false; });
    if (!stop.stop_requested())
        g_cancellable_cancel(cancellable);
}

void cancelToo(GCancellable*, gpointer other) {
    g_cancellable_cancel(static_cast<GCancellable*>(other));
}

} // namespace

SecretDeadline::SecretDeadline(GCancellable* closed, double limit)
    : m_closed(closed), m_cancellable(g_cancellable_new()),
      m_link(g_cancellable_connect(closed, G_CALLBACK(&cancelToo), m_cancellable, nullptr)),
      m_watch([this, limit](std::stop_token stop) { cancelAfter(m_cancellable, limit, stop); }) {}

SecretDeadline::~SecretDeadline() {
    m_watch.request_stop();
    m_watch.join();
    g_cancellable_disconnect(m_closed, m_link);
    g_object_unref(m_cancellable);
}

} // namespace fenlo
