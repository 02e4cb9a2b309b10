#pragma once

#include "platform/SecureStore.h"

#include <functional>
#include <map>
#include <mutex>

namespace fenlo::test {

/// Takes calls on several threads; a test that does so looks at its fields when they have ended.
class FakeSecureStore final : public SecureStore {
public:
    std::optional<std::string> save(const std::string& name, const std::string& value) override {
        if (!isAvailable)
            return "the store is not available";
        const std::lock_guard lock(m_mutex);
        values[name] = value;
        return {};
    }
    Value load(const std::string& name) override {
        if (!isAvailable)
            return {Status::unavailable, {}};
        const Value value = find(name);
        if (onLoad)
            onLoad();
        return value;
    }
    std::optional<std::string> remove(const std::string& name) override {
        if (!isAvailable || isFixed)
            return "the store is not available";
        const std::lock_guard lock(m_mutex);
        values.erase(name);
        return {};
    }

    void askAgain() override { ++askedAgain; }

    bool isAvailable = true;
    bool isFixed = false; // nothing can be removed
    int askedAgain = 0;
    std::function<void()> onLoad; // between the look-up and its answer
    std::map<std::string, std::string> values;

private:
    Value find(const std::string& name) {
        const std::lock_guard lock(m_mutex);
        const auto found = values.find(name);
        return found == values.end() ? Value{} : Value{Status::ok, found->second};
    }

    std::mutex m_mutex;
};

} // namespace fenlo::test
