#pragma once

#include <functional>
#include <memory>

namespace fenlo {

class AboutModel;
class AccountModel;
class Appearance;
class DashboardModel;
class HistoryModel;
class HomeViewModel;
class HotkeyTest;
class MeetingTab;
class MicrophoneModel;
class OfflineModels;
class ServiceKeysModel;
class SnippetsModel;
class VoiceProfileModel;

/// The tabs of the home window, by the numbers that callers know them by.
enum class HomeTab { dashboard = 0, meeting = 1, history = 4, settings = 5 };

/// What the home window's pages show. All outlive the window.
struct HomeModels {
    DashboardModel& dashboard;
    MeetingTab& meeting;
    HistoryModel& history;
    HomeViewModel& settings;
    HotkeyTest& hotkeyTest;
    SnippetsModel& snippets;
    VoiceProfileModel& voice;
    AboutModel& about;
    AccountModel& account;
    ServiceKeysModel& serviceKeys;
    OfflineModels& offlineModels;
    MicrophoneModel& microphone;
};

/// The one ordinary window of the program: what was dictated, and every setting. It exists while it is open.
///
/// Threads: main thread only.
class HomeWindow {
public:
    /// `readPassage` opens the reading that becomes the voice profile. The appearance outlives the window.
    HomeWindow(HomeModels models, Appearance& appearance, std::function<void()> readPassage);
    HomeWindow(const HomeWindow&) = delete;
    HomeWindow& operator=(const HomeWindow&) = delete;
    ~HomeWindow();

    /// Opens it on this tab, or brings it to the front.
    void open(HomeTab tab);
    void close();
    bool isOpen() const { return m_open != nullptr; }

private:
    struct Open;

    const HomeModels m_models;
    Appearance& m_appearance;
    const std::function<void()> m_readPassage;
    std::unique_ptr<Open> m_open;
};

} // namespace fenlo
