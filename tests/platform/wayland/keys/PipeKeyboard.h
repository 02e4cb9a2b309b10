#pragma once

#include "base/Descriptor.h"
#include "platform/linux/wayland/keys/InputDevices.h"

#include <fcntl.h>
#include <filesystem>
#include <initializer_list>
#include <map>
#include <mutex>
#include <string>
#include <sys/stat.h>

namespace fenlo::test {

inline KeyBits bitsOf(std::initializer_list<std::uint16_t> codes) {
    KeyBits bits;
    for (const std::uint16_t code : codes)
        bits.set(code);
    return bits;
}

/// All keys of an ordinary keyboard.
inline KeyBits fullKeyboard() {
    KeyBits bits;
    for (std::uint16_t code = KEY_ESC; code < KEY_MICMUTE; ++code)
        bits.set(code);
    return bits;
}

inline std::string bytesOf(std::uint16_t type, std::uint16_t code, std::int32_t value) {
    input_event event{};
    event.type = type;
    event.code = code;
    event.value = value;
    return {reinterpret_cast<const char*>(&event), sizeof event};
}

/// The kernel's answers about devices that are pipes, by the name of their file.
class PipeKernel {
public:
    struct Answer {
        InputDeviceFacts facts;
        KeyBits held;
    };

    void set(const std::string& file, Answer answer) {
        const std::lock_guard lock(m_mutex);
        m_answers[file] = std::move(answer);
    }
    InputQuestions questions() {
        return {.facts = [this](int, const std::filesystem::path& file) { return answer(file.filename()).facts; },
                .held =
                    [this](int device) {
                        return answer(
                                   std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(device)).filename())
                            .held;
                    }};
    }

private:
    Answer answer(const std::string& file) {
        const std::lock_guard lock(m_mutex);
        return m_answers[file];
    }

    std::mutex m_mutex;
    std::map<std::string, Answer> m_answers;
};

/// A keyboard that is plugged in: a pipe in the folder of devices. Unplugged with its owner.
class PipeKeyboard {
public:
    PipeKeyboard(PipeKernel& kernel, const std::filesystem::path& file, KeyBits keys = fullKeyboard(),
                 const std::string& name = "Keyboard", KeyBits held = {})
        : m_kernel(kernel), m_path(file), m_file(open(kernel, file, {{name, keys}, held})) {}
    ~PipeKeyboard() { std::filesystem::remove(m_path); }
    PipeKeyboard(const PipeKeyboard&) = delete;
    PipeKeyboard& operator=(const PipeKeyboard&) = delete;

    void press(std::uint16_t code) { write(code, 1); }
    void release(std::uint16_t code) { write(code, 0); }
    void repeat(std::uint16_t code) { write(code, 2); }

    void send(const std::string& bytes) { writeAll(m_file.number(), bytes); }

private:
    static int open(PipeKernel& kernel, const std::filesystem::path& file, PipeKernel::Answer answer) {
        kernel.set(file.filename(), std::move(answer));
        ::mkfifo(file.c_str(), 0600);
        return ::open(file.c_str(), O_RDWR | O_CLOEXEC);
    }
    void write(std::uint16_t code, std::int32_t value) {
        send(bytesOf(EV_MSC, MSC_SCAN, code) + bytesOf(EV_KEY, code, value) + bytesOf(EV_SYN, SYN_REPORT, 0));
    }

    PipeKernel& m_kernel;
    const std::filesystem::path m_path;
    const Descriptor m_file;
};

} // namespace fenlo::test
