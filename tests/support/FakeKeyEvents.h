#pragma once

#include "platform/KeyEvents.h"

#include <optional>
#include <vector>

namespace fenlo::test {

class FakeKeyEvents final : public KeyEvents {
public:
    struct Posted {
        std::uint16_t keyCode;
        std::uint64_t flags;
        KeyDirection direction;
        bool operator==(const Posted&) const = default;
    };

    Sources listen(Listener newListener) override {
        listener = std::move(newListener);
        return {true, true, eventTapWorks};
    }
    void stopListening() override { listener = {}; }
    TriggerOutcome trigger(Trigger trigger) override {
        return listener.onTrigger ? listener.onTrigger(trigger) : TriggerOutcome::notListening;
    }
    void watchMouseDown(std::function<void(ScreenPoint)> handler) override { mouseDown = std::move(handler); }
    bool post(std::uint16_t keyCode, std::uint64_t flags, KeyDirection direction) override {
        if (postFails)
            return false;
        posted.push_back({keyCode, flags, direction});
        if (onPost)
            onPost(posted.back());
        return true;
    }
    bool type(const std::string& text) override {
        if (canType)
            typed += text;
        return canType;
    }
    void releaseModifiers(double limit) override { releaseLimits.push_back(limit); }
    bool canPost() const override { return !postFails; }
    bool canDeliver(std::uint16_t keyCode) const override { return keyCode != missingKey; }
    std::string hotkeySubstitute() const override { return substitute; }

    void change(std::uint64_t flags, std::uint16_t keyCode) {
        if (listener.onFlagsChanged)
            listener.onFlagsChanged({flags, keyCode});
    }
    void keyDown(std::uint16_t keyCode) {
        if (listener.onKeyDown && eventTapWorks)
            listener.onKeyDown(keyCode);
    }

    Listener listener;
    std::function<void(ScreenPoint)> mouseDown;
    std::function<void(const Posted&)> onPost;
    std::vector<Posted> posted;
    std::vector<double> releaseLimits;
    std::string substitute;
    bool eventTapWorks = true;
    bool postFails = false;
    bool canType = true; // whether the layout has every character
    std::string typed;
    std::optional<std::uint16_t> missingKey; // a key that the keyboard lacks
};

} // namespace fenlo::test
