#include "shell/MenuBarController.h"
#include "settings/Config.h"
#include "settings/Deployment.h"
#include "support/FakeDesktop.h"
#include "support/FakeShell.h"
#include "support/VirtualTime.h"

#include "base/Files.h"

#include <gtest/gtest.h>

using namespace fenlo;

namespace {

using Lines = std::vector<std::string>;

class Menu : public ::testing::Test {
protected:
    Menu() {
        deployment.supportAddress = "help@fenlo.example";
        MenuSources sources;
        sources.version = "1.2.3";
        sources.hotkeyLabel = [](const std::string& name) { return name == "ctrl_l" ? "Left Control" : name; };
        sources.inputDeviceName = [this] { return device; };
        sources.todayStats = [this] { return today; };
        sources.allTimeStats = [this] { return allTime; };
        sources.meetingStatus = [this] { return meeting; };
        sources.updateNotice = [this] { return updateNotice; };
        menu.emplace(config, item, notifications, workspace, deployment, std::move(sources));
        menu->refreshMenu();
    }

    void change(const std::function<void(Settings&)>& change) {
        config.update(change);
        menu->refreshMenu();
    }
    void choose(const std::string& title) {
        const MenuItem* found = item.find(title);
        ASSERT_TRUE(found && found->action) << title;
        const auto action = found->action; // the menu is rebuilt while it runs
        action();
    }
    bool isEnabled(const std::string& title) const {
        const MenuItem* found = item.find(title);
        return found && found->action;
    }

    test::VirtualClock clock;
    Config config{files::temporaryFile("config", ".json"), clock};
    test::FakeStatusItem item;
    NotificationCenter notifications;
    test::FakeWorkspace workspace;
    Deployment deployment;
    std::optional<std::string> device = "USB Microphone";
    TodayStats today;
    AllTimeStats allTime;
    std::optional<MeetingStatus> meeting;
    std::string updateNotice;
    std::optional<MenuBarController> menu;
};

} // namespace

TEST_F(Menu, HasAllLinesInTheirOrder) {
    today = {412, 9, 180.0, 137};
    allTime = {120000, 2100, 800.0, 150, 40};
    config.update([](Settings& s) { s.profession = "pm"; });
    menu->checkForUpdates = [] {};
    menu->refreshMenu();
    EXPECT_EQ(item.titles(), (Lines{
                                 "Hold [Left Control] to dictate",
                                 "---",
                                 "Today:  412 words  |  9 sessions  |  137 WPM  |  7 min saved",
                                 "Total:  120000 words  |  2100 sessions  |  1.5 days saved",
                                 "---",
                                 "Professional Mode (Product Manager)",
                                 "Switch to Personal",
                                 "---",
                                 " Input: USB Microphone",
                                 "---",
                                 "Open Fenlo",
                                 "---",
                                 "Meeting Mode",
                                 "---",
                                 "Check for Updates...",
                                 "Fenlo v1.2.3",
                                 "Need help? help@fenlo.example",
                                 "---",
                                 "Quit Fenlo",
                             }));
    for (const char* title : {"Hold [Left Control] to dictate", "Professional Mode (Product Manager)",
                              " Input: USB Microphone", "Fenlo v1.2.3"})
        EXPECT_FALSE(isEnabled(title)) << title;
}

TEST_F(Menu, FollowsTheHotkeyTheModeAndTheMicrophone) {
    config.update([](Settings& s) { s.hotkey = "fn"; });
    notifications.post(notification::hotkeyChanged, "fn");
    EXPECT_EQ(item.titles()[0], "Hold [fn] to dictate") << "at once, by the notification";
    change([](Settings& s) { s.continuousMode = true; });
    EXPECT_EQ(item.titles()[0], "Toggle [fn] to dictate");
    device.reset();
    menu->refreshMenu();
    EXPECT_EQ(item.titles()[8], " No microphone detected");
}

TEST_F(Menu, SwitchesBetweenWorkAndPersonal) {
    EXPECT_TRUE(item.find("Professional Mode (Other)")) << "no profession counts as another one";
    choose("Switch to Personal");
    EXPECT_EQ(config.get().dictationMode.word(), "personal");
    EXPECT_TRUE(item.find("Personal Mode"));
    choose("Switch to Professional");
    EXPECT_EQ(config.get().dictationMode.word(), "work");
    change([](Settings& s) { s.profession = "beekeeper"; });
    EXPECT_TRUE(item.find("Professional Mode (beekeeper)"));
}

TEST_F(Menu, ShowsARunningMeeting) {
    meeting = MeetingStatus{4505.9, 12};
    menu->refreshMenu();
    const auto titles = item.titles();
    EXPECT_EQ((Lines{titles[12], titles[13], titles[14]}),
              (Lines{"Meeting: 75:05 12 segments", "Stop Meeting Mode", "---"}));
}

TEST_F(Menu, LinesWithoutAClosureAreDisabledUntilItIsSet) {
    const Lines titles{"Open Fenlo", "Meeting Mode", "Quit Fenlo"};
    for (const std::string& title : titles)
        EXPECT_FALSE(isEnabled(title)) << title;
    Lines called;
    menu->onShowHistory = [&] { called.push_back("Open Fenlo"); };
    menu->onToggleMeeting = [&] { called.push_back("Meeting Mode"); };
    menu->onQuit = [&] { called.push_back("Quit Fenlo"); };
    menu->refreshMenu();
    for (const std::string& title : titles)
        choose(title);
    EXPECT_EQ(called, titles);
}

TEST_F(Menu, LinesAboutUpdatesAreThereOnlyWhereThereIsSomethingToChoose) {
    EXPECT_FALSE(item.find("Check for Updates..."));
    EXPECT_FALSE(item.find("Fenlo 9.0 is available..."));
    Lines called;
    menu->checkForUpdates = [&] { called.push_back("check"); };
    menu->onShowUpdate = [&] { called.push_back("show"); };
    updateNotice = "Fenlo 9.0 is available";
    menu->refreshMenu();
    choose("Check for Updates...");
    choose("Fenlo 9.0 is available...");
    EXPECT_EQ(called, (Lines{"check", "show"}));
}

TEST_F(Menu, MicrophoneModesAreStoredAndAnnounced) {
    int announced = 0;
    const auto observation = notifications.observe(notification::micModeChanged, [&](const auto&) { ++announced; });
    menu->setMicAirpods();
    EXPECT_EQ(config.get().micMode.word(), "airpods");
    menu->setMicStudio();
    EXPECT_EQ(config.get().micMode.word(), "studio");
    EXPECT_EQ(announced, 2);
}

TEST_F(Menu, HelpOpensAMailDraft) {
    choose("Need help? help@fenlo.example");
    EXPECT_EQ(workspace.opened, Lines{"mailto:help@fenlo.example?subject=Help%20with%20Fenlo%20v1.2.3"});
}

TEST_F(Menu, ChangesOfTheSettingsShowAtOnce) {
    test::VirtualMainQueue queue(clock);
    config.tellOn(queue);
    config.update([](Settings& settings) { settings.continuousMode = true; });
    config.update([](Settings& settings) { settings.dictationMode = DictationMode::personal; });
    const int before = item.menus;
    queue.runPosted();
    EXPECT_EQ(item.titles()[0], "Toggle [Left Control] to dictate");
    EXPECT_NE(item.find("Switch to Professional"), nullptr);
    EXPECT_EQ(item.menus, before + 1) << "once for what happened together";
}
