#include "session/TextInserter.h"
#include "platform/KeyCodes.h"
#include "support/FakeDesktop.h"
#include "support/FakeKeyEvents.h"
#include "support/VirtualTime.h"

#include <gtest/gtest.h>

using namespace fenlo;
using Posted = test::FakeKeyEvents::Posted;

namespace {

class Insertion : public ::testing::Test {
protected:
    test::VirtualClock clock;
    test::VirtualMainQueue mainQueue{clock};
    test::FakePasteboard pasteboard;
    test::FakeKeyEvents keys;
    test::FakeAccessibility accessibility;
    test::FakeWorkspace workspace;
    TextInserter inserter{pasteboard, keys, accessibility, workspace, clock, mainQueue};
};

} // namespace

TEST_F(Insertion, PastesThroughTheClipboardAndGivesTheOldTextBack) {
    pasteboard.content = "old";
    std::vector<double> postTimes;
    std::string pasted;
    const double start = clock.now();
    keys.onPost = [&](const Posted& posted) {
        postTimes.push_back(clock.now() - start);
        if (posted.direction == KeyDirection::down)
            pasted = pasteboard.content.value_or("");
    };
    inserter.insertText("Grüße 👍");

    EXPECT_EQ(pasted, "Grüße 👍");
    EXPECT_TRUE(pasteboard.lastOffer.transient);
    EXPECT_FALSE(pasteboard.lastOffer.primary);
    EXPECT_EQ(keys.posted, (std::vector<Posted>{{key::v, mask::command, KeyDirection::down},
                                                {key::v, mask::command, KeyDirection::up}}));
    ASSERT_EQ(postTimes.size(), 2u);
    EXPECT_NEAR(postTimes[0], 0.20, 1e-9);
    EXPECT_NEAR(postTimes[1], 0.25, 1e-9);

    mainQueue.advance(0.99);
    EXPECT_EQ(pasteboard.content, "Grüße 👍");
    mainQueue.advance(0.02);
    EXPECT_EQ(pasteboard.content, "old");
    EXPECT_FALSE(pasteboard.lastOffer.transient);
}

TEST_F(Insertion, WhatComesBackIsTheClipboardBeforeTheInsertion) {
    inserter.insertText("");
    EXPECT_TRUE(pasteboard.history.empty());
    inserter.insertText("x");
    mainQueue.advance(1.1);
    EXPECT_EQ(pasteboard.content, "") << "there was none";
    pasteboard.content = "old";
    inserter.insertText("x");
    pasteboard.content = "copied by the user";
    mainQueue.advance(1.1);
    EXPECT_EQ(pasteboard.content, "old");
    pasteboard.answers = false;
    inserter.insertText("x");
    mainQueue.advance(1.1);
    EXPECT_EQ(pasteboard.content, "x") << "an owner that did not answer is not replaced by nothing";
}

TEST_F(Insertion, TwoRoundsRestoreInOrder) {
    pasteboard.content = "old";
    inserter.insertText("first");
    inserter.insertText("second");
    mainQueue.advance(0.8);
    EXPECT_EQ(pasteboard.content, "old");
    mainQueue.advance(0.3);
    EXPECT_EQ(pasteboard.content, "first");
}

TEST_F(Insertion, EverythingReturnsAfterTheLastOfTwoRounds) {
    TextInserter careful{pasteboard,
                         keys,
                         accessibility,
                         workspace,
                         clock,
                         mainQueue,
                         {.returning = TextInserter::Returning::everything}};
    pasteboard.forms = {{"image/png", "image"}};
    careful.insertText("first");
    mainQueue.advance(0.8);
    careful.insertText("second");
    mainQueue.advance(0.9);
    EXPECT_EQ(pasteboard.content, "second");
    mainQueue.advance(0.2);
    EXPECT_EQ(pasteboard.content, std::nullopt);
    EXPECT_EQ(pasteboard.forms["image/png"], "image");

    careful.insertText("third");
    pasteboard.content = "copied by the user";
    mainQueue.advance(1.1);
    EXPECT_EQ(pasteboard.content, "copied by the user");
}

