#include "audio/voice/VoiceMatch.h"

#include "audio/voice/FeatureExtractor.h"
#include "audio/voice/PitchTrack.h"

#include <algorithm>
#include <cmath>

namespace fenlo {

namespace {

constexpr std::size_t fadeWidth = 160; // samples, 10 ms
constexpr std::size_t joinPause = 800; // samples, 50 ms
constexpr float cutMask = 0.01F;       // samples up to this value of the mask are cut

// All windows begin at a frame of the pitch track, so the frames of the whole recording serve them all.
static_assert(matchHop % voice::pitchHop == 0);
constexpr std::size_t framesOfWindow = (matchWindow - voice::pitchFrame) / voice::pitchHop + 1;
constexpr std::size_t framesOfHop = matchHop / voice::pitchHop;

double pitchPart(double pitch, const VoiceProfileData& profile) {
    if (pitch < 0.85 * profile.pitchP10 || pitch > 1.15 * profile.pitchP90)
        return 0;
    const double span = profile.pitchP90 - profile.pitchP10;
    if (!(span > 0))
        return 0.2;
    return 0.2 * std::max(0.0, 1 - std::abs(pitch - profile.pitchMedian) / (1.5 * span));
}

double energyPart(double energy, const VoiceProfileData& profile) {
    if (!(profile.energyMedian > 0))
        return 0;
    const double ratio = energy / profile.energyMedian;
    return ratio >= 0.3 && ratio <= 3.0 ? 0.1 * std::max(0.0, 1 - 0.5 * std::abs(1 - ratio)) : 0;
}

double centroidPart(double centroid, const VoiceProfileData& profile) {
    const double tolerance = std::max(3 * profile.centroidStd, 200.0);
    const double distance = std::abs(centroid - profile.centroidMedian);
    return distance < tolerance ? 0.1 * (1 - distance / tolerance) : 0;
}

double mfccPart(const std::optional<voice::Mfcc>& mfcc, const VoiceProfileData& profile) {
    if (!mfcc || !profile.mfccMean)
        return 0.15;
    const double similarity = (voice::cosineSimilarity(*mfcc, *profile.mfccMean) - 0.4) / 0.3;
    return std::clamp(0.35 * similarity, 0.0, 0.35);
}

/// Calls `visit` with the features of each complete window; nothing for a window without a voice.
template <typename Visit>
void forEachWindow(std::span<const float> samples, Visit visit) {
    const std::vector<float> levels = voice::frameLevels(samples);
    const std::vector<double> pitches = voice::framePitches(samples, levels);
    voice::FeatureExtractor extractor;
    std::size_t firstFrame = 0;
    for (std::size_t start = 0; start + matchWindow <= samples.size(); start += matchHop) {
        visit(extractor.extract(samples.subspan(start, matchWindow),
                                std::span(levels).subspan(firstFrame, framesOfWindow),
                                std::span(pitches).subspan(firstFrame, framesOfWindow)));
        firstFrame += framesOfHop;
    }
}

} // namespace

bool isKept(double score) {
    return score >= 0.45;
}

double voiceMatchScore(const voice::CompactFeatures& window, const VoiceProfileData& profile) {
    double score = 0;
    if (window.gender == profile.gender)
        score += 0.25;
    else if (window.gender == "unknown")
        score += 0.1;
    else
        return 0;
    score += pitchPart(window.pitchMedian, profile);
    score += energyPart(window.energyMedian, profile);
    score += centroidPart(window.centroidMedian, profile);
    score += mfccPart(window.mfccMean, profile);
    return score;
}

std::vector<double> windowScores(std::span<const float> samples, const VoiceProfileData& profile) {
    std::vector<double> scores;
    forEachWindow(samples, [&](const std::optional<voice::CompactFeatures>& window) {
        scores.push_back(window ? voiceMatchScore(*window, profile) : 0);
    });
    return scores;
}

KeptShare keptShare(std::span<const float> samples, const VoiceProfileData& profile) {
    KeptShare share;
    forEachWindow(samples, [&](const std::optional<voice::CompactFeatures>& window) {
        share.spoken += window.has_value();
        share.kept += window && isKept(voiceMatchScore(*window, profile));
    });
    return share;
}

void applyEdgeFades(std::span<float> mask, std::size_t width) {
    if (mask.size() < 2 || mask.size() <= 2 * width)
        return;
    const std::size_t half = width / 2;
    for (std::size_t i = 1; i < mask.size(); ++i) {
        const bool rises = mask[i] > 0 && mask[i - 1] == 0;
        const bool falls = mask[i] == 0 && mask[i - 1] > 0;
        if (!rises && !falls)
            continue;
        const std::size_t first = i - std::min(i, half);
        const auto ramp = mask.subspan(first, std::min(i + half, mask.size()) - first);
        for (std::size_t j = 0; j < ramp.size(); ++j) {
            const float level = static_cast<float>(j) / static_cast<float>(ramp.size());
            ramp[j] = std::min(ramp[j], rises ? level : 1 - level);
        }
    }
}

std::vector<float> isolated(std::span<const float> samples, std::span<const double> scores) {
    const auto kept = std::ranges::count_if(scores, isKept);
    if (kept == 0 || kept == std::ssize(scores))
        return {};
    std::vector<float> mask(samples.size());
    for (std::size_t window = 0; window < scores.size(); ++window)
        if (isKept(scores[window]))
            std::ranges::fill(std::span(mask).subspan(window * matchHop, matchWindow), 1.0F);
    applyEdgeFades(mask, fadeWidth);

    std::vector<float> output;
    output.reserve(samples.size());
    for (std::size_t i = 0; i < samples.size(); ++i) {
        if (mask[i] > cutMask)
            output.push_back(samples[i] * mask[i]);
        else if (i > 0 && mask[i - 1] > cutMask)
            output.insert(output.end(), joinPause, 0.0F);
    }
    return output;
}

} // namespace fenlo
