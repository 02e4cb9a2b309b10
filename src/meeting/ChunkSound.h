#pragma once

#include "audio/TakeBuffer.h"

#include <span>
#include <vector>

namespace fenlo {

/// What was recorded between two cuts of a meeting.
struct MeetingCut {
    TakenSamples microphone = {};
    std::vector<float> system = {}; // at systemAudioRate; empty when the computer played nothing
    double timestamp = 0;           // seconds from the start of the meeting to its end
};

/// Both sides at 16 kHz in one channel: the microphone alone at full scale, or both at 0.6, in step from their first
/// samples on.
///
/// Threads: pure.
std::vector<float> soundOf(const MeetingCut& cut);

/// Whether no sample reaches half of a step of 16 bits: such a chunk is nothing but zeros for the recogniser. A muted
/// microphone sends that; any other has a noise of its own, and a whisper lies thirty decibels above it.
bool isSilent(std::span<const float> samples);

/// The sum of both sides at 0.6, as long as the longer one, within [-1, 1].
std::vector<float> mixedSides(std::span<const float> microphone, std::span<const float> system);

} // namespace fenlo
