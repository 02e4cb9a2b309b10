#include "ui/GuardedCall.h"

#include "base/Log.h"

#include <exception>
#include <string>

namespace fenlo {

void callGuarded(std::function<void()> function) { // NOLINT(performance-unnecessary-value-param)
    try {
        if (function)
            function();
    } catch (const std::exception& error) {
        log(std::string("[Fenlo] ERROR: Main thread: ") + error.what());
    } catch (...) {
        log("[Fenlo] ERROR: Main thread: unknown exception");
    }
}

} // namespace fenlo
