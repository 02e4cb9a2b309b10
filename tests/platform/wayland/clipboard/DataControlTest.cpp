// The clipboard of a Wayland desktop: the port's contract, and what only other programs see.

#include "platform/linux/wayland/clipboard/DataControl.h"

#include "platform/desktop/clipboard/PasteboardContract.h"
#include "platform/linux/desktop/clipboard/ServedPasteboard.h"
#include "platform/linux/desktop/clipboard/X11Selections.h"
#include "platform/linux/wayland/clipboard/ClipboardKeeper.h"
#include "platform/wayland/clipboard/DataOwner.h"
#include "support/ChildProcess.h"

#include <chrono>
#include <gmock/gmock.h>

using namespace fenlo;
using namespace fenlo::test;
using ::testing::HasSubstr;
using ::testing::Not;

namespace {

using Return = Pasteboard::Return;

std::string pastedAs(const std::string& form, bool isPrimary = false) {
    std::vector<std::string> command{"timeout", "5", "wl-paste", "--no-newline", "--type", form};
    if (isPrimary)
        command.push_back("--primary");
    return outputOf(command);
}

class WaylandWorld final : public ClipboardWorld {
public:
    Pasteboard& pasteboard() override { return m_pasteboard; }
    void copy(std::optional<std::string> text, Forms forms) override {
        m_other = std::make_unique<DataOwner>(DataOwner::Manner::answers, text, forms);
    }
    void copyAndHang(const std::string& text) override {
        m_other = std::make_unique<DataOwner>(DataOwner::Manner::late, text);
    }
    void answerNow() override { m_other->answerNow(); }
    std::string form(const std::string& name) override { return pastedAs(name); }

private:
    ServedPasteboard m_pasteboard{DataControl::open()};
    std::unique_ptr<DataOwner> m_other;
};

class DataControlTest : public ::testing::Test {
protected:
    /// When this returns, other programs see it.
    void offer(const std::string& text, Pasteboard::Offer offer = {}) {
        pasteboard.set(text, offer);
        EXPECT_EQ(pasteboard.string(1).text.value_or("").size(), text.size());
    }

    ServedPasteboard pasteboard{DataControl::open()};
};

TEST_F(DataControlTest, OtherProgramsFindTheTextInEveryUsualFormAndTheHintOnALoanOnly) {
    offer("naïve café, こんにちは");
    for (const char* form : {"text/plain;charset=utf-8", "text/plain", "UTF8_STRING", "TEXT", "STRING"})
        EXPECT_EQ(pastedAs(form), "naïve café, こんにちは") << form;
    EXPECT_THAT(outputOf({"wl-paste", "--list-types"}), Not(HasSubstr("passwordManagerHint")));
    offer("dictated", {.transient = true});
    EXPECT_EQ(pastedAs("x-kde-passwordManagerHint"), "secret");
    EXPECT_EQ(pastedAs("text/plain"), "dictated");
}

TEST_F(DataControlTest, PrimaryIsTakenOnLoanOnlyAndComesBack) {
    const ChildProcess selecting({"wl-copy", "--foreground", "--primary", "selected"});
    ASSERT_TRUE(eventually([] { return pastedAs("text/plain", true) == "selected"; }));
    offer("dictated", {.transient = true, .primary = true});
    EXPECT_TRUE(eventually([] { return pastedAs("text/plain", true) == "dictated"; }));
    offer("what was there before");
    EXPECT_TRUE(eventually([] { return pastedAs("text/plain", true) == "selected"; }));
    EXPECT_EQ(pastedAs("text/plain"), "what was there before");
}

TEST_F(DataControlTest, LargeContentsGoWholeBothWaysBesideAReaderThatHangs) {
    const std::string image(20'000'000, '\x89');
    const DataOwner owner(DataOwner::Manner::answers, "text", {{"image/png", image}});
    const auto giveBack = pasteboard.keep(5);
    offer("dictated", {.transient = true});
    giveBack(Return::afterLoan);
    ASSERT_TRUE(eventually([&] { return pasteboard.string(1).text == "text"; }));
    ChildProcess hanging({"sh", "-c", "wl-paste --type image/png | sleep 60"});
    EXPECT_TRUE(pastedAs("image/png") == image);
    EXPECT_EQ(pastedAs("text/plain"), "text");
}

TEST_F(DataControlTest, OwnerThatStopsCostsTheLimitOnlyAndLeavesTheDictatedText) {
    for (const auto manner : {DataOwner::Manner::stops, DataOwner::Manner::withoutEnd}) {
        const DataOwner owner(manner, "half of this", {{"text/html", "<b>"}});
        const auto start = std::chrono::steady_clock::now();
        EXPECT_FALSE(pasteboard.string(0.1).isAnswered);
        const auto giveBack = pasteboard.keep(0.15);
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(1));
        offer("dictated", {.transient = true});
        giveBack(Return::afterLoan);
        EXPECT_EQ(pasteboard.string(1).text, "dictated");
        offer("copied"); // or the return that still waits would come between the next owner and its clipboard
    }
}

