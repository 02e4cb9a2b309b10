#include "platform/linux/audio/SilentGaps.h"

#include <gtest/gtest.h>

using namespace fenlo;

TEST(SilentGaps, FillWhatALostStreamOwes) {
    SilentGaps gaps(1000); // a sample is a millisecond
    EXPECT_EQ(gaps.without(false, 5), 0u) << "not begun";
    gaps.begin(10);
    EXPECT_EQ(gaps.before(100, 10.1), 0u);
    EXPECT_EQ(gaps.without(true, 11.9), 0u) << "a stream may be late";
    EXPECT_EQ(gaps.before(1800, 11.9), 0u);
    // The card's clock is faster or slower than the computer's.
    EXPECT_EQ(gaps.before(100, 12.3), 0u);
    EXPECT_EQ(gaps.before(400, 12.4), 0u);

    gaps.interrupt();
    EXPECT_EQ(gaps.without(false, 12.5), 100u);
    EXPECT_EQ(gaps.without(false, 12.7), 200u);
    EXPECT_EQ(gaps.before(50, 12.8), 50u);
    EXPECT_EQ(gaps.before(50, 12.9), 0u);
    gaps.interrupt();
    EXPECT_EQ(gaps.before(500, 13), 0u) << "sound is never left out";
}

TEST(SilentGaps, FillAlsoWhenAnOpenStreamIsMute) {
    SilentGaps gaps(1000);
    gaps.begin(10);
    EXPECT_EQ(gaps.without(true, 12.5), 2500u);
    EXPECT_EQ(gaps.without(true, 12.6), 0u);
    EXPECT_EQ(gaps.before(100, 13), 400u);
    EXPECT_EQ(gaps.without(false, 4000), 60000u) << "nothing asks for an hour of silence";
    EXPECT_EQ(gaps.without(false, 4000.1), 100u);
}
