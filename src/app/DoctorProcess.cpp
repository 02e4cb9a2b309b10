#include "app/DoctorProcess.h"

#include "base/ChildProcess.h"
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

constexpr int doctorPatience = 60'000; // milliseconds
constexpr int betweenLooks = 200;      // at the stop
constexpr std::size_t most = 1 << 20;  // bytes of a report

/// What comes until the other end is closed; nothing when it takes too long, is too much, or is to stop.
std::optional<std::string> readToEnd(int descriptor, const std::stop_token& stop) {
    std::string text;
    std::array<char, 4096> piece{};
    for (int waited = 0; waited < doctorPatience && text.size() < most && !stop.stop_requested();) {
        pollfd waiting{descriptor, POLLIN, 0};
        if (::poll(&waiting, 1, betweenLooks) == 0) {
            waited += betweenLooks;
            continue;
        }
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

std::optional<std::vector<Diagnosis>> examineApart(std::stop_token stop) {
    std::array<int, 2> ends{-1, -1};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0)
        return {};
    const Descriptor reading(ends[0]);
    pid_t process = 0;
    {
        const Descriptor writing(ends[1]);
        // This very program, even if its file was replaced.
        if (startChild({"/proc/self/exe", "doctor", "--json"}, {.output = writing.number()}, process) != 0)
            return {};
    }
    const auto text = readToEnd(reading.number(), stop);
    if (!text)
        ::kill(process, SIGKILL);
    while (::waitpid(process, nullptr, 0) < 0 && errno == EINTR) {
    }
    auto findings = text ? readReport(*text) : std::vector<Diagnosis>();
    return findings.empty() ? std::nullopt : std::optional(std::move(findings));
}

} // namespace fenlo
