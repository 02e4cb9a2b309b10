#pragma once

#include <vector>

namespace fenlo {

/// The default output device.
///
/// Threads: any.
/// Errors:  what cannot be played is dropped without a message.
class AudioOutput {
public:
    virtual ~AudioOutput() = default;

    /// Plays mono samples and returns at once. A sound that is still playing is cut off.
    virtual void play(std::vector<float> samples, double sampleRate) = 0;
    virtual void stop() = 0;
};

} // namespace fenlo
