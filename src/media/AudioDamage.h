#pragma once

#include <optional>
#include <string>

namespace fenlo {

/// A stretch of a recording that could not be read. Silence of the same length replaces it, so that what follows keeps
/// its time.
struct AudioDamage {
    enum class Kind {
        gap, // the recording continues after it
        cut, // the recording ends here, earlier than its header says
    };
    Kind kind = Kind::gap;
    double start = 0;           // seconds from the beginning of the recording
    std::optional<double> lost; // seconds; none when the file does not say
};

/// "damaged at 12.3 s, 0.4 s lost", "cut off at 12.3 s".
std::string describe(const AudioDamage& damage);

} // namespace fenlo
