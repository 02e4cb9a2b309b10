#include "session/EarlyRecognition.h"

#include "audio/AudioRecorder.h"
#include "audio/ChunkWriter.h"
#include "base/Background.h"
#include "base/Log.h"
#include "base/Text.h"

#include <algorithm>
#include <iterator>
#include <limits>
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

void EarlyRecognition::begin(EarlyTake take) {
    drop();
    m_about = std::move(take);
    m_isTake = true;
    ++m_take;
    m_chunk = m_taken = 0;
    m_hasFailed = false;
    m_steps.begin();
    m_look = m_mainQueue.every(lookInterval, [this] { look(); });
}

void EarlyRecognition::release() {
    if (!m_isTake)
        return;
    takeIn();
    giveUpInSpeech();
    startIfDue(m_clip ? m_clip->keptEnd() - m_clip->soundEnd() : 0);
}

void EarlyRecognition::finish() {
    if (!std::exchange(m_isTake, false))
        return;
    m_look.cancel();
    m_clip.reset();
    m_cut.clear();
    m_about = {};
    m_words.clear();
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
    startIfDue(pauseFrames);
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
    if (!m_cut.empty() && !m_hasFailed)
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

void EarlyRecognition::startIfDue(std::size_t pauseFrames) {
    const auto reason = m_run ? std::nullopt : due(pauseFrames);
    if (!reason)
        return;
    const EarlyReach reach = m_steps.reach();
    if (reach == EarlyReach::everything || (reach == EarlyReach::chunks && *reason == Reason::chunk))
        start(*reason, reach);
}

void EarlyRecognition::start(Reason reason, EarlyReach reach) {
    const std::size_t chunk = reason == Reason::chunk ? m_chunk - m_cut.size() : m_chunk;
    const std::size_t end = reason == Reason::chunk ? std::numeric_limits<std::size_t>::max() : m_clip->size();
    m_run = Run{reason, reach, m_take, chunk, end, m_clip ? chunkGain(m_clip->peak()) : 1};
    if (reason == Reason::pause)
        m_pauseEnd = m_clip->keptEnd();
    m_background.run([this, reach, stop = m_run->stop, work = workFor(reason)](std::stop_token quit) {
        const std::stop_callback onQuit(quit, [stop]() mutable { stop.request_stop(); });
        m_mainQueue.post(m_lifetime.bind([this, result = perform(work, reach, stop)] { ended(result); }));
    });
}

/// On a worker.
EarlyRecognition::Result EarlyRecognition::perform(const Work& work, EarlyReach reach,
                                                   const std::stop_source& stop) const {
    try {
        if (reach == EarlyReach::everything && !m_steps.mayWork())
            return {.hadPower = false};
        return {.heard = work(stop)};
    } catch (const std::exception& error) {
        if (!stop.stop_requested())
            logInfo("Not recognised ahead: {}", error.what());
        return {.hasFailed = true};
    }
}

EarlyRecognition::Work EarlyRecognition::workFor(Reason reason) const {
    TranscribeRequest request = requestFor(m_run->chunk);
    if (reason == Reason::chunk) {
        request.audio = m_cut.front();
        return [this, request = std::move(request)](const std::stop_source& stop) {
            return EarlySteps::Heard{.text = m_steps.recogniseChunk(request, stop)};
        };
    }
    const auto extent = reason == Reason::window ? EarlySteps::Extent::fullWindows : EarlySteps::Extent::everything;
    return [this, extent, request = std::move(request), clip = m_clip->beginning()](const std::stop_source& stop) {
        std::vector<float> chunk(clip.samples.begin(), clip.samples.end());
        normalise(chunk);
        return m_steps.recognise(chunk, extent, request, stop);
    };
}

/// As the finished take will ask for it.
TranscribeRequest EarlyRecognition::requestFor(std::size_t chunk) const {
    TranscribeRequest request{.appName = m_about.appName};
    for (const Words& words : std::span(m_words).first(std::min(chunk, m_words.size())))
        if (!text::trimWhitespace(words.text).empty())
            request.hintText = words.text;
    return request;
}

void EarlyRecognition::ended(const Result& result) {
    const Run run = *std::exchange(m_run, std::nullopt);
    if (run.reach == EarlyReach::everything)
        m_hasPower = result.hadPower;
    if (run.take != m_take || !m_isTake)
        return;
    if (!result.hasFailed && result.hadPower)
        addWords(run, result.heard);
    if (run.reason == Reason::chunk) {
        m_hasFailed = result.hasFailed;
        m_cut.pop_front();
    }
    if (run.reason != Reason::window || run.chunk != m_chunk)
        return;
    const std::size_t nextWindow = result.heard.nextWindow;
    m_nextWindow = nextWindow > 0 ? nextWindow : m_clip->size(); // a failure is not repeated at once
    m_gainOfWindows = run.gain;
}

/// A window may be full only after a pause behind it was recognised: what is known never gets less.
void EarlyRecognition::addWords(const Run& run, const EarlySteps::Heard& heard) {
    m_words.resize(std::max(m_words.size(), run.chunk + 1));
    Words& known = m_words[run.chunk];
    const std::size_t end = run.reason == Reason::window ? heard.nextWindow : run.end;
    if (end < known.end)
        return;
    known = {heard.text, end};
    if (!m_about.onWords || run.reach != EarlyReach::everything)
        return;
    std::vector<std::string> texts;
    std::ranges::transform(m_words, std::back_inserter(texts), &Words::text);
    m_about.onWords(text::join(texts, " "));
}

} // namespace fenlo
