#include "meeting/ChunkRule.h"

#include <gmock/gmock.h>
#include <string>
#include <utility>
#include <vector>

using namespace fenlo;
using testing::DoubleNear;
using testing::ElementsAre;
using testing::FieldsAre;
using testing::IsEmpty;

namespace {

constexpr float loud = 0.2F;
constexpr float quiet = 0.004F;

/// A level that holds for some seconds.
struct Stretch {
    double seconds;
    float level;
};

/// Where a meeting that begins at some moment is cut, in seconds from its beginning.
std::vector<std::pair<double, std::string>> cuts(MeetingMode mode, const std::vector<Stretch>& stretches) {
    constexpr double start = 1000;
    ChunkRule rule(mode, start);
    std::vector<std::pair<double, std::string>> found;
    double end = 0, last = 0;
    int tick = 0;
    for (const auto& [seconds, level] : stretches)
        for (end += seconds; (tick + 1) * meetingTick <= end + 1e-9;) {
            const double now = ++tick * meetingTick;
            if (const auto cut = rule.tick(level, start + now)) {
                EXPECT_NEAR(cut->length, now - last, 1e-6);
                last = now;
                found.emplace_back(now, cut->reason);
            }
        }
    return found;
}

/// The clock of the ticks is not exact.
auto at(double seconds, const char* reason) {
    return FieldsAre(DoubleNear(seconds, 2.1 * meetingTick), reason);
}

} // namespace

TEST(ChunkRule, CutsASteadyTalkerAtTheLongestTime) {
    EXPECT_THAT(cuts(MeetingMode::meeting, {{25, loud}}), ElementsAre(at(10, "max interval"), at(20, "max interval")));
    EXPECT_THAT(cuts(MeetingMode::transcription, {{4.5, loud}}),
                ElementsAre(at(2, "max interval"), at(4, "max interval")));
}

TEST(ChunkRule, CutsAtAPauseThatBeginsToCountAfterTheShortestTime) {
    EXPECT_THAT(cuts(MeetingMode::meeting, {{4, loud}, {1, quiet}, {3, loud}, {0.7, quiet}, {0.5, loud}}),
                ElementsAre(at(4.8, "silence")));
    EXPECT_THAT(cuts(MeetingMode::meeting, {{0.5, loud}, {1.4, quiet}, {2, loud}}), IsEmpty())
        << "a pause within the first two seconds";
    EXPECT_THAT(cuts(MeetingMode::meeting, {{0.5, loud}, {2.6, quiet}}), ElementsAre(at(2.8, "silence")))
        << "it counts from the second second on";
    EXPECT_THAT(cuts(MeetingMode::meeting, {{3, loud}, {0.6, quiet}, {2 * meetingTick, loud}, {1, quiet}}),
                ElementsAre(at(4.5, "silence")))
        << "a click makes the pause begin again";
    EXPECT_THAT(cuts(MeetingMode::transcription, {{1, loud}, {1, quiet}}),
                ElementsAre(at(1.2, "silence"), at(1.9, "silence")));
}

TEST(ChunkRule, TakesALevelAtTheThresholdForSpeech) {
    EXPECT_THAT(cuts(MeetingMode::meeting, {{9, 0.005F}}), IsEmpty());
    EXPECT_THAT(cuts(MeetingMode::meeting, {{2.9, 0.00499F}}), ElementsAre(at(2.8, "silence")));
}
