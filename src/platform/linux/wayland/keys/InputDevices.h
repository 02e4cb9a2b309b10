#pragma once

#include "platform/linux/wayland/keys/KeyStream.h"

#include <filesystem>
#include <functional>
#include <string>

namespace fenlo {

/// What the kernel says of an input device.
struct InputDeviceFacts {
    std::string name;
    KeyBits keys; // that it has
};

/// The questions to the kernel about a device that was opened. Tests, whose devices are pipes, answer themselves.
struct InputQuestions {
    std::function<InputDeviceFacts(int device, const std::filesystem::path& file)> facts;
    std::function<KeyBits(int device)> held;

    /// To the real kernel. A device that does not answer has no keys.
    static InputQuestions toKernel();
};

/// Where the kernel's input devices lie.
inline constexpr char inputFolder[] = "/dev/input";

bool isEventDevice(const std::string& fileName);

/// Whether the dictation key may be on it: it has letters, or one of the modifiers.
bool isKeyboard(const KeyBits& keys);

/// How many keyboards there are, and how many of them may be read. Reads nothing of what is typed.
struct KeyboardCensus {
    int eventDevices = 0; // of any kind; those that may not be read do not say what they are
    int readable = 0;     // of these
    int keyboards = 0;    // of the readable
};
KeyboardCensus countKeyboards(const std::filesystem::path& folder = inputFolder,
                              const InputQuestions& questions = InputQuestions::toKernel());

} // namespace fenlo
