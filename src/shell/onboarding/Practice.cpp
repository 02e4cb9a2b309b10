#include "shell/onboarding/Practice.h"

#include "base/Background.h"
#include "base/Clock.h"
#include "base/Files.h"
#include "base/Log.h"
#include "base/Text.h"
#include "session/FaultOf.h"
#include "session/HotkeyListener.h"
#include "settings/Config.h"
#include "shell/OverlayWindow.h"
#include "shell/Sounds.h"

#include <array>
#include <utility>

namespace fenlo {

namespace {

constexpr char listening[] = "listening... keep holding and speak!";
constexpr char nothingHeard[] = "didn't catch that — try again";
constexpr char wentWrong[] = "something went wrong — try again";
constexpr char nice[] = "nice!";
constexpr std::array waitingWords{"Decoding...",     "Unraveling...", "Translating...",
                                  "Almost there...", "Conjuring...",  "Brewing..."};

constexpr double levelInterval = 0.05; // seconds

void remove(const std::vector<std::filesystem::path>& chunks) {
    for (const auto& chunk : chunks)
        files::removeQuietly(chunk);
}

std::string sentence(std::string_view line) {
    return line.empty() ? std::string() : std::string(line) + ".";
}

} // namespace

Practice::Practice(Services services, Steps steps, OnboardingState& state)
    : m_services(services), m_steps(std::move(steps)), m_state(state),
      m_recorder(services.recording.input, services.recording.clock, services.recording.queue,
                 services.recording.config, services.recording.notifications) {}

Practice::~Practice() {
    end();
}

void Practice::begin() {
    if (m_hotkey)
        return;
    auto prepared = std::make_shared<std::packaged_task<void(std::stop_token)>>(m_steps.prepare);
    m_prepared = prepared->get_future().share();
    m_services.recording.background.run([prepared](std::stop_token stop) { (*prepared)(stop); });
    m_recorder.warmUp();
    m_hotkey = std::make_unique<HotkeyListener>(m_services.keys, m_services.recording.config.get().hotkey);
    m_hotkey->onPress = [this] { keyDown(); };
    m_hotkey->onRelease = m_hotkey->onCommandRelease = [this] { keyUp(); };
    m_hotkey->onChordDetected = [this] { chord(); };
    m_hotkey->start();
}

void Practice::end() {
    if (!std::exchange(m_hotkey, nullptr))
        return;
    chord();
    ++m_take;
    if (m_state.practiceState == PracticeState::processing)
        become(PracticeState::idle, {});
    m_services.overlay.hide();
}

void Practice::keyDown() {
    if (m_state.practiceState == PracticeState::processing || m_recorder.isRecording())
        return;
    m_state.isKeyPressed = true;
    m_state.practiceText.clear();
    m_recorder.openMicrophone();
    m_recordStart = m_services.recording.clock.now();
    if (m_recorder.isExternalInputActive())
        m_services.overlay.showWarming(false, "");
    else
        m_services.overlay.showRecording(false, "");
    m_recorder.setOnReady(m_lifetime.bind([this] { recorderBecameReady(); }));
    m_recorder.startRecording();
    m_levelTimer = m_services.recording.queue.every(levelInterval, [this] { m_state.changes.tell(); });
    become(PracticeState::recording, listening);
}

void Practice::recorderBecameReady() {
    if (m_state.practiceState != PracticeState::recording)
        return;
    if (m_recorder.isExternalInputActive()) {
        m_recordStart = m_services.recording.clock.now();
        m_services.overlay.showRecording(false, "");
    }
    playStartTones(m_services.tones, m_services.recording.config.get());
}

void Practice::keyUp() {
    if (m_state.practiceState != PracticeState::recording)
        return;
    m_levelTimer.cancel();
    m_state.isKeyPressed = false;
    become(PracticeState::processing, waitingWords[m_steps.draw(waitingWords.size()) % waitingWords.size()]);
    m_services.overlay.showProcessing();
    const double duration = m_services.recording.clock.now() - *m_recordStart;
    auto chunks = m_recorder.stopRecording();
    m_recorder.dropRunningCopy();
    if (!chunks.empty()) {
        recognise(std::move(chunks), duration);
        return;
    }
    m_services.overlay.hide();
    const auto fault = m_recorder.fault();
    become(PracticeState::failed, nothingHeard, fault ? sentence(describe(faultOf(*fault))) : "");
}

/// Another key while the hotkey is held: the user means a shortcut.
void Practice::chord() {
    m_levelTimer.cancel();
    m_state.isKeyPressed = false;
    if (m_state.practiceState != PracticeState::recording)
        return;
    remove(m_recorder.stopRecording());
    m_recorder.dropRunningCopy();
    m_services.overlay.hide();
    become(PracticeState::idle, {});
}

void Practice::recognise(std::vector<std::filesystem::path> chunks, double duration) {
    TranscribeRequest request;
    request.speechRatio = m_recorder.speechRatio();
    request.clipDuration = duration;
    m_services.recording.background.run([chunks = std::move(chunks), request = std::move(request), steps = m_steps,
                                         prepared = m_prepared, &queue = m_services.recording.queue,
                                         show = m_lifetime.bind([this, take = ++m_take](const Words& words) {
                                             if (take == m_take)
                                                 this->show(words);
                                         })](std::stop_token stop) mutable {
        prepared.wait();
        const Words words = wordsOf(chunks, std::move(request), steps, stop);
        remove(chunks);
        queue.post([show = std::move(show), words]() mutable { show(words); });
    });
}

Practice::Words Practice::wordsOf(const std::vector<std::filesystem::path>& chunks, TranscribeRequest request,
                                  const Steps& steps, std::stop_token stop) {
    std::vector<std::string> texts;
    try {
        for (const auto& chunk : chunks) {
            request.audio = chunk;
            const std::string text = steps.transcribe(request, stop);
            if (text::trimWhitespaceAndNewlines(text).empty())
                continue;
            texts.push_back(text);
            request.hintText = text;
        }
    } catch (...) {
        logError("Transcription error: {}", messageOf(std::current_exception()));
        return {{}, sentence(describe(faultOf(std::current_exception())))};
    }
    return {text::join(texts, " "), {}};
}

void Practice::show(const Words& words) {
    m_services.overlay.hide();
    if (!words.fault.empty()) {
        become(PracticeState::failed, wentWrong, words.fault);
    } else if (words.text.empty()) {
        become(PracticeState::failed, nothingHeard);
    } else {
        m_state.practiceText = words.text;
        become(PracticeState::success, nice);
        playEndTones(m_services.tones, m_services.recording.config.get());
    }
}

void Practice::become(PracticeState state, std::string status, std::string reason) {
    m_state.practiceState = state;
    m_status = std::move(status);
    m_reason = std::move(reason);
    m_state.changes.tell();
}

float Practice::level() const {
    return m_state.isKeyPressed ? m_recorder.currentRMS() : 0;
}

} // namespace fenlo
