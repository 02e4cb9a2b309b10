#include "support/SessionFixture.h"

#include "platform/KeyCodes.h"

#include <cmath>
#include <numbers>

namespace fenlo::test {

SessionFixture::SessionFixture() {
    workspace.front = FrontApplication{"Mousepad", "org.xfce.mousepad"};
    accessibility.element = FocusedElement{"abc", "AXTextArea", ""};
    recorder.warmUp();
    menuBar.refreshMenu();
}

void SessionFixture::speak(double seconds) {
    constexpr double step = 0.1; // seconds
    const double rate = audioInput.microphone.format.sampleRate;
    std::vector<float> sound(static_cast<std::size_t>(rate * step));
    for (std::size_t i = 0; i < sound.size(); ++i)
        sound[i] = 0.2f * static_cast<float>(std::sin(2 * std::numbers::pi * 220 * static_cast<double>(i) / rate));
    for (double spoken = 0; spoken < seconds - step / 2; spoken += step) {
        audioInput.hear(sound);
        mainQueue.advance(step);
    }
}

void SessionFixture::take(double seconds) {
    session.hotkeyPressed();
    speak(seconds);
    session.hotkeyReleased();
}

void SessionFixture::finish() {
    background.runAll();
    mainQueue.runPosted();
    background.runAll();
}

std::vector<std::string> SessionFixture::pasted() const {
    std::vector<std::string> texts;
    for (const std::string& text : pasteboard.transient)
        texts.push_back(text);
    return texts;
}

int SessionFixture::tonesPlayed() {
    background.runAll();
    const std::size_t seen = std::exchange(m_tonesSeen, audioOutput.played.size());
    return static_cast<int>(audioOutput.played.size() - seen);
}

std::string SessionFixture::pillText() {
    mainQueue.runPosted();
    return pills.isShown() ? pills.last().line() : "";
}

std::string SessionFixture::shownResult() const {
    std::string text;
    if (cards.isShown())
        for (const TextPart& part : cards.content.parts)
            text += part.text;
    return text;
}

void SessionFixture::useExternalInput() {
    audioInput.change(InputDevice{9, "Headset", false});
    mainQueue.advance(0.5);
}

TakeSteps SessionFixture::forwardingSteps() {
    TakeSteps forwarding = neutralSteps();
    forwarding.transcribe = [this](const TranscribeRequest& request, std::stop_token) {
        onTranscribe(request);
        if (transcriptionFails)
            throw TranscriberError(TranscriberError::Kind::networkError, "the server is away");
        return transcript;
    };
    forwarding.runAICommand = [this](auto&&... arguments) { return steps.runAICommand(arguments...); };
    forwarding.matchSnippet = [this](auto&&... arguments) { return steps.matchSnippet(arguments...); };
    forwarding.processVoiceCommands = [this](auto&&... arguments) { return steps.processVoiceCommands(arguments...); };
    forwarding.rewrite = [this](auto&&... arguments) { return steps.rewrite(arguments...); };
    return forwarding;
}

EarlySteps SessionFixture::forwardingEarlySteps() {
    EarlySteps forwarding;
    forwarding.reach = [this] { return earlySteps.reach(); };
    forwarding.mayWork = [this] { return earlySteps.mayWork(); };
    forwarding.begin = [this] { earlySteps.begin(); };
    forwarding.finish = [this] { earlySteps.finish(); };
    forwarding.forget = [this] { earlySteps.forget(); };
    forwarding.recognise = [this](auto&&... arguments) { return earlySteps.recognise(arguments...); };
    forwarding.recogniseChunk = [this](auto&&... arguments) { return earlySteps.recogniseChunk(arguments...); };
    return forwarding;
}

MenuSources SessionFixture::menuSources() {
    MenuSources sources;
    sources.hasKeptTake = [this] { return !keptTakes.isEmpty(); };
    return sources;
}

SessionHooks SessionFixture::hooks() {
    SessionHooks hooks;
    hooks.isMeetingActive = [this] { return meetingActive; };
    hooks.isScreenLocked = [this] { return workspace.isLocked; };
    hooks.warmConnection = [this] { ++warmed; };
    hooks.recordDictation = [this](const std::string& text, double duration) {
        onRecord();
        records.push_back(text);
        durations.push_back(duration);
    };
    hooks.syncStats = [this] { ++syncs; };
    return hooks;
}

} // namespace fenlo::test
