#include <gmock/gmock.h> // before the macros of X11

#include "base/Files.h"
#include "platform/PumpedQueue.h"
#include "platform/desktop/StubBrowser.h"
#include "platform/desktop/keys/KeyWindow.h"
#include "platform/desktop/session/LoginManager.h"
#include "platform/linux/desktop/session/ActiveWindow.h"
#include "platform/linux/desktop/session/DesktopWorkspace.h"
#include "platform/linux/desktop/session/InstanceDoor.h"
#include "platform/linux/desktop/session/InstanceLock.h"
#include "platform/linux/desktop/session/LoginItem.h"
#include "platform/linux/desktop/session/ScreenLockWatch.h"
#include "platform/linux/desktop/session/SleepWatch.h"
#include "support/ChildProcess.h"
#include "support/EnvironmentVariable.h"
#include "support/TemporaryFolder.h"

#include <atomic>
#include <chrono>
#include <filesystem>
#include <unistd.h>

using namespace fenlo;
using namespace fenlo::test;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

namespace fs = std::filesystem;

namespace {

class ApplicationIdentityTest : public ::testing::Test {
protected:
    void install(const std::string& name, const std::string& lines) {
        const fs::path file = folder / name;
        fs::create_directories(file.parent_path());
        files::writeAtomically(file, "[Desktop Entry]\nType=Application\n" + lines);
    }
    FrontApplication identify(const WindowIdentity& window) { return identifyApplication(window, installed); }

    const fs::path folder = files::temporaryFile("applications-", "");
    DesktopFiles installed{{folder, folder / "absent"}};
};

TEST_F(ApplicationIdentityTest, DesktopFileIsFoundByClassThenIdThenProgram) {
    install("org.example.Writer.desktop", "Name=Writer\nStartupWMClass=Writer-Bin\nExec=/opt/writer/start %U\n");
    install("kde/paint.desktop", "Name=Paint\nName[de]=Malen\nExec=env A=b \"/usr/bin/painter\" %f\n");
    EXPECT_EQ(identify({"writer-bin", "x", "y"}).name, "Writer");
    EXPECT_EQ(identify({"Org.Example.Writer", "x", "y"}).id, "org.example.Writer");
    EXPECT_EQ(identify({"unknown", "unknown", "start"}).id, "org.example.Writer");
    EXPECT_EQ(identify({"Kde-Paint", "", ""}).name, "Paint");
    const EnvironmentVariable language("LANGUAGE", "de");
    install("third.desktop", "Name=Third\n"); // a changed folder is read again
    EXPECT_TRUE(eventually([&] { return identify({"painter", "", ""}).name == "Malen"; }));
}

TEST_F(ApplicationIdentityTest, UnknownProgramGoesByItsOwnName) {
    const auto application = identify({"SomeTool", "tool", "python3"});
    EXPECT_EQ(application.name, "SomeTool");
    EXPECT_EQ(application.id, "sometool");
    EXPECT_FALSE(application.isTerminal);
    EXPECT_EQ(identify({"", "", "runner"}).name, "runner");
}

TEST_F(ApplicationIdentityTest, IdTellsTheKindOfApplication) {
    install("code.desktop", "Name=Editor\nExec=code\nCategories=Development;IDE;\n");
    install("posty.desktop", "Name=Posty\nCategories=Network;Email;\n");
    install("webmail.desktop", "Name=Webmail\nCategories=Network;Email;\n");
    install("talk.desktop", "Name=Talk\nCategories=Network;InstantMessaging;Chat;\n");
    install("shelly.desktop", "Name=Shelly\nCategories=System;TerminalEmulator;\n");
    EXPECT_EQ(identify({"Code", "code", "code"}).id, "com.microsoft.vscode");
    EXPECT_EQ(identify({"Code", "code", "code"}).name, "Editor");
    EXPECT_EQ(identify({"Posty", "", ""}).id, "posty.mail");
    EXPECT_EQ(identify({"Webmail", "", ""}).id, "webmail");
    EXPECT_EQ(identify({"Talk", "", ""}).id, "talk.messages");
    const auto terminal = identify({"Shelly", "", ""});
    EXPECT_EQ(terminal.id, "shelly.terminal");
    EXPECT_TRUE(terminal.isTerminal);
    EXPECT_EQ(terminal.paste, PasteChord::controlShiftV);
}

TEST_F(ApplicationIdentityTest, TerminalsPasteTheirOwnWay) {
    EXPECT_EQ(identify({"URxvt", "", ""}).paste, PasteChord::shiftInsert);
    const auto terminal = identify({"konsole", "", ""});
    EXPECT_EQ(terminal.paste, PasteChord::controlShiftV);
    EXPECT_TRUE(terminal.isTerminal);
    EXPECT_THAT(terminal.id, HasSubstr("terminal"));
    EXPECT_EQ(identify({"Mousepad", "", ""}).paste, PasteChord::controlV);
    EXPECT_EQ(identify({"Emacs", "", ""}).paste, PasteChord::shiftInsert);
    EXPECT_FALSE(identify({"Emacs", "", ""}).isTerminal);
}

TEST(ActiveWindowTest, VanishedWindowIsNoFrontWindow) {
    const VirtualDesktop desktop;
    const auto active = ActiveWindow::connect();
    {
        const KeyWindow window("Fleeting");
        ASSERT_TRUE(eventually([&] { return active->identity().has_value(); }));
        EXPECT_EQ(active->identity()->windowClass, "Fleeting");
    }
    EXPECT_TRUE(eventually([&] { return !active->identity(); }));
    // The property may name a window that has gone.
    outputOf({"xprop", "-root", "-format", "_NET_ACTIVE_WINDOW", "32x", "-set", "_NET_ACTIVE_WINDOW", "0x7fffff"});
    EXPECT_FALSE(active->identity());
    EXPECT_TRUE(active->isConnected());
}

TEST(InstanceLockTest, LockEndsWithItsHolderEvenWhenThatIsKilled) {
    const fs::path file = files::temporaryFile("lock-", "");
    {
        // Holds the lock until it is killed, and leaves the file behind.
        const ChildProcess holder({"flock", file, "sleep", "1000"});
        EXPECT_TRUE(eventually([&] {
            InstanceLock second(file);
            return !second.take();
        }));
        outputOf({"pkill", "-KILL", "-P", std::to_string(holder.pid())});
        holder.signal(SIGKILL);
    }
    EXPECT_TRUE(fs::exists(file));
    InstanceLock first(file);
    EXPECT_TRUE(eventually([&] { return first.take(); }));
    EXPECT_FALSE(InstanceLock(file).take());
}

TEST(InstanceLockTest, LockFileThatCannotBeMade_LetsTheProgramStart) {
    InstanceLock lock("/nonexistent/fenlo.lock");
    EXPECT_TRUE(lock.take());
}

class LoginItemTest : public ::testing::Test {
protected:
    void write(const std::string& entry) {
        fs::create_directories(file.parent_path());
        files::writeAtomically(file, entry);
    }

