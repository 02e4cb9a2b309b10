#pragma once

#include "base/Descriptor.h"
#include "shell/onboarding/Onboarding.h"
#include "ui/home/HomeWindow.h"

#include <functional>
#include <memory>
#include <string>

namespace fenlo {

class AutoUpdater;
class Config;

/// What the windows stand on. All outlive them.
struct ScreenModels {
    Config& config;
    MainQueue& mainQueue;
    HomeModels home;
    OnboardingServices firstStart;
    AutoUpdater& updater;
    std::function<std::string()> hotkey; // its label
};

/// The windows that are described in QML. They, and the toolkit that draws them, are a module of their own, which is
/// loaded with the first window: most of the time the program needs none.
///
/// Threads: main thread only.
class Screens {
public:
    virtual ~Screens() = default;

    virtual void showHome(HomeTab tab) = 0;
    virtual void closeHome() = 0;
    /// Calls the start back exactly once.
    virtual void showOnboarding(OnboardingStart start) = 0;
    virtual void presentOnboarding() = 0;
    virtual void showWelcome() = 0;
    virtual void showUpdates() = 0;
};

/// The module's only entrance.
extern "C" Screens* fenloMakeScreens(const ScreenModels& models);

/// The module's file, open from the start on: where an update replaces it under the running program, the windows are
/// still those of this version.
class ScreensModule {
public:
    ScreensModule();

    /// Loads the module, for good, and makes its windows.
    ///
    /// Errors: null, and a line in the log, when the module is missing.
    std::unique_ptr<Screens> load(const ScreenModels& models) const;

private:
    Descriptor m_file;
};

} // namespace fenlo
