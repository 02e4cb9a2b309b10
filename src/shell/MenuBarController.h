#pragma once

#include "base/Changes.h"
#include "base/NotificationCenter.h"
#include "platform/StatusItem.h"
#include "settings/Choices.h"
#include "shell/Statistics.h"

#include <functional>
#include <optional>
#include <string>

namespace fenlo {

class Config;
class Workspace;
struct Deployment;

struct MeetingStatus {
    double elapsed = 0; // seconds
    int segments = 0;
};

/// Where the menu takes its lines from; by default there is nothing to tell.
struct MenuSources {
    std::string version;
    std::function<std::string(const std::string& keyName)> hotkeyLabel = [](const std::string& name) { return name; };
    std::function<std::optional<std::string>()> inputDeviceName = [] { return std::nullopt; };
    std::function<TodayStats()> todayStats = [] { return TodayStats(); };
    std::function<AllTimeStats()> allTimeStats = [] { return AllTimeStats(); };
    std::function<std::optional<MeetingStatus>()> meetingStatus = [] { return std::nullopt; }; // of a running meeting
    std::function<bool()> hasKeptTake = [] { return false; };
    std::function<std::string()> updateNotice = [] { return std::string(); }; // of a newer release that was found
};

/// The icon in the tray, which shows the state of the session, and its menu with the day's numbers and the most used
/// switches.
///
/// Threads: main thread only.
class MenuBarController {
public:
    /// All references outlive the controller. The menu is there after the first refreshMenu().
    MenuBarController(Config& config, StatusItem& statusItem, NotificationCenter& notifications, Workspace& workspace,
                      const Deployment& deployment, MenuSources sources);
    MenuBarController(const MenuBarController&) = delete;
    MenuBarController& operator=(const MenuBarController&) = delete;

    // Menu lines without a closure are disabled, those about updates are absent. Call refreshMenu() after setting one.
    std::function<void()> onShowHistory;
    std::function<void()> onToggleMeeting;
    std::function<void()> onQuit;
    std::function<void()> checkForUpdates;
    std::function<void()> onShowUpdate; // what the notice is about
    std::function<void()> onTryAgain;   // of the last take that was kept

    /// Rebuilds the menu.
    void refreshMenu();
    void setFace(IconFace face) { m_statusItem.setFace(face); }
    /// The first line: why the last take failed; empty when all is well.
    void setTrouble(const std::string& line);

    void toggleDictationMode();
    void setMicStudio() { setMicMode(MicMode::studio); }
    void setMicAirpods() { setMicMode(MicMode::airpods); }
    /// Opens a mail draft to the support address.
    void emailHelp();

private:
    std::string dictationLine() const;
    std::string todayLine() const;
    std::string totalLine() const;
    bool isWorkMode() const;
    std::string modeLine() const;
    std::string inputLine() const;
    void setMicMode(MicMode mode);

    Config& m_config;
    StatusItem& m_statusItem;
    NotificationCenter& m_notifications;
    Workspace& m_workspace;
    const Deployment& m_deployment;
    MenuSources m_sources;
    std::string m_trouble;
    NotificationCenter::Observation m_hotkeyChanged;
    Changes::Watch m_settingsChanged;
    NotificationCenter::Observation m_statisticsChanged;
};

} // namespace fenlo
