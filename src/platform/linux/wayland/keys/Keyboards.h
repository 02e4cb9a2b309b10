#pragma once

#include "base/Deadline.h"
#include "base/Descriptor.h"
#include "base/Guarded.h"
#include "platform/linux/desktop/Wakeup.h"
#include "platform/linux/wayland/keys/InputDevices.h"

#include <array>
#include <atomic>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <thread>

namespace fenlo {

/// Reads the keyboards of the machine, those that are plugged in later included. It grabs none: what is typed goes
/// where it would go. Virtual keyboards of key mappers are read too, since these keep the real ones to themselves.
///
/// A key that several keyboards hold is down from the first press to the last release. A keyboard that goes away
/// releases what it held.
///
/// Threads: made and ended on one thread; setActive() and hasModifier() on any. The sinks are called on the reader's.
/// Errors:  devices that may not be read are left out, and tried again when their permissions change.
class Keyboards {
public:
    struct Options {
        std::filesystem::path folder = inputFolder;
        InputQuestions questions = InputQuestions::toKernel();
        std::string ownName; // of the device that this program types with, which is left out
    };
    struct Sinks {
        std::function<void(std::uint16_t code, bool isDown)> onKey;
        /// A key that was down before the keyboard was read.
        std::function<void(std::uint16_t code)> onHeldBefore;
    };

    Keyboards(Options options, Sinks sinks);
    ~Keyboards();
    Keyboards(const Keyboards&) = delete;
    Keyboards& operator=(const Keyboards&) = delete;

    /// While not active, as when another user's session is in front, no keyboard is open: what a stranger types is none
    /// of our business.
    void setActive(bool isActive);

    /// Whether any keyboard is read now.
    bool hearAny() const { return m_count > 0; }
    /// Whether one of them has the modifier with this port code.
    bool haveModifier(std::uint16_t portCode) const;

private:
    struct Device {
        Descriptor file;
        KeyBits keys;
        KeyStream stream;
    };

    void run(std::stop_token stop);
    void watchFolder();
    void openAll();
    void open(const std::string& name);
    void tryRefused();
    void close(const std::string& name);
    void closeAll();
    void readFolder();
    void readDevices();
    /// Whether the device is still there.
    static bool read(Device& device);
    void combine(std::uint16_t code, bool isDown);
    void tellCount();

    const Options m_options;
    const Sinks m_sinks;
    const Descriptor m_folder;                                // inotify
    const Descriptor m_ready;                                 // readable when the folder or a device is
    std::map<std::string, std::unique_ptr<Device>> m_devices; // the thread's, as the next
    std::map<std::string, Deadline> m_refused;                // tried again until then
    std::array<std::uint8_t, KEY_CNT> m_holders{};            // keyboards that hold the key
    bool m_isOpen = false;
    std::atomic<bool> m_isActive = true;
    std::atomic<std::size_t> m_count = 0;
    Guarded<KeyBits> m_keys; // of all keyboards together
    Wakeup m_wakeup;
    std::jthread m_thread;
};

} // namespace fenlo
