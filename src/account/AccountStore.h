#pragma once

#include "base/MainQueue.h"
#include "base/OrderedWork.h"
#include "settings/Keychain.h"

#include <functional>
#include <string>
#include <utility>

namespace fenlo {

/// Who is signed in, as the secure store has it.
struct SignedIn {
    enum class State { nobody, user, unknown }; // unknown: the keyring does not answer

    State state = State::nobody;
    bool isApple = false;
    std::string name = {};
    std::string email = {}; // may be empty
};

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

    void read(std::function<void(SignedIn)> next);
    /// Forgets who is signed in, whichever way that was. `next` hears whether the keyring let all of it go.
    void forget(std::function<void(bool isForgotten)> next);
    /// Lets a keyring that was refused ask for its password once more.
    void askAgain() { m_keychain.askAgain(); }

    /// Gives what `work(Keychain&)` returns to `next`.
    template <typename Work, typename Next>
    void run(Work work, Next next) {
        m_work.run([&keychain = m_keychain, &queue = m_mainQueue, work = std::move(work),
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