TEST_F(DataControlTest, SeveralReadersFollowEachOtherWhileTheTextChanges) {
    for (int round = 0; round < 20; ++round) {
        const std::string text = "text " + std::to_string(round);
        offer(text, {.transient = round % 2 == 0});
        EXPECT_EQ(pastedAs("UTF8_STRING"), text);
    }
}

/// Of a program that had the clipboard on loan while this owner was there, gave it back and ended, as did the owner.
void endAfterLoanOf(const DataOwner::Forms& forms) {
    const DataOwner owner(DataOwner::Manner::answers, "copied", forms);
    ServedPasteboard ending(DataControl::open(CLIPBOARD_KEEPER));
    const auto giveBack = ending.keep(5);
    ending.set("dictated", {.transient = true});
    giveBack(Return::afterLoan);
}

bool isKept() {
    return !outputOf({"pgrep", "--full", CLIPBOARD_KEEPER}).empty();
}

TEST_F(DataControlTest, ClipboardOutlivesTheProgramUntilTheNextCopy) {
    const std::string image(3'000'000, '\x89');
    endAfterLoanOf({{"image/png", image}, {"text/html", "<b>"}});
    for (int round = 0; round < 2; ++round) { // it answers everybody
        EXPECT_TRUE(pastedAs("image/png") == image);
        EXPECT_EQ(pastedAs("text/html"), "<b>");
        EXPECT_EQ(pastedAs("text/plain"), "copied");
    }
    offer("something else");
    EXPECT_TRUE(eventually([] { return !isKept(); }));
    EXPECT_EQ(pastedAs("text/plain"), "something else");
}

TEST_F(DataControlTest, KeeperLeavesWhatSomebodyHasCopiedMeanwhile) {
    const ChildProcess other({"wl-copy", "--foreground", "somebody's"}); // in the same forms as a text of ours
    ASSERT_TRUE(eventually([] { return pastedAs("text/plain") == "somebody's"; }));
    EXPECT_TRUE(startClipboardKeeper(CLIPBOARD_KEEPER, {std::make_shared<const std::string>("ours"), {}}));
    EXPECT_TRUE(eventually([] { return !isKept(); }));
    EXPECT_EQ(pastedAs("text/plain"), "somebody's");
}

TEST_F(DataControlTest, PasswordsAndLoansEndWithTheProgram) {
    endAfterLoanOf({{"x-kde-passwordManagerHint", "secret"}});
    EXPECT_EQ(pastedAs("text/plain"), "");
    ServedPasteboard(DataControl::open(CLIPBOARD_KEEPER)).set("dictated", {.transient = true});
    EXPECT_EQ(pastedAs("text/plain"), "");
    ServedPasteboard(DataControl::open("/nowhere/keeper")).set("copied", {});
    EXPECT_EQ(pastedAs("text/plain"), "");
    EXPECT_FALSE(isKept());
}

TEST_F(DataControlTest, ProgramsOfXWaylandReadWhatWasSet) {
    // The compositor lets X programs read while one of their windows is in front.
    ChildProcess terminal({"xterm", "-e", "sleep", "60"});
    offer("für X 世界", {.transient = true});
    EXPECT_TRUE(eventually([] {
        return outputOf({"timeout", "5", "xclip", "-o", "-selection", "clipboard"}) == "für X 世界";
    }));
}

} // namespace

namespace fenlo::test {
INSTANTIATE_TEST_SUITE_P(Wayland, PasteboardContract, ::testing::Values(&makeClipboardWorld<WaylandWorld>));
} // namespace fenlo::test
