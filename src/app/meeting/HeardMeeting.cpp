#include "app/meeting/HeardMeeting.h"

#include "app/meeting/SpeechStream.h"
#include "audio/ChunkWriter.h"
#include "base/Clock.h"
#include "base/Files.h"
#include "base/Log.h"
#include "media/SpeechRate.h"
#include "meeting/MeetingText.h"
#include "meeting/RecordingChunks.h"
#include "meeting/SpeakerIdentifier.h"
#include "session/FaultOf.h"

#include <algorithm>
#include <array>
#include <exception>
#include <optional>
#include <stdexcept>
#include <thread>
#include <utility>

namespace fenlo {

namespace {

constexpr std::size_t mostFaultsInARow = 3; // a service that fails so often does not come back soon

constexpr std::array pauses{2.0, 8.0, 20.0, 30.0}; // seconds; quotas are often those of a minute
constexpr double stopStep = 0.1;                   // seconds until a stop request is noticed

bool mayPass(TakeFault fault) {
    return fault == TakeFault::quotaUsedUp || fault == TakeFault::serviceOutOfOrder ||
           fault == TakeFault::serviceSilent;
}

/// A chunk with its sound, which is deleted with it, and what became of it.
struct WaitingChunk {
    WaitingChunk(int number, const RecordingChunks::Chunk& chunk, Speaker speaker)
        : segment{files::makeUuid(), number, chunk.end, "", std::move(speaker)} {
        const auto written = writeChunk(chunk.samples, speechRate);
        if (!written)
            throw std::runtime_error("cannot write to " + std::filesystem::temp_directory_path().string() +
                                     "; free some space or set TMPDIR");
        sound = *written;
    }
    ~WaitingChunk() {
        if (!sound.empty())
            files::removeQuietly(sound);
    }
    WaitingChunk(WaitingChunk&& other) noexcept
        : segment(std::move(other.segment)), sound(std::exchange(other.sound, {})), fault(std::move(other.fault)) {}
    WaitingChunk& operator=(WaitingChunk&& other) noexcept {
        std::swap(segment, other.segment);
        std::swap(sound, other.sound);
        std::swap(fault, other.fault);
        return *this;
    }

    TranscriptSegment segment;
    std::filesystem::path sound;
    std::string fault; // why nobody recognised it; empty when somebody did
};

class Hearing {
public:
    Hearing(const Listening& listening, std::stop_token stop) : m_listening(listening), m_stop(std::move(stop)) {}

    HeardMeeting hear(SpeechStream& recording) {
        RecordingChunks cutter(m_listening.mode);
        bool isAtEnd = false;
        while (!isAtEnd && goesOn()) {
            const auto samples = recording.next();
            isAtEnd = samples.empty();
            auto chunks = cutter.add(samples);
            if (isAtEnd)
                chunks.push_back(cutter.finish());
            for (const auto& chunk : chunks)
                take(chunk, recording.fraction());
        }
        recogniseWaiting(1);
        m_heard.isWhole = isAtEnd && goesOn();
        if (m_heard.isWhole)
            tryAgain();
        for (const WaitingChunk& chunk : m_failed)
            m_heard.missing.push_back(chunk.segment.timestamp);
        std::ranges::sort(m_heard.segments, {}, &TranscriptSegment::index);
        return std::move(m_heard);
    }

private:
    bool goesOn() const { return !m_stop.stop_requested() && m_faultsInARow < mostFaultsInARow; }

    void take(const RecordingChunks::Chunk& chunk, double fraction) {
        if (chunk.samples.empty() || !goesOn())
            return;
        m_heard.duration = chunk.end;
        Speaker speaker =
            m_listening.mode == MeetingMode::meeting ? m_speakers.identify(chunk.samples, speechRate) : speakerAt(0);
        m_waiting.emplace_back(m_nextNumber++, chunk, std::move(speaker));
        if (m_waiting.size() >= m_listening.sideBySide)
            recogniseWaiting(fraction);
    }

    void recogniseWaiting(double fraction) {
        {
            std::vector<std::jthread> others;
            for (std::size_t i = 1; i < m_waiting.size(); ++i)
                others.emplace_back([this, &chunk = m_waiting[i]] { recognise(chunk); });
            if (!m_waiting.empty())
                recognise(m_waiting.front());
        }
        for (WaitingChunk& chunk : std::exchange(m_waiting, {}))
            keep(std::move(chunk));
        m_listening.onProgress(fraction, m_heard.segments.empty() ? "" : m_heard.segments.back().text);
    }

    void recognise(WaitingChunk& chunk) const {
        for (const double pause : pauses) {
            const auto fault = attempt(chunk);
            if (!fault || !mayPass(*fault))
                return;
            m_listening.onWait(describe(*fault));
            if (!wait(pause))
                return;
        }
        attempt(chunk);
    }

    /// What it failed with.
    std::optional<TakeFault> attempt(WaitingChunk& chunk) const {
        try {
            chunk.fault.clear();
            chunk.segment.text = m_listening.recognise({.audio = chunk.sound}, m_stop);
            return {};
        } catch (...) {
            chunk.fault = messageOf(std::current_exception());
            return faultOf(std::current_exception());
        }
    }

    /// False on a stop request.
    bool wait(double seconds) const {
        const double end = m_listening.clock.now() + seconds;
        while (!m_stop.stop_requested() && m_listening.clock.now() < end)
            m_listening.clock.sleep(stopStep);
        return !m_stop.stop_requested();
    }

    void keep(WaitingChunk chunk) {
        if (m_stop.stop_requested() && !chunk.fault.empty())
            return;
        if (!chunk.fault.empty()) {
            logError("Meeting chunk {} transcription failed: {}", chunk.segment.index, chunk.fault);
            if (m_heard.fault.empty())
                m_heard.fault = chunk.fault;
            ++m_faultsInARow;
            m_failed.push_back(std::move(chunk));
            return;
        }
        m_faultsInARow = 0;
        if (auto segment = withKeptWords(std::move(chunk.segment)))
            m_heard.segments.push_back(std::move(*segment));
    }

    void tryAgain() {
        m_faultsInARow = 0;
        for (WaitingChunk& chunk : std::exchange(m_failed, {})) {
            if (goesOn())
                recognise(chunk);
            keep(std::move(chunk));
        }
        m_heard.isWhole = !m_stop.stop_requested();
    }

    const Listening& m_listening;
    const std::stop_token m_stop;
    SpeakerIdentifier m_speakers{keenMatchThreshold};
    std::vector<WaitingChunk> m_waiting;
    std::vector<WaitingChunk> m_failed;
    std::size_t m_faultsInARow = 0;
    int m_nextNumber = 0;
    HeardMeeting m_heard;
};

} // namespace

HeardMeeting hearMeeting(SpeechStream& recording, const Listening& listening, std::stop_token stop) {
    return Hearing(listening, std::move(stop)).hear(recording);
}

} // namespace fenlo
