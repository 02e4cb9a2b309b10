#include "base/Files.h"
#include "platform/desktop/VirtualDesktop.h"
#include "platform/desktop/clipboard/SelectionOwner.h"
#include "platform/linux/desktop/clipboard/ServedPasteboard.h"
#include "platform/linux/desktop/clipboard/X11Selections.h"
#include "support/EnvironmentVariable.h"
#include "support/TemporaryFolder.h"

#include <chrono>
#include <csignal>
#include <gmock/gmock.h>

using namespace fenlo;
using namespace fenlo::test;
using ::testing::Contains;
using ::testing::ContainsRegex;
using ::testing::Eq;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::Optional;

namespace {

using Manner = SelectionOwner::Manner;

/// A text that shows when a piece is lost or doubled.
std::string longText(std::size_t bytes) {
    std::string text;
    for (int i = 0; text.size() < bytes; ++i)
        text += std::to_string(i) + " ďábelské ódy, ";
    return text;
}

std::string pasted(const std::string& selection = "clipboard", const std::string& target = "UTF8_STRING") {
    return outputOf({"timeout", "5", "xclip", "-o", "-selection", selection, "-target", target});
}

class X11PasteboardTest : public ::testing::Test {
protected:
    /// When this returns, other programs see it.
    void offer(const std::string& text, Pasteboard::Offer offer = {}) {
        pasteboard.set(text, offer);
        EXPECT_EQ(pasteboard.string(1).text.value_or("").size(), text.size());
    }

