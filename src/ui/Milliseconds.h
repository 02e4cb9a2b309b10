#pragma once

#include <cmath>

namespace fenlo {

/// The toolkit's unit of time.
inline int inMilliseconds(double seconds) {
    return static_cast<int>(std::lround(seconds * 1000));
}

} // namespace fenlo
