#pragma once

#include "base/Lifetime.h"
#include "platform/AudioInput.h"

#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace fenlo {

class MainQueue;
class PulseConnection;
class PulseSources;
class KnownSources;

/// The inputs of a PulseAudio server (or PipeWire's). Without a server there is no device; one that comes later is
/// noticed within a second.
///
/// Threads: main thread. Its engines may outlive it.
class PulseAudioInput final : public AudioInput {
public:
    /// Does not wait for the server; the first question does, up to a second.
    explicit PulseAudioInput(MainQueue& queue);
    ~PulseAudioInput() override;

    std::unique_ptr<CaptureEngine> makeEngine() override;
    std::unique_ptr<CaptureEngine> makeEngineOf(const std::string& key) override;
    std::optional<InputDevice> defaultDevice() const override;
    std::vector<InputDevice> devices() const override;
    bool isConnected() const override;
    void onDefaultDeviceChanged(std::function<void()> handler) override;
    void onDevicesChanged(std::function<void()> handler) override;

private:
    using Handlers = std::vector<std::function<void()>>;

    static void tell(const Handlers& handlers);
    const KnownSources& known() const;

    MainQueue& m_queue;
    Handlers m_defaultHandlers;
    Handlers m_listHandlers;
    std::shared_ptr<PulseConnection> m_connection;
    Lifetime m_lifetime;
    mutable bool m_hasWaited = false;
    std::unique_ptr<PulseSources> m_sources; // dies first: it calls back from the connection's thread
};

} // namespace fenlo
