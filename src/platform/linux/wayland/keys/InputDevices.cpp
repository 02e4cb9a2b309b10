#include "platform/linux/wayland/keys/InputDevices.h"

#include "base/Descriptor.h"

#include <array>
#include <climits>
#include <fcntl.h>
#include <sys/ioctl.h>
#include <system_error>

namespace fenlo {

namespace {

constexpr std::size_t wordBits = sizeof(unsigned long) * CHAR_BIT;
using KernelBits = std::array<unsigned long, (KEY_CNT + wordBits - 1) / wordBits>;

KeyBits ask(int device, unsigned long question, KernelBits& answer) {
    KeyBits bits;
    if (::ioctl(device, question, answer.data()) < 0)
        return bits;
    for (std::size_t code = 0; code < KEY_CNT; ++code)
        bits[code] = (answer[code / wordBits] >> (code % wordBits) & 1) != 0;
    return bits;
}

struct Range {
    std::size_t first, last;
};
constexpr Range letterRows[] = {{KEY_Q, KEY_P}, {KEY_A, KEY_L}, {KEY_Z, KEY_M}};
constexpr std::size_t dictationKeys[] = {KEY_LEFTCTRL, KEY_LEFTSHIFT, KEY_LEFTMETA, KEY_RIGHTALT, KEY_FN};

} // namespace

InputQuestions InputQuestions::toKernel() {
    return {.facts =
                [](int device, const std::filesystem::path&) {
                    InputDeviceFacts facts;
                    std::array<char, 256> name{};
                    if (::ioctl(device, EVIOCGNAME(name.size() - 1), name.data()) >= 0)
                        facts.name = name.data();
                    KernelBits bits{};
                    facts.keys = ask(device, EVIOCGBIT(EV_KEY, sizeof bits), bits);
                    return facts;
                },
            .held =
                [](int device) {
                    KernelBits bits{};
                    return ask(device, EVIOCGKEY(sizeof bits), bits);
                }};
}

bool isEventDevice(const std::string& fileName) {
    return fileName.starts_with("event");
}

bool isKeyboard(const KeyBits& keys) {
    for (const std::size_t code : dictationKeys)
        if (keys[code])
            return true;
    for (const Range& row : letterRows)
        for (std::size_t code = row.first; code <= row.last; ++code)
            if (!keys[code])
                return false;
    return true;
}

KeyboardCensus countKeyboards(const std::filesystem::path& folder, const InputQuestions& questions) {
    KeyboardCensus census;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(folder, error)) {
        if (!isEventDevice(entry.path().filename()))
            continue;
        ++census.eventDevices;
        const Descriptor device(::open(entry.path().c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
        if (!device.isOpen())
            continue;
        ++census.readable;
        census.keyboards += isKeyboard(questions.facts(device.number(), entry.path()).keys) ? 1 : 0;
    }
    return census;
}

} // namespace fenlo
