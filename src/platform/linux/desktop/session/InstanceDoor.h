#pragma once

#include "base/Descriptor.h"
#include "platform/linux/desktop/Wakeup.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <thread>

namespace fenlo {

/// The socket at which a later start of the program asks the running one to show itself. It needs neither a session
/// bus nor a display, so that it works on every desktop.
///
/// Threads: made and ended on one thread; `onKnock` is called on the door's own. knock() blocks.
/// Errors:  a door that cannot be opened is logged; those who knock then wait in vain, for as long as they said.
class InstanceDoor {
public:
    /// Is to call `answer` once the request was carried out; on any thread, also after the door is gone.
    using KnockHandler = std::function<void(std::function<void()> answer)>;

    static std::filesystem::path beside(const std::filesystem::path& lockFile);

    /// To be called by the holder of the lock only: it replaces the socket of a process that ended.
    static std::unique_ptr<InstanceDoor> open(const std::filesystem::path& file, KnockHandler onKnock);
    ~InstanceDoor();
    InstanceDoor(const InstanceDoor&) = delete;
    InstanceDoor& operator=(const InstanceDoor&) = delete;

    /// Waits for the answer, at most so many seconds, also for a door that is about to be opened.
    static bool knock(const std::filesystem::path& file, double patience);

private:
    InstanceDoor(std::filesystem::path file, int listening, KnockHandler onKnock);
    void run(std::stop_token stop);

    const std::filesystem::path m_file;
    const Descriptor m_listening;
    const KnockHandler m_onKnock;
    Wakeup m_wakeup;
    std::jthread m_thread;
};

} // namespace fenlo
