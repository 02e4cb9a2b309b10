#pragma once

#include "platform/Accessibility.h"
#include "platform/Pasteboard.h"
#include "platform/Workspace.h"

#include <vector>

namespace fenlo::test {

class FakePasteboard final : public Pasteboard {
public:
    std::optional<std::string> string(double limit) override {
        limits.push_back(limit);
        return content;
    }
    void clear() override { content.reset(); }
    void set(const std::string& text, Offer offer) override {
        content = text;
        lastOffer = offer;
        history.push_back(text);
        if (offer.transient)
            transient.push_back(text);
    }

    std::optional<std::string> content;
    Offer lastOffer;
    std::vector<std::string> history;
    std::vector<std::string> transient; // those that were asked to leave no trace
    std::vector<double> limits;
};

class FakeAccessibility final : public Accessibility {
public:
    bool trusted() const override { return isTrusted; }
    void request() override { ++requests; }
    std::optional<FocusedElement> focusedElement(double limit) override {
        limits.push_back(limit);
        return element;
    }

    bool isTrusted = true;
    int requests = 0;
    std::optional<FocusedElement> element;
    std::vector<double> limits;
};

class FakeWorkspace final : public Workspace {
public:
    std::optional<FrontApplication> frontApplication() override { return front; }
    bool becomeOnlyInstance() override { return isOnlyInstance; }
    bool isLoginItem() const override { return loginItem; }
    std::optional<std::string> registerLoginItem() override {
        loginItem = !loginError;
        return loginError;
    }
    void onWillSleep(std::function<void()> handler) override { willSleep = std::move(handler); }
    bool isScreenLocked() const override { return isLocked; }
    void onScreenLocked(std::function<void()> handler) override { screenLocked = std::move(handler); }
    void lockScreen() {
        isLocked = true;
        if (screenLocked)
            screenLocked();
    }
    void openUrl(const std::string& url) override { opened.push_back(url); }

    std::optional<FrontApplication> front;
    bool isOnlyInstance = true;
    bool loginItem = false;
    std::optional<std::string> loginError;
    std::function<void()> willSleep;
    bool isLocked = false;
    std::function<void()> screenLocked;
    std::vector<std::string> opened;
};

} // namespace fenlo::test