    const fs::path folder = files::temporaryFile("config-", "");
    const fs::path file = folder / "autostart" / "org.fenlo.Fenlo.desktop";
    const LoginItem item{file, "/opt/fenlo/bin/fenlo"};
};

TEST_F(LoginItemTest, EntryStartsThisProgram) {
    EXPECT_FALSE(item.isDecided());
    EXPECT_EQ(item.write(), std::nullopt);
    EXPECT_TRUE(item.isDecided());
    EXPECT_THAT(files::read(file).value(), StartsWith("[Desktop Entry]\nType=Application\nName=Fenlo\n"));
    EXPECT_THAT(files::read(file).value(), HasSubstr("\nExec=\"/opt/fenlo/bin/fenlo\"\n"));
    EXPECT_THAT(files::read(file).value(), HasSubstr("\nTryExec=/opt/fenlo/bin/fenlo\n")) << "nothing after a removal";
}

TEST_F(LoginItemTest, EntryOfAProgramThatHasMovedIsMended) {
    write("# mine\n[Desktop Entry]\nType=Application\nExec=/old/fenlo\nX-GNOME-Autostart-Delay=5\n");
    EXPECT_FALSE(item.isDecided());
    EXPECT_EQ(item.write(), std::nullopt);
    EXPECT_TRUE(item.isDecided());
    const std::string mended = files::read(file).value();
    EXPECT_THAT(mended, StartsWith("# mine\n"));
    EXPECT_THAT(mended, HasSubstr("X-GNOME-Autostart-Delay=5"));
    EXPECT_THAT(mended, Not(HasSubstr("/old/fenlo")));
}

TEST_F(LoginItemTest, EntryThatTheUserSwitchedOffStaysOff) {
    for (const char* off : {"Hidden=true", "X-GNOME-Autostart-enabled=false"}) {
        const std::string entry = std::string("[Desktop Entry]\nType=Application\nExec=/old/fenlo\n") + off + "\n";
        write(entry);
        EXPECT_TRUE(item.isDecided()) << off;
        EXPECT_EQ(item.write(), std::nullopt);
        EXPECT_EQ(files::read(file), entry);
    }
}

TEST_F(LoginItemTest, TheUsersSwitchIsRememberedInTheEntry) {
    EXPECT_FALSE(item.isOn());
    EXPECT_EQ(item.set(false), std::nullopt);
    EXPECT_EQ(item.write(), std::nullopt) << "the next start";
    EXPECT_FALSE(item.isOn());
    for (const char* off : {"Hidden=true", "X-GNOME-Autostart-enabled=false"}) {
        write(std::string("[Desktop Entry]\nType=Application\nExec=/old/fenlo\nX-Mine=1\n") + off + "\n");
        EXPECT_EQ(item.set(true), std::nullopt);
        EXPECT_TRUE(item.isOn()) << off;
        EXPECT_THAT(files::read(file).value(), HasSubstr("X-Mine=1"));
    }
}

TEST_F(LoginItemTest, AnEntryUnderTheEarlierNameIsTakenOver) {
    const fs::path earlier = file.parent_path() / "fenlo.desktop";
    const std::string entry = "[Desktop Entry]\nType=Application\nExec=/old/fenlo\nHidden=true\nX-Mine=1\n";
    fs::create_directories(file.parent_path());
    files::writeAtomically(earlier, entry + "Icon=fenlo\n");
    item.takeOver(earlier);
    EXPECT_FALSE(fs::exists(earlier)) << "or the session would start two";
    EXPECT_EQ(files::read(file), entry + "Icon=org.fenlo.Fenlo\n");
    EXPECT_TRUE(item.isDecided());

    files::writeAtomically(earlier, "[Desktop Entry]\nType=Application\nExec=/other\n");
    item.takeOver(earlier);
    EXPECT_FALSE(fs::exists(earlier));
    EXPECT_EQ(files::read(file), entry + "Icon=org.fenlo.Fenlo\n") << "the newer one counts";

    files::writeAtomically(earlier, "no desktop file");
    item.takeOver(earlier);
    EXPECT_TRUE(fs::exists(earlier)) << "nobody knows whose that is";
}

TEST_F(LoginItemTest, DamagedEntryIsSetAside) {
    write("no desktop file");
    EXPECT_EQ(item.write(), std::nullopt);
    EXPECT_TRUE(item.isDecided());
    const auto kept = std::distance(fs::directory_iterator(file.parent_path()), fs::directory_iterator());
    EXPECT_EQ(kept, 2);
}

TEST_F(LoginItemTest, FolderThatCannotBeWrittenIsReported) {
    files::writeAtomically(folder, "a file in the way");
    EXPECT_TRUE(item.write().has_value());
}

TEST_F(LoginItemTest, StrangePathsAreQuotedSoThatTheSessionFindsThem) {
    EXPECT_EQ(LoginItem::quoted("/opt/my \"$app\"/50%"), "\"/opt/my \\\"\\$app\\\"/50%%\"");
    const LoginItem strange(file, "/opt/back\\slash and space/fenlo");
    EXPECT_EQ(strange.write(), std::nullopt);
    EXPECT_TRUE(strange.isDecided());
    // Escaped for the quotes, and once more for the file.
    EXPECT_THAT(files::read(file).value(), HasSubstr("Exec=\"/opt/back\\\\\\\\slash and space/fenlo\""));
}

TEST(SleepWatchTest, SleepWaitsForTheHandlerEachTime) {
    LoginManager manager;
    PumpedQueue queue;
    int sleeps = 0;
    bool wasHeld = false;
    const SleepWatch watch(queue, [&] {
        ++sleeps;
        wasHeld = manager.isInhibited();
    });
    for (int night = 1; night <= 2; ++night) {
        ASSERT_TRUE(eventually([&] { return manager.isInhibited(); }));
        manager.prepareForSleep(true);
        ASSERT_TRUE(queue.runUntil([&] { return sleeps == night; }));
        EXPECT_TRUE(wasHeld);
        EXPECT_TRUE(eventually([&] { return !manager.isInhibited(); }));
        manager.prepareForSleep(false);
    }
}

TEST(SleepWatchTest, WithoutALoginManagerNothingHappens) {
    const EnvironmentVariable noBus("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent");
    PumpedQueue queue;
    const SleepWatch watch(queue, [] { FAIL(); });
    EXPECT_FALSE(queue.runUntil([] { return false; }, 0.1));
}

TEST(ScreenLockWatchTest, AnyServiceMayLock_AndUnlocksWhenItEnds) {
    LoginManager services;
    services.setScreenSaverActive(true);
    PumpedQueue queue;
    int told = 0;
    const ScreenLockWatch watch(queue, [&] { ++told; });
    ASSERT_TRUE(eventually([&] { return watch.isLocked(); })) << "it was locked before we looked";
    services.setLocked(true);
    services.endScreenSaver();
    services.setLocked(false);
    EXPECT_TRUE(eventually([&] { return !watch.isLocked(); }));
    ASSERT_TRUE(queue.runUntil([&] { return told == 1; }));
    services.askForLock();
    EXPECT_TRUE(queue.runUntil([&] { return told == 2; }));
    EXPECT_FALSE(watch.isLocked()) << "nobody has said that it is locked";
}

TEST(DesktopWorkspaceTest, OnlyAddressesAreOpened) {
    const StubBrowser browser;
    PumpedQueue queue;
    DesktopWorkspace workspace(queue, activeWindowOfX11());
    for (const char* url : {"javascript:alert(1)", "--help", "/etc/passwd", "", "ssh://host", "MAILTO:a@example.org"})
        workspace.openUrl(url);
    EXPECT_THAT(browser.opened(), ElementsAre("MAILTO:a@example.org"));
}

TEST(DesktopWorkspaceTest, MissingBrowserIsToldOnce) {
    const TemporaryFolder programs;
    PumpedQueue queue;
    int told = 0;
    {
        DesktopWorkspace workspace(queue, activeWindowOfX11());
        const auto opener = programs / "xdg-open";
        const EnvironmentVariable path("PATH", (programs.path.string() + ":/bin:/usr/bin").c_str());
        files::writeAtomically(opener, "#!/bin/sh\nexit 3\n");
        fs::permissions(opener, fs::perms::owner_all);
        workspace.openUrl("https://example.org/", [&] { ++told; });
        EXPECT_TRUE(queue.runUntil([&] { return told == 1; }));
        workspace.openUrl("javascript:alert(1)", [&] { ++told; });
        EXPECT_TRUE(queue.runUntil([&] { return told == 2; }));
        const EnvironmentVariable nowhere("PATH", (programs / "empty").c_str());
        workspace.openUrl("https://example.org/", [&] { ++told; });
        EXPECT_TRUE(queue.runUntil([&] { return told == 3; }));
    }
    {
        DesktopWorkspace workspace(queue, activeWindowOfX11());
        const StubBrowser browser;
        workspace.openUrl("https://example.org/", [&] { ++told; });
        EXPECT_EQ(browser.opened().size(), 1u);
        files::writeAtomically(programs / "xdg-open", "#!/bin/sh\nexec sleep 3\n");
        fs::permissions(programs / "xdg-open", fs::perms::owner_all);
        const EnvironmentVariable path("PATH", (programs.path.string() + ":/bin:/usr/bin").c_str());
        workspace.openUrl("https://example.org/", [&] { ++told; });
    } // does not wait for a browser that runs on
    EXPECT_FALSE(queue.runUntil([&] { return told != 3; }, 0));
}

TEST(DesktopWorkspaceTest, WithoutAServerThereIsNoFrontApplication) {
    const EnvironmentVariable noServer("DISPLAY", ":9999");
    PumpedQueue queue;
    DesktopWorkspace workspace(queue, activeWindowOfX11());
    EXPECT_FALSE(workspace.frontApplication());
}

/// Sockets have room for about a hundred characters of a path.
TEST(InstanceDoorTest, IsFoundInAFolderWithALongName) {
    const TemporaryFolder folder;
    const fs::path file = folder.path / std::string(120, 'x') / "fenlo.socket";
    fs::create_directories(file.parent_path());
    std::atomic<int> knocks = 0;
    {
        const auto door = InstanceDoor::open(file, [&](const auto& answer) { ++knocks, answer(); });
        EXPECT_TRUE(InstanceDoor::knock(file, 5));
    }
    EXPECT_FALSE(fs::exists(file));
    EXPECT_EQ(knocks, 1);
}

TEST(InstanceDoorTest, HungAndVanishedOnesCostTheGivenTime) {
    const TemporaryFolder folder;
    const fs::path file = folder.path / "fenlo.socket";
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(InstanceDoor::knock(file, 0.1)) << "no door at all";
    std::function<void()> answer;
    {
        const auto door = InstanceDoor::open(file, [&](auto given) { answer = std::move(given); });
        EXPECT_FALSE(InstanceDoor::knock(file, 0.1)) << "nobody answers";
        files::writeAtomically(folder.path / "other.socket", "");
    }
    ASSERT_TRUE(answer);
    answer(); // the caller has gone, which must do no harm
    EXPECT_TRUE(InstanceDoor::open(folder.path / "other.socket", [](const auto&) {})) << "what lies there is replaced";
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(30));
}

} // namespace
