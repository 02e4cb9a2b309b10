// Keys by way of the desktop's portal: its session, the user's leave and its token.

#include "platform/linux/wayland/posting/RemoteDesktopKeys.h"

#include "base/Files.h"
#include "platform/desktop/portal/FakePortal.h"
#include "support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

using namespace fenlo;
using namespace fenlo::test;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

constexpr std::uint32_t controlSymbol = 0xFFE3, keyV = 47;

/// A desktop whose user answers the portal's question as the test says.
class Desktop {
public:
    enum class User { agrees, refuses, isAway, allowsNoKeyboard, thinks };

    struct Seen {
        std::vector<std::string> tokens; // of each SelectDevices that had one
        std::vector<std::string> keys;
        int starts = 0, closes = 0;
        std::string session;
    };

    explicit Desktop(std::uint32_t version = 2, bool hasKeyboard = true)
        : m_version(version), m_devices(hasKeyboard ? 7 : 2) {}

    Seen seen() {
        return m_seen.with([](const Seen& seen) { return seen; });
    }
    bool eventuallySeen(const std::function<bool(const Seen&)>& condition, double limit = 5) {
        return eventually([&] { return condition(seen()); }, limit);
    }

    /// The user who has thought about it agrees.
    void agreeNow() {
        const std::string question = m_seen.with([&](Seen&) { return m_question; });
        portal.respond(question, 0, startResults(1));
    }

    std::atomic<User> user = User::agrees;

private:
    GVariant* handle(const FakePortal::Call& call) {
        return m_seen.with([&](Seen& seen) { return answer(call, seen); });
    }
    GVariant* answer(const FakePortal::Call& call, Seen& seen);
    GVariant* startResults(int start) const;

    const std::uint32_t m_version, m_devices;
    Guarded<Seen> m_seen;
    std::string m_question; // the newest; under the same lock

public:
    FakePortal portal{[this](const FakePortal::Call& call) { return handle(call); }}; // last, so that it ends first
};

GVariant* Desktop::answer(const FakePortal::Call& call, Seen& seen) {
    if (call.method == "Get") {
        const char *interface, *name;
        g_variant_get(call.arguments.get(), "(&s&s)", &interface, &name);
        return g_variant_new("(v)", g_variant_new_uint32(name == std::string("version") ? m_version : m_devices));
    }
    if (call.method == "CreateSession") {
        seen.session = "/org/freedesktop/portal/desktop/session/test/s" + std::to_string(seen.starts);
        // Before the call returns, as a quick portal does.
        portal.respond(call.handle, 0, g_variant_new_parsed("{'session_handle': <%s>}", seen.session.c_str()));
    } else if (call.method == "SelectDevices") {
        if (const auto token = call.option("restore_token"))
            seen.tokens.emplace_back(g_variant_get_string(token.get(), nullptr));
        EXPECT_EQ(call.option("persist_mode") != nullptr, m_version >= 2);
        portal.respond(call.handle, 0);
    } else if (call.method == "Start") {
        ++seen.starts;
        m_question = call.handle;
        if (user != User::isAway && user != User::thinks)
            portal.respond(call.handle, user == User::refuses ? 1 : 0,
                           user == User::refuses ? nullptr : startResults(seen.starts));
    } else if (call.method == "Close") {
        seen.closes += call.object == seen.session;
        return g_variant_new("()");
    } else {
        const char* session;
        gint32 number;
        guint32 state;
        g_variant_get(call.arguments.get(), "(&o@a{sv}iu)", &session, nullptr, &number, &state);
        seen.keys.push_back((call.method == "NotifyKeyboardKeysym" ? "symbol " : "code ") + std::to_string(number) +
                            (state ? " down" : " up"));
        return g_variant_new("()");
    }
    return FakePortal::accepts(call);
}

GVariant* Desktop::startResults(int start) const {
    const guint32 devices = user == User::allowsNoKeyboard ? 0 : 1;
    if (m_version < 2)
        return g_variant_new_parsed("{'devices': <%u>}", devices);
    return g_variant_new_parsed("{'devices': <%u>, 'restore_token': <%s>}", devices,
                                ("token " + std::to_string(start)).c_str());
}

class RemoteDesktop : public ::testing::Test {
protected:
    using Keys = std::vector<RemoteDesktopKeys::Key>;
    static constexpr RemoteDesktopKeys::Timing patient{
        .firstKey = 0.02, .afterKeys = 30, .withoutKeys = 30, .userLimit = 30};
    /// The longest that a busy machine may need between two keys of a chord.
    static constexpr RemoteDesktopKeys::Timing closesSoon{
        .firstKey = 0.02, .afterKeys = 1, .withoutKeys = 30, .userLimit = 30};
    static constexpr RemoteDesktopKeys::Timing waitsShortly{
        .firstKey = 0.02, .afterKeys = 30, .withoutKeys = 30, .userLimit = 0.2};

    static bool paste(RemoteDesktopKeys& keys) {
        return keys.send(Keys{{controlSymbol, true}, {keyV, false}}, true) &&
               keys.send(Keys{{keyV, false}, {controlSymbol, true}}, false);
    }

    TemporaryFolder folder;
    const std::filesystem::path tokenFile = folder.path / "token";
};

