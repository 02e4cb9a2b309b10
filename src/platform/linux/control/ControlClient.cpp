#include "platform/linux/control/ControlClient.h"

#include "base/Deadline.h"
#include "platform/linux/control/LocalSocket.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <poll.h>
#include <sys/socket.h>

namespace fenlo {

namespace {

constexpr std::size_t longestAnswer = 512; // bytes
constexpr int connectPause = 5;            // milliseconds; while others stand in the queue

/// What comes before the end of the line; nothing when the other side hangs up or is silent for too long.
std::optional<std::string> readLine(int socket, Deadline until) {
    std::string line;
    std::array<char, longestAnswer> part;
    while (line.size() < longestAnswer) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(until - Deadline::clock::now());
        pollfd waiting{socket, POLLIN, 0};
        if (::poll(&waiting, 1, std::max(0, static_cast<int>(left.count()))) <= 0)
            return std::nullopt;
        const auto count = ::recv(socket, part.data(), part.size(), 0);
        if (count < 0 && (errno == EINTR || errno == EAGAIN))
            continue;
        if (count <= 0)
            return std::nullopt;
        line.append(part.data(), static_cast<std::size_t>(count));
        if (const auto end = line.find('\n'); end != std::string::npos)
            return line.substr(0, end);
    }
    return std::nullopt;
}

} // namespace

ControlAnswer order(const std::filesystem::path& controlFile, const std::string& line, double patience) {
    using State = ControlAnswer::State;
    const Deadline until = deadlineAfter(patience);
    const LocalSocket socket(controlFile);
    while (!socket.connect()) {
        if (errno != EAGAIN && errno != EINTR)
            return {State::notRunning, {}};
        if (Deadline::clock::now() >= until)
            return {State::silent, {}};
        ::poll(nullptr, 0, connectPause);
    }
    const std::string sent = line + "\n";
    ::send(socket.number(), sent.data(), sent.size(), MSG_NOSIGNAL);
    auto answer = readLine(socket.number(), until);
    return answer ? ControlAnswer{State::answered, std::move(*answer)} : ControlAnswer{State::silent, {}};
}

} // namespace fenlo
