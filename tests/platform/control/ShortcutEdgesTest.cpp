#include "platform/linux/desktop/keys/ShortcutEdges.h"

#include <gtest/gtest.h>

using namespace fenlo;

TEST(ShortcutEdges, RepetitionsAreNoPressesAndALostReleaseIsNoticed) {
    using Meaning = ShortcutEdges::Meaning;
    ShortcutEdges edges;
    const Deadline start{};
    EXPECT_EQ(edges.pressed(start), Meaning::press);
    EXPECT_EQ(edges.pressed(deadlineAfter(0.67, start)), Meaning::repetition);
    for (int i = 1; i < 250; ++i) // held for ten seconds
        EXPECT_EQ(edges.pressed(deadlineAfter(0.67 + 0.04 * i, start)), Meaning::repetition);
    edges.released();
    EXPECT_EQ(edges.pressed(deadlineAfter(11, start)), Meaning::press);
    EXPECT_EQ(edges.pressed(deadlineAfter(13, start)), Meaning::pressAfterLostRelease);
    EXPECT_EQ(edges.pressed(deadlineAfter(13.1, start)), Meaning::repetition);
}
