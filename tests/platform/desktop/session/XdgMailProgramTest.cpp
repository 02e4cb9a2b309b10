#include "platform/linux/desktop/session/XdgMailProgram.h"

#include "base/Files.h"
#include "base/Text.h"
#include "platform/desktop/StubBrowser.h"
#include "platform/desktop/VirtualDesktop.h"
#include "platform/linux/desktop/DBusConnection.h"
#include "support/EnvironmentVariable.h"
#include "support/TemporaryFolder.h"

#include <fstream>
#include <gmock/gmock.h>
#include <sys/stat.h>

using namespace fenlo;
using namespace fenlo::test;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

namespace {

/// A program in xdg-email's place that writes down its arguments, each with an end of its own, and ends as it is told.
class StubMailer {
public:
    explicit StubMailer(const std::string& ending) {
        const auto program = m_folder / "xdg-email";
        files::writeAtomically(program,
                               "#!/bin/sh\nprintf '%s\\0' \"$@\" > \"" + m_arguments.string() + "\"\n" + ending);
        std::filesystem::permissions(program, std::filesystem::perms::owner_all);
    }

    std::vector<std::string> arguments() const {
        std::vector<std::string> all = text::split(files::read(m_arguments).value_or(""), '\0');
        all.pop_back();
        return all;
    }

private:
    const TemporaryFolder m_folder;
    const std::filesystem::path m_arguments = m_folder / "arguments";
    const EnvironmentVariable m_path{"PATH", (m_folder.path.string() + ":" + std::getenv("PATH")).c_str()};
};

/// A file manager on the session bus that remembers what it was to show.
class StubFileManager {
public:
    StubFileManager() : m_cancel(g_cancellable_new()) {
        std::string error;
        m_bus = DBusConnection::open(std::getenv("DBUS_SESSION_BUS_ADDRESS"), m_cancel.get(), error);
        g_dbus_connection_add_filter(m_bus.value().get(), &StubFileManager::filter, this, nullptr);
        m_bus->call({"org.freedesktop.DBus", "/org/freedesktop/DBus"},
                    {"org.freedesktop.DBus", "RequestName", g_variant_new("(su)", "org.freedesktop.FileManager1", 0)},
                    DBusConnection::Clock::now() + std::chrono::seconds(10));
    }
    ~StubFileManager() { g_dbus_connection_close_sync(m_bus->get(), nullptr, nullptr); }

    std::vector<std::string> shown() const {
        return m_shown.with([](const auto& shown) { return shown; });
    }

private:
    static GDBusMessage* filter(GDBusConnection* bus, GDBusMessage* message, gboolean incoming, void* given) {
        if (!incoming || g_strcmp0(g_dbus_message_get_member(message), "ShowItems") != 0)
            return message;
        const GlibOwned<char> body(g_variant_print(g_dbus_message_get_body(message), false));
        static_cast<StubFileManager*>(given)->m_shown.with([&](auto& shown) { shown.emplace_back(body.get()); });
        const GlibObject<GDBusMessage> reply(g_dbus_message_new_method_reply(message));
        g_dbus_connection_send_message(bus, reply.get(), G_DBUS_SEND_MESSAGE_FLAGS_NONE, nullptr, nullptr);
        g_object_unref(message);
        return nullptr;
    }

    const GlibObject<GCancellable> m_cancel;
    std::optional<DBusConnection> m_bus;
    Guarded<std::vector<std::string>> m_shown;
};

} // namespace

TEST(XdgMailProgram, HostileWordsStayWords) {
    const StubMailer mailer("exit 0\n");
    XdgMailProgram program;
    EXPECT_EQ(program.open({{"a@b.org", "--attach=/etc/passwd", "x,y@z?bcc=q&c"},
                            "-- \"It's\" $(id)\nBcc: all; 50 % \\ü",
                            "-One\n\"Two\" & `three`?",
                            {}},
                           {}),
              std::nullopt);
    EXPECT_THAT(mailer.arguments(),
                ElementsAre("--utf8",
                            "mailto:a@b.org,--attach%3D%2Fetc%2Fpasswd,x%2Cy@z%3Fbcc%3Dq%26c"
                            "?subject=--%20%22It%27s%22%20%24%28id%29%20Bcc%3A%20all%3B%2050%20%25%20%5C%C3%BC"
                            "&body=-One%0D%0A%22Two%22%20%26%20%60three%60%3F"));
    EXPECT_EQ(program.open({{}, "", std::string(maxMailText, 'x'), {}}, {}), std::nullopt) << "one argument takes it";
    EXPECT_THAT(mailer.arguments().at(1), testing::StartsWith("mailto:?subject=&body=xxx"));
    EXPECT_THAT(program.open({{}, "", std::string(200'000, 'x'), {}}, {}).value_or(""), HasSubstr("too long"));
}

TEST(XdgMailProgram, EveryFailureEndsInARemedy) {
    for (const auto& [ending, words] : {std::pair("exit 1\n", "copy"), std::pair("exit 3\n", "install one"),
                                        std::pair("exit 4\n", "settings"), std::pair("kill -9 $$\n", "did not open")}) {
        const StubMailer mailer(ending);
        EXPECT_THAT(XdgMailProgram().open({}, {}).value_or(""), HasSubstr(words)) << ending;
    }
    const TemporaryFolder empty;
    const EnvironmentVariable path("PATH", empty.path.c_str());
    EXPECT_THAT(XdgMailProgram().open({}, {}).value_or(""), HasSubstr("install the package xdg-utils"));
}

TEST(XdgMailProgram, AStopDoesNotEndTheMailProgram) {
    const TemporaryFolder folder;
    const auto done = folder / "done";
    const StubMailer mailer("read -r _ < \"" + (folder / "gate").string() + "\"; echo > \"" + done.string() + "\"\n");
    ASSERT_EQ(::mkfifo((folder / "gate").c_str(), 0600), 0);
    std::stop_source stop;
    stop.request_stop();
    EXPECT_EQ(XdgMailProgram().open({}, stop.get_token()), std::nullopt) << "it has started";
    EXPECT_FALSE(files::read(done));
    std::ofstream(folder / "gate") << "go\n";
    EXPECT_TRUE(eventually([&] { return files::read(done).has_value(); }));
}

TEST(XdgMailProgram, TheFileIsShownInItsFolder) {
    const VirtualBus bus;
    const TemporaryFolder folder;
    const auto file = folder / "meeting 1#ü.md";
    files::writeAtomically(file, "x");
    const StubBrowser browser;
    const StubMailer mailer("exit 0\n");
    XdgMailProgram program;
    {
        const StubFileManager manager;
        EXPECT_EQ(program.open({{}, "", "", file}, {}), std::nullopt);
        EXPECT_EQ(program.open({{}, "", "", folder / "absent.md"}, {}), std::nullopt);
        EXPECT_THAT(manager.shown(),
                    ElementsAre("(['file://" + folder.path.string() + "/meeting%201%23%C3%BC.md'], '')"));
    }
    EXPECT_EQ(program.open({{}, "", "", file}, {}), std::nullopt);
    EXPECT_THAT(browser.opened(), ElementsAre(folder.path.string())) << "without a file manager on the bus";
}
