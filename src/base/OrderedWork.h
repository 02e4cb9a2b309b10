#pragma once

#include "base/Background.h"
#include "base/Guarded.h"

#include <deque>
#include <memory>

namespace fenlo {

/// Runs tasks on a worker one after the other, in the order in which they come.
///
/// Threads:  run() on any.
/// Lifetime: tasks may outlive it. When the program ends, those that came before still run; their token is stopped
///           then, so that they leave out what takes long.
class OrderedWork final : public Background {
public:
    explicit OrderedWork(Background& background) : m_background(background) {}

    void run(Task task) override;

private:
    struct State {
        std::deque<Task> waiting;
        bool isRunning = false;
    };

    static void runAll(Guarded<State>& state, const std::stop_token& stop);

    Background& m_background;
    std::shared_ptr<Guarded<State>> m_state = std::make_shared<Guarded<State>>();
};

} // namespace fenlo
