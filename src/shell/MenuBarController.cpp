#include "shell/MenuBarController.h"

#include "platform/Workspace.h"
#include "settings/Config.h"
#include "settings/Deployment.h"
#include "shell/ElapsedText.h"
#include "text/professions/Professions.h"

#include <utility>

namespace fenlo {

namespace {

constexpr char column[] = "  |  ";
constexpr double secondsPerMinute = 60;

MenuItem line(std::string title) {
    return {std::move(title), {}};
}

std::string counted(std::int64_t count, const char* what) {
    return std::to_string(count) + what;
}

} // namespace

MenuBarController::MenuBarController(Config& config, StatusItem& statusItem, NotificationCenter& notifications,
                                     Workspace& workspace, const Deployment& deployment, MenuSources sources)
    : m_config(config), m_statusItem(statusItem), m_notifications(notifications), m_workspace(workspace),
      m_deployment(deployment), m_sources(std::move(sources)) {
    setFace(IconFace::idle);
    m_hotkeyChanged = notifications.observe(notification::hotkeyChanged, [this](const auto&) { refreshMenu(); });
    m_settingsChanged = config.watch([this] { refreshMenu(); });
    m_statisticsChanged =
        notifications.observe(notification::statisticsChanged, [this](const auto&) { refreshMenu(); });
}

void MenuBarController::refreshMenu() {
    std::vector<MenuItem> items;
    const auto add = [&items](MenuItem item) { items.push_back(std::move(item)); };

    if (!m_trouble.empty())
        add(line(m_trouble));
    if (m_sources.hasKeptTake())
        add({"Try Again: last take", onTryAgain});
    if (!items.empty())
        add(MenuItem::separator());
    add(line(dictationLine()));
    add(MenuItem::separator());
    add(line(todayLine()));
    add(line(totalLine()));
    add(MenuItem::separator());
    add(line(modeLine()));
    add({isWorkMode() ? "Switch to Personal" : "Switch to Professional", [this] { toggleDictationMode(); }});
    add(MenuItem::separator());
    add(line(inputLine()));
    add(MenuItem::separator());
    add({"Open Fenlo", onShowHistory});
    add(MenuItem::separator());
    if (const auto meeting = m_sources.meetingStatus()) {
        add(line("Meeting: " + elapsedText(meeting->elapsed) + " " + counted(meeting->segments, " segments")));
        add({"Stop Meeting Mode", onToggleMeeting});
    } else {
        add({"Meeting Mode", onToggleMeeting});
    }
    add(MenuItem::separator());
    if (const std::string notice = m_sources.updateNotice(); !notice.empty())
        add({notice + "...", onShowUpdate});
    if (checkForUpdates)
        add({"Check for Updates...", checkForUpdates});
    add(line("Fenlo v" + m_sources.version));
    add({"Need help? " + m_deployment.supportAddress, [this] { emailHelp(); }});
    add(MenuItem::separator());
    add({"Quit Fenlo", onQuit});
    m_statusItem.setMenu(std::move(items));
}

void MenuBarController::setTrouble(const std::string& line) {
    if (std::exchange(m_trouble, line) != line)
        refreshMenu();
}

std::string MenuBarController::dictationLine() const {
    const Settings settings = m_config.get();
    return (settings.continuousMode ? "Toggle [" : "Hold [") + m_sources.hotkeyLabel(settings.hotkey) + "] to dictate";
}

std::string MenuBarController::todayLine() const {
    const TodayStats stats = m_sources.todayStats();
    return "Today:  " + counted(stats.words, " words") + column + counted(stats.sessions, " sessions") + column +
           counted(stats.avgWPM, " WPM") + column + savedTimeText(stats.words, stats.duration) + " saved";
}

std::string MenuBarController::totalLine() const {
    const AllTimeStats stats = m_sources.allTimeStats();
    return "Total:  " + counted(stats.totalWords, " words") + column + counted(stats.totalSessions, " sessions") +
           column + allTimeSavedTimeText(stats.totalWords, stats.totalMinutes * secondsPerMinute) + " saved";
}

bool MenuBarController::isWorkMode() const {
    return m_config.get().dictationMode == DictationMode::work;
}

std::string MenuBarController::modeLine() const {
    return isWorkMode() ? "Professional Mode (" + professionLabel(m_config.get().profession) + ")" : "Personal Mode";
}

std::string MenuBarController::inputLine() const {
    const auto device = m_sources.inputDeviceName();
    return device ? " Input: " + *device : " No microphone detected";
}

void MenuBarController::toggleDictationMode() {
    m_config.update([](Settings& settings) {
        const bool isWork = settings.dictationMode == DictationMode::work;
        settings.dictationMode = isWork ? DictationMode::personal : DictationMode::work;
    });
    refreshMenu();
}

void MenuBarController::setMicMode(MicMode mode) {
    m_config.update([mode](Settings& settings) { settings.micMode = mode; });
    m_notifications.post(notification::micModeChanged);
}

void MenuBarController::emailHelp() {
    m_workspace.openUrl("mailto:" + m_deployment.supportAddress + "?subject=Help%20with%20Fenlo%20v" +
                        m_sources.version);
}

} // namespace fenlo
