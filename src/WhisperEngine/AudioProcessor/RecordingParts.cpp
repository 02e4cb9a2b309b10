#include "WhisperEngine/AudioProcessor/RecordingParts.h"

#include "WhisperEngine/AudioTime.h"
#include "media/Level.h"

#include <algorithm>
#include <cstdint>

namespace fenlo::whisper {

namespace {

// Samples, at the least.
constexpr int recordingLength = 600 * sampleRate; // below it, the walk in one piece is soon done
constexpr int partLength = 120 * sampleRate;
constexpr int silenceLength = sampleRate / 2; // longer than the pauses between words

constexpr int mostParts = 8;
constexpr int reach = 30 * sampleRate; // of the search, to either side of the even division
constexpr int moment = sampleRate / 10;

} // namespace

bool RecordingParts::areWanted(int samples) {
    return samples >= recordingLength;
}

std::vector<AudioChunk> RecordingParts::between(int begin, int end) const {
    const std::int64_t length = end - begin;
    const int wanted = areWanted(end - begin) ? std::min(mostParts, (end - begin) / partLength) : 1;
    std::vector<AudioChunk> parts;
    const auto add = [&](int from, int to) {
        parts.push_back(
            {.seekOffsetIndex = from,
             .audioSamples = m_recording.subspan(static_cast<std::size_t>(from), static_cast<std::size_t>(to - from))});
    };
    int from = begin;
    for (int part = 1; part < wanted; ++part)
        if (const auto cut = cutNear(begin + static_cast<int>(length * part / wanted))) {
            add(from, *cut);
            from = *cut;
        }
    add(from, end);
    return parts;
}

std::optional<int> RecordingParts::cutNear(int sample) const {
    const int first = sample - reach;
    const auto near = m_recording.subspan(static_cast<std::size_t>(first), std::size_t{2} * reach);
    const auto silence = VoiceActivityDetector::findLongestSilence(m_detector.voiceActivity(near));
    if (!silence)
        return std::nullopt;
    const int begin = first + silence->first * m_detector.frameStepSamples();
    const int end = std::min(first + (silence->second + 1) * m_detector.frameStepSamples(), sample + reach);
    if (end - begin < silenceLength)
        return std::nullopt;
    return quietestMoment(begin, end);
}

/// In the middle of the quietest stretch of `silenceLength`: a detector of loud voices takes a quiet one for silence.
/// The silence's own middle, unless another stretch is quieter.
int RecordingParts::quietestMoment(int begin, int end) const {
    const auto levelAround = [&](int sample) {
        return rms(m_recording.subspan(static_cast<std::size_t>(sample - silenceLength / 2), silenceLength));
    };
    int found = begin + (end - begin) / 2;
    float quietest = levelAround(found);
    for (int sample = begin + silenceLength / 2; sample + silenceLength / 2 <= end; sample += moment)
        if (const float level = levelAround(sample); level < quietest) {
            quietest = level;
            found = sample;
        }
    return found;
}

} // namespace fenlo::whisper
