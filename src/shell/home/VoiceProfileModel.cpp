#include "shell/home/VoiceProfileModel.h"

#include "audio/AudioRecorder.h"
#include "base/Background.h"
#include "base/Dates.h"
#include "base/Files.h"
#include "session/FaultOf.h"
#include "settings/Config.h"

#include <cmath>
#include <fmt/core.h>
#include <utility>

namespace fenlo {

namespace {

namespace fs = std::filesystem;

constexpr int trialTicksPerSecond = 30;
constexpr double clearlyLowOrHigh = 0.5;   // of genderConfidence: 30 Hz from the border
constexpr std::size_t leastOfAVoice = 5;   // windows, about a second
constexpr int own = 80, somebodyElse = 20; // percent

/// How much of the recordings fits the profile; they are deleted.
KeptShare shareOf(const std::vector<fs::path>& recordings, const VoiceProfileData& profile) {
    KeptShare sum;
    for (const fs::path& recording : recordings) {
        if (const auto samples = loadVoiceAudio(recording)) {
            const KeptShare share = keptShare(*samples, profile);
            sum.spoken += share.spoken;
            sum.kept += share.kept;
        }
        files::removeQuietly(recording);
    }
    return sum;
}

std::string describeShare(KeptShare share) {
    if (share.spoken < leastOfAVoice)
        return "Too little of a voice was heard. Come closer to the microphone, and speak until the bar is full.";
    const auto percent =
        static_cast<int>(std::lround(100.0 * static_cast<double>(share.kept) / static_cast<double>(share.spoken)));
    const char* meaning = percent >= own            ? "It is taken for your voice."
                          : percent <= somebodyElse ? "It is taken for somebody else's voice."
                                                    : "The profile is not sure whose voice this is.";
    return fmt::format("{}% of what was just said would be kept. {}", percent, meaning);
}

} // namespace

VoiceProfileModel::VoiceProfileModel(RecordingServices services, fs::path profileFile)
    : m_services(services), m_profileFile(std::move(profileFile)) {
    refresh();
}

VoiceProfileModel::~VoiceProfileModel() {
    cancelTrial();
}

void VoiceProfileModel::refresh() {
    m_message.clear();
    m_share.reset();
    std::error_code error;
    if (const auto profile = loadVoiceProfile(m_profileFile)) {
        m_profile = *profile;
        m_state = State::ready;
    } else {
        m_state = fs::exists(m_profileFile, error) ? State::damaged : State::none;
    }
    m_changes.tell();
}

std::string VoiceProfileModel::description() const {
    switch (m_state) {
    case State::none:
        return "No voice profile yet. Read a short passage aloud, and Fenlo keeps only your voice in recordings.";
    case State::damaged:
        return "The voice profile cannot be read. Record it again.";
    case State::ready:
        break;
    }
    return fmt::format("A {} voice of about {:.0f} Hz, mostly {:.0f} to {:.0f} Hz",
                       m_profile.gender == "male" ? "low" : "high", m_profile.pitchMedian, m_profile.pitchP10,
                       m_profile.pitchP90);
}

std::string VoiceProfileModel::made() const {
    std::error_code error;
    const auto time = fs::last_write_time(m_profileFile, error);
    if (error || m_state != State::ready)
        return "";
    const auto moment = std::chrono::file_clock::to_sys(time);
    return "Made " + dates::mediumText(std::chrono::time_point_cast<dates::Moment::duration>(moment));
}

std::string VoiceProfileModel::limits() const {
    if (m_state != State::ready)
        return "";
    if (m_profile.genderConfidence < clearlyLowOrHigh)
        return "Your voice lies between low and high ones, which are what the profile tells apart best. Some of your "
               "own "
               "words may be cut: try it before you rely on it.";
    return m_profile.gender == "male" ? "High voices are cut well. Another low voice is hardly told from yours."
                                      : "Low voices are cut well. Another high voice is hardly told from yours.";
}

std::string VoiceProfileModel::makeCaption() const {
    return m_state == State::none ? "Set Up Voice Profile" : "Re-record";
}

bool VoiceProfileModel::isolation() const {
    return m_services.config.get().voiceIsolation;
}

void VoiceProfileModel::setIsolation(bool on) {
    m_services.config.update([on](Settings& settings) { settings.voiceIsolation = on; });
    m_changes.tell();
}

VoiceProfileModel::Question VoiceProfileModel::removalQuestion() {
    return {"Remove Voice Profile?",
            "Voices near you will be transcribed with yours again. To get the profile back you read the passage aloud "
            "once more.",
            "Remove Profile"};
}

void VoiceProfileModel::remove() {
    cancelTrial();
    std::error_code error;
    fs::remove(m_profileFile, error);
    if (error) {
        m_message = fmt::format("The voice profile could not be removed: {} cannot be changed.",
                                m_profileFile.parent_path().string());
        m_changes.tell();
        return;
    }
    setIsolation(false);
    refresh();
}

void VoiceProfileModel::startTrial() {
    if (m_state != State::ready || m_trial == Trial::listening || m_trial == Trial::comparing)
        return;
    m_share.reset();
    m_trialFault.clear();
    m_ticks = 0;
    m_recorder = std::make_unique<AudioRecorder>(m_services.input, m_services.clock, m_services.queue,
                                                 m_services.config, m_services.notifications);
    m_recorder->startRecording();
    if (const auto fault = m_recorder->fault()) {
        m_trialFault = describe(faultOf(*fault));
        m_recorder.reset();
        become(Trial::done);
        return;
    }
    m_timer = m_services.queue.every(1.0 / trialTicksPerSecond, [this] { tick(); });
    become(Trial::listening);
}

void VoiceProfileModel::tick() {
    if (++m_ticks >= trialLength * trialTicksPerSecond)
        compare();
    else
        m_changes.tell();
}

void VoiceProfileModel::compare() {
    m_timer.cancel();
    const auto recordings = m_recorder->stopRecording();
    if (const auto fault = m_recorder->fault())
        m_trialFault = describe(faultOf(*fault));
    m_recorder.reset();
    become(Trial::comparing);
    m_services.background.run(
        [recordings, profile = m_profile, &queue = m_services.queue, report = m_lifetime.bind([this](KeptShare share) {
            m_share = share;
            become(Trial::done);
        })](auto) mutable {
            const KeptShare share = shareOf(recordings, profile);
            queue.post([report = std::move(report), share]() mutable { report(share); });
        });
}

void VoiceProfileModel::cancelTrial() {
    if (m_trial != Trial::listening)
        return;
    m_timer.cancel();
    for (const fs::path& recording : m_recorder->stopRecording())
        files::removeQuietly(recording);
    m_recorder.reset();
    become(Trial::none);
}

void VoiceProfileModel::become(Trial trial) {
    m_trial = trial;
    m_changes.tell();
}

double VoiceProfileModel::trialProgress() const {
    return std::min(1.0, m_ticks / (trialLength * trialTicksPerSecond));
}

float VoiceProfileModel::level() const {
    return m_recorder ? m_recorder->currentRMS() : 0;
}

std::string VoiceProfileModel::trialText() const {
    switch (m_trial) {
    case Trial::none:
        break;
    case Trial::listening:
        return "Speak now, as you usually do…";
    case Trial::comparing:
        return "Comparing…";
    case Trial::done:
        if (!m_trialFault.empty())
            return m_trialFault;
        if (m_share)
            return describeShare(*m_share);
    }
    return "Speak for five seconds to see how much of it would be kept. Let somebody else speak to see how much is "
           "cut.";
}

} // namespace fenlo
