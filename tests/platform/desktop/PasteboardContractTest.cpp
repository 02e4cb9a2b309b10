// What every clipboard port does, tried on the fake and on a real screen.

#include "platform/desktop/VirtualDesktop.h"
#include "platform/linux/desktop/X11Pasteboard.h"
#include "support/FakeDesktop.h"

#include <gmock/gmock.h>

using namespace fenlo;
using namespace fenlo::test;
using ::testing::Eq;
using ::testing::Optional;

namespace {

struct Rig {
    std::unique_ptr<VirtualDesktop> desktop;
    std::unique_ptr<Pasteboard> pasteboard;
};

class PasteboardContract : public ::testing::TestWithParam<Rig (*)()> {
protected:
    Rig rig = GetParam()();
    Pasteboard& pasteboard = *rig.pasteboard;
};

TEST_P(PasteboardContract, ReadsWhatWasSetLast) {
    EXPECT_EQ(pasteboard.string(1), std::nullopt);
    pasteboard.set("first", {});
    pasteboard.set("žluťoučký kůň 🐎\n", {.transient = true, .primary = true});
    EXPECT_THAT(pasteboard.string(1), Optional(Eq("žluťoučký kůň 🐎\n")));
}

TEST_P(PasteboardContract, EmptyTextIsATextAndClearedIsNone) {
    pasteboard.set("", {});
    EXPECT_THAT(pasteboard.string(1), Optional(Eq("")));
    pasteboard.clear();
    EXPECT_EQ(pasteboard.string(1), std::nullopt);
    pasteboard.set("again", {});
    EXPECT_THAT(pasteboard.string(1), Optional(Eq("again")));
}

INSTANTIATE_TEST_SUITE_P(Fake, PasteboardContract, ::testing::Values([] {
                             return Rig{nullptr, std::make_unique<FakePasteboard>()};
                         }));
INSTANTIATE_TEST_SUITE_P(X11, PasteboardContract, ::testing::Values([] {
                             auto desktop = std::make_unique<VirtualDesktop>();
                             return Rig{std::move(desktop), std::make_unique<X11Pasteboard>()};
                         }));

} // namespace
