#include "session/DictationSession.h"
#include "base/Files.h"
#include "platform/KeyCodes.h"
#include "session/HotkeyListener.h"
#include "session/TakeNote.h"
#include "session/TextInserter.h"
#include "support/SessionFixture.h"

#include <algorithm>
#include <filesystem>
#include <gtest/gtest.h>

using namespace fenlo;
using test::SessionFixture;

namespace {

constexpr char tryAgain[] = "Try Again: last take";

class Session : public SessionFixture {
protected:
    Session() {
        menuBar.onTryAgain = [this] { session.tryAgain(); };
    }

    void choose(const std::string& title) {
        const MenuItem* found = statusItem.find(title);
        ASSERT_TRUE(found && found->action) << title;
        const auto action = found->action; // the menu is rebuilt while it runs
        action();
    }

    const std::string menuBefore = statusItem.titles().at(0);
};

std::ptrdiff_t recordingsOnDisk() {
    const std::filesystem::directory_iterator files(std::filesystem::temp_directory_path());
    return std::count_if(begin(files), end(files), [](const auto& file) { return file.path().extension() == ".wav"; });
}

} // namespace

TEST_F(Session, HoldAndReleaseInsertsTheWords) {
    transcript = "Hello there";
    session.hotkeyPressed();
    EXPECT_EQ(face(), IconFace::recording);
    speak(2.0);
    session.hotkeyReleased();
    EXPECT_EQ(face(), IconFace::processing);
    session.hotkeyPressed();
    EXPECT_FALSE(session.isRecording()) << "one take at a time";
    finish();

    EXPECT_EQ(pasted(), std::vector<std::string>{"Hello there"});
    EXPECT_EQ(records, (std::vector<std::string>{"Hello there"}));
    EXPECT_NEAR(durations.at(0), 2.0, 0.01);
    EXPECT_EQ(syncs, 1);
    EXPECT_EQ(face(), IconFace::idle);
    EXPECT_FALSE(session.isProcessing());
    EXPECT_EQ(session.lastText(), "Hello there");
    EXPECT_EQ(warmed, 1);
}

TEST_F(Session, ToggleModeIgnoresReleasesAndEndsWithTheNextPress) {
    config.update([](Settings& s) { s.continuousMode = true; });
    transcript = "Toggled";
    session.hotkeyPressed();
    session.hotkeyReleased();
    speak(1.0);
    EXPECT_TRUE(session.isRecording());
    session.hotkeyPressed();
    EXPECT_TRUE(session.isProcessing());
    session.hotkeyPressed(); // dropped while the take is processed
    session.hotkeyReleased();
    finish();
    EXPECT_EQ(pasted(), std::vector<std::string>{"Toggled"});
    EXPECT_FALSE(session.isRecording());
}

TEST_F(Session, ChordDuringTake_LeavesNoTrace) {
    const auto recordingsBefore = recordingsOnDisk();
    session.hotkeyPressed();
    speak(1.0);
    tonesPlayed();
    session.chordDetected();
    EXPECT_FALSE(session.isRecording());
    EXPECT_FALSE(session.isProcessing());
    session.hotkeyReleased();
    mainQueue.advance(1);
    EXPECT_TRUE(pasted().empty());
    EXPECT_TRUE(records.empty());
    EXPECT_EQ(tonesPlayed(), 0);
    EXPECT_EQ(face(), IconFace::idle);
    EXPECT_EQ(recordingsOnDisk(), recordingsBefore);

    transcript = "Next";
    take(1.0);
    finish();
    EXPECT_EQ(pasted(), std::vector<std::string>{"Next"});
}

