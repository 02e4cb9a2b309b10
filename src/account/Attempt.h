#pragma once

#include "base/AskWorker.h"

#include <stop_token>
#include <utility>

namespace fenlo {

/// One try to sign in. With it ends what it has under way: a request is broken off, and no result comes any more.
///
/// Threads: main thread.
class Attempt {
public:
    Attempt(MainQueue& mainQueue, Background& background) : m_mainQueue(mainQueue), m_background(background) {}
    ~Attempt() { m_stop.request_stop(); }
    Attempt(const Attempt&) = delete;
    Attempt& operator=(const Attempt&) = delete;

    /// Gives what `work(std::stop_token)` returns on a worker to `next` on the main thread.
    template <typename Work, typename Next>
    void run(Work work, Next next) const {
        askWorker(
            m_background, m_mainQueue, m_lifetime,
            [stop = m_stop, work = std::move(work)](std::stop_token quit) mutable {
                const std::stop_callback onQuit(std::move(quit), [&stop] { stop.request_stop(); });
                return work(stop.get_token());
            },
            std::move(next));
    }

    /// A task that does nothing once this is over.
    template <typename Task>
    auto bind(Task task) const {
        return m_lifetime.bind(std::move(task));
    }
    std::stop_token token() const { return m_stop.get_token(); }

private:
    MainQueue& m_mainQueue;
    Background& m_background;
    std::stop_source m_stop;
    Lifetime m_lifetime;
};

} // namespace fenlo
