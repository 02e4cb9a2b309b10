#include "base/ChildOutput.h"

#include "base/ChildProcess.h"
#include "base/Deadline.h"
#include "base/Descriptor.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

namespace fenlo {

namespace {

constexpr int betweenLooks = 200;           // milliseconds, at the stop
constexpr std::size_t mostOutput = 1 << 20; // bytes

/// What comes until the other end is closed; nothing when it takes too long, is too much, or is to stop.
std::optional<std::string> readToEnd(int descriptor, Deadline deadline, const std::stop_token& stop) {
    std::string text;
    std::array<char, 4096> piece{};
    while (Deadline::clock::now() < deadline && text.size() < mostOutput && !stop.stop_requested()) {
        pollfd waiting{descriptor, POLLIN, 0};
        if (::poll(&waiting, 1, betweenLooks) == 0)
            continue;
        const ssize_t size = ::read(descriptor, piece.data(), piece.size());
        if (size == 0)
            return text;
        if (size > 0)
            text.append(piece.data(), static_cast<std::size_t>(size));
        else if (errno != EINTR)
            break;
    }
    return {};
}

} // namespace

std::optional<ChildOutput> outputOf(std::vector<std::string> command, double limit, std::stop_token stop,
                                    int complaints) {
    std::array<int, 2> ends{-1, -1};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0)
        return {};
    const Descriptor reading(ends[0]);
    pid_t process = 0;
    {
        const Descriptor writing(ends[1]);
        if (startChild(std::move(command), {.output = writing.number(), .complaints = complaints}, process) != 0)
            return {};
    }
    auto text = readToEnd(reading.number(), deadlineAfter(limit), stop);
    if (!text)
        ::kill(process, SIGKILL);
    int status = 0;
    while (::waitpid(process, &status, 0) < 0 && errno == EINTR) {
    }
    if (!text)
        return {};
    return ChildOutput{std::move(*text), WIFEXITED(status) ? WEXITSTATUS(status) : -1};
}

} // namespace fenlo