TEST_F(Session, ALockedScreenEndsTheTakeAndItsWordsAreRecordedButNotPasted) {
    transcript = "Not for the lock screen";
    session.hotkeyPressed();
    speak(2.0);
    workspace.isLocked = true;
    session.screenLocked();
    EXPECT_FALSE(session.isRecording());
    session.hotkeyReleased();
    finish();
    EXPECT_EQ(records, std::vector<std::string>{transcript});
    EXPECT_TRUE(pasted().empty() && keys.posted.empty());

    session.hotkeyPressed();
    EXPECT_FALSE(session.isRecording());
    workspace.isLocked = false;
    meetingActive = true;
    session.hotkeyPressed();
    EXPECT_FALSE(session.isRecording()) << "nor during a meeting";
    meetingActive = false;
    take(1.0);
    finish();
    EXPECT_EQ(pasted(), std::vector<std::string>{transcript});
}

TEST_F(Session, LockedScreenGetsNoKeysOfACommandOrCorrection) {
    transcript = "The first words";
    take(1.0);
    finish();
    keys.posted.clear();
    transcript = "I meant others";
    session.hotkeyPressed();
    speak(1.0);
    workspace.isLocked = true;
    session.screenLocked();
    finish();
    mainQueue.advance(0.1);
    EXPECT_TRUE(keys.posted.empty());
    EXPECT_EQ(session.lastText(), "The first others");
}

TEST_F(Session, TonesFollowTheLiveMicrophoneAndTheEnd) {
    transcript = "x";
    session.hotkeyPressed();
    mainQueue.advance(0.5);
    EXPECT_EQ(tonesPlayed(), 0) << "not before the microphone is live";
    speak(1.0);
    EXPECT_EQ(tonesPlayed(), 1);
    session.silenceDetected();
    EXPECT_EQ(tonesPlayed(), 1);
    session.hotkeyReleased();
    finish();
    EXPECT_EQ(tonesPlayed(), 1);

    config.update([](Settings& s) { s.playSounds = false; });
    take(1.0);
    finish();
    session.silenceDetected();
    EXPECT_EQ(tonesPlayed(), 0);
    session.hotkeyPressed();
    session.silenceDetected();
    EXPECT_EQ(tonesPlayed(), 1) << "it has a setting of its own";
    config.update([](Settings& s) { s.silenceNotification = false; });
    session.silenceDetected();
    EXPECT_EQ(tonesPlayed(), 0);
}

TEST_F(Session, AFailedRewriteInsertsTheRawTextAndBeepsInsteadOfTheEndTone) {
    transcript = "raw words";
    steps.rewrite = [](const std::string& text, auto&&...) { return Rewrite{text, false}; };
    take(1.0);
    finish();
    EXPECT_EQ(pasted(), std::vector<std::string>{"raw words"});
    EXPECT_EQ(tonesPlayed(), 2) << "the start tone and the beep";
    EXPECT_EQ(records.size(), 1u);
}

TEST_F(Session, AFailedTakeIsShownKeptAndTriedAgain) {
    const auto recordingsBefore = recordingsOnDisk();
    transcriptionFails = true;
    take(1.0);
    finish();
    EXPECT_TRUE(pasted().empty());
    EXPECT_TRUE(records.empty());
    EXPECT_EQ(tonesPlayed(), 1) << "the start tone alone";
    EXPECT_FALSE(session.isProcessing());
    EXPECT_EQ(face(), IconFace::idle);
    EXPECT_EQ(pillText(), "Service does not answer");
    mainQueue.advance(2);
    EXPECT_EQ(pillText(), "Kept. Try again from the menu");
    mainQueue.advance(2);
    EXPECT_EQ(pillText(), "");
    EXPECT_EQ(recordingsOnDisk(), recordingsBefore) << "moved";
    EXPECT_EQ(statusItem.titles().at(0), "Service does not answer");
    EXPECT_EQ(statusItem.titles().at(1), tryAgain);

    choose(tryAgain);
    EXPECT_EQ(pillText(), "Mousepad|1.00s");
    finish(); // fails again
    EXPECT_TRUE(statusItem.find(tryAgain));
    transcriptionFails = false;
    transcript = "Again";
    choose(tryAgain);
    session.hotkeyPressed();
    EXPECT_FALSE(session.isRecording()) << "one at a time";
    finish();
    EXPECT_EQ(pasted(), std::vector<std::string>{"Again"});
    EXPECT_NEAR(durations.at(0), 1.0, 0.01);
    EXPECT_FALSE(statusItem.find(tryAgain));
    EXPECT_EQ(statusItem.titles().at(0), menuBefore);
    EXPECT_TRUE(std::filesystem::is_empty(takesFolder));
}