    VirtualDesktop desktop;
    ServedPasteboard pasteboard{X11Selections::open()};
};

TEST_F(X11PasteboardTest, OtherProgramsFindTheTextInEveryUsualForm) {
    offer("naïve café");
    for (const char* target : {"UTF8_STRING", "text/plain;charset=utf-8", "text/plain", "TEXT"})
        EXPECT_EQ(pasted("clipboard", target), "naïve café") << target;
    EXPECT_EQ(pasted("clipboard", "STRING"), "na\xEFve caf\xE9");
    EXPECT_THAT(pasted("clipboard", "TARGETS"), HasSubstr("MULTIPLE"));
    EXPECT_THAT(pasted("clipboard", "TARGETS"), Not(HasSubstr("passwordManagerHint")));
    EXPECT_NE(std::atol(pasted("clipboard", "TIMESTAMP").c_str()), 0);
    offer("こんにちは");
    EXPECT_EQ(pasted("clipboard", "STRING"), "");
    EXPECT_EQ(pasted(), "こんにちは");
}

TEST_F(X11PasteboardTest, TransientTextAsksManagersToLeaveItOut) {
    offer("dictated", {.transient = true});
    EXPECT_EQ(pasted("clipboard", "x-kde-passwordManagerHint"), "secret");
    EXPECT_EQ(pasted(), "dictated");
}

TEST_F(X11PasteboardTest, PrimaryIsTakenOnLoanOnly) {
    offer("dictated", {.transient = true, .primary = true});
    EXPECT_TRUE(eventually([] { return pasted("primary") == "dictated"; }));
    offer("what was there before");
    EXPECT_EQ(pasted(), "what was there before");
    EXPECT_TRUE(eventually([] { return pasted("primary").empty(); }));
}

TEST_F(X11PasteboardTest, SeveralTargetsCanBeAskedForAtOnce) {
    offer("text");
    const auto x = XcbConnection::open();
    const xcb_window_t window = x->makeWindow();
    const auto utf8 = x->atom("UTF8_STRING"), image = x->atom("image/png"), pairs = x->atom("PAIRS");
    const auto first = x->atom("FIRST"), second = x->atom("SECOND");
    x->setNumbers(window, pairs, x->atom("ATOM_PAIR"), {utf8, first, image, second});
    xcb_convert_selection(x->get(), window, x->atom("CLIPBOARD"), x->atom("MULTIPLE"), pairs, XCB_CURRENT_TIME);
    xcb_flush(x->get());
    ASSERT_TRUE(eventually([&] { return x->property(window, first).has_value(); }));
    EXPECT_EQ(x->property(window, first)->bytes, "text");
    EXPECT_THAT(x->numbers(window, pairs), ::testing::ElementsAre(utf8, first, image, XCB_ATOM_NONE));
}

TEST_F(X11PasteboardTest, LargeTextsReachSeveralProgramsWhole) {
    for (const std::size_t size : {100'000, 10'000'000}) {
        const std::string text = longText(size);
        offer(text);
        std::string other;
        std::thread reader([&] { other = pasted(); });
        EXPECT_TRUE(pasted() == text) << size;
        reader.join();
        EXPECT_TRUE(other == text) << size;
    }
}

TEST_F(X11PasteboardTest, TransferUnderWayStaysWholeWhenAnotherTextIsSet) {
    const std::string text = longText(10'000'000);
    offer(text);
    std::string got;
    std::thread reader([&] { got = pasted(); });
    for (int i = 0; i < 50; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
        if (i == 25)
            offer("next");
    }
    reader.join();
    EXPECT_TRUE(got == text || got == "next");
    EXPECT_EQ(pasted(), "next");
}

TEST_F(X11PasteboardTest, ReaderThatHangsOrVanishesHoldsUpNoOther) {
    const std::string text = longText(3'000'000);
    offer(text);
    {
        // A reader that asks for pieces and fetches none.
        const auto x = XcbConnection::open();
        const xcb_window_t window = x->makeWindow();
        for (const char* property : {"A", "B"})
            xcb_convert_selection(x->get(), window, x->atom("CLIPBOARD"), x->atom("UTF8_STRING"), x->atom(property),
                                  XCB_CURRENT_TIME);
        xcb_flush(x->get());
        ASSERT_TRUE(eventually([&] { return x->property(window, x->atom("B")).has_value(); }));
        EXPECT_TRUE(pasted() == text);
    }
    EXPECT_TRUE(pasted() == text);
    EXPECT_TRUE(pasteboard.isConnected());
}

TEST_F(X11PasteboardTest, ReadsFromOtherProgramsWholeOrInPieces) {
    for (const auto& [manner, size] : {std::pair(Manner::answers, 100'000), std::pair(Manner::pieces, 10'000'000)}) {
        const std::string text = longText(size);
        const SelectionOwner owner(manner, text);
        const auto got = pasteboard.string(1).text;
        EXPECT_TRUE(got == text) << size;
    }
    const SelectionOwner old(Manner::onlyLatin, "caf\xE9");
    EXPECT_THAT(pasteboard.string(1).text, Optional(Eq("café")));
    const SelectionOwner broken(Manner::answers, "a\xFFz");
    EXPECT_THAT(pasteboard.string(1).text, Optional(Eq("a\xEF\xBF\xBDz")));
}

TEST_F(X11PasteboardTest, OwnerWithoutAnAnswerCostsTheLimitOnly) {
    for (const Manner manner : {Manner::silent, Manner::stops, Manner::dribbles}) {
        const SelectionOwner owner(manner, longText(1'000'000));
        const auto start = std::chrono::steady_clock::now();
        const auto reading = pasteboard.string(0.15);
        EXPECT_EQ(reading.text, std::nullopt);
        EXPECT_FALSE(reading.isAnswered);
        pasteboard.keep(0.15);
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(900));
    }
    // A late answer must not pass for the answer to the next question.
    const SelectionOwner owner(Manner::answers, "fresh");
    EXPECT_THAT(pasteboard.string(1).text, Optional(Eq("fresh")));
}

TEST_F(X11PasteboardTest, ImageOfARealProgramComesBackWhole) {
    const std::string image = longText(10'000'000);
    const ChildProcess copier({"xclip", "-i", "-quiet", "-selection", "clipboard", "-t", "image/png"}, image);
    ASSERT_TRUE(eventually([] { return pasted("clipboard", "TARGETS").find("image/png") != std::string::npos; }));
    const auto giveBack = pasteboard.keep(0.15);
    offer("dictated", {.transient = true});
    EXPECT_EQ(pasted("clipboard", "image/png"), "");
    giveBack(Pasteboard::Return::afterLoan);
    EXPECT_TRUE(eventually([&] { return pasted("clipboard", "image/png") == image; }, 30));
    EXPECT_THAT(pasted("clipboard", "TARGETS"), Not(HasSubstr("UTF8_STRING")));
}

TEST_F(X11PasteboardTest, SelectionThatALoanDisplacedComesBack) {
    const ChildProcess selected({"xclip", "-i", "-quiet", "-selection", "primary"}, "what was selected");
    ASSERT_TRUE(eventually([] { return pasted("primary") == "what was selected"; }));
    const auto giveBack = pasteboard.keep(0.15);
    offer("dictated", {.transient = true, .primary = true});
    EXPECT_TRUE(eventually([] { return pasted("primary") == "dictated"; }));
    giveBack(Pasteboard::Return::afterLoan);
    EXPECT_TRUE(eventually([] { return pasted("primary") == "what was selected"; }));

    // What is selected during the loan stays.
    offer("dictated", {.transient = true, .primary = true});
    EXPECT_TRUE(eventually([] { return pasted("primary") == "dictated"; }));
    const ChildProcess newer({"xclip", "-i", "-quiet", "-selection", "primary"}, "selected since");
    ASSERT_TRUE(eventually([] { return pasted("primary") == "selected since"; }));
    offer("over");
    EXPECT_EQ(pasted("primary"), "selected since");
}

TEST(X11PasteboardBesideAManager, LoanLeavesNoTraceInAHistoryThatIgnoresTheHint) {
    const VirtualDesktop desktop;
    const VirtualBus bus;
    const EnvironmentVariable settings("GSETTINGS_BACKEND", "memory");
    const TemporaryFolder folder;
    const EnvironmentVariable data("XDG_DATA_HOME", folder.path.c_str());
    const ChildProcess manager({"/usr/libexec/gpaste/gpaste-daemon"});
    const auto history = [] {
        return outputOf({"gdbus", "call", "--session", "--dest=org.gnome.GPaste", "--object-path=/org/gnome/GPaste",
                         "--method=org.gnome.GPaste2.GetHistory"});
    };
    ASSERT_TRUE(eventually([&] { return history().find("[]") != std::string::npos; }, 30));
    ServedPasteboard pasteboard{X11Selections::open()};
    for (const char* text : {"copied", "asked for"}) {
        pasteboard.set(text, {});
        ASSERT_TRUE(eventually([&] { return history().find(text) != std::string::npos; }));
    }
    const auto giveBack = pasteboard.keep(0.15);
    pasteboard.set("dictated", {.transient = true});
    ASSERT_TRUE(eventually([&] { return history().find("dictated") != std::string::npos; }));
    giveBack(Pasteboard::Return::afterLoan);
    EXPECT_TRUE(eventually([&] { return history().find("dictated") == std::string::npos; }));
    EXPECT_THAT(history(), HasSubstr("copied"));
    EXPECT_EQ(pasted(), "asked for");
}

TEST_F(X11PasteboardTest, ClearBeforeANewTextIsNeverSeen) {
    pasteboard.set("old", {});
    const auto x = XcbConnection::open();
    const auto owner = [&] {
        const XcbReply<xcb_get_selection_owner_reply_t> reply(
            xcb_get_selection_owner_reply(x->get(), xcb_get_selection_owner(x->get(), x->atom("CLIPBOARD")), nullptr));
        return reply->owner;
    };
    ASSERT_TRUE(eventually([&] { return owner() != XCB_WINDOW_NONE; }));
    for (int i = 0; i < 20; ++i) {
        pasteboard.clear();
        EXPECT_NE(owner(), XCB_WINDOW_NONE);
        pasteboard.set("new", {});
        EXPECT_NE(owner(), XCB_WINDOW_NONE);
    }
    pasteboard.clear();
    EXPECT_TRUE(eventually([&] { return owner() == XCB_WINDOW_NONE; }));
}

TEST_F(X11PasteboardTest, ServerThatGoesAway_LeavesNoText) {
    pasteboard.set("text", {});
    desktop.end();
    EXPECT_TRUE(eventually([&] { return !pasteboard.isConnected(); }));
    EXPECT_EQ(pasteboard.string(5).text, std::nullopt);
    pasteboard.set("text", {});
}

TEST(X11PasteboardAtTheEnd, LastingTextGoesToTheClipboardManager) {
    const VirtualDesktop desktop;
    // A real manager would now ask for the text; this one only notes the request.
    const auto x = XcbConnection::open();
    const xcb_window_t window = x->makeWindow();
    xcb_set_selection_owner(x->get(), window, x->atom("CLIPBOARD_MANAGER"), XCB_CURRENT_TIME);
    const xcb_atom_t saveTargets = x->atom("SAVE_TARGETS");
    for (const bool transient : {false, true}) {
        const auto start = std::chrono::steady_clock::now();
        {
            ServedPasteboard pasteboard{X11Selections::open()};
            pasteboard.set("text", {.transient = transient});
        }
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(900));
        bool isAsked = false;
        while (const XcbReply<xcb_generic_event_t> event{xcb_poll_for_event(x->get())}) {
            const auto* const request = eventAs<xcb_selection_request_event_t>(*event, XCB_SELECTION_REQUEST);
            isAsked = isAsked || (request && request->target == saveTargets);
        }
        EXPECT_EQ(isAsked, !transient);
    }
}

TEST(X11PasteboardAtTheEnd, ComesAtAnyMoment) {
    const VirtualDesktop desktop;
    for (int i = 0; i < 300; ++i) {
        ServedPasteboard pasteboard{X11Selections::open()};
        pasteboard.set("text", {.transient = true});
        // The end comes at moments from before the thread's start until it has the text.
        std::this_thread::sleep_for(std::chrono::microseconds(i * 5));
    }
}

TEST(X11PasteboardWithoutServer, HasNoText) {
    const EnvironmentVariable noServer("DISPLAY", ":9999");
    ServedPasteboard pasteboard{X11Selections::open()};
    EXPECT_FALSE(pasteboard.isConnected());
    pasteboard.set("text", {});
    pasteboard.clear();
    EXPECT_EQ(pasteboard.string(5).text, std::nullopt);
}

} // namespace
