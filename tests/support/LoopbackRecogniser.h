#pragma once

#include "support/LoopbackServer.h"

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace fenlo::test {

/// A stand-in for the speech service: takes clips as the service does, and answers as it is told to. It recognises
/// nothing.
///
/// It can be told over the wire too: POST /control with {"mode": …, "text": …, "delay": …}, and GET /control/requests
/// for what came.
///
/// Threads: any.
class LoopbackRecogniser {
public:
    /// What to do with the next clips. `mode` is one of modes().
    struct Behaviour {
        std::string mode = "ok";
        std::string text = "Hello from the stand-in.";
        std::string reply = {}; // the whole JSON body, instead of one made from `text`
        double delay = 0;       // seconds
    };

    /// ok, 500, hang, close (without an answer), partial (in the middle of it), garbage, html, utf8 (invalid).
    static const std::vector<std::string>& modes();

    struct Part {
        std::string name;
        std::string head; // the part's header lines
        std::string value;
    };

    struct Received {
        WireRequest wire;
        std::vector<Part> parts;
        double time = 0; // seconds since the start

        std::optional<std::string> field(const std::string& name) const;
    };

    LoopbackRecogniser();
    /// `onRequest` hears of each clip, on the connection's thread; it may be empty.
    LoopbackRecogniser(Behaviour behaviour, std::uint16_t port,
                       std::function<void(std::size_t number, const Received&)> onRequest);

    void behave(Behaviour behaviour);
    std::vector<Received> requests() const;
    const LoopbackServer& server() const { return m_server; }

private:
    struct State {
        Behaviour behaviour;
        std::vector<Received> requests;
    };

    WireAnswer answer(const WireRequest& request, std::stop_token stop);
    WireAnswer transcribe(const WireRequest& request, std::stop_token stop);
    WireAnswer control(const WireRequest& request);
    std::string listRequests() const;

    const std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
    const std::function<void(std::size_t, const Received&)> m_onRequest;
    Guarded<State> m_state;
    LoopbackServer m_server; // last: its threads use the rest
};

} // namespace fenlo::test
