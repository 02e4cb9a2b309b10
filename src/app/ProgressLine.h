#pragma once

#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <string_view>

/// How progress looks on one line of a terminal; nothing here writes.
///
/// Units: widths are in columns, of which some characters take two and some none. A line never fills more than it is
/// given, and holds no control characters whatever its texts do.
namespace fenlo {

/// What a piece of work has come to. What is not known is left out of the line.
struct ProgressState {
    std::string label = {};
    std::optional<double> fraction = {}; // in [0, 1]
    std::uint64_t received = 0;          // bytes
    std::uint64_t total = 0;             // 0 where the work is not counted in bytes
    std::optional<double> rate = {};     // bytes a second
    std::string text = {};               // instead of a bar: what was heard so far, of which the end is shown
};

/// "Downloading [=====>     ]  42 %  203.1 of 483.6 MB  12.3 MB/s  0:23 left"; on a narrow terminal fewer of these.
std::string progressLine(const ProgressState& state, int width);

/// The columns that a text takes; never too few.
int columnsOf(std::string_view text);

/// Speed over the last seconds, from sums that come at any times.
class RateMeter {
public:
    void add(double time, std::uint64_t sum);
    /// Bytes a second; none before there is enough to tell.
    std::optional<double> rate() const;

private:
    struct Sample {
        double time;
        std::uint64_t sum;
    };
    std::deque<Sample> m_samples;
};

} // namespace fenlo
