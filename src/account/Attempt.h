#pragma once

#include "base/Background.h"
#include "base/Lifetime.h"
#include "base/MainQueue.h"

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
        m_background.run([&queue = m_mainQueue, stop = m_stop, work = std::move(work),
                          next = m_lifetime.bind(std::move(next))](std::stop_token quit) mutable {
            const std::stop_callback onQuit(quit, [&stop] { stop.request_stop(); });
            queue.post([next, result = work(stop.get_token())]() mutable { next(std::move(result)); });
        });
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
