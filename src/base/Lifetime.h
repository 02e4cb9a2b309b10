#pragma once

#include <memory>
#include <utility>

namespace fenlo {

/// Ties posted tasks to their owner: a task made by bind() does nothing once the owner is gone.
///
/// Threads:  the owner dies on the main thread and bound tasks run there; bind() itself may be called anywhere.
/// Lifetime: declare it as the owner's last member, so that it dies first.
class Lifetime {
public:
    template <typename Task>
    auto bind(Task task) const {
        return [alive = std::weak_ptr<const bool>(m_token), task = std::move(task)](auto&&... arguments) mutable {
            if (!alive.expired())
                task(std::forward<decltype(arguments)>(arguments)...);
        };
    }

private:
    std::shared_ptr<const bool> m_token = std::make_shared<const bool>(true);
};

} // namespace fenlo
