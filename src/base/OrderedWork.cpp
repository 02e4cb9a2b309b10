#include "base/OrderedWork.h"

#include "base/LogThrown.h"

#include <optional>
#include <utility>

namespace fenlo {

void OrderedWork::run(Task task) {
    const bool isFirst = m_state->with([&](State& state) {
        state.waiting.push_back(std::move(task));
        return !std::exchange(state.isRunning, true);
    });
    if (isFirst)
        m_background.run([state = m_state](std::stop_token stop) { runAll(*state, stop); });
}

void OrderedWork::runAll(Guarded<State>& state, const std::stop_token& stop) {
    for (;;) {
        auto task = state.with([](State& current) -> std::optional<Task> {
            if (current.waiting.empty()) {
                current.isRunning = false;
                return std::nullopt;
            }
            auto next = std::move(current.waiting.front());
            current.waiting.pop_front();
            return next;
        });
        if (!task)
            return;
        logThrown("a step of ordered work failed", [&] { (*task)(stop); });
    }
}

} // namespace fenlo
