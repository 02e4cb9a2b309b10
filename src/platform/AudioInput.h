#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace fenlo {

struct InputDevice {
    std::uint32_t id = 0; // never 0 for a device
    std::string name;     // for people
    bool isBuiltIn = true;
    bool isWireless = false; // opening it takes a while, and changes what its headset plays
    std::string key = {};    // what settings remember it by; the same after a restart and when it is plugged in again
    bool isMonitor = false;  // it records what the machine itself plays
};

struct InputFormat {
    double sampleRate = 0; // hertz; 0 when there is no input
    unsigned channels = 0;
};

/// Captures from the device that it was made for. When the device or the sound server goes
/// away while the engine runs, the adapter goes on as soon as it is back.
///
/// Threads: call on the main thread; start() also on a worker, while the main thread may stop or drop the engine. The
///          tap runs on the audio thread and must neither block nor allocate needlessly.
/// Units:   samples are 32-bit floats in [-1, 1], first channel only, at format().sampleRate.
class CaptureEngine {
public:
    using Tap = std::function<void(std::span<const float> samples)>;

    virtual ~CaptureEngine() = default;

    virtual InputFormat format() const = 0;
    /// Delivers buffers of `frames` samples while the engine runs.
    virtual void installTap(std::size_t frames, Tap tap) = 0;
    /// When this returns, no call of the tap is running.
    virtual void removeTap() = 0;
    /// Returns an error text when the device refuses, else nothing. Starting a running engine does nothing. Waits for
    /// the sound server, up to half a second.
    virtual std::optional<std::string> start() = 0;
    virtual void stop() = 0;
    virtual bool isRunning() const = 0;
};

/// The sound system's inputs.
///
/// Threads: main thread, callbacks too. Nothing here waits for the sound server.
class AudioInput {
public:
    virtual ~AudioInput() = default;

    /// For the device that defaultDevice() names now.
    virtual std::unique_ptr<CaptureEngine> makeEngine() = 0;
    /// For a device by its key. Without such a device the engine has no format and refuses to start.
    virtual std::unique_ptr<CaptureEngine> makeEngineOf(const std::string& key) = 0;
    /// Never what the machine itself plays: without a microphone servers make that their default.
    virtual std::optional<InputDevice> defaultDevice() const = 0;
    /// What is plugged in, in the sound system's order, with what the machine itself plays.
    virtual std::vector<InputDevice> devices() const = 0;
    /// Whether there is a sound system; it may have no input.
    virtual bool isConnected() const = 0;
    /// Adds a listener; called whenever the default input device may have changed.
    virtual void onDefaultDeviceChanged(std::function<void()> handler) = 0;
    /// Adds a listener; called whenever devices() or the default may have changed.
    virtual void onDevicesChanged(std::function<void()> handler) = 0;
};

} // namespace fenlo
