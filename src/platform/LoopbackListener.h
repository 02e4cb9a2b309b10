#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace fenlo {

/// A web listener for the one redirect that ends a sign-in in the browser. Only programs on this machine reach it: it
/// listens on 127.0.0.1, at any free port.
///
/// Any of them may. A connection that says nothing, or only after ten seconds, is closed and told to nobody. What comes
/// in first on one is read once, and whatever else the client sends is dropped. Several clients are served at once, so
/// that a silent one keeps nobody waiting; of more than sixteen the one that is silent longest goes.
///
/// Threads:  main thread, the handlers too. No operation waits for a client.
/// Errors:   of what the clients do none. A listener that breaks later is told once, and has stopped by then.
/// Lifetime: the end stops it, as stop() does.
class LoopbackListener {
public:
    static constexpr std::size_t longestRequest = 65'536; // bytes; of a longer one the rest is dropped

    struct Handlers {
        /// Called once, after start() has returned.
        std::function<void(std::uint16_t port)> onReady;
        /// What one connection brought in its first read: any bytes, at least one. Returns the bytes to answer with,
        /// after which the connection is closed; none closes it at once. May call stop(): the answer still goes out.
        std::function<std::string(const std::string& request)> onRequest;
        std::function<void(const std::string& error)> onFailed;
    };

    virtual ~LoopbackListener() = default;

    /// Listens anew, in place of an earlier start. Returns an error text, or nothing.
    virtual std::optional<std::string> start(Handlers handlers) = 0;
    /// Connections are refused from now on, the port is free again at once, and no handler is called any more.
    virtual void stop() = 0;
};

} // namespace fenlo