TEST_F(RemoteDesktop, TokenServesOnceAndTheSessionClosesAfterTheKeys) {
    Desktop desktop;
    ASSERT_TRUE(files::writeAtomically(tokenFile, "token 0\n"));
    RemoteDesktopKeys keys(tokenFile, closesSoon);
    EXPECT_TRUE(keys.isUsable());
    EXPECT_EQ(desktop.seen().starts, 0) << "nothing is asked before a dictation";
    keys.prepare();
    EXPECT_TRUE(paste(keys));
    EXPECT_THAT(desktop.seen().keys, ElementsAre("symbol 65507 down", "code 47 down", "code 47 up", "symbol 65507 up"));
    EXPECT_TRUE(desktop.eventuallySeen([](const auto& seen) { return seen.closes == 1; }));
    EXPECT_EQ(files::read(tokenFile), "token 1");
    struct stat status {};
    ::stat(tokenFile.c_str(), &status);
    EXPECT_EQ(status.st_mode & 0777, 0600U);
    EXPECT_TRUE(paste(keys)) << "without a word before, it opens by itself";
    EXPECT_EQ(files::read(tokenFile), "token 2");
    EXPECT_THAT(desktop.seen().tokens, ElementsAre("token 0", "token 1"));
}

TEST_F(RemoteDesktop, UserWhoRefusesIsNotAskedAgain) {
    for (const auto user : {Desktop::User::refuses, Desktop::User::allowsNoKeyboard, Desktop::User::isAway}) {
        Desktop desktop;
        desktop.user = user;
        RemoteDesktopKeys keys(tokenFile, waitsShortly);
        EXPECT_FALSE(paste(keys));
        desktop.user = Desktop::User::agrees;
        keys.prepare();
        EXPECT_FALSE(paste(keys));
        EXPECT_TRUE(keys.isRefused());
        EXPECT_FALSE(keys.isUsable());
        EXPECT_EQ(desktop.seen().starts, 1);
        EXPECT_TRUE(desktop.eventuallySeen([](const auto& seen) { return seen.closes == 1; }));
        EXPECT_THAT(desktop.seen().keys, IsEmpty());
    }
}

TEST_F(RemoteDesktop, LeaveThatComesTooLateForTheTextPressesNothing) {
    Desktop desktop;
    desktop.user = Desktop::User::thinks;
    RemoteDesktopKeys keys(tokenFile, {.firstKey = 0.02, .afterKeys = 0.1, .withoutKeys = 30, .userLimit = 30});
    EXPECT_FALSE(paste(keys)) << "the text waits on the clipboard now";
    desktop.agreeNow();
    EXPECT_TRUE(eventually([&] { return files::read(tokenFile) == "token 1"; }));
    EXPECT_TRUE(paste(keys)) << "the next text is pasted";
    EXPECT_THAT(desktop.seen().keys, ElementsAre("symbol 65507 down", "code 47 down", "code 47 up", "symbol 65507 up"));
}

TEST_F(RemoteDesktop, OldPortalGivesNoTokenAndTakesNone) {
    constexpr RemoteDesktopKeys::Timing closesAtOnce{
        .firstKey = 0.02, .afterKeys = 0.01, .withoutKeys = 30, .userLimit = 30};
    Desktop desktop(1);
    ASSERT_TRUE(files::writeAtomically(tokenFile, "of a newer portal"));
    RemoteDesktopKeys keys(tokenFile, closesAtOnce);
    EXPECT_TRUE(paste(keys));
    EXPECT_THAT(desktop.seen().tokens, IsEmpty());
    EXPECT_EQ(files::read(tokenFile), "of a newer portal");
    EXPECT_FALSE(desktop.eventuallySeen([](const auto& seen) { return seen.closes > 0; }, 0.3));
    EXPECT_TRUE(paste(keys));
    EXPECT_EQ(desktop.seen().starts, 1) << "it would ask its user at every dictation";
}

TEST_F(RemoteDesktop, SessionThatTheDesktopEndsIsOpenedAnew) {
    Desktop desktop;
    RemoteDesktopKeys keys(tokenFile, patient);
    EXPECT_TRUE(keys.send(Keys{{keyV, false}}, true));
    desktop.portal.emit(desktop.seen().session, "org.freedesktop.portal.Session", "Closed",
                        g_variant_new_parsed("(@a{sv} {},)"));
    EXPECT_TRUE(eventually([&] { return paste(keys) && desktop.seen().starts == 2; }));
    desktop.portal.leave();
    EXPECT_FALSE(eventually([&] { return paste(keys); }, 0.3));
    desktop.portal.come();
    EXPECT_TRUE(eventually([&] { return paste(keys); }));
}

TEST_F(RemoteDesktop, PortalThatComesLaterIsTaken) {
    Desktop desktop;
    desktop.portal.leave();
    RemoteDesktopKeys keys(tokenFile, patient);
    EXPECT_FALSE(keys.isUsable());
    EXPECT_FALSE(paste(keys));
    desktop.portal.come();
    EXPECT_TRUE(eventually([&] { return keys.isUsable(); }));
    EXPECT_TRUE(paste(keys));
}

TEST_F(RemoteDesktop, DesktopWithoutAPortalOrAKeyboardIsNoRoad) {
    {
        const VirtualBus bus;
        RemoteDesktopKeys keys(tokenFile, patient);
        EXPECT_FALSE(keys.isUsable());
        EXPECT_FALSE(keys.isRefused());
        EXPECT_FALSE(paste(keys));
    }
    Desktop desktop(2, false);
    RemoteDesktopKeys keys(tokenFile, patient);
    EXPECT_FALSE(keys.isUsable());
    EXPECT_FALSE(paste(keys));
    EXPECT_EQ(desktop.seen().starts, 0);
}

} // namespace
