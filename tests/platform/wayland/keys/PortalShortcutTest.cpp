#include "platform/linux/wayland/keys/PortalShortcut.h"

#include "platform/desktop/portal/FakePortal.h"

#include <atomic>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <mutex>

using namespace fenlo;
using namespace fenlo::test;
using ::testing::ElementsAre;
using State = PortalShortcut::State;

namespace {

constexpr char shortcutInterface[] = "org.freedesktop.portal.GlobalShortcuts";
constexpr char shortcutSession[] = "/org/freedesktop/portal/desktop/session/1_1/it";

/// A desktop's portal, each of which does something in its own way.
class PortalShortcutTest : public ::testing::Test {
protected:
    void start() {
        shortcut = std::make_unique<PortalShortcut>(
            [this](Trigger trigger) { triggers.with([&](auto& all) { all.push_back(trigger); }); });
    }
    bool becomes(State state) {
        return eventually([&] { return shortcut->status().state == state; }, 10);
    }
    std::vector<Trigger> heard(std::size_t count) {
        eventually([&] { return triggers.with([&](auto& all) { return all.size() >= count; }); });
        return triggers.with([](auto& all) { return std::exchange(all, {}); });
    }
    std::vector<std::string> asked() {
        return methods.with([](auto& all) { return all; });
    }
    void emit(const char* signal, const char* id = "dictate", const char* session = shortcutSession) {
        fake.emit("/org/freedesktop/portal/desktop", shortcutInterface, signal,
                  g_variant_new("(osta{sv})", session, id, guint64{0}, nullptr));
    }

    GVariant* answer(const FakePortal::Call& call) {
        if (call.method == "Get")
            return hasShortcuts ? g_variant_new("(v)", g_variant_new_uint32(1)) : nullptr;
        if (call.interface == "org.freedesktop.DBus.Introspectable" || call.handle.empty())
            return knowsPrograms && call.method == "Register" ? g_variant_new("()") : nullptr;
        if (!hasShortcuts)
            return nullptr;
        methods.with([&](auto& all) { all.push_back(call.method); });
        if (call.method == "CreateSession" && ignoredSessions-- > 0)
            fake.respond(call.handle, 2);
        else if (call.method == "CreateSession")
            fake.respond(call.handle, 0, g_variant_new_parsed("{'session_handle': <%s>}", shortcutSession));
        else
            fake.respond(call.handle, call.method == "BindShortcuts" ? bindCode.load() : 0,
                         g_variant_new_parsed((call.method == "ListShortcuts" ? listed : bound).c_str()));
        return FakePortal::accepts(call);
    }

    static constexpr char none[] = "{'shortcuts': <@a(sa{sv}) []>}";
    static constexpr char one[] = "{'shortcuts': <[('dictate', {'trigger_description': <'Press Ctrl+Alt+D'>})]>}";

    std::atomic<bool> knowsPrograms = true, hasShortcuts = true;
    std::atomic<int> ignoredSessions = 0;
    std::atomic<unsigned> bindCode = 0;
    std::string listed = none, bound = one; // what the portal answers
    Guarded<std::vector<std::string>> methods;
    Guarded<std::vector<Trigger>> triggers;
    FakePortal fake{[this](const FakePortal::Call& call) { return answer(call); }};
    std::unique_ptr<PortalShortcut> shortcut; // ends before the portal
};

} // namespace

TEST_F(PortalShortcutTest, IsBoundAtEachStart_AndPressesAndReleases) {
    start();
    ASSERT_TRUE(becomes(State::bound));
    EXPECT_EQ(shortcut->status().keys, "Press Ctrl+Alt+D");
    EXPECT_THAT(asked(), ElementsAre("CreateSession", "ListShortcuts", "BindShortcuts"));
    emit("Activated");
    for (int i = 0; i < 10; ++i)
        emit("Activated"); // as some desktops do while the keys are held
    emit("Deactivated");
    emit("Deactivated");
    EXPECT_THAT(heard(2), ElementsAre(Trigger::press, Trigger::release));
    emit("Activated", "dictate", "/org/freedesktop/portal/desktop/session/9/other");
    emit("Activated", "of another kind");
    emit("Activated", "command");
    emit("Deactivated", "command");
    EXPECT_THAT(heard(1), ElementsAre(Trigger::command));
}

