#pragma once

#include "audio/AudioRecorder.h"
#include "base/Files.h"
#include "base/NotificationCenter.h"
#include "session/ContextReader.h"
#include "session/DictationSession.h"
#include "session/EarlyRecognition.h"
#include "session/KeptTakes.h"
#include "session/TakePipeline.h"
#include "session/TextInserter.h"
#include "settings/Config.h"
#include "settings/Deployment.h"
#include "shell/MenuBarController.h"
#include "shell/OverlayWindow.h"
#include "shell/Sounds.h"
#include "support/FakeAudio.h"
#include "support/FakeDesktop.h"
#include "support/FakeKeyEvents.h"
#include "support/FakeShell.h"
#include "support/NeutralSteps.h"
#include "support/VirtualTime.h"

#include <gtest/gtest.h>

namespace fenlo::test {

/// A whole session on virtual time: the real recorder, overlay, menu, inserter and pipeline over fake ports, and a
/// recogniser that answers `transcript`.
class SessionFixture : public ::testing::Test {
protected:
    SessionFixture();

    /// Lets the microphone hear speech.
    void speak(double seconds);
    /// A take with speech, from press to release. Call finish() for its words.
    void take(double seconds);
    /// Runs all work of the workers and the main thread.
    void finish();

    std::vector<std::string> pasted() const;
    IconFace face() const { return statusItem.face; }
    /// Tones played since the last call.
    int tonesPlayed();
    /// The texts of the visible pill; empty when there is none.
    std::string pillText();
    std::string shownResult() const;
    void useExternalInput();

    VirtualClock clock;
    VirtualMainQueue mainQueue{clock};
    ManualBackground background;
    NotificationCenter notifications;
    Config config{std::filesystem::temp_directory_path() / files::makeUuid() / "config.json", clock};
    Deployment deployment = Deployment::load();

    FakeKeyEvents keys;
    FakePasteboard pasteboard;
    FakeAccessibility accessibility;
    FakeWorkspace workspace;
    FakeAudioInput audioInput;
    FakeAudioOutput audioOutput;
    FakePillWindows pills;
    FakeResultCards cards;
    FakeStatusItem statusItem;

    TakeSteps steps = neutralSteps(); // later changes take effect
    std::string transcript;
    bool transcriptionFails = false;
    std::function<void(const TranscribeRequest&)> onTranscribe = [](auto&&) {};
    bool meetingActive = false;
    std::vector<std::string> records;
    std::vector<double> durations;
    std::function<void()> onRecord = [] {};
    int syncs = 0;
    int warmed = 0;

    const std::filesystem::path takesFolder = files::temporaryFile("takes", "");
    KeptTakes keptTakes{config, takesFolder, clock};
    AudioRecorder recorder{audioInput, clock, mainQueue, config, notifications};
    ContextReader contextReader{workspace, accessibility, pasteboard, clock};
    TextInserter inserter{pasteboard,
                          keys,
                          accessibility,
                          workspace,
                          clock,
                          mainQueue,
                          {.returning = TextInserter::Returning::everything, .waitsWithoutTrust = true}};
    TonePlayer tones{audioOutput, background};
    OverlayWindow overlay{{config, clock, mainQueue, pills, cards, keys, workspace,
                           [this](const std::string& text) { inserter.copyToClipboard(text); }}};
    MenuBarController menuBar{config, statusItem, notifications, workspace, deployment, menuSources()};
    TakePipeline pipeline{config, forwardingSteps()};
    EarlySteps earlySteps; // later changes take effect
    EarlyRecognition early{recorder, mainQueue, background, forwardingEarlySteps()};
    DictationSession session{{config, clock, mainQueue, background, keys, pasteboard, recorder, contextReader, inserter,
                              overlay, tones, menuBar, pipeline, keptTakes, early},
                             hooks()};

private:
    TakeSteps forwardingSteps();
    EarlySteps forwardingEarlySteps();
    SessionHooks hooks();
    MenuSources menuSources();

    std::size_t m_tonesSeen = 0;
};

} // namespace fenlo::test
