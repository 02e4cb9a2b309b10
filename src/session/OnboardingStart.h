#pragma once

#include <functional>
#include <string>

namespace fenlo {

/// How the first start begins, and whom it tells.
///
/// Threads: main thread.
struct OnboardingStart {
    int initialStep = 0;
    bool skipLogin = false;        // begins after the login step
    bool voiceProfileOnly = false; // one step only, from the settings
    /// At each successful sign-in; the address may be empty.
    std::function<void(const std::string& name, const std::string& email)> onLogin = [](const auto&, const auto&) {};
    /// At the end. Its window is gone soon after.
    std::function<void()> onFinish = [] {};
    /// The user closed the window before the end.
    std::function<void()> onClose = [] {};
};

} // namespace fenlo
