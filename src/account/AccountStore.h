#pragma once

#include "base/MainQueue.h"
#include "base/OrderedWork.h"
#include "settings/Keychain.h"

#include <utility>

namespace fenlo {

/// The secrets of who is signed in, read and written on a worker, which the keyring may keep waiting for the user. One
/// piece of work follows the other in the order in which they were asked for, so that a token that was renewed late
/// does not come back after a sign-out.
///
/// Threads:  main thread; `work` runs on a worker, `next` on the main thread.
/// Lifetime: work outlives it, the services outlive the work. `next` is bound to whoever asks.
class AccountStore {
public:
    AccountStore(Keychain& keychain, MainQueue& mainQueue, Background& background)
        : m_keychain(keychain), m_mainQueue(mainQueue), m_work(background) {}

    /// Gives what `work(Keychain&)` returns to `next`.
    template <typename Work, typename Next>
    void run(Work work, Next next) {
        m_work.add([&keychain = m_keychain, &queue = m_mainQueue, work = std::move(work),
                    next = std::move(next)](std::stop_token) mutable {
            queue.post([next = std::move(next), result = work(keychain)]() mutable { next(std::move(result)); });
        });
    }

private:
    Keychain& m_keychain;
    MainQueue& m_mainQueue;
    OrderedWork m_work;
};

} // namespace fenlo
