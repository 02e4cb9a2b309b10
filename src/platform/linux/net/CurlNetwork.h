#pragma once

#include "base/Guarded.h"
#include "platform/linux/net/CurlHttpClient.h"
#include "platform/linux/net/CurlTransfer.h"

#include <functional>
#include <map>
#include <memory>
#include <stop_token>
#include <thread>
#include <vector>

namespace fenlo {

/// The network thread, which runs all transfers on one pool of connections.
class CurlHttpClient::Network {
public:
    Network();
    ~Network();
    Network(const Network&) = delete;
    Network& operator=(const Network&) = delete;

    /// Takes a transfer on. It ends at its own time, on cancelling, or with the network.
    void start(std::shared_ptr<CurlTransfer> transfer);

    /// Lets the thread see that a transfer was cancelled.
    void wake();

private:
    void run(std::stop_token stop);
    void admitNew();
    void drop(const std::function<bool(const CurlTransfer&)>& isOver, void (CurlTransfer::*end)());
    void dropCancelled();
    void dropStalled();
    void resumeTaken();
    int untilNextStall() const; // milliseconds
    void endFinished();
    void endAll();

    CURLM* const m_multi;
    Guarded<std::vector<std::shared_ptr<CurlTransfer>>> m_incoming;
    std::map<CURL*, std::shared_ptr<CurlTransfer>> m_active; // network thread only
    std::jthread m_thread;
};

} // namespace fenlo
