#include "platform/desktop/clipboard/PasteboardContract.h"

#include <gmock/gmock.h>

using ::testing::Eq;
using ::testing::Optional;

namespace fenlo::test {

namespace {
using Return = Pasteboard::Return;
}

TEST_P(PasteboardContract, ReadsWhatWasSetLast) {
    EXPECT_EQ(text(), std::nullopt);
    pasteboard.set("first", {});
    pasteboard.set("žluťoučký kůň 🐎\n", {.transient = true, .primary = true});
    EXPECT_THAT(text(), Optional(Eq("žluťoučký kůň 🐎\n")));
}

TEST_P(PasteboardContract, EmptyTextDiffersFromAClearedClipboard) {
    pasteboard.set("", {});
    EXPECT_THAT(text(), Optional(Eq("")));
    pasteboard.clear();
    EXPECT_EQ(text(), std::nullopt);
    pasteboard.set("again", {});
    EXPECT_THAT(text(), Optional(Eq("again")));
}

TEST_P(PasteboardContract, NoTextDiffersFromNoAnswer) {
    world->copy({}, {{"image/png", "image"}});
    EXPECT_TRUE(pasteboard.string(1).isAnswered);
    world->copyAndHang("text");
    EXPECT_FALSE(pasteboard.string(0.05).isAnswered);
}

TEST_P(PasteboardContract, EveryFormComesBackAfterLoansThatFollowEachOther) {
    const std::string image("\x89PNG\0\n", 6);
    for (const bool hasText : {true, false}) {
        world->copy(hasText ? std::optional<std::string>("text") : std::nullopt,
                    {{"image/png", image}, {"text/html", "<b>text</b>"}, {"x-kde-passwordManagerHint", "secret"}});
        const auto first = pasteboard.keep(1);
        pasteboard.clear();
        pasteboard.set("dictated", {.transient = true});
        EXPECT_EQ(text(), "dictated");
        const auto second = pasteboard.keep(1);
        pasteboard.clear();
        pasteboard.set("dictated next", {.transient = true});
        EXPECT_EQ(text(), "dictated next");
        second(Return::afterLoan);
        EXPECT_TRUE(eventually([&] { return world->form("image/png") == image; }));
        EXPECT_EQ(world->form("text/html"), "<b>text</b>");
        EXPECT_EQ(world->form("x-kde-passwordManagerHint"), "secret");
        EXPECT_EQ(text(), hasText ? std::optional<std::string>("text") : std::nullopt);
    }
}

TEST_P(PasteboardContract, CopyDuringALoanStays) {
    world->copy("before");
    const auto giveBack = pasteboard.keep(1);
    pasteboard.set("dictated", {.transient = true});
    EXPECT_EQ(text(), "dictated");
    world->copy("copied since");
    giveBack(Return::afterLoan);
    EXPECT_EQ(text(), "copied since");
    const auto next = pasteboard.keep(1);
    pasteboard.set("dictated", {.transient = true});
    pasteboard.set("copied by menu", {});
    next(Return::afterLoan);
    EXPECT_EQ(text(), "copied by menu");
}

TEST_P(PasteboardContract, EmptyClipboardGetsTheEmptyTextButKeepsACopy) {
    auto giveBack = pasteboard.keep(1);
    pasteboard.set("dictated", {.transient = true});
    giveBack(Return::afterLoan);
    EXPECT_TRUE(textBecomes(""));
    pasteboard.clear();
    EXPECT_EQ(text(), std::nullopt);
    giveBack = pasteboard.keep(1);
    world->copy("copied");
    giveBack(Return::afterCopy);
    EXPECT_EQ(text(), "copied");
}

TEST_P(PasteboardContract, CopyOfAnotherProgramIsUndone) {
    world->copy("before", {{"image/png", "image"}});
    const auto giveBack = pasteboard.keep(1);
    world->copy("selection");
    giveBack(Return::afterCopy);
    EXPECT_TRUE(textBecomes("before"));
    EXPECT_EQ(world->form("image/png"), "image");
}

TEST_P(PasteboardContract, LateAnswerComesBackAndNoAnswerLeavesTheText) {
    world->copyAndHang("before");
    const auto giveBack = pasteboard.keep(0.05);
    pasteboard.set("dictated", {.transient = true});
    giveBack(Return::afterLoan);
    EXPECT_EQ(text(), "dictated");
    world->answerNow();
    EXPECT_TRUE(textBecomes("before"));
}

} // namespace fenlo::test
