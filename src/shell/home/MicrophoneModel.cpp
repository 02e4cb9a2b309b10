#include "shell/home/MicrophoneModel.h"

#include "audio/AudioRecorder.h"
#include "audio/Level.h"
#include "base/NotificationCenter.h"
#include "settings/Config.h"

#include <algorithm>
#include <utility>

namespace fenlo {

namespace {

constexpr double tickSeconds = 0.05;
constexpr std::size_t tapFrames = 1024;
constexpr int ticksOfSilence = 60; // after which the microphone counts as muted
constexpr int ticksBetweenTries = 20;
constexpr float mutedLevel = 1e-5F; // the noise of an open microphone is above it

constexpr const char* muted =
    "Nothing is heard. The microphone may be muted, on itself or in the desktop's sound settings.";

} // namespace

/// The loudest buffer since it was last asked for.
struct MicrophoneModel::Heard {
    void hear(std::span<const float> samples) {
        const float now = rms(samples);
        float before = loudest;
        while (now > before && !loudest.compare_exchange_weak(before, now)) {
        }
        hasSound = true;
    }

    std::atomic<float> loudest = 0;
    std::atomic<bool> hasSound = false;
};

MicrophoneModel::MicrophoneModel(Services services) : m_services(std::move(services)) {
    m_services.input.onDevicesChanged(m_lifetime.bind([this] {
        close(); // the next tick opens the device that counts now
        setProblem({});
        m_changes.tell();
    }));
}

MicrophoneModel::~MicrophoneModel() {
    close();
}

std::vector<MicrophoneModel::Row> MicrophoneModel::rows() const {
    std::vector<Row> rows{{"", "As the desktop"}};
    for (const InputDevice& device : m_services.input.devices())
        if (!device.isMonitor || device.key == chosen())
            rows.push_back({device.key, device.name});
    if (isChosenAbsent())
        rows.push_back({chosen(), "The chosen one (not connected)"});
    return rows;
}

std::string MicrophoneModel::chosen() const {
    return m_services.config.get().micDevice;
}

void MicrophoneModel::choose(const std::string& key) {
    if (key != chosen())
        change([&](Settings& settings) { settings.micDevice = key; });
}

bool MicrophoneModel::prefersBuiltIn() const {
    return m_services.config.get().micMode != MicMode::airpods;
}

void MicrophoneModel::preferBuiltIn(bool prefers) {
    change([&](Settings& settings) { settings.micMode = prefers ? MicMode::studio : MicMode::airpods; });
}

void MicrophoneModel::change(const std::function<void(Settings&)>& edit) {
    m_services.config.update(edit);
    m_services.notifications.post(notification::micModeChanged);
    m_changes.tell();
}

std::string MicrophoneModel::inUse() const {
    const auto device = m_services.input.defaultDevice();
    return device ? device->name : "";
}

bool MicrophoneModel::isChosenAbsent() const {
    const std::string key = chosen();
    const auto devices = m_services.input.devices();
    return !key.empty() && std::ranges::find(devices, key, &InputDevice::key) == devices.end();
}

Note MicrophoneModel::note() const {
    using Kind = Note::Kind;
    if (!m_services.input.isConnected())
        return {Kind::error, "No sound server is running. Start PipeWire or PulseAudio, or log in again."};
    const std::string name = inUse();
    if (name.empty())
        return {Kind::error, "No microphone is connected. Plug one in, and it appears here."};
    if (isChosenAbsent())
        return {Kind::warning, "The chosen microphone is not connected; \"" + name + "\" records meanwhile."};
    return m_problem;
}

std::shared_ptr<void> MicrophoneModel::listen() {
    if (auto listening = m_listening.lock())
        return listening;
    std::shared_ptr<void> listening(this, m_lifetime.bind([this](void*) {
        m_ticks.cancel();
        close();
        m_level = 0;
        setProblem({});
    }));
    m_listening = listening;
    m_ticksToRetry = 0;
    m_ticks = m_services.queue.every(tickSeconds, [this] { tick(); });
    return listening;
}

void MicrophoneModel::tick() {
    if (const auto level = m_services.takeLevel()) {
        close();
        showLevel(*level);
        return;
    }
    if (!m_engine) {
        if (m_ticksToRetry > 0)
            --m_ticksToRetry;
        else
            open();
        showLevel(0);
        return;
    }
    const float loudest = m_heard->loudest.exchange(0);
    if (loudest > mutedLevel) {
        m_silentTicks = 0;
        setProblem({});
    } else if (++m_silentTicks == ticksOfSilence) {
        setProblem({Note::Kind::warning, muted});
    }
    // A tick in which no buffer came says nothing about the level.
    showLevel(m_heard->hasSound.exchange(false) ? displayLevel(loudest) : m_level);
}

/// Opening may fail while another program holds the device, so it is tried again.
void MicrophoneModel::open() {
    m_heard = std::make_shared<Heard>();
    m_silentTicks = 0;
    auto engine = m_services.input.makeEngine();
    if (engine->format().channels == 0)
        return;
    engine->installTap(tapFrames, [heard = m_heard](std::span<const float> samples) { heard->hear(samples); });
    if (const auto error = engine->start()) {
        m_ticksToRetry = ticksBetweenTries;
        setProblem({Note::Kind::error, "The microphone cannot be opened: " + *error + "."});
        return;
    }
    m_engine = std::move(engine);
    setProblem({});
}

void MicrophoneModel::close() {
    if (!m_engine)
        return;
    m_engine->stop();
    m_engine->removeTap();
    m_engine.reset();
}

void MicrophoneModel::showLevel(float level) {
    m_level = level;
    m_levels.tell();
}

void MicrophoneModel::setProblem(Note problem) {
    if (problem.text == m_problem.text)
        return;
    m_problem = std::move(problem);
    m_changes.tell();
}

} // namespace fenlo
