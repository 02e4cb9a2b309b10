#include "platform/linux/audio/PulseAudioInput.h"

#include "base/MainQueue.h"
#include "platform/linux/audio/PulseCaptureEngine.h"
#include "platform/linux/audio/PulseConnection.h"
#include "platform/linux/audio/PulseSources.h"

#include <utility>

namespace fenlo {

namespace {
constexpr double firstAnswerLimit = 1.0; // seconds
}

PulseAudioInput::PulseAudioInput(MainQueue& queue)
    : m_queue(queue), m_connection(std::make_shared<PulseConnection>()),
      m_sources(std::make_unique<PulseSources>(*m_connection, [this](PulseSources::Change change) {
          m_queue.post(m_lifetime.bind([this, change] {
              if (change == PulseSources::Change::defaultSource)
                  tell(m_defaultHandlers);
              tell(m_listHandlers);
          }));
      })) {}

PulseAudioInput::~PulseAudioInput() = default;

const KnownSources& PulseAudioInput::known() const {
    if (!std::exchange(m_hasWaited, true))
        m_sources->awaitFirstAnswer(firstAnswerLimit);
    return m_sources->known();
}

std::unique_ptr<CaptureEngine> PulseAudioInput::makeEngine() {
    return std::make_unique<PulseCaptureEngine>(m_connection, known(), known().current());
}

std::unique_ptr<CaptureEngine> PulseAudioInput::makeEngineOf(const std::string& key) {
    return std::make_unique<PulseCaptureEngine>(m_connection, known(), known().named(key));
}

std::optional<InputDevice> PulseAudioInput::defaultDevice() const {
    const auto source = known().current();
    return source ? std::optional(source->device) : std::nullopt;
}

std::vector<InputDevice> PulseAudioInput::devices() const {
    std::vector<InputDevice> devices;
    for (PulseSource& source : known().all())
        devices.push_back(std::move(source.device));
    return devices;
}

bool PulseAudioInput::isConnected() const {
    const PulseLock lock(*m_connection);
    return m_connection->context() != nullptr;
}

void PulseAudioInput::onDefaultDeviceChanged(std::function<void()> handler) {
    m_defaultHandlers.push_back(std::move(handler));
}

void PulseAudioInput::onDevicesChanged(std::function<void()> handler) {
    m_listHandlers.push_back(std::move(handler));
}

void PulseAudioInput::tell(const Handlers& handlers) {
    // A handler may add another.
    const Handlers now = handlers; // NOLINT(performance-unnecessary-copy-initialization)
    for (const auto& handler : now)
        handler();
}

} // namespace fenlo
