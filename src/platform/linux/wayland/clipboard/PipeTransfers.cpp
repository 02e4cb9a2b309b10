#include "platform/linux/wayland/clipboard/PipeTransfers.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <fcntl.h>
#include <poll.h>
#include <sys/epoll.h>
#include <utility>

namespace fenlo {

namespace {

constexpr auto stallLimit = std::chrono::seconds(10); // for one piece; a slower reader counts as gone
constexpr int piecesAtOnce = 16;                      // of one pipe, before the others have their turn
constexpr std::size_t pieceSize = 64UL * 1024;

bool mayTryLater() {
    return errno == EAGAIN || errno == EINTR;
}

} // namespace

PipeTransfers::PipeTransfers(int other) : m_epoll(::epoll_create1(EPOLL_CLOEXEC)) {
    epoll_event event{EPOLLIN, {.fd = other}};
    ::epoll_ctl(m_epoll.number(), EPOLL_CTL_ADD, other, &event);
}

PipeTransfers::Transfer* PipeTransfers::add(int pipe, unsigned events) {
    auto transfer = std::make_unique<Transfer>(pipe);
    epoll_event event{events, {.fd = pipe}};
    // A file on disk is always ready and cannot be watched; nobody offers one in earnest.
    if (::fcntl(pipe, F_SETFL, ::fcntl(pipe, F_GETFL) | O_NONBLOCK) != 0 ||
        ::epoll_ctl(m_epoll.number(), EPOLL_CTL_ADD, pipe, &event) != 0)
        return nullptr;
    transfer->lastMove = Clock::now();
    return (m_transfers[pipe] = std::move(transfer)).get();
}

std::shared_ptr<const PipeArrival> PipeTransfers::read(int pipe) {
    const auto arrival = std::make_shared<PipeArrival>();
    if (Transfer* const transfer = add(pipe, EPOLLIN))
        transfer->arrival = arrival;
    else
        arrival->state = PipeArrival::State::failed;
    return arrival;
}

void PipeTransfers::write(int pipe, std::shared_ptr<const std::string> bytes) {
    if (Transfer* const transfer = add(pipe, EPOLLOUT))
        transfer->leaving = std::move(bytes);
}

void PipeTransfers::handleReady() {
    // The answer to a closed reader or writer comes from the pipe itself, so all are tried that something waits for.
    for (auto each = m_transfers.begin(); each != m_transfers.end();) {
        Transfer& transfer = *each->second;
        const bool goesOn = transfer.leaving ? writeSome(transfer) : readSome(transfer);
        each = goesOn ? std::next(each) : m_transfers.erase(each);
    }
}

bool PipeTransfers::readSome(Transfer& transfer) {
    const auto arrival = transfer.arrival.lock();
    if (!arrival)
        return false;
    std::array<char, pieceSize> piece;
    for (int i = 0; i < piecesAtOnce; ++i) {
        const ssize_t count = ::read(transfer.descriptor.number(), piece.data(), piece.size());
        if (count < 0 && mayTryLater())
            return true;
        const bool isTooLarge = count > 0 && arrival->bytes.size() + static_cast<std::size_t>(count) > largest;
        if (count <= 0 || isTooLarge) {
            arrival->state = count == 0 ? PipeArrival::State::done : PipeArrival::State::failed;
            return false;
        }
        arrival->bytes.append(piece.data(), static_cast<std::size_t>(count));
    }
    return true;
}

bool PipeTransfers::writeSome(Transfer& transfer) {
    const std::string& bytes = *transfer.leaving;
    for (int i = 0; i < piecesAtOnce && transfer.sent < bytes.size(); ++i) {
        const std::size_t size = std::min(bytes.size() - transfer.sent, pieceSize);
        const ssize_t count = ::write(transfer.descriptor.number(), bytes.data() + transfer.sent, size);
        if (count < 0)
            return mayTryLater();
        transfer.sent += static_cast<std::size_t>(count);
        transfer.lastMove = Clock::now();
    }
    return transfer.sent < bytes.size();
}

void PipeTransfers::wait(Clock::time_point deadline) const {
    const std::chrono::duration<double, std::milli> left = deadline - Clock::now();
    pollfd source{m_epoll.number(), POLLIN, 0};
    if (left.count() > 0)
        ::poll(&source, 1, static_cast<int>(std::ceil(left.count())));
}

bool PipeTransfers::dropStalled(Clock::time_point now) {
    bool isWriting = false;
    std::erase_if(m_transfers, [&](const auto& entry) {
        const Transfer& transfer = *entry.second;
        const bool isStalled = transfer.leaving && now - transfer.lastMove > stallLimit;
        isWriting = isWriting || (transfer.leaving && !isStalled);
        return isStalled;
    });
    return isWriting;
}

} // namespace fenlo
