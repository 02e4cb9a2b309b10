#pragma once

#include <string>

namespace fenlo {

/// Seconds as minutes and seconds, "75:00", without hours.
std::string elapsedText(double seconds);

} // namespace fenlo