TEST_F(Session, ACancelledTakeIsNotKeptEvenWhenItFailsAfterTheNextBegan) {
    transcriptionFails = true;
    take(1.0);
    session.cancelProcessing();
    transcript = "Next";
    take(1.0); // clears the flag of the cancelled one
    background.runAll();
    mainQueue.advance(5);
    EXPECT_EQ(keptTakes.newest()->take().chunks.size(), 1u);
    keptTakes.newest()->discard();
    EXPECT_TRUE(keptTakes.isEmpty()) << "one of two failures was kept";
}

TEST_F(Session, AnErrorDuringDeliveryEndsOneTakeAndKeepsItsWords) {
    transcript = "Once more";
    onRecord = [] { throw 1; };
    take(1.0);
    finish();
    EXPECT_FALSE(session.isProcessing());
    EXPECT_EQ(statusItem.titles().at(0), "Something went wrong; see the log");
    onRecord = [] {};
    transcriptionFails = true; // the words are known
    choose(tryAgain);
    finish();
    EXPECT_EQ(pasted().back(), "Once more");
    EXPECT_TRUE(keptTakes.isEmpty());
    workspace.onFront = [] { throw std::runtime_error("no front"); };
    session.hotkeyPressed();
    EXPECT_FALSE(session.isRecording());
}

TEST_F(Session, AMissingMicrophoneIsShownWhileTheKeyIsHeld) {
    audioInput.microphone.startErrors.assign(6, "busy");
    session.hotkeyPressed();
    mainQueue.advance(0.4);
    EXPECT_EQ(pillText(), "Microphone refused");
    session.hotkeyReleased();
    EXPECT_EQ(pillText(), "Microphone refused") << "for two seconds";
    EXPECT_EQ(statusItem.titles().at(0), "Microphone refused");
    mainQueue.advance(2);
    EXPECT_EQ(pillText(), "");

    transcript = "Back";
    take(1.0);
    finish();
    EXPECT_EQ(pasted(), std::vector<std::string>{"Back"});
    EXPECT_EQ(statusItem.titles().at(0), menuBefore);
}

TEST_F(Session, TheRunningRecordingIsKeptWhenTheProgramEnds) {
    session.hotkeyPressed();
    speak(1.0);
    session.willTerminate();
    EXPECT_FALSE(keptTakes.isEmpty());
    session.takesRecovered(true);
    EXPECT_TRUE(statusItem.find(tryAgain));
}

TEST_F(Session, CancellingFreesTheSessionAtOnceAndDropsTheWords) {
    transcript = "Lost";
    take(1.0);
    session.cancelProcessing();
    EXPECT_FALSE(session.isProcessing());
    EXPECT_EQ(face(), IconFace::idle);
    finish();
    EXPECT_TRUE(pasted().empty());
}

TEST_F(Session, VoiceActionsPressTheirKeys) {
    transcript = "Something to copy";
    take(1.0);
    finish();
    keys.posted.clear();
    steps.processVoiceCommands = [](auto&&...) {
        return VoiceCommandResult{"", {"undo", "select_all", "copy_last", "dance"}};
    };
    take(1.0);
    finish();
    using Posted = test::FakeKeyEvents::Posted;
    EXPECT_EQ(keys.posted, (std::vector<Posted>{{key::x, mask::command, KeyDirection::down},
                                                {key::x, mask::command, KeyDirection::up},
                                                {key::a, mask::command, KeyDirection::down},
                                                {key::a, mask::command, KeyDirection::up}}));
    EXPECT_EQ(pasteboard.content, "Something to copy");
    EXPECT_EQ(records.back(), "(command)");
    EXPECT_EQ(session.lastText(), "Something to copy") << "nothing was inserted";

    workspace.front = FrontApplication{"XTerm", "xterm.terminal", true, PasteChord::shiftInsert};
    keys.posted.clear();
    take(1.0);
    finish();
    EXPECT_TRUE(keys.posted.empty()) << "these shortcuts mean something else in a terminal";
}

