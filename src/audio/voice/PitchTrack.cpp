#include "audio/voice/PitchTrack.h"

#include "audio/voice/Frames.h"
#include "audio/voice/VoiceFeatures.h"
#include "media/Level.h"
#include "media/RealTransform.h"

#include <algorithm>
#include <numeric>

namespace fenlo::voice {

namespace {

constexpr std::size_t shortestLag = 32; // samples: 500 Hz
constexpr std::size_t longestLag = 266; // about 60 Hz
constexpr float voicedPeak = 0.3F;      // of the normalised autocorrelation
constexpr float audibleLevel = 0.005F;  // RMS

constexpr std::size_t transformSize = 2048;
static_assert(transformSize >= pitchFrame + longestLag); // lags must not wrap into each other

class PitchFinder {
public:
    /// The pitch of a frame in hertz; 0 when it has none.
    double pitchOf(std::span<const float> frame) {
        const auto lags = autocorrelation(frame);
        const float energy = lags[0].r;
        if (!(energy > 0))
            return 0;
        float peak = 0;
        std::size_t best = 0;
        for (std::size_t lag = shortestLag; lag <= longestLag; ++lag)
            if (const float value = lags[lag].r / energy; value > peak) {
                peak = value;
                best = lag;
            }
        return peak >= voicedPeak ? sampleRate / static_cast<double>(best) : 0;
    }

private:
    /// The autocorrelation of the frame without its mean and with silence around it: the real parts, up to a factor.
    std::span<const kiss_fft_cpx> autocorrelation(std::span<const float> frame) {
        const double sum = std::accumulate(frame.begin(), frame.end(), 0.0);
        const auto mean = static_cast<float>(sum / static_cast<double>(frame.size()));
        std::ranges::transform(frame, m_padded.begin(), [mean](float sample) { return sample - mean; });
        const auto spectrum = m_transform(m_padded);
        // The power is real and even, so the forward transform serves as the inverse one.
        for (std::size_t i = 0; i < spectrum.size(); ++i) {
            const float power = spectrum[i].r * spectrum[i].r + spectrum[i].i * spectrum[i].i;
            m_power[i] = m_power[(transformSize - i) % transformSize] = power;
        }
        return m_transform(m_power);
    }

    RealTransform m_transform{transformSize};
    std::vector<float> m_padded = std::vector<float>(transformSize); // zeros behind the frame
    std::vector<float> m_power = std::vector<float>(transformSize);
};

} // namespace

std::vector<float> frameLevels(std::span<const float> samples) {
    std::vector<float> levels;
    forEachFrame(samples, pitchFrame, pitchHop, [&](auto frame) { levels.push_back(rms(frame)); });
    return levels;
}

std::vector<double> framePitches(std::span<const float> samples, std::span<const float> levels) {
    PitchFinder finder;
    std::vector<double> pitches;
    forEachFrame(samples, pitchFrame, pitchHop, [&](auto frame) {
        pitches.push_back(levels[pitches.size()] >= voiceLevel ? finder.pitchOf(frame) : 0);
    });
    return pitches;
}

std::vector<float> audible(std::span<const float> levels) {
    std::vector<float> kept;
    std::ranges::copy_if(levels, std::back_inserter(kept), [](float level) { return level >= audibleLevel; });
    return kept;
}

std::vector<double> voiced(std::span<const double> pitches) {
    std::vector<double> kept;
    std::ranges::copy_if(pitches, std::back_inserter(kept), [](double pitch) { return pitch > 0; });
    return kept;
}

std::vector<double> pitchTrack(std::span<const float> samples) {
    return voiced(framePitches(samples, frameLevels(samples)));
}

std::vector<float> energyFrames(std::span<const float> samples) {
    return audible(frameLevels(samples));
}

} // namespace fenlo::voice