TEST_F(Insertion, ShortTextsThatTheKeyboardHasAreTypedOnRequest) {
    auto typing = TextInserter::Typing::none;
    TextInserter discreet{
        pasteboard, keys, accessibility, workspace, clock, mainQueue, {.typing = [&] { return typing; }}};
    discreet.insertText("by default");
    EXPECT_EQ(keys.typed, "");
    typing = TextInserter::Typing::shortTexts;
    discreet.insertText("short");
    EXPECT_EQ(keys.typed, "short");
    EXPECT_EQ(pasteboard.history, std::vector<std::string>{"by default"});
    discreet.insertText(std::string(121, 'x'));
    keys.canType = false;
    discreet.insertText("世界");
    EXPECT_EQ(keys.typed, "short");
    EXPECT_EQ(pasteboard.history.back(), "世界");
    EXPECT_EQ(pasteboard.history.size(), 3u);
    keys.canType = true;
    typing = TextInserter::Typing::allTexts;
    discreet.insertText(std::string(2000, 'y'));
    EXPECT_EQ(keys.typed, "short" + std::string(2000, 'y'));
}

TEST_F(Insertion, WithoutTrustNoKeyIsPostedButTheTextCanBePastedByHand) {
    pasteboard.content = "old";
    accessibility.isTrusted = false;
    inserter.insertText("x");
    EXPECT_TRUE(keys.posted.empty());
    EXPECT_EQ(pasteboard.content, "x");
    mainQueue.advance(1.01);
    EXPECT_EQ(pasteboard.content, "old");

    TextInserter patient(pasteboard, keys, accessibility, workspace, clock, mainQueue, {.waitsWithoutTrust = true});
    EXPECT_EQ(patient.insertText("y"), TextInserter::Insertion::onClipboard);
    EXPECT_TRUE(keys.posted.empty());
    mainQueue.advance(299);
    EXPECT_EQ(pasteboard.content, "y");
    mainQueue.advance(2);
    EXPECT_EQ(pasteboard.content, "old");
}

TEST_F(Insertion, HeldModifiersAreWaitedForBeforeThePaste) {
    bool posted = false;
    keys.onPost = [&](const Posted&) { posted = true; };
    inserter.pasteKeystroke();
    ASSERT_EQ(keys.releaseLimits.size(), 1u);
    EXPECT_GT(keys.releaseLimits[0], 0.5);
    EXPECT_TRUE(posted);
}

TEST_F(Insertion, EachApplicationGetsItsOwnPasteKeys) {
    const auto chord = [&](PasteChord paste) {
        workspace.front = FrontApplication{"App", "app", true, paste};
        keys.posted.clear();
        inserter.insertText("x");
        return keys.posted.at(0);
    };
    EXPECT_EQ(chord(PasteChord::controlShiftV), (Posted{key::v, mask::command | mask::shift, KeyDirection::down}));
    EXPECT_FALSE(pasteboard.lastOffer.primary);
    EXPECT_EQ(chord(PasteChord::shiftInsert), (Posted{key::insert, mask::shift, KeyDirection::down}));
    EXPECT_TRUE(pasteboard.lastOffer.primary);

    keys.posted.clear();
    inserter.keys().copy();
    EXPECT_TRUE(keys.posted.empty()) << "in an old terminal every form of Control-C interrupts the program";
    workspace.front->paste = PasteChord::controlShiftV;
    inserter.keys().copy();
    EXPECT_EQ(keys.posted.at(0).flags, mask::command | mask::shift) << "plain Control-C would interrupt a terminal";
}

TEST_F(Insertion, TerminalInsideAnEditorGetsTheTerminalsKeys) {
    accessibility.element = FocusedElement{{}, "AXTextArea", "", true};
    workspace.front = FrontApplication{"Editor", "editor"};
    inserter.insertText("x");
    EXPECT_EQ(keys.posted.at(0), (Posted{key::v, mask::command | mask::shift, KeyDirection::down}));
    inserter.keys().copy();
    EXPECT_EQ(keys.posted.at(2).flags, mask::command | mask::shift);
    keys.posted.clear();
    inserter.keys().command(key::a);
    EXPECT_TRUE(keys.posted.empty());

    accessibility.limits.clear();
    workspace.front->isOwn = true;
    inserter.insertText("x");
    EXPECT_EQ(keys.posted.at(0).flags, mask::command) << "this program has no terminal";
    EXPECT_TRUE(accessibility.limits.empty()) << "and cannot answer while it waits for itself";
}

