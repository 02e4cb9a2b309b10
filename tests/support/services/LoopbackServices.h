#pragma once

#include "support/LoopbackModels.h"
#include "support/LoopbackRecogniser.h"

namespace fenlo::test {

/// The stand-ins for speech and language models on one port, which can be told over the wire what to do:
/// POST /control with {"service": "speech", "gemini" or "groq", …} and the fields that the service takes; "speech" is
/// meant where none is named. GET /control/requests lists what came to all of them, oldest first.
class LoopbackServices {
public:
    /// `onRequest` hears of each request to a service, on the connection's thread.
    LoopbackServices(std::uint16_t port, std::function<void(const WireRequest&)> onRequest);

    LoopbackRecogniser& speech() { return m_speech; }
    const LoopbackServer& server() const { return m_server; }

private:
    WireAnswer answer(const WireRequest& request, std::stop_token stop);
    WireAnswer control(const WireRequest& request);
    std::string listRequests() const;

    const std::function<void(const WireRequest&)> m_onRequest;
    LoopbackRecogniser m_speech;
    LoopbackModels m_models;
    LoopbackServer m_server; // last: its threads use the rest
};

} // namespace fenlo::test
