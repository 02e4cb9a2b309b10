#include "app/TerminationSignals.h"

#include <pthread.h>
#include <utility>

namespace fenlo {

namespace {

sigset_t terminationSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP})
        sigaddset(&signals, signal);
    return signals;
}

} // namespace

void TerminationSignals::block() {
    const sigset_t signals = terminationSignals();
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

TerminationSignals::TerminationSignals(std::function<void()> onSignal) {
    block();
    m_waiter = std::jthread([signals = terminationSignals(), handler = std::move(onSignal)](std::stop_token ended) {
        // The waiter itself is ended by SIGHUP, so that it needs no time-out.
        const std::stop_callback wake(ended, [thread = pthread_self()] { pthread_kill(thread, SIGHUP); });
        for (;;) {
            int signal = 0;
            if (sigwait(&signals, &signal) != 0 || ended.stop_requested())
                return;
            handler();
        }
    });
}

} // namespace fenlo
