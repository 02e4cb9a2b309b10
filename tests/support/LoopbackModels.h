#pragma once

#include "support/LoopbackServer.h"

#include <chrono>
#include <limits>
#include <map>
#include <nlohmann/json_fwd.hpp>

namespace fenlo::test {

/// A stand-in for the two services of language models, "gemini" and "groq": takes requests as each does, and answers in
/// its shape what it is told to. It understands nothing.
///
///     LoopbackModels models;
///     LoopbackServer server(models.handler());
///
/// Threads: any. It must outlive the server.
class LoopbackModels {
public:
    /// What one service does with its next requests. `mode` is one of serviceModes().
    struct Behaviour {
        std::string mode = "ok";
        std::string text = "Polished by the stand-in.";
        double delay = 0; // seconds
        /// Answers to requests whose prompts hold a certain part, before `text`; the first that fits.
        std::vector<std::pair<std::string, std::string>> answers = {};
        int times = std::numeric_limits<int>::max(); // requests that `mode` holds for; the ones after them go well
    };

    struct Received {
        std::string service;
        WireRequest wire;
        std::string system; // the prompts; empty where the body had none
        std::string user;
        double time = 0; // seconds since the start
    };

    void behave(const std::string& service, Behaviour behaviour);
    std::vector<Received> requests() const;
    std::vector<Received> requests(const std::string& service) const;

    LoopbackServer::Handler handler();

    // For a server that stands for other services too.
    static std::string serviceOf(const WireRequest& request); // empty for a request that goes to neither
    WireAnswer answer(const WireRequest& request, std::stop_token stop);
    /// Takes the fields of a Behaviour that the wish has, and tells what is wrong with it, if anything.
    std::string control(const std::string& service, const nlohmann::json& wish);
    nlohmann::json listRequests() const;

private:
    struct State {
        std::map<std::string, Behaviour> behaviours;
        std::vector<Received> requests;
    };

    const std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
    Guarded<State> m_state;
};

} // namespace fenlo::test
