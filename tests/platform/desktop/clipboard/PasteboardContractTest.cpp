// What every clipboard port does, tried on the fake and on a real screen.

#include "platform/desktop/VirtualDesktop.h"
#include "platform/desktop/clipboard/SelectionOwner.h"
#include "platform/linux/desktop/clipboard/X11Pasteboard.h"
#include "support/FakeDesktop.h"

#include <gmock/gmock.h>

using namespace fenlo;
using namespace fenlo::test;
using ::testing::Eq;
using ::testing::Optional;

namespace {

using Forms = std::map<std::string, std::string>;
using Return = Pasteboard::Return;

/// A desktop with another program that copies.
class World {
public:
    virtual ~World() = default;
    virtual Pasteboard& pasteboard() = 0;
    virtual void copy(std::optional<std::string> text, Forms forms = {}) = 0;
    /// Copies; the program answers only after answerNow().
    virtual void copyAndHang(const std::string& text) = 0;
    virtual void answerNow() = 0;
    /// What any program finds on the clipboard.
    virtual std::string form(const std::string& name) = 0;
};

class FakeWorld final : public World {
public:
    Pasteboard& pasteboard() override { return m_pasteboard; }
    void copy(std::optional<std::string> text, Forms forms) override {
        m_pasteboard.content = std::move(text);
        m_pasteboard.forms = std::move(forms);
    }
    void copyAndHang(const std::string& text) override {
        copy(text, {});
        m_pasteboard.answers = false;
    }
    void answerNow() override { m_pasteboard.answerNow(); }
    std::string form(const std::string& name) override { return m_pasteboard.forms[name]; }

private:
    FakePasteboard m_pasteboard;
};

class X11World final : public World {
public:
    Pasteboard& pasteboard() override { return m_pasteboard; }
    void copy(std::optional<std::string> text, Forms forms) override {
        m_other = std::make_unique<SelectionOwner>(SelectionOwner::Manner::answers, text, forms);
    }
    void copyAndHang(const std::string& text) override {
        m_other = std::make_unique<SelectionOwner>(SelectionOwner::Manner::late, text);
    }
    void answerNow() override { m_other->answerNow(); }
    std::string form(const std::string& name) override {
        return outputOf({"timeout", "5", "xclip", "-o", "-selection", "clipboard", "-target", name});
    }

private:
    VirtualDesktop m_desktop;
    X11Pasteboard m_pasteboard;
    std::unique_ptr<SelectionOwner> m_other;
};

class PasteboardContract : public ::testing::TestWithParam<std::unique_ptr<World> (*)()> {
protected:
    std::optional<std::string> text() { return pasteboard.string(1).text; }
    bool textBecomes(const std::string& expected) {
        return eventually([&] { return text() == expected; });
    }

    std::unique_ptr<World> world = GetParam()();
    Pasteboard& pasteboard = world->pasteboard();
};

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

INSTANTIATE_TEST_SUITE_P(Fake, PasteboardContract,
                         ::testing::Values([]() -> std::unique_ptr<World> { return std::make_unique<FakeWorld>(); }));
INSTANTIATE_TEST_SUITE_P(X11, PasteboardContract,
                         ::testing::Values([]() -> std::unique_ptr<World> { return std::make_unique<X11World>(); }));

} // namespace
