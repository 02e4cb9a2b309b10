#pragma once

#include "base/MainQueue.h"
#include "platform/LoopbackListener.h"

#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace fenlo::test {

/// A listener whose clients are the test.
class FakeLoopbackListener final : public LoopbackListener {
public:
    explicit FakeLoopbackListener(MainQueue& mainQueue) : m_mainQueue(mainQueue) {}

    std::optional<std::string> start(Handlers handlers) override {
        stop();
        if (error)
            return error;
        ++starts;
        m_handlers = std::make_shared<const Handlers>(std::move(handlers));
        m_mainQueue.post([started = std::weak_ptr(m_handlers), given = ++port] {
            if (const auto current = started.lock())
                current->onReady(given);
        });
        return std::nullopt;
    }
    void stop() override { m_handlers.reset(); }

    bool isListening() const { return m_handlers != nullptr; }
    /// What a client is answered that sends these bytes; nothing when it is refused.
    std::optional<std::string> send(const std::string& bytes) {
        const auto handlers = m_handlers;
        if (!handlers)
            return std::nullopt;
        return bytes.empty() ? "" : handlers->onRequest(bytes.substr(0, longestRequest));
    }
    void breakDown(const std::string& fault) {
        if (const auto handlers = std::exchange(m_handlers, nullptr))
            handlers->onFailed(fault);
    }

    std::optional<std::string> error; // of the next start
    std::uint16_t port = 40'000;      // of the last start
    int starts = 0;

private:
    MainQueue& m_mainQueue;
    std::shared_ptr<const Handlers> m_handlers;
};

} // namespace fenlo::test
