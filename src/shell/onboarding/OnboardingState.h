#pragma once

#include "base/Changes.h"

#include <functional>
#include <string>

namespace fenlo {

/// The numbers of the steps.
namespace onboardingStep {
inline constexpr int login = 0;
inline constexpr int welcome = 1;
inline constexpr int profession = 2;
inline constexpr int permissions = 3;
inline constexpr int micMode = 4;
inline constexpr int practice = 5;
inline constexpr int voiceProfile = 6;
inline constexpr int features = 7;
inline constexpr int emailCollection = 8;
inline constexpr int done = 9;
} // namespace onboardingStep

enum class PracticeState { idle, recording, processing, success, failed };

/// Where the first start is, for its screens. Those who change a field tell it.
///
/// Threads: main thread only.
struct OnboardingState {
    int step = onboardingStep::login;
    PracticeState practiceState = PracticeState::idle;
    std::string practiceText; // what was recognised
    bool isKeyPressed = false;

    bool voiceProfileOnly = false;
    bool skipLogin = false;
    int totalSteps = onboardingStep::done + 1;
    std::function<void()> onFinish = [] {};
    std::function<void(const std::string& name, const std::string& email)> onLogin = [](const auto&, const auto&) {};

    /// Of the progress bar, 0 to 1.
    double progress() const;

    Changes changes;
};

} // namespace fenlo
