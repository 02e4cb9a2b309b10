// What every workspace port does, tried on the fake and on a real session.

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
#include "support/EnvironmentVariable.h"
#include "support/FakeDesktop.h"
#include "support/TemporaryFolder.h"

#include <atomic>
#include <filesystem>
#include <thread>

using namespace fenlo;
using namespace fenlo::test;
using ::testing::ElementsAre;

namespace {

/// A session under test, and what happens around it.
class Rig {
public:
    virtual ~Rig() = default;
    virtual Workspace& workspace() = 0;
    virtual void showTerminal() = 0;
    virtual void startOtherInstance() = 0;
    /// Another start of the program asks this one to show itself.
    virtual void call() = 0;
    virtual bool isAnswered() = 0;
    virtual void sleep() = 0;
    virtual void lock(bool isLocked) = 0;
    virtual std::vector<std::string> openedUrls() = 0;
    virtual bool runUntil(const std::function<bool()>& condition) = 0;
};

class FakeRig final : public Rig {
public:
    Workspace& workspace() override { return m_workspace; }
    void showTerminal() override {
        m_workspace.front = FrontApplication{"XTerm", "xterm.terminal", true, PasteChord::shiftInsert};
    }
    void startOtherInstance() override { m_workspace.isOnlyInstance = false; }
    void call() override { m_workspace.call(); }
    bool isAnswered() override { return m_workspace.isAnswered; }
    void sleep() override { m_workspace.willSleep(); }
    void lock(bool isLocked) override {
        m_workspace.isLocked = isLocked;
        if (isLocked)
            m_workspace.screenLocked();
    }
    std::vector<std::string> openedUrls() override { return m_workspace.opened; }
    bool runUntil(const std::function<bool()>& condition) override { return condition(); }

private:
    FakeWorkspace m_workspace;
};

class X11Rig final : public Rig {
public:
    Workspace& workspace() override {
        if (!m_workspace)
            m_workspace.emplace(m_queue, activeWindowOfX11());
        return *m_workspace;
    }
    void showTerminal() override { m_window.emplace("XTerm"); }
    void startOtherInstance() override {
        m_other.emplace(InstanceLock::defaultFile());
        EXPECT_TRUE(m_other->take());
        m_otherDoor = InstanceDoor::open(InstanceDoor::beside(m_other->file()), [](const auto& answer) { answer(); });
    }
    void call() override {
        m_caller = std::jthread(
            [this] { m_isAnswered = DesktopWorkspace(m_callersQueue, activeWindowOfX11()).callOtherInstance(); });
    }
    bool isAnswered() override { return m_isAnswered; }
    void sleep() override {
        EXPECT_TRUE(eventually([this] { return m_loginManager.isInhibited(); }));
        m_loginManager.prepareForSleep(true);
    }
    void lock(bool isLocked) override { m_loginManager.setLocked(isLocked); }
    std::vector<std::string> openedUrls() override { return m_browser.opened(); }
    bool runUntil(const std::function<bool()>& condition) override { return m_queue.runUntil(condition); }

private:
    const TemporaryFolder m_folder;
    const EnvironmentVariable m_settings{"XDG_CONFIG_HOME", m_folder.path.c_str()};
    const EnvironmentVariable m_runtime{"XDG_RUNTIME_DIR", m_folder.path.c_str()};
    StubBrowser m_browser;
    VirtualDesktop m_desktop;
    LoginManager m_loginManager;
    PumpedQueue m_queue;
    std::optional<KeyWindow> m_window;
    std::optional<InstanceLock> m_other;
    std::unique_ptr<InstanceDoor> m_otherDoor;
    std::optional<DesktopWorkspace> m_workspace;
    PumpedQueue m_callersQueue;
    std::atomic<bool> m_isAnswered = false;
    std::jthread m_caller;
};

class WorkspaceContract : public ::testing::TestWithParam<std::unique_ptr<Rig> (*)()> {
protected:
    std::unique_ptr<Rig> rig = GetParam()();
    Workspace& workspace = rig->workspace();
};

TEST_P(WorkspaceContract, FrontApplicationTellsHowToPaste) {
    EXPECT_FALSE(workspace.frontApplication());
    rig->showTerminal();
    std::optional<FrontApplication> front;
    ASSERT_TRUE(rig->runUntil([&] { return (front = workspace.frontApplication()).has_value(); }));
    EXPECT_EQ(front->name, "XTerm");
    EXPECT_EQ(front->id, "xterm.terminal");
    EXPECT_TRUE(front->isTerminal);
    EXPECT_EQ(front->paste, PasteChord::shiftInsert);
}

TEST_P(WorkspaceContract, FirstInstanceIsTheOnlyOne) {
    EXPECT_TRUE(workspace.becomeOnlyInstance());
    EXPECT_TRUE(workspace.becomeOnlyInstance());
}

TEST_P(WorkspaceContract, SecondInstanceIsTold) {
    rig->startOtherInstance();
    EXPECT_FALSE(workspace.becomeOnlyInstance());
    EXPECT_TRUE(workspace.callOtherInstance());
}

TEST_P(WorkspaceContract, CallOfAnotherInstanceReachesTheHandlerAlsoOneThatComesLater) {
    ASSERT_TRUE(workspace.becomeOnlyInstance());
    rig->call();
    int calls = 0;
    workspace.onCalled([&] { ++calls; });
    EXPECT_TRUE(rig->runUntil([&] { return calls == 1; }));
    EXPECT_TRUE(rig->runUntil([&] { return rig->isAnswered(); }));
    workspace.onCalled([&] { calls += 10; });
    rig->call();
    EXPECT_TRUE(rig->runUntil([&] { return calls == 11; })) << "an answered call is not told again";
}

TEST_P(WorkspaceContract, LoginItemLasts) {
    EXPECT_FALSE(workspace.isLoginItem());
    EXPECT_EQ(workspace.registerLoginItem(), std::nullopt);
    EXPECT_TRUE(workspace.isLoginItem());
    EXPECT_TRUE(workspace.opensAtLogin());
    EXPECT_EQ(workspace.setOpensAtLogin(false), std::nullopt);
    EXPECT_FALSE(workspace.opensAtLogin());
    EXPECT_TRUE(workspace.isLoginItem()) << "switched off is settled too";
    EXPECT_EQ(workspace.setOpensAtLogin(true), std::nullopt);
    EXPECT_TRUE(workspace.opensAtLogin());
}

TEST_P(WorkspaceContract, HandlerRunsBeforeSleep) {
    int sleeps = 0;
    workspace.onWillSleep([&] { ++sleeps; });
    rig->sleep();
    EXPECT_TRUE(rig->runUntil([&] { return sleeps == 1; }));
}

TEST_P(WorkspaceContract, LockedScreenIsReportedAndKnownUntilItOpens) {
    int locks = 0;
    workspace.onScreenLocked([&] { ++locks; });
    EXPECT_FALSE(workspace.isScreenLocked());
    EXPECT_TRUE(rig->runUntil([&] {
        rig->lock(true);
        return workspace.isScreenLocked();
    }));
    EXPECT_TRUE(rig->runUntil([&] { return locks == 1; }));
    rig->lock(false);
    EXPECT_TRUE(rig->runUntil([&] { return !workspace.isScreenLocked(); }));
}

TEST_P(WorkspaceContract, UrlsGoToTheBrowser) {
    workspace.openUrl("https://example.org/a?b='c'&d=$HOME");
    EXPECT_THAT(rig->openedUrls(), ElementsAre("https://example.org/a?b='c'&d=$HOME"));
}

INSTANTIATE_TEST_SUITE_P(Fake, WorkspaceContract,
                         ::testing::Values([]() -> std::unique_ptr<Rig> { return std::make_unique<FakeRig>(); }));
INSTANTIATE_TEST_SUITE_P(X11, WorkspaceContract,
                         ::testing::Values([]() -> std::unique_ptr<Rig> { return std::make_unique<X11Rig>(); }));

} // namespace
