#include "platform/linux/audio/PulseConnection.h"

#include "base/LogThrown.h"

#include <new>
#include <pulse/mainloop-api.h>
#include <pulse/rtclock.h>
#include <pulse/timeval.h>
#include <stdexcept>
#include <string>
#include <utility>

namespace fenlo {

namespace {

constexpr double reconnectDelay = 0.5; // seconds

pa_threaded_mainloop* makeLoop() {
    if (pa_threaded_mainloop* loop = ::pa_threaded_mainloop_new())
        return loop;
    throw std::bad_alloc();
}

struct DelayedCall {
    PulseConnection::Callback callback;
    pa_mainloop_api* api = nullptr;
    pa_time_event* event = nullptr;

    ~DelayedCall() { cancel(); }
    void cancel() {
        if (pa_time_event* old = std::exchange(event, nullptr))
            api->time_free(old);
    }
};

} // namespace

void callFromPulse(const PulseConnection::Callback& callback) noexcept {
    logThrown("audio callback", callback);
}

PulseLock::PulseLock(PulseConnection& connection) : m_loop(connection.m_loop) {
    ::pa_threaded_mainloop_lock(m_loop);
}

PulseLock::~PulseLock() {
    ::pa_threaded_mainloop_unlock(m_loop);
}

PulseConnection::PulseConnection() : m_loop(makeLoop()) {
    ::pa_threaded_mainloop_set_name(m_loop, "fenlo-audio");
    makeContext();
    m_retry = after(0, [this] { connect(); });
    if (::pa_threaded_mainloop_start(m_loop) < 0)
        throw std::runtime_error("cannot start the thread of the sound server's connection");
}

PulseConnection::~PulseConnection() {
    {
        PulseLock lock(*this);
        m_retry.reset();
        ::pa_context_set_state_callback(m_context, nullptr, nullptr);
        ::pa_context_disconnect(m_context);
    }
    ::pa_threaded_mainloop_stop(m_loop);
    ::pa_context_unref(m_context);
    ::pa_threaded_mainloop_free(m_loop);
}

PulseConnection::Subscription PulseConnection::subscribe(Hooks hooks) {
    const auto place = m_hooks.insert(m_hooks.end(), std::move(hooks));
    return {nullptr, [this, place](std::nullptr_t) { m_hooks.erase(place); }};
}

PulseConnection::Delayed PulseConnection::after(double seconds, Callback callback) {
    auto call = std::make_shared<DelayedCall>();
    call->callback = std::move(callback);
    call->api = ::pa_threaded_mainloop_get_api(m_loop);
    const auto delay = static_cast<pa_usec_t>(seconds * PA_USEC_PER_SEC);
    call->event = ::pa_context_rttime_new(
        m_context, ::pa_rtclock_now() + delay,
        [](pa_mainloop_api*, pa_time_event*, const timeval*, void* self) {
            auto* const due = static_cast<DelayedCall*>(self);
            due->cancel();
            const Callback run = std::move(due->callback); // it may destroy the object
            callFromPulse(run);
        },
        call.get());
    return call;
}

bool PulseConnection::waitFor(const std::function<bool()>& condition, double seconds) {
    bool isOver = false;
    const Delayed limit = after(seconds, [&] {
        isOver = true;
        signal();
    });
    while (!condition() && !isOver)
        ::pa_threaded_mainloop_wait(m_loop);
    return condition();
}

void PulseConnection::signal() {
    ::pa_threaded_mainloop_signal(m_loop, 0);
}

void PulseConnection::makeContext() {
    m_context = ::pa_context_new(::pa_threaded_mainloop_get_api(m_loop), "Fenlo");
    if (!m_context)
        throw std::bad_alloc();
    ::pa_context_set_state_callback(
        m_context,
        [](pa_context*, void* self) { callFromPulse([self] { static_cast<PulseConnection*>(self)->stateChanged(); }); },
        this);
}

/// Starting the server is left to the desktop: from here, one that cannot start would be tried twice a second.
void PulseConnection::connect() {
    pa_context* const context = m_context;
    if (::pa_context_connect(context, nullptr, PA_CONTEXT_NOAUTOSPAWN, nullptr) < 0 && context == m_context)
        replaceLostContext();
}

void PulseConnection::stateChanged() {
    const pa_context_state_t state = ::pa_context_get_state(m_context);
    if (state == PA_CONTEXT_READY) {
        m_isReady = true;
        for (const Hooks& hooks : m_hooks)
            hooks.ready();
        signal();
    } else if (state == PA_CONTEXT_FAILED || state == PA_CONTEXT_TERMINATED) {
        replaceLostContext();
    }
}

void PulseConnection::replaceLostContext() {
    m_hasFailed = true;
    if (std::exchange(m_isReady, false))
        for (const Hooks& hooks : m_hooks)
            hooks.lost();
    ::pa_context_set_state_callback(m_context, nullptr, nullptr);
    ::pa_context_unref(m_context);
    makeContext();
    m_retry = after(reconnectDelay, [this] { connect(); });
    signal();
}

} // namespace fenlo
