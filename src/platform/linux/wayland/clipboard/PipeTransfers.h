#pragma once

#include "base/Descriptor.h"

#include <chrono>
#include <map>
#include <memory>
#include <string>

namespace fenlo {

/// A content that another program writes into a pipe.
struct PipeArrival {
    enum class State { arriving, done, failed };

    State state = State::arriving;
    std::string bytes;

    bool isOpen() const { return state == State::arriving; }
};

/// The pipes through which the contents of selections come and go, beside one descriptor of somebody else's.
///
/// Threads:  one; nothing blocks but wait().
/// Lifetime: an arrival ends when nobody holds it any more.
class PipeTransfers {
public:
    using Clock = std::chrono::steady_clock;

    static constexpr std::size_t largest = 64UL * 1024 * 1024; // bytes of one content

    /// Watches `other` too.
    explicit PipeTransfers(int other);

    /// Can be read from when something is ready, on the other descriptor or on a pipe.
    int descriptor() const { return m_epoll.number(); }

    /// Takes the pipe over, until its writer closes it. A content that is too large fails.
    std::shared_ptr<const PipeArrival> read(int pipe);
    /// Takes the pipe over, writes everything and closes it.
    void write(int pipe, std::shared_ptr<const std::string> bytes);

    /// Moves what can be moved.
    void handleReady();
    /// Waits until something is ready, at most until the deadline.
    void wait(Clock::time_point deadline) const;

    /// Closes pipes whose reader does nothing. Returns whether others are still being written.
    bool dropStalled(Clock::time_point now);

private:
    struct Transfer {
        explicit Transfer(int pipe) : descriptor(pipe) {}

        Descriptor descriptor;
        std::weak_ptr<PipeArrival> arrival;
        std::shared_ptr<const std::string> leaving; // null while something arrives
        std::size_t sent = 0;
        Clock::time_point lastMove;
    };

    Transfer* add(int pipe, unsigned events);
    static bool readSome(Transfer& transfer);
    static bool writeSome(Transfer& transfer);

    const Descriptor m_epoll;
    std::map<int, std::unique_ptr<Transfer>> m_transfers; // by their descriptor's number
};

} // namespace fenlo
