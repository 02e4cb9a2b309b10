#include "base/Changes.h"

#include <vector>

namespace fenlo {

Changes::Watch Changes::watch(std::function<void()> handler) {
    m_handlers.remove_if([](const auto& watched) { return watched.expired(); });
    auto kept = std::make_shared<const Handler>(std::move(handler));
    m_handlers.push_back(kept);
    return std::const_pointer_cast<Handler>(kept);
}

void Changes::tell() const {
    // A handler may end a watch or begin one.
    const std::vector<std::weak_ptr<const Handler>> handlers(m_handlers.begin(), m_handlers.end());
    for (const auto& watched : handlers) {
        if (const auto handler = watched.lock())
            (*handler)();
    }
}

} // namespace fenlo
