#pragma once

#include "support/LoopbackServer.h"

#include <chrono>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <vector>

namespace fenlo::test {

/// A stand-in for the speech services "groq", "deepgram" and "grok": takes clips as each does, and answers in its shape
/// what it is told to. It recognises nothing.
///
/// Threads: any.
class LoopbackRecogniser {
public:
    /// What to do with the next clips. `mode` is one of serviceModes(), or "reset": the connection is reset in
    /// the middle of the upload, of which nothing is kept.
    struct Behaviour {
        std::string mode = "ok";
        std::string text = "Hello from the stand-in.";
        std::string reply = {}; // the whole JSON body, instead of one made from `text`
        double delay = 0;       // seconds
    };

    struct Part {
        std::string name;
        std::string head; // the part's header lines
        std::string value;
    };

    struct Received {
        std::string provider;
        WireRequest wire;
        std::vector<Part> parts;
        double time = 0; // seconds since the start

        std::optional<std::string> field(const std::string& name) const;
        std::string audio() const; // the bytes of the clip
    };

    LoopbackRecogniser();

    void behave(Behaviour behaviour);
    std::vector<Received> requests() const;
    const LoopbackServer& server() const { return m_server; }

    /// For a server that stands for other services too.
    WireAnswer answer(const WireRequest& request, std::stop_token stop);
    bool resetsUpload(const WireRequest& head) const;
    /// Takes the fields "mode", "text" and "delay" that the wish has, and tells what is wrong with it, if anything.
    std::string control(const nlohmann::json& wish);
    nlohmann::json listRequests() const;

private:
    struct State {
        Behaviour behaviour;
        std::vector<Received> requests;
    };

    const std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
    Guarded<State> m_state;
    LoopbackServer m_server; // last: its threads use the rest
};

} // namespace fenlo::test
