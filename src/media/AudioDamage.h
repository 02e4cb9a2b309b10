#pragma once

#include <optional>
#include <string>

namespace fenlo {

/// A stretch of a recording that could not be read. Silence of its length stands in its place, so that what follows
/// keeps its time.
struct AudioDamage {
    enum class Kind {
        gap, // the recording goes on behind it
        cut, // the recording ends here, before the end that its header tells of
    };
    Kind kind = Kind::gap;
    double start = 0;           // seconds from the beginning of the recording
    std::optional<double> lost; // seconds; none where the file does not tell
};

/// "damaged at 12.3 s, 0.4 s lost", "cut off at 12.3 s".
std::string describe(const AudioDamage& damage);

} // namespace fenlo
