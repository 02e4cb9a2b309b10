#pragma once

#include <string>

namespace fenlo {

/// Seconds as minutes and seconds, "75:00"; hours are not split off.
std::string elapsedText(double seconds);

} // namespace fenlo
