#pragma once

#include <functional>
#include <list>
#include <memory>

namespace fenlo {

/// Tells those who watch an object that it has changed; they ask it for what they show.
///
/// Threads: one thread only, that of the object.
/// Lifetime: a watch ends when its value dies, which may be during a call, and may outlive the object.
class Changes {
public:
    using Watch = std::shared_ptr<void>;

    [[nodiscard]] Watch watch(std::function<void()> handler);
    void tell() const;

private:
    using Handler = std::function<void()>;

    std::list<std::weak_ptr<const Handler>> m_handlers; // in the order they came
};

} // namespace fenlo
