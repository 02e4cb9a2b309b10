#pragma once

#include <functional>

namespace fenlo {

/// Calls the function if there is one. An exception is logged and goes no further: none may leave a slot or an event
/// handler of Qt. The function may end the life of whoever holds it, which is why it is copied.
void callGuarded(std::function<void()> function);

} // namespace fenlo
