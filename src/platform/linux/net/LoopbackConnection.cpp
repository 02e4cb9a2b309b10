#include "platform/linux/net/LoopbackConnection.h"

#include "platform/LoopbackListener.h"

#include <array>
#include <cerrno>
#include <sys/socket.h>
#include <utility>

namespace fenlo {

void LoopbackConnection::step(const std::function<void(std::string)>& ask) {
    if (m_stage == Stage::silent)
        read(ask);
    if (m_stage == Stage::asked)
        answer();
    if (m_stage == Stage::leaving)
        drain();
    if (waitsForClient() && Deadline::clock::now() >= m_until)
        m_stage = Stage::over;
}

void LoopbackConnection::read(const std::function<void(std::string)>& ask) {
    std::string request(LoopbackListener::longestRequest, '\0');
    const ssize_t count = ::recv(number(), request.data(), request.size(), 0);
    if (count < 0 && (errno == EAGAIN || errno == EINTR))
        return;
    if (count <= 0) {
        m_stage = Stage::over;
        return;
    }
    request.resize(std::size_t(count));
    m_stage = Stage::asked;
    ask(std::move(request));
}

void LoopbackConnection::answer() {
    const auto given = m_answer.with([](auto& answer) { return std::exchange(answer, std::nullopt); });
    if (!given)
        return;
    // It is far smaller than the room that a fresh connection has.
    if (given->empty() || ::send(number(), given->data(), given->size(), MSG_NOSIGNAL) != ssize_t(given->size())) {
        m_stage = Stage::over;
        return;
    }
    ::shutdown(number(), SHUT_WR);
    m_stage = Stage::leaving;
    m_until = deadlineAfter(lingerLimit);
}

void LoopbackConnection::drain() {
    std::array<char, 16'384> dropped{};
    constexpr int reads = 64; // then the others have their turn
    for (int i = 0; i < reads; ++i) {
        const ssize_t count = ::recv(number(), dropped.data(), dropped.size(), 0);
        if (count < 0 && errno == EAGAIN)
            return;
        if (count == 0 || (count < 0 && errno != EINTR)) {
            m_stage = Stage::over;
            return;
        }
    }
}

void LoopbackConnection::give(std::string answer) {
    m_answer.with([&](auto& waiting) { waiting = std::move(answer); });
}

} // namespace fenlo
