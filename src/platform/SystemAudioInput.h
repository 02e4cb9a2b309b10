#pragma once

#include <functional>
#include <memory>
#include <span>
#include <string>

namespace fenlo {

inline constexpr double systemAudioRate = 48000; // hertz

/// What the computer plays, as it is captured. It follows the user to another output by itself and never turns to a
/// microphone.
///
/// Threads:  the tap runs on the audio thread and must not block.
/// Lifetime: destroying it ends the capture, on any thread but that one and without waiting for the sound system. When
///           that returns, no call of the tap is running.
class SystemAudioStream {
public:
    virtual ~SystemAudioStream() = default;
};

/// The port to the sound system's output.
///
/// Threads: open() on a worker; it blocks until sound may come or the sound system has refused, three seconds at most.
class SystemAudioInput {
public:
    /// Mono samples at systemAudioRate, 32-bit floats in [-1, 1]. Time in which the output changes comes as silence of
    /// that length, so that the samples stay in step with the clock.
    using Tap = std::function<void(std::span<const float> samples)>;

    struct Opened {
        std::unique_ptr<SystemAudioStream> stream; // null when it failed
        std::string error;                         // then: what to tell, one line
    };

    virtual ~SystemAudioInput() = default;

    virtual Opened open(Tap tap) = 0;
};

} // namespace fenlo
