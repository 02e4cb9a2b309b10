#pragma once

#include "base/Background.h"
#include "base/Lifetime.h"
#include "base/MainQueue.h"

#include <utility>

namespace fenlo {

/// Asks a worker and comes back: `work` runs there with the stop token, and `done` gets its answer on the main thread,
/// once, unless its owner is gone by then.
///
/// Threads:  main thread.
/// Lifetime: the queue outlives the background's tasks. `lifetime` is that of the owner of `done`.
template <typename Work, typename Done>
void askWorker(Background& background, MainQueue& queue, const Lifetime& lifetime, Work work, Done done) {
    background.run(
        [work = std::move(work), &queue, done = lifetime.bind(std::move(done))](std::stop_token stop) mutable {
            queue.post([done = std::move(done), answer = work(stop)]() mutable { done(std::move(answer)); });
        });
}

} // namespace fenlo
