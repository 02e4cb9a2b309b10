#include "platform/linux/desktop/Wakeup.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace fenlo {

Wakeup::Wakeup() : m_event(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

Wakeup::~Wakeup() {
    ::close(m_event);
}

void Wakeup::wake() {
    const std::uint64_t one = 1;
    [[maybe_unused]] const auto written = ::write(m_event, &one, sizeof one);
}

void Wakeup::sleep(int descriptor, double seconds) {
    constexpr double longest = 3600; // seconds; an early return does no harm
    const int milliseconds = seconds < 0 ? -1 : static_cast<int>(std::ceil(std::min(seconds, longest) * 1000));
    pollfd sources[] = {{descriptor, POLLIN, 0}, {m_event, POLLIN, 0}};
    ::poll(sources, std::size(sources), milliseconds);
    std::uint64_t count;
    [[maybe_unused]] const auto read = ::read(m_event, &count, sizeof count);
}

} // namespace fenlo
