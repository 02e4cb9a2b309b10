#include "base/Clock.h"

#include <thread>

namespace fenlo {

double SystemClock::now() const {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

std::chrono::system_clock::time_point SystemClock::wallTime() const {
    return std::chrono::system_clock::now();
}

void SystemClock::sleep(double seconds) {
    std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
}

} // namespace fenlo
