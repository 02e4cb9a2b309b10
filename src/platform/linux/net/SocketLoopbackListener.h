#pragma once

#include "base/Lifetime.h"
#include "platform/LoopbackListener.h"

#include <memory>
#include <optional>

namespace fenlo {

class Background;
class MainQueue;

/// The listener on sockets. One worker serves all connections of a start, and ends with it, two seconds later at most:
/// a client that was answered may take so long to read. Nothing of what clients send is logged.
class SocketLoopbackListener final : public LoopbackListener {
public:
    SocketLoopbackListener(MainQueue& mainQueue, Background& background);
    ~SocketLoopbackListener() override;

    std::optional<std::string> start(Handlers handlers) override;
    void stop() override;

private:
    class Session;

    MainQueue& m_mainQueue;
    Background& m_background;
    std::shared_ptr<Session> m_session; // the worker has it too
    std::optional<Lifetime> m_started;  // of the handlers
};

} // namespace fenlo
