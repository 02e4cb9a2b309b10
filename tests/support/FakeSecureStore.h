#pragma once

#include "platform/SecureStore.h"

#include <functional>
#include <map>

namespace fenlo::test {

class FakeSecureStore final : public SecureStore {
public:
    std::optional<std::string> save(const std::string& name, const std::string& value) override {
        if (!isAvailable)
            return "the store is not available";
        values[name] = value;
        return {};
    }
    Value load(const std::string& name) override {
        if (!isAvailable)
            return {Status::unavailable, {}};
        const auto found = values.find(name);
        const Value value = found == values.end() ? Value{} : Value{Status::ok, found->second};
        if (onLoad)
            onLoad();
        return value;
    }
    void remove(const std::string& name) override {
        if (isAvailable)
            values.erase(name);
    }

    void askAgain() override { ++askedAgain; }

    bool isAvailable = true;
    int askedAgain = 0;
    std::function<void()> onLoad; // between the look-up and its answer
    std::map<std::string, std::string> values;
};

} // namespace fenlo::test
