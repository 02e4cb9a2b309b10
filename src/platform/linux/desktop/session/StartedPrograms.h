#pragma once

#include "base/Guarded.h"

#include <optional>
#include <stop_token>
#include <string>
#include <sys/types.h>
#include <vector>

namespace fenlo {

/// Programs that hand something to another one, such as a browser, and some of which then run on as that one.
///
/// Threads: any.
class StartedPrograms {
public:
    StartedPrograms() = default;
    ~StartedPrograms();
    StartedPrograms(const StartedPrograms&) = delete;
    StartedPrograms& operator=(const StartedPrograms&) = delete;

    /// Starts a program that is looked up in PATH, without its output: that may quote what it was given. Returns the
    /// error number of a failed start, and 0 otherwise; waitForEnd() must follow then.
    int start(std::vector<std::string> command, pid_t& process);

    /// The exit status, -1 for one that was killed; nothing for a program that runs on after so many seconds.
    std::optional<int> waitForEnd(pid_t process, double limit, std::stop_token stop);

private:
    using Processes = std::vector<pid_t>;

    static void reap(Processes& running);

    Guarded<Processes> m_running;
};

} // namespace fenlo
