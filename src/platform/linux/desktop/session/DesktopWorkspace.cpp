#include "platform/linux/desktop/session/DesktopWorkspace.h"

#include "base/Environment.h"
#include "base/Log.h"
#include "base/Text.h"
#include "platform/linux/desktop/session/InstanceDoor.h"
#include "platform/linux/desktop/session/LoginItem.h"
#include "platform/linux/desktop/session/ScreenLockWatch.h"
#include "platform/linux/desktop/session/SleepWatch.h"
#include "platform/linux/desktop/session/StartProgram.h"

#include <algorithm>
#include <array>
#include <utility>

namespace fenlo {

namespace {

/// What opens the page for microphones on a desktop.
struct SettingsProgram {
    const char* desktop; // a part of XDG_CURRENT_DESKTOP; empty for any
    const char* program;
    const char* argument;
};

constexpr std::array soundSettings{
    SettingsProgram{"gnome", "gnome-control-center", "sound"},
    SettingsProgram{"kde", "systemsettings", "kcm_pulseaudio"},
    SettingsProgram{"kde", "systemsettings5", "kcm_pulseaudio"},
    SettingsProgram{"cinnamon", "cinnamon-settings", "sound"},
    SettingsProgram{"mate", "mate-volume-control", "--page=input"},
    SettingsProgram{"", "pavucontrol", "--tab=4"},
};

constexpr double callPatience = 1.0; // seconds for the running instance to answer
constexpr double startUp = 0.5;      // seconds that the program's start may take
constexpr double openLimit = 10;     // seconds in which an opener tells that it has found no program

} // namespace

DesktopWorkspace::DesktopWorkspace(MainQueue& mainQueue, FrontWindow frontWindow)
    : m_mainQueue(mainQueue), m_frontWindow(std::move(frontWindow)), m_desktopFiles(DesktopFiles::sessionFolders()),
      m_lock(InstanceLock::defaultFile()) {
    // Read before the first take, which would wait for it, and after the start, which has no use for it.
    m_firstRead = mainQueue.postAfter(startUp, [this] { m_desktopFiles.read(); });
}

DesktopWorkspace::~DesktopWorkspace() = default;

std::optional<FrontApplication> DesktopWorkspace::frontApplication() {
    const auto window = m_frontWindow();
    return window ? std::optional(identifyApplication(*window, m_desktopFiles)) : std::nullopt;
}

bool DesktopWorkspace::becomeOnlyInstance() {
    if (!m_lock.take())
        return false;
    if (!m_door)
        m_door = InstanceDoor::open(InstanceDoor::beside(m_lock.file()), [this](std::function<void()> answer) {
            m_mainQueue.post(m_lifetime.bind([this, answer = std::move(answer)] { called(answer); }));
        });
    return true;
}

bool DesktopWorkspace::callOtherInstance() {
    return InstanceDoor::knock(InstanceDoor::beside(m_lock.file()), callPatience);
}

void DesktopWorkspace::onCalled(std::function<void()> handler) {
    m_onCalled = std::move(handler);
    for (const auto& answer : std::exchange(m_unanswered, {}))
        called(answer);
}

void DesktopWorkspace::called(std::function<void()> answer) {
    if (!m_onCalled) {
        m_unanswered.push_back(std::move(answer));
        return;
    }
    m_onCalled();
    answer();
}

bool DesktopWorkspace::isLoginItem() const {
    return LoginItem::ofThisProgram().isDecided();
}

std::optional<std::string> DesktopWorkspace::registerLoginItem() {
    return LoginItem::ofThisProgram().write();
}

bool DesktopWorkspace::opensAtLogin() const {
    return LoginItem::ofThisProgram().isOn();
}

std::optional<std::string> DesktopWorkspace::setOpensAtLogin(bool opens) {
    return LoginItem::ofThisProgram().set(opens);
}

void DesktopWorkspace::onWillSleep(std::function<void()> handler) {
    m_sleepWatch.reset();
    if (handler)
        m_sleepWatch = std::make_unique<SleepWatch>(m_mainQueue, std::move(handler));
}

bool DesktopWorkspace::isScreenLocked() const {
    return m_screenLockWatch && m_screenLockWatch->isLocked();
}

void DesktopWorkspace::onScreenLocked(std::function<void()> handler) {
    m_screenLockWatch.reset();
    if (handler)
        m_screenLockWatch = std::make_unique<ScreenLockWatch>(m_mainQueue, std::move(handler));
}

void DesktopWorkspace::openUrl(const std::string& url, std::function<void()> onFailure) {
    constexpr std::array schemes{"http://", "https://", "mailto:", "file://"};
    const std::string lowered = text::lower(url);
    const std::function<void()> tell = m_lifetime.bind(std::move(onFailure));
    pid_t opener = 0;
    if (std::none_of(schemes.begin(), schemes.end(), [&](const char* scheme) { return lowered.starts_with(scheme); })) {
        logError("Not an address to open");
        m_mainQueue.post(tell);
    } else if (m_openers.start({"xdg-open", url}, opener) != 0) {
        logError("Cannot open an address: is xdg-open installed?");
        m_mainQueue.post(tell);
    } else {
        m_openings.run([this, opener, tell](std::stop_token stop) {
            // A program that still runs then is the browser itself.
            const auto status = m_openers.waitForEnd(opener, openLimit, stop);
            if (!status || *status == 0)
                return;
            logError("Cannot open an address: xdg-open ended with status {}", *status);
            m_mainQueue.post(tell);
        });
    }
}

bool DesktopWorkspace::openSoundSettings() {
    const auto isOn = [desktops = text::lower(environment("XDG_CURRENT_DESKTOP"))](const SettingsProgram& page) {
        return desktops.find(page.desktop) != std::string::npos;
    };
    // A program of another desktop may be installed, and be of no use here.
    return std::ranges::any_of(
        soundSettings, [&](const auto& page) { return isOn(page) && startProgram(page.program, page.argument); });
}

} // namespace fenlo
