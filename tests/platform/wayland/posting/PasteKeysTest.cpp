// Keys on a Wayland desktop: what reaches a program in front.

#include "platform/linux/wayland/posting/PasteKeys.h"

#include "base/Descriptor.h"
#include "base/Files.h"
#include "platform/KeyCodes.h"
#include "platform/desktop/VirtualDesktop.h"
#include "platform/linux/desktop/clipboard/ServedPasteboard.h"
#include "platform/linux/wayland/WaylandConnection.h"
#include "platform/linux/wayland/clipboard/DataControl.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>
#include <sys/mman.h>

#include "virtual-keyboard-unstable-v1-client-protocol.h"

using namespace fenlo;
using namespace fenlo::test;

namespace {

/// A terminal whose program writes down every character at once.
class Terminal {
public:
    explicit Terminal(std::vector<std::string> emulator) : m_file(m_folder.path / "typed") {
        for (const char* word : {"sh", "-c"})
            emulator.emplace_back(word);
        emulator.push_back("stty raw -echo; echo ready > '" + m_file.string() + "'; cat >> '" + m_file.string() + "'");
        m_process = ChildProcess(emulator);
        if (!eventually([&] { return text() == "ready\n"; }, 15))
            throw std::runtime_error("the terminal does not start");
        const std::string tree = "swaymsg -t get_tree | grep -A40 '\"focused\": true' | grep -c '\"pid\": ";
        eventually([&] { return outputOf({"sh", "-c", tree + std::to_string(m_process.pid()) + "'"}) == "1\n"; });
    }

    std::string text() const { return files::read(m_file).value_or(""); }
    bool shows(const std::string& typed) const {
        return eventually([&] { return text() == "ready\n" + typed; }, 10);
    }

private:
    TemporaryFolder m_folder;
    const std::filesystem::path m_file;
    ChildProcess m_process;
};

/// The user's keyboard, in a layout of the user's.
class UserKeyboard {
public:
    explicit UserKeyboard(WaylandConnection& connection) : m_connection(connection) {
        connection.call([&] {
            m_manager = connection.bind<zwp_virtual_keyboard_manager_v1>(zwp_virtual_keyboard_manager_v1_interface, 1);
            m_keyboard = zwp_virtual_keyboard_manager_v1_create_virtual_keyboard(m_manager, connection.seat());
        });
    }
    ~UserKeyboard() {
        m_connection.call([&] {
            zwp_virtual_keyboard_v1_destroy(m_keyboard);
            zwp_virtual_keyboard_manager_v1_destroy(m_manager);
        });
    }

    /// Changes the layout and presses Shift, so that the session takes it over.
    void choose(const std::string& layout, const std::string& variant) {
        const std::string keymap =
            outputOf({"xkbcli", "compile-keymap", "--layout", layout, "--variant", variant}) + '\0';
        const Descriptor memory(::memfd_create("keymap", 0));
        writeAll(memory.number(), keymap);
        m_connection.call([&] {
            zwp_virtual_keyboard_v1_keymap(m_keyboard, 1, memory.number(), static_cast<std::uint32_t>(keymap.size()));
            for (const std::uint32_t state : {1U, 0U})
                zwp_virtual_keyboard_v1_key(m_keyboard, 0, leftShift, state);
            wl_display_roundtrip(m_connection.display());
        });
    }
    /// Saves the file of the editor in front.
    void save() {
        choose("us", "");
        m_connection.call([&] {
            zwp_virtual_keyboard_v1_modifiers(m_keyboard, control, 0, 0, 0);
            for (const std::uint32_t state : {1U, 0U})
                zwp_virtual_keyboard_v1_key(m_keyboard, 0, letterS, state);
            zwp_virtual_keyboard_v1_modifiers(m_keyboard, 0, 0, 0, 0);
            wl_display_roundtrip(m_connection.display());
        });
    }

private:
    static constexpr std::uint32_t leftShift = 42, letterS = 31, control = 4;

