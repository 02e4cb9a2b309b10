#include "platform/linux/desktop/session/StartedPrograms.h"

#include "base/ChildProcess.h"
#include "base/Deadline.h"
#include "base/Descriptor.h"
#include "platform/linux/desktop/Wakeup.h"

#include <fcntl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

namespace fenlo {

namespace {

bool hasEnded(pid_t process) {
    siginfo_t end{};
    ::waitid(P_PID, static_cast<id_t>(process), &end, WEXITED | WNOHANG | WNOWAIT);
    return end.si_pid == process;
}

/// Waits until the process has ended, which leaves it to be reaped, at most so many seconds.
bool endsWithin(double limit, pid_t process, std::stop_token stop) {
    const Descriptor handle(static_cast<int>(::syscall(SYS_pidfd_open, process, 0)));
    Wakeup wakeup;
    const std::stop_callback onStop(stop, [&] { wakeup.wake(); });
    const Deadline deadline = deadlineAfter(limit);
    while (!stop.stop_requested()) {
        if (hasEnded(process))
            return true;
        const double left = std::chrono::duration<double>(deadline - Deadline::clock::now()).count();
        if (left <= 0)
            break;
        wakeup.sleep(handle.number(), left);
    }
    return false;
}

} // namespace

StartedPrograms::~StartedPrograms() {
    m_running.with([](Processes& running) { reap(running); });
}

int StartedPrograms::start(std::vector<std::string> command, pid_t& process) {
    m_running.with([](Processes& running) { reap(running); });
    const Descriptor nowhere(::open("/dev/null", O_WRONLY | O_CLOEXEC));
    return startChild(std::move(command), {.output = nowhere.number(), .complaints = nowhere.number()}, process);
}

std::optional<int> StartedPrograms::waitForEnd(pid_t process, double limit, std::stop_token stop) {
    if (!endsWithin(limit, process, std::move(stop))) {
        m_running.with([&](Processes& running) { running.push_back(process); });
        return std::nullopt;
    }
    int status = 0;
    ::waitpid(process, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

/// Those that ran on and have ended meanwhile are let go.
void StartedPrograms::reap(Processes& running) {
    std::erase_if(running, [](pid_t process) { return ::waitpid(process, nullptr, WNOHANG) != 0; });
}

} // namespace fenlo
