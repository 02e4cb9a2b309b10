#include "session/EarlyRecognition.h"

#include "audio/AudioRecorder.h"
#include "audio/ChunkWriter.h"
#include "base/Background.h"
#include "base/Log.h"

#include <utility>

namespace fenlo {

namespace {

constexpr double lookInterval = 0.1;    // seconds
constexpr std::size_t pauseFrames = 15; // 0.3 s
constexpr std::size_t leastSound = 10;  // frames: what is shorter is no word

} // namespace

EarlyRecognition::EarlyRecognition(AudioRecorder& recorder, MainQueue& mainQueue, Background& background,
                                   EarlySteps steps)
    : m_recorder(recorder), m_mainQueue(mainQueue), m_background(background), m_steps(std::move(steps)) {}

EarlyRecognition::~EarlyRecognition() {
    if (m_run)
        m_run->stop.request_stop();
}

void EarlyRecognition::begin() {
    drop();
    m_isTake = true;
    ++m_take;
    m_chunk = m_taken = 0;
    m_steps.begin();
    m_look = m_mainQueue.every(lookInterval, [this] { look(); });
}

void EarlyRecognition::release() {
    if (!m_isTake)
        return;
    takeIn();
    giveUpInSpeech();
    const std::size_t needed = m_clip ? m_clip->keptEnd() - m_clip->soundEnd() : 0;
    if (const auto reason = due(needed); !m_run && reason && m_steps.isWanted())
        start(*reason);
}

void EarlyRecognition::finish() {
    if (!std::exchange(m_isTake, false))
        return;
    m_look.cancel();
    m_clip.reset();
    m_cut.clear();
    m_steps.finish();
}

void EarlyRecognition::drop() {
    finish();
    if (m_run)
        m_run->stop.request_stop();
    m_steps.forget();
}

void EarlyRecognition::look() {
    takeIn();
    giveUpInSpeech();
    if (m_run)
        return;
    if (const auto reason = due(pauseFrames); reason && m_steps.isWanted())
        start(*reason);
}

/// The user went on: the words of a sentence that was not over are of no use.
void EarlyRecognition::giveUpInSpeech() {
    if (m_run && m_run->reason == Reason::pause && m_clip && m_clip->keptEnd() > m_pauseEnd)
        m_run->stop.request_stop();
}

/// What the recorder has got since the last look.
void EarlyRecognition::takeIn() {
    for (;;) {
        const auto part = m_recorder.partFrom(m_chunk, m_taken);
        if (!part)
            return;
        if (!m_clip || part->chunk != m_chunk) {
            const auto files = m_recorder.chunkFiles();
            for (; m_chunk < part->chunk; ++m_chunk)
                m_cut.push_back(files[m_chunk]);
            m_clip.emplace(part->sampleRate);
            m_taken = m_nextWindow = m_pauseEnd = 0;
        }
        if (part->samples.empty())
            return;
        m_clip->append(part->samples);
        m_taken += part->samples.size();
    }
}

std::optional<EarlyRecognition::Reason> EarlyRecognition::due(std::size_t pauseFrames) const {
    if (!m_cut.empty())
        return Reason::chunk;
    if (!m_clip)
        return {};
    if (m_clip->size() >= m_nextWindow + LocalTranscriber::windowLength)
        return Reason::window;
    const std::size_t sound = m_clip->soundEnd();
    const bool isPause = sound >= leastSound && m_clip->frames() >= sound + pauseFrames;
    if (!isPause || m_clip->keptEnd() == m_pauseEnd)
        return {};
    // A louder sound changes how much the whole chunk is raised, and with it every window.
    return m_nextWindow > 0 && chunkGain(m_clip->peak()) != m_gainOfWindows ? Reason::window : Reason::pause;
}

void EarlyRecognition::start(Reason reason) {
    m_run = Run{reason, m_take, m_chunk, m_clip ? chunkGain(m_clip->peak()) : 1};
    if (reason == Reason::pause)
        m_pauseEnd = m_clip->keptEnd();
    m_background.run([this, stop = m_run->stop, work = workFor(reason)](std::stop_token quit) {
        const std::stop_callback end(quit, [stop]() mutable { stop.request_stop(); });
        std::size_t nextWindow = 0;
        try {
            if (m_steps.mayWork())
                nextWindow = work(stop);
        } catch (const std::exception& error) {
            if (!stop.stop_requested())
                logInfo("Not recognised ahead: {}", error.what());
        }
        m_mainQueue.post(m_lifetime.bind([this, nextWindow] { ended(nextWindow); }));
    });
}

EarlyRecognition::Work EarlyRecognition::workFor(Reason reason) const {
    if (reason == Reason::chunk)
        return [this, chunk = m_cut.front()](const std::stop_source& stop) {
            m_steps.recogniseChunk(chunk, stop);
            return std::size_t(0);
        };
    const auto extent = reason == Reason::window ? EarlySteps::Extent::fullWindows : EarlySteps::Extent::everything;
    return [this, extent, clip = m_clip->beginning()](const std::stop_source& stop) {
        std::vector<float> chunk(clip.samples.begin(), clip.samples.end());
        normalise(chunk);
        return m_steps.recognise(chunk, extent, stop);
    };
}

void EarlyRecognition::ended(std::size_t nextWindow) {
    const Run run = *std::exchange(m_run, std::nullopt);
    if (run.take != m_take || !m_isTake)
        return;
    if (run.reason == Reason::chunk)
        m_cut.pop_front();
    if (run.reason != Reason::window || run.chunk != m_chunk)
        return;
    m_nextWindow = nextWindow > 0 ? nextWindow : m_clip->size(); // a failure is not repeated at once
    m_gainOfWindows = run.gain;
}

} // namespace fenlo
