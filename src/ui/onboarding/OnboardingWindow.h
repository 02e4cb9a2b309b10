#pragma once

#include "base/Lifetime.h"
#include "shell/onboarding/Onboarding.h"

#include <memory>

namespace fenlo {

class Appearance;
class HomeViewModel;
class ServiceKeysModel;

/// What the first start shows of the settings. All outlive the window.
struct OnboardingModels {
    Appearance& appearance;
    HomeViewModel& settings;
    ServiceKeysModel& keys;
};

/// The window of the first start, or of the reading of the passage alone. It exists while it is shown.
///
/// Threads: main thread only.
class OnboardingWindow {
public:
    OnboardingWindow(OnboardingModels models, OnboardingServices services);
    OnboardingWindow(const OnboardingWindow&) = delete;
    OnboardingWindow& operator=(const OnboardingWindow&) = delete;
    ~OnboardingWindow();

    /// Begins anew. The start is told of the end from the event loop, after the window has gone.
    void show(OnboardingStart start);
    void toFront();
    bool isOpen() const { return m_open != nullptr; }

private:
    struct Open;

    std::function<void()> afterClosing(std::function<void()> tell);

    const OnboardingModels m_models;
    const OnboardingServices m_services;
    std::unique_ptr<Open> m_open;
    Lifetime m_lifetime;
};

} // namespace fenlo
