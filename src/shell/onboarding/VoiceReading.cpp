#include "shell/onboarding/VoiceReading.h"

#include "base/Background.h"
#include "base/Files.h"
#include "base/NotificationCenter.h"
#include "session/FaultOf.h"
#include "session/HotkeyListener.h"
#include "settings/Config.h"

#include <algorithm>
#include <cmath>
#include <fmt/core.h>
#include <utility>

namespace fenlo {

namespace {

constexpr int ticksPerSecond = 30;
constexpr int ticksPerLine = 2 * ticksPerSecond;
constexpr int leastTicksOfSpeech = 5 * ticksPerSecond;
constexpr float speechLevel = 0.06F; // of the level for display
constexpr VoiceReading::Tint warning{0.96, 0.56, 0.3};

} // namespace

/// The files of all holds, which go with it.
class VoiceReading::Spoken {
public:
    Spoken() = default;
    ~Spoken() {
        for (const auto& file : m_files)
            files::removeQuietly(file);
    }
    Spoken(const Spoken&) = delete;
    Spoken& operator=(const Spoken&) = delete;

    void add(const std::vector<std::filesystem::path>& files) {
        m_files.insert(m_files.end(), files.begin(), files.end());
    }
    const std::vector<std::filesystem::path>& files() const { return m_files; }

private:
    std::vector<std::filesystem::path> m_files;
};

VoiceReading::VoiceReading(Services services, std::filesystem::path profileFile, Stage stage)
    : m_services(services), m_profileFile(std::move(profileFile)), m_stage(stage),
      m_recorder(services.recording.input, services.recording.clock, services.recording.queue,
                 services.recording.config, services.recording.notifications),
      m_spoken(std::make_shared<Spoken>()) {
    if (m_stage == Stage::running)
        m_services.recording.notifications.post(notification::hotkeyPause);
    m_hotkey = std::make_unique<HotkeyListener>(services.keys, services.recording.config.get().hotkey);
    m_hotkey->onPress = [this] { keyDown(); };
    // Another key meanwhile ends the hold too: the listener then reports no release.
    m_hotkey->onRelease = m_hotkey->onCommandRelease = m_hotkey->onChordDetected = [this] { keyUp(); };
    m_hotkey->start();
}

VoiceReading::~VoiceReading() {
    letGoOfKey();
    if (m_recorder.isRecording())
        m_spoken->add(m_recorder.stopRecording());
}

/// The keyboard reports to one listener only, so ours must be gone before dictation's comes back.
void VoiceReading::letGoOfKey() {
    if (!std::exchange(m_hotkey, nullptr))
        return;
    if (m_stage == Stage::running)
        m_services.recording.notifications.post(notification::hotkeyResume);
}

void VoiceReading::keyDown() {
    if (m_state == State::reading || !canSkip())
        return;
    if (m_failure == BuiltProfile::unusable)
        startOver();
    m_failure.reset();
    m_recorder.startRecording();
    if (!m_recorder.isRecording()) {
        become(State::failed);
        return;
    }
    m_timer = m_services.recording.queue.every(1.0 / ticksPerSecond, [this] { tick(); });
    become(State::reading);
}

void VoiceReading::startOver() {
    m_spoken = std::make_shared<Spoken>();
    m_ticks = 0;
    m_ticksOfSpeech = 0;
}

void VoiceReading::tick() {
    ++m_ticks;
    if (m_recorder.currentRMS() > speechLevel)
        ++m_ticksOfSpeech;
    m_changes.tell();
}

void VoiceReading::keyUp() {
    if (m_state != State::reading)
        return;
    m_timer.cancel();
    m_spoken->add(m_recorder.stopRecording());
    m_recorder.dropRunningCopy();
    if (m_ticksOfSpeech < leastTicksOfSpeech)
        become(State::needsMore);
    else
        build();
}

void VoiceReading::build() {
    become(State::building);
    m_services.recording.background.run(
        [spoken = m_spoken, file = m_profileFile, &config = m_services.recording.config,
         &queue = m_services.recording.queue,
         report = m_lifetime.bind([this](BuiltProfile result) { built(result); })](auto) mutable {
            const BuiltProfile result = buildVoiceProfile(spoken->files(), file);
            if (result == BuiltProfile::stored)
                config.update([](Settings& settings) { settings.voiceIsolation = true; });
            queue.post([report = std::move(report), result]() mutable { report(result); });
        });
}

void VoiceReading::built(BuiltProfile result) {
    if (result == BuiltProfile::stored) {
        m_spoken = std::make_shared<Spoken>();
        become(State::learned);
        finish(true);
        return;
    }
    m_failure = result;
    become(State::failed);
}

void VoiceReading::skip() {
    if (!canSkip())
        return;
    if (m_state == State::reading) { // by the button, which needs no key
        m_timer.cancel();
        m_recorder.endWithoutSpeechTest();
        become(State::ready);
    }
    finish(false);
}

void VoiceReading::finish(bool learned) {
    letGoOfKey();
    if (const auto handler = onFinished)
        handler(learned);
}

void VoiceReading::become(State state) {
    m_state = state;
    m_changes.tell();
}

std::string VoiceReading::status() const {
    switch (m_state) {
    case State::ready:
        return "";
    case State::reading:
        if (speech() >= enoughSpeech)
            return "enough captured! release hotkey or keep going";
        return fmt::format("keep reading... {}s", static_cast<int>(std::ceil(enoughSpeech - speech())));
    case State::needsMore:
        return "need a bit more — hold hotkey and keep reading";
    case State::building:
        return "creating voice profile...";
    case State::failed:
        return "couldn't create profile — try again";
    case State::learned:
        return "your voice profile is ready";
    }
    return "";
}

std::optional<VoiceReading::Tint> VoiceReading::statusTint() const {
    return m_state == State::needsMore ? std::optional(warning) : std::nullopt;
}

std::string VoiceReading::reason() const {
    if (m_state != State::failed && m_state != State::needsMore)
        return "";
    if (m_failure == BuiltProfile::notStored)
        return fmt::format("{} cannot be written. What you have read is kept: make room for it, then hold the key once "
                           "more.",
                           m_profileFile.string());
    if (m_failure == BuiltProfile::unusable)
        return "There was too little voice in it. Come closer to the microphone, or read in a quieter place.";
    if (const auto fault = m_recorder.fault())
        return std::string(describe(faultOf(*fault)));
    return "";
}

std::size_t VoiceReading::line() const {
    return std::min(passage().size() - 1, static_cast<std::size_t>(m_ticks / ticksPerLine));
}

double VoiceReading::elapsed() const {
    return static_cast<double>(m_ticks) / ticksPerSecond;
}

double VoiceReading::speech() const {
    return static_cast<double>(m_ticksOfSpeech) / ticksPerSecond;
}

float VoiceReading::level() const {
    return m_state == State::reading ? m_recorder.currentRMS() : 0;
}

std::string VoiceReading::keyLabel() const {
    return heldLabel(m_services.keys, m_services.recording.config.get().hotkey);
}

} // namespace fenlo
