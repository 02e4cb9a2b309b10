#pragma once

#include "base/Deadline.h"
#include "base/Descriptor.h"
#include "base/Guarded.h"

#include <functional>
#include <optional>
#include <string>

namespace fenlo {

/// One client of the loopback listener: says something, is answered, and goes.
///
/// Threads: the listener's worker; give() on the main thread.
/// Units:   limits in seconds.
class LoopbackConnection {
public:
    static constexpr double readLimit = 10;
    static constexpr double lingerLimit = 2;

    explicit LoopbackConnection(int socket) : m_socket(socket), m_until(deadlineAfter(readLimit)) {}

    /// Goes on as far as that is possible without waiting; at most once gives what came in to `ask`.
    void step(const std::function<void(std::string request)>& ask);
    /// The answer; an empty one closes the connection.
    void give(std::string answer);

    int number() const { return m_socket.number(); }
    bool isSilent() const { return m_stage == Stage::silent; }
    /// Waits for the client, not for the answer of ours.
    bool waitsForClient() const { return m_stage == Stage::silent || m_stage == Stage::leaving; }
    bool isOver() const { return m_stage == Stage::over; }
    Deadline until() const { return m_until; }

private:
    enum class Stage {
        silent,
        asked,
        leaving, // answered; what else the client sends is read, since the answer could be lost otherwise
        over,
    };

    void read(const std::function<void(std::string)>& ask);
    void answer();
    void drain();

    const Descriptor m_socket;
    Guarded<std::optional<std::string>> m_answer;
    Stage m_stage = Stage::silent;
    Deadline m_until;
};

} // namespace fenlo
