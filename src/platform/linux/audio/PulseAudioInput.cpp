#include "platform/linux/audio/PulseAudioInput.h"

#include "base/MainQueue.h"
#include "platform/linux/audio/PulseCaptureEngine.h"
#include "platform/linux/audio/PulseConnection.h"
#include "platform/linux/audio/PulseDefaultSource.h"

#include <utility>

namespace fenlo {

namespace {
constexpr double firstAnswerLimit = 1.0; // seconds
}

PulseAudioInput::PulseAudioInput(MainQueue& queue)
    : m_queue(queue), m_connection(std::make_shared<PulseConnection>()),
      m_source(std::make_unique<PulseDefaultSource>(
          *m_connection, [this] { m_queue.post(m_lifetime.bind([this] { tellHandlers(); })); })) {
    m_source->awaitFirstAnswer(firstAnswerLimit);
}

PulseAudioInput::~PulseAudioInput() = default;

std::unique_ptr<CaptureEngine> PulseAudioInput::makeEngine() {
    return std::make_unique<PulseCaptureEngine>(m_connection, m_source->current());
}

std::optional<InputDevice> PulseAudioInput::defaultDevice() const {
    const auto source = m_source->current();
    return source ? std::optional(source->device) : std::nullopt;
}

bool PulseAudioInput::isConnected() const {
    const PulseLock lock(*m_connection);
    return m_connection->context() != nullptr;
}

void PulseAudioInput::onDefaultDeviceChanged(std::function<void()> handler) {
    m_handlers.push_back(std::move(handler));
}

void PulseAudioInput::tellHandlers() {
    const auto handlers = m_handlers; // a handler may add another
    for (const auto& handler : handlers)
        handler();
}

} // namespace fenlo