TEST_F(Session, ACorrectionSelectsTheLastTextAndPastesOverIt) {
    transcript = "Meet in Łódź 👍🏽 today.";
    take(1.0);
    finish();
    mainQueue.advance(1.2);
    keys.posted.clear();
    transcript = "I meant Paris";
    tonesPlayed();
    take(1.0);
    finish();
    EXPECT_EQ(keys.posted.size(), 2u * 21u) << "one Shift-Left for each character as people count them";
    EXPECT_EQ(keys.posted.front(), (test::FakeKeyEvents::Posted{key::arrowLeft, mask::shift, KeyDirection::down}));
    EXPECT_EQ(pasted().size(), 1u) << "the paste waits for the selection";
    mainQueue.advance(0.06);
    EXPECT_EQ(pasted().back(), "Meet in Łódź 👍🏽 Paris.");
    EXPECT_EQ(records.back(), "(correction) Meet in Łódź 👍🏽 Paris.");
    EXPECT_EQ(tonesPlayed(), 2) << "start and end";

    mainQueue.advance(4.0);
    transcript = "I meant London"; // the window runs again from the correction
    take(0.5);
    finish();
    mainQueue.advance(0.06);
    EXPECT_EQ(pasted().back(), "Meet in Łódź 👍🏽 London.");
}

TEST_F(Session, ASnippetIsInsertedAndLeavesTheLastTextAlone) {
    steps.matchSnippet = [](const std::string&) { return "Kind regards"; };
    transcript = "insert sig";
    take(1.0);
    finish();
    EXPECT_EQ(pasted(), std::vector<std::string>{"Kind regards"});
    EXPECT_EQ(records, std::vector<std::string>{"Kind regards"});
    EXPECT_EQ(session.lastText(), "");
}

class CommandMode : public Session {
protected:
    void command(const std::string& instruction) {
        transcript = instruction;
        session.hotkeyPressed();
        speak(1.0);
        session.commandActivated();
        mainQueue.advance(0.36);
        session.hotkeyReleased();
        finish();
    }
};

TEST_F(CommandMode, CapturesASelectionThatAccessibilityHides) {
    pasteboard.content = "before";
    keys.onPost = [this](const auto& posted) {
        if (posted.keyCode == key::c && posted.direction == KeyDirection::down)
            pasteboard.content = "selected words";
    };
    std::string selection;
    steps.runAICommand = [&](const std::string&, const FocusContext& context, std::stop_token) {
        selection = context.selectedText;
        return "answer";
    };
    command("make it formal");
    EXPECT_EQ(selection, "selected words");
    EXPECT_EQ(pasted(), std::vector<std::string>{"answer"});
    mainQueue.advance(1.1);
    EXPECT_EQ(pasteboard.content, "before");
    EXPECT_EQ(records, std::vector<std::string>{"AI: answer"});
    EXPECT_EQ(session.lastText(), "answer");

    steps.runAICommand = [](auto&&...) { return std::nullopt; };
    command("make it formal");
    EXPECT_EQ(pasted().back(), "make it formal") << "without an answer the words as spoken";
    EXPECT_EQ(records.size(), 1u) << "and they are not recorded";
}