    WaylandConnection& m_connection;
    zwp_virtual_keyboard_manager_v1* m_manager = nullptr;
    zwp_virtual_keyboard_v1* m_keyboard = nullptr;
};

struct Layout {
    const char *name, *variant;
};
constexpr Layout layouts[] = {{"us", ""}, {"ru", ""}, {"fr", ""}, {"us", "dvorak"}, {"us,ru", ""}};

/// What sway tells of the window in front.
std::string windowInFront() {
    return outputOf({"sh", "-c", "swaymsg -t get_tree | grep -A60 '\"focused\": true'"});
}

void waitForFocus(const std::string& application) {
    ASSERT_TRUE(eventually(
        [&] { return windowInFront().find("\"app_id\": \"" + application + '"') != std::string::npos; }, 15));
}

const std::string scripts = "Grüße, \"Мир\"! Ça coûte 5 €; 世界 naïve ~@# Zz";

class PasteKeysOnSway : public ::testing::Test {
protected:
    void paste(const std::string& text, std::uint64_t flags) {
        pasteboard.set(text, {.transient = true});
        ASSERT_EQ(pasteboard.string(1).text, text);
        EXPECT_TRUE(keys.post(key::v, flags, KeyDirection::down));
        EXPECT_TRUE(keys.post(key::v, flags, KeyDirection::up));
    }
    /// Pastes in every layout. The editor's file then has all of it.
    void pasteInEveryLayout(const std::vector<std::string>& editor, const std::string& application) {
        const auto file = folder.path / "text.txt";
        ASSERT_TRUE(files::writeAtomically(file, ""));
        std::vector<std::string> command = editor;
        command.push_back(file);
        const ChildProcess process(command);
        waitForFocus(application);
        const auto saved = [&] {
            std::string text = files::read(file).value_or("");
            std::erase(text, '\n'); // some add one at the end
            return text;
        };
        const auto isChanged = [&] { return windowInFront().find("\"name\": \"*") != std::string::npos; };
        std::string expected;
        for (const Layout& each : layouts) {
            user.choose(each.name, each.variant);
            paste(each.name + std::string(each.variant) + " é世; ", mask::command);
            expected += each.name + std::string(each.variant) + " é世; ";
            // The next text may take the clipboard once this one has been fetched. A GTK program asks the layout of the
            // moment when it gets to a key: the layout changes again when the keys before have done what they are for.
            ASSERT_TRUE(eventually(isChanged)) << each.name << ' ' << each.variant;
            user.save();
            ASSERT_TRUE(eventually([&] { return !isChanged(); }));
            EXPECT_EQ(saved(), expected);
        }
    }

    TemporaryFolder folder;
    static constexpr std::uint64_t terminalPaste = mask::command | mask::shift;
    const std::unique_ptr<WaylandConnection> connection = WaylandConnection::open();
    UserKeyboard user{*connection};
    PasteKeys keys{*connection, {.tokenFile = folder.path / "token", .waitForModifiers = {}}};
    ServedPasteboard pasteboard{DataControl::open()};
};

TEST_F(PasteKeysOnSway, TypesTextsOfAllScriptsAndPastes) {
    EXPECT_EQ(keys.road().kind, PostingRoad::virtualKeyboard);
    EXPECT_TRUE(keys.canPost());
    const Terminal terminal({"foot"});
    EXPECT_TRUE(keys.type(scripts));
    ASSERT_TRUE(terminal.shows(scripts)) << terminal.text();
    paste("einfügen", terminalPaste);
    EXPECT_TRUE(terminal.shows(scripts + "einfügen")) << terminal.text();
    EXPECT_FALSE(keys.type("two\nlines"));
    EXPECT_FALSE(keys.post(key::other, 0, KeyDirection::down));
    EXPECT_FALSE(keys.post(key::v, 0, KeyDirection::up)) << "is not down";
}

TEST_F(PasteKeysOnSway, PastesInEveryLayout) {
    {
        const Terminal terminal({"foot"});
        std::string expected;
        for (const Layout& each : layouts) {
            user.choose(each.name, each.variant);
            paste(each.name + std::string(" é世 "), terminalPaste);
            expected += each.name + std::string(" é世 ");
            EXPECT_TRUE(terminal.shows(expected)) << terminal.text();
        }
    }
    pasteInEveryLayout({"env", "GDK_BACKEND=wayland", "mousepad", "--disable-server"}, "mousepad");
    pasteInEveryLayout({"env", "QT_QPA_PLATFORM=wayland", "featherpad", "--standalone"}, "featherpad");
}

TEST_F(PasteKeysOnSway, LongTextArrivesWhole) {
    const Terminal terminal({"foot"});
    std::string text;
    for (int i = 0; i < 300; ++i)
        text += std::to_string(i) + " ";
    EXPECT_TRUE(keys.type(text));
    EXPECT_TRUE(terminal.shows(text)) << terminal.text();
}

TEST_F(PasteKeysOnSway, ProgramsOfXWaylandGetTextsToo) {
    const Terminal terminal({"xterm", "-e"});
    EXPECT_TRUE(keys.type(scripts));
    EXPECT_TRUE(terminal.shows(scripts)) << terminal.text();
}

} // namespace