TEST_F(Insertion, KeyboardWithoutLatinLettersMayPastePrimary) {
    keys.missingKey = key::v;
    inserter.insertText("x");
    EXPECT_TRUE(pasteboard.lastOffer.primary);
}

TEST_F(Insertion, TextThatNoKeyPastesStaysOnTheClipboard) {
    pasteboard.content = "old";
    inserter.insertText("pasted a moment before");
    keys.postFails = true;
    EXPECT_EQ(inserter.insertText("the words"), TextInserter::Insertion::onClipboard);
    mainQueue.advance(299);
    EXPECT_EQ(pasteboard.content, "the words") << "while the user may still be on the way to paste it";
    mainQueue.advance(2);
    EXPECT_EQ(pasteboard.content, "pasted a moment before") << "what was there is not lost";
    keys.postFails = false;
    EXPECT_EQ(inserter.insertText("pasted"), TextInserter::Insertion::done);
}

TEST_F(Insertion, WhatWaitsForTheUserNeverCostsTheUsersOwnCopy) {
    const auto waiting = std::make_unique<TextInserter>(pasteboard, keys, accessibility, workspace, clock, mainQueue,
                                                        TextInserter::Options{TextInserter::Returning::everything});
    const test::FakePasteboard::Forms picture{{"image/png", "picture"}};
    pasteboard.content = "old";
    pasteboard.forms = picture;
    keys.postFails = true;

    waiting->insertText("one");
    mainQueue.advance(200);
    waiting->insertText("two");
    EXPECT_EQ(pasteboard.content, "two");
    mainQueue.advance(200);
    EXPECT_EQ(pasteboard.content, "two") << "the newer text has its own time";
    mainQueue.advance(101);
    EXPECT_EQ(pasteboard.content, "old");
    EXPECT_EQ(pasteboard.forms, picture) << "in all its forms, over two texts";

    waiting->insertText("three");
    keys.postFails = false;
    waiting->insertText("pasted");
    mainQueue.advance(1.1);
    EXPECT_EQ(pasteboard.content, "old") << "a paste that works returns what was there before both";

    keys.postFails = true;
    waiting->insertText("four");
    pasteboard.set("mine", {});
    waiting->insertText("five");
    mainQueue.advance(301);
    EXPECT_EQ(pasteboard.content, "mine");
    waiting->insertText("six");
    pasteboard.set("mine too", {});
    mainQueue.advance(301);
    EXPECT_EQ(pasteboard.content, "mine too");
}

TEST_F(Insertion, QuittingWhileATextWaitsGivesTheClipboardBackUnlessTheUserHasCopied) {
    keys.postFails = true;
    for (const bool hasCopied : {false, true}) {
        pasteboard.set("old", {});
        {
            TextInserter leaving(pasteboard, keys, accessibility, workspace, clock, mainQueue,
                                 {TextInserter::Returning::everything});
            leaving.insertText("words");
            if (hasCopied)
                pasteboard.set("mine", {});
        }
        EXPECT_EQ(pasteboard.content, hasCopied ? "mine" : "old");
        mainQueue.advance(301);
        EXPECT_EQ(pasteboard.content, hasCopied ? "mine" : "old");
    }
}

TEST_F(Insertion, LockScreenGetsNothing) {
    pasteboard.content = "old";
    workspace.isLocked = true;
    inserter.insertText("x");
    workspace.isLocked = false;
    clock.onSleep = [&](double) { workspace.isLocked = true; }; // between the clipboard and the keys
    inserter.insertText("y");
    EXPECT_TRUE(keys.posted.empty());
    mainQueue.advance(1.1);
    EXPECT_EQ(pasteboard.history, (std::vector<std::string>{"y", "old"}));
}

TEST_F(Insertion, CopyStays) {
    inserter.copyToClipboard("text");
    mainQueue.advance(5);
    EXPECT_EQ(pasteboard.content, "text");
    EXPECT_FALSE(pasteboard.lastOffer.transient);
}

TEST_F(Insertion, QuittingGivesABorrowedClipboardBackAtOnce) {
    pasteboard.content = "old";
    {
        TextInserter leaving(pasteboard, keys, accessibility, workspace, clock, mainQueue);
        leaving.insertText("x");
    }
    EXPECT_EQ(pasteboard.content, "old");
    mainQueue.advance(2);
    EXPECT_EQ(pasteboard.history.size(), 2u);
}