TEST_F(CommandMode, AnUnchangedClipboardIsNoSelectionAndAnEmptyOneKeepsTheCopy) {
    std::string selection;
    steps.runAICommand = [&](const std::string&, const FocusContext& context, std::stop_token) {
        selection = context.selectedText;
        return std::nullopt;
    };
    pasteboard.content = "before";
    command("make it formal");
    EXPECT_EQ(selection, "");

    pasteboard.content.reset();
    keys.onPost = [this](const auto&) { pasteboard.content = "copied"; };
    session.hotkeyPressed();
    session.commandActivated();
    mainQueue.advance(0.36);
    EXPECT_EQ(pasteboard.content, "copied");
}

TEST_F(CommandMode, TheClipboardFromBeforeTheFirstOfTwoCommandsComesBack) {
    pasteboard.content = "before";
    pasteboard.forms = {{"text/html", "<b>before</b>"}};
    keys.onPost = [this](const auto&) {
        pasteboard.content = "selected words";
        pasteboard.forms.clear();
    };
    session.hotkeyPressed();
    session.commandActivated();
    mainQueue.advance(0.2);
    session.commandActivated();
    mainQueue.advance(0.36);
    EXPECT_EQ(pasteboard.content, "before");
    EXPECT_EQ(pasteboard.forms["text/html"], "<b>before</b>");
}

TEST_F(CommandMode, NeedsARunningTakeAndEndsWithTheNextPress) {
    session.commandActivated();
    EXPECT_TRUE(keys.posted.empty());
    int commands = 0;
    steps.runAICommand = [&](auto&&...) {
        ++commands;
        return std::nullopt;
    };
    command("one");
    transcript = "plain";
    take(1.0);
    finish();
    EXPECT_EQ(commands, 1);
}

TEST_F(Session, AnExternalInputWarmsUpBeforeItCounts) {
    useExternalInput();
    transcript = "x";
    session.hotkeyPressed();
    mainQueue.advance(1.5); // the device wakes
    EXPECT_EQ(pillText(), "Mousepad|Warming up");
    speak(2.0);
    EXPECT_EQ(pillText().find("Warming up"), std::string::npos);
    session.hotkeyReleased();
    finish();
    ASSERT_EQ(durations.size(), 1u);
    EXPECT_NEAR(durations[0], 2.0, 0.2) << "the time that the device took to wake up does not count";
}

TEST_F(Session, WhereNothingPressesKeysThePillSaysWhatTheUserPresses) {
    keys.postFails = true;
    pasteboard.content = "old";
    config.update([](Settings& s) { s.showOverlay = false; }); // the words would be lost to whoever does not know
    transcript = "Words";
    for (const auto& [chord, keysName] :
         {std::pair(PasteChord::controlV, "Ctrl+V"), std::pair(PasteChord::controlShiftV, "Ctrl+Shift+V")}) {
        workspace.front->paste = chord;
        accessibility.isTrusted = chord == PasteChord::controlV; // where no road is left, there is no trust either
        take(1.0);
        finish();
        EXPECT_EQ(pillText(), std::string("Press ") + keysName);
        mainQueue.advance(2.1);
        EXPECT_EQ(pillText(), "Your text is on the clipboard");
        mainQueue.advance(2);
        EXPECT_EQ(pillText(), "");
        EXPECT_EQ(pasteboard.content, "Words");
    }
    EXPECT_EQ(records, (std::vector<std::string>{"Words", "Words"}));

    take(1.0); // at once, while the pill still speaks of the words before
    finish();
    EXPECT_EQ(pillText(), "Press Ctrl+Shift+V");
    keys.postFails = false;
    accessibility.isTrusted = true;
    take(1.0);
    finish();
    EXPECT_EQ(pillText(), "") << "nothing is left to press";
    mainQueue.advance(302);
    EXPECT_EQ(pasteboard.content, "old");
}

TEST_F(Session, WithoutTheOverlayNothingIsShown) {
    config.update([](Settings& s) { s.showOverlay = false; });
    session.hotkeyPressed();
    speak(1.0);
    EXPECT_EQ(pillText(), "");
    session.hotkeyReleased();
    EXPECT_EQ(pillText(), "");
}
