#pragma once

#include "platform/Accessibility.h"
#include "platform/Pasteboard.h"
#include "platform/Workspace.h"

#include <functional>
#include <map>
#include <utility>
#include <vector>

namespace fenlo::test {

class FakePasteboard final : public Pasteboard {
public:
    using Forms = std::map<std::string, std::string>;

    Reading string(double limit) override {
        limits.push_back(limit);
        return answers || isOnLoan() ? Reading{.text = content} : Reading{.text = {}, .isAnswered = false};
    }
    void clear() override {
        content.reset();
        forms.clear();
    }
    void set(const std::string& text, Offer offer) override {
        clear();
        content = text;
        lastOffer = offer;
        history.push_back(text);
        if (offer.transient)
            transient.push_back(text);
    }
    GiveBack keep(double limit) override {
        limits.push_back(limit);
        if (!isOnLoan())
            m_kept = {content, forms};
        return [this, kept = m_kept](Return why) {
            m_waiting = [=, this] { giveBack(kept, why); };
            if (answers)
                answerNow();
        };
    }
    /// The owner of the clipboard answers after all.
    void answerNow() {
        answers = true;
        if (const auto waiting = std::exchange(m_waiting, {}))
            waiting();
    }

    std::optional<std::string> content;
    Forms forms;         // beside the text
    bool answers = true; // whether the clipboard's owner answers
    Offer lastOffer;
    std::vector<std::string> history;
    std::vector<std::string> transient; // texts that are to leave no trace
    std::vector<double> limits;

private:
    struct Kept {
        std::optional<std::string> text;
        Forms forms;
    };

    bool isOnLoan() const { return lastOffer.transient && !history.empty() && content == history.back(); }
    void giveBack(const Kept& kept, Return why) {
        const bool wasEmpty = !kept.text && kept.forms.empty();
        if (why == Return::afterLoan ? !isOnLoan() : wasEmpty)
            return;
        content = wasEmpty ? "" : kept.text;
        forms = kept.forms;
        lastOffer = {};
    }

    Kept m_kept;
    std::function<void()> m_waiting;
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
    std::optional<FrontApplication> frontApplication() override {
        onFront();
        return front;
    }
    bool becomeOnlyInstance() override { return isOnlyInstance; }
    bool callOtherInstance() override {
        ++calls;
        return true;
    }
    void onCalled(std::function<void()> handler) override {
        m_onCalled = std::move(handler);
        if (std::exchange(m_isCalled, false))
            call();
    }
    /// As another start of the program does.
    void call() {
        isAnswered = static_cast<bool>(m_onCalled);
        m_isCalled = !isAnswered;
        if (m_onCalled)
            m_onCalled();
    }
    bool isLoginItem() const override { return loginItem; }
    std::optional<std::string> registerLoginItem() override {
        loginItem = !loginError;
        return loginError;
    }
    bool opensAtLogin() const override { return loginItem && !loginOff; }
    std::optional<std::string> setOpensAtLogin(bool opens) override {
        if (!loginError) {
            loginItem = true;
            loginOff = !opens;
        }
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
    using Workspace::openUrl;
    void openUrl(const std::string& url, std::function<void()> onFailure) override {
        opened.push_back(url);
        if (!hasBrowser)
            onFailure();
    }
    bool openSoundSettings() override {
        opened.push_back("sound settings");
        return true;
    }

    std::optional<FrontApplication> front;
    std::function<void()> onFront = [] {};
    bool isOnlyInstance = true;
    int calls = 0; // of the other instance
    bool isAnswered = false;
    bool loginItem = false;
    bool loginOff = false; // by the user
    std::optional<std::string> loginError;
    std::function<void()> willSleep;
    bool isLocked = false;
    std::function<void()> screenLocked;
    std::vector<std::string> opened;
    bool hasBrowser = true;

private:
    std::function<void()> m_onCalled;
    bool m_isCalled = false; // and nobody has heard it yet
};

} // namespace fenlo::test