TEST_F(PortalShortcutTest, WhatTheDesktopHasBoundByItselfIsNotAskedForAgain) {
    listed = one;
    knowsPrograms = false; // older than the register of programs
    start();
    ASSERT_TRUE(becomes(State::bound));
    EXPECT_THAT(asked(), ElementsAre("CreateSession", "ListShortcuts"));
}

TEST_F(PortalShortcutTest, AnEmptyAnswerWaitsForTheUsersChoice) {
    bound = none;
    start();
    ASSERT_TRUE(becomes(State::unbound));
    fake.emit("/org/freedesktop/portal/desktop", shortcutInterface, "ShortcutsChanged",
              g_variant_new_parsed("(%o, [('dictate', {'trigger_description': <''>})])", shortcutSession));
    EXPECT_TRUE(becomes(State::bound)); // some desktops do not say which keys
    emit("Activated");
    EXPECT_THAT(heard(1), ElementsAre(Trigger::press));
}

TEST_F(PortalShortcutTest, ARefusalIsFinal) {
    bindCode = 1;
    start();
    ASSERT_TRUE(becomes(State::refused));
    EXPECT_EQ(asked().size(), 3U);
}

TEST_F(PortalShortcutTest, APortalThatEndsReleasesWhatIsHeld_AndIsUsedAgainWhenItComesBack) {
    start();
    ASSERT_TRUE(becomes(State::bound));
    emit("Activated");
    EXPECT_THAT(heard(1), ElementsAre(Trigger::press));
    fake.leave();
    EXPECT_THAT(heard(1), ElementsAre(Trigger::release));
    EXPECT_TRUE(becomes(State::absent));
    fake.come();
    ASSERT_TRUE(becomes(State::bound));
    emit("Activated");
    EXPECT_THAT(heard(1), ElementsAre(Trigger::press));
}

TEST_F(PortalShortcutTest, APortalThatComesUpAfterTheProgramIsUsed) {
    fake.leave();
    start();
    ASSERT_TRUE(becomes(State::absent));
    fake.come();
    EXPECT_TRUE(becomes(State::bound));
}

TEST_F(PortalShortcutTest, APortalThatIsNotReadyIsAskedAgain) {
    ignoredSessions = 1;
    start();
    EXPECT_TRUE(becomes(State::bound));
}

TEST_F(PortalShortcutTest, ADesktopWithoutShortcutsIsAskedOnce) {
    hasShortcuts = false;
    start();
    ASSERT_TRUE(becomes(State::absent));
    EXPECT_FALSE(hasShortcutPortal());
    EXPECT_FALSE(givesShortcuts());
}

TEST_F(PortalShortcutTest, APortalThatOnlyClaimsToHaveShortcutsIsFoundOut) {
    EXPECT_TRUE(hasShortcutPortal());
    EXPECT_TRUE(givesShortcuts());
    EXPECT_THAT(asked(), ElementsAre("CreateSession")) << "the user is asked nothing";
    ignoredSessions = 1; // as where another desktop's half of the portal is installed
    EXPECT_TRUE(hasShortcutPortal());
    EXPECT_FALSE(givesShortcuts());
}

TEST_F(PortalShortcutTest, ASessionThatTheDesktopClosesReleasesWhatIsHeld) {
    start();
    ASSERT_TRUE(becomes(State::bound));
    emit("Activated");
    fake.emit(shortcutSession, "org.freedesktop.portal.Session", "Closed", g_variant_new("(a{sv})", nullptr));
    EXPECT_THAT(heard(2), ElementsAre(Trigger::press, Trigger::release));
    EXPECT_TRUE(becomes(State::refused));
}
