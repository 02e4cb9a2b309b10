#pragma once

#include "base/LogThrown.h"

#include <functional>

namespace fenlo {

/// Calls the function, if there is one, from a slot or an event handler of Qt, which no exception may leave: it is
/// logged. The function may destroy the object that holds it, so a copy is called.
inline void callGuarded(std::function<void()> function) { // NOLINT(performance-unnecessary-value-param)
    if (function)
        logThrown("Main thread", function);
}

} // namespace fenlo
