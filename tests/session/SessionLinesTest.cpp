// The lines that a session writes to the log. Users and other programs read them, so their wording is settled here.

#include "platform/KeyCodes.h"
#include "support/LogCapture.h"
#include "support/SessionFixture.h"

using namespace fenlo;

namespace {

class SessionLines : public test::SessionFixture {
protected:
    void takeAndFinish() {
        take(1.0);
        finish();
    }
    void expect(const std::vector<std::string>& lines) const {
        for (const std::string& line : lines)
            EXPECT_TRUE(logged.contains("[Fenlo] " + line)) << line;
    }

    test::LogCapture logged;
};

} // namespace

TEST_F(SessionLines, OfADictationAndWhatElseATextMayBe) {
    transcript = "Hello there";
    takeAndFinish();
    transcript = "I meant you";
    takeAndFinish();
    mainQueue.advance(6);
    steps.matchSnippet = [](auto&&) { return "Kind regards"; };
    takeAndFinish();
    expect({"Hotkey pressed", "Hotkey released",
            "Context: app=Mousepad bundle=org.xfce.mousepad selected=0chars existing=3chars clipboard=0chars",
            "Transcribing chunk 1/1 (1.0s total)...", "Result: 'Hello there'", "Clipboard set to: Hello there...",
            "CGEvent paste OK", "Voice correction: 'Hello there' → replacing with correction 'you'",
            "Voice correction: 'Hello there' → 'Hello you'", "Snippet match: 'Kind regards'"});
}

TEST_F(SessionLines, OfACommand) {
    transcript = "make it formal";
    workspace.front.reset();
    accessibility.element.reset();
    pasteboard.content = "clip";
    keys.onPost = [this](const auto&) { pasteboard.content = "selected words"; };
    session.hotkeyPressed();
    speak(1.0);
    session.commandActivated();
    mainQueue.advance(0.36);
    session.hotkeyReleased();
    finish();
    expect({"Context: app=? bundle=? selected=0chars existing=0chars clipboard=4chars", "Switched to AI command mode",
            "Command mode clipboard: copied=14chars different=true selectedEmpty=true",
            "Command mode: captured selection (14 chars)", "AI Command: 'make it formal'",
            "ERROR: AI Command failed, inserting raw text"});
}

TEST_F(SessionLines, OfWhatGoesWrongOrIsNotDone) {
    transcript = "words";
    steps.rewrite = [](const std::string& text, auto&&...) { return Rewrite{text, false}; };
    takeAndFinish();
    take(1.0);
    session.cancelProcessing();
    finish();
    transcriptionFails = true;
    takeAndFinish();
    session.hotkeyPressed();
    session.chordDetected();
    meetingActive = true;
    session.hotkeyPressed();
    meetingActive = false;
    workspace.isLocked = true;
    session.hotkeyPressed();
    workspace.isLocked = false;
    keys.postFails = true;
    inserter.insertText("x");
    accessibility.isTrusted = false;
    inserter.insertText("x");
    inserter.copyToClipboard(std::string(100, 'x'));
    expect({"AI command fell back to raw transcription — user notified via sound", "Cancelled by user",
            "Discarding result (cancelled)", "ERROR: Transcription error: the server is away",
            "ERROR: The take came to no words: Service does not answer",
            "The take is kept in " + takesFolder.string() + "; try it again from the menu",
            "Chord detected — cancelling recording silently", "Meeting active — normal dictation blocked",
            "Screen locked: nothing is recorded", "ERROR: CGEvent: failed to create events",
            "ERROR: No key of this keyboard pastes; the text stays on the clipboard",
            "ERROR: Paste skipped: Accessibility not granted", "Copied to clipboard: " + std::string(60, 'x') + "..."});
}
