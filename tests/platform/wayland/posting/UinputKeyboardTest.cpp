// The kernel's keyboard, with a pipe in its place.

#include "platform/linux/wayland/posting/UinputKeyboard.h"

#include "platform/linux/wayland/keys/KeyStream.h"
#include "support/TemporaryFolder.h"

#include <array>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>

using namespace fenlo;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

namespace {

class UinputPipe : public ::testing::Test {
protected:
    /// What somebody who reads such a keyboard hears: negative codes are releases.
    std::vector<int> heard() {
        std::array<std::byte, 4096> bytes;
        const ssize_t size = ::read(reader.number(), bytes.data(), bytes.size());
        std::vector<int> changes;
        KeyStream stream({[&](std::uint16_t code, bool isDown) { changes.push_back(isDown ? code : -code); },
                          [] { return KeyBits(); }});
        stream.take({bytes.data(), static_cast<std::size_t>(std::max<ssize_t>(size, 0))});
        EXPECT_EQ(static_cast<std::size_t>(size), 2 * changes.size() * sizeof(input_event)) << "each with its report";
        return changes;
    }

    test::TemporaryFolder folder;
    const std::filesystem::path pipe = folder.path / "uinput";
    // Also a writer's end, as the system wants it for a pipe that is opened without waiting.
    Descriptor reader{(::mkfifo(pipe.c_str(), 0600), ::open(pipe.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC))};
};

TEST_F(UinputPipe, ChordGoesDownAndUpAsKeyboardsTellIt) {
    const auto keyboard = UinputKeyboard::make(pipe, [](int) { return true; });
    ASSERT_TRUE(keyboard);
    const std::array<std::uint32_t, 3> chord{KEY_LEFTCTRL, KEY_LEFTSHIFT, KEY_V},
        reversed{KEY_V, KEY_LEFTSHIFT, KEY_LEFTCTRL};
    EXPECT_TRUE(keyboard->send(chord, true));
    EXPECT_TRUE(keyboard->send(reversed, false));
    EXPECT_THAT(heard(), ElementsAre(KEY_LEFTCTRL, KEY_LEFTSHIFT, KEY_V, -KEY_V, -KEY_LEFTSHIFT, -KEY_LEFTCTRL));
}

TEST_F(UinputPipe, DeviceThatRefusesOrIsMissingIsNoKeyboard) {
    EXPECT_EQ(UinputKeyboard::make(pipe, [](int) { return false; }), nullptr);
    EXPECT_EQ(UinputKeyboard::make(pipe), nullptr) << "a pipe does not know the kernel's requests";
    EXPECT_EQ(UinputKeyboard::obstacle(pipe), "");
    EXPECT_THAT(UinputKeyboard::obstacle(folder.path / "none"), HasSubstr("does not exist"));
    EXPECT_EQ(UinputKeyboard::make(folder.path / "none"), nullptr);
}

TEST_F(UinputPipe, KeysThatTheKernelDoesNotTakeAreNotPressed) {
    const auto keyboard = UinputKeyboard::make(pipe, [](int) { return true; });
    const std::vector<std::uint32_t> keys(5000, KEY_V); // more than the pipe holds
    EXPECT_FALSE(keyboard->send(keys, true));
}

} // namespace
