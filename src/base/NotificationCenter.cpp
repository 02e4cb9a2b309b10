#include "base/NotificationCenter.h"

#include <vector>

namespace fenlo {

struct NotificationCenter::State {
    std::map<unsigned long, std::pair<std::string, Handler>> observers;
    unsigned long nextId = 1;
};

NotificationCenter::NotificationCenter() : m_state(std::make_shared<State>()) {}

NotificationCenter::Observation NotificationCenter::observe(const std::string& name, Handler handler) {
    const auto id = m_state->nextId++;
    m_state->observers.emplace(id, std::pair(name, std::move(handler)));
    return {nullptr, [state = std::weak_ptr(m_state), id](void*) {
                if (auto alive = state.lock())
                    alive->observers.erase(id);
            }};
}

void NotificationCenter::post(const std::string& name, const Object& object) {
    // Handlers may add or end observations, so walk a copy of the ids.
    std::vector<unsigned long> ids;
    for (const auto& [id, observer] : m_state->observers)
        if (observer.first == name)
            ids.push_back(id);
    for (const auto id : ids) {
        const auto found = m_state->observers.find(id);
        if (found == m_state->observers.end())
            continue;
        const Handler handler = found->second.second;
        handler(object);
    }
}

} // namespace fenlo
