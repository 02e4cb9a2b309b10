#pragma once

#include "support/LoopbackServer.h"

#include <chrono>
#include <functional>
#include <limits>
#include <map>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <vector>

namespace fenlo::test {

class AccountServices;

/// A stand-in for the cloud services, on one port: for speech recognition ("speech", with the providers "groq",
/// "deepgram" and "grok"), for the language models "gemini" and "groq", and for what tells whether a key is right
/// ("keys"). Each takes requests and answers in the shape of its original. It understands nothing and says what it is
/// told to. What an account needs is there as well (`AccountServices`), and does understand what it is told: the
/// service
/// ("backend"), the ways to sign in ("google", "apple") and the feed of updates ("updates"), or one endpoint of these,
/// such as "backend/config".
///
/// It can be told over the wire, too: POST /control with {"service": …} and fields of a Behaviour, or with "forget"
/// true to make worthless what "backend", "google" or "apple" has given out; GET /control/requests lists what came,
/// oldest first.
///
/// Threads: any.
class LoopbackServices {
public:
    /// What a service does with its next requests. `mode` is one of serviceModes(), or "reset", which resets the
    /// connection in the middle of the request, of which nothing is kept.
    struct Behaviour {
        std::string mode = "ok";
        std::optional<std::string> text = {}; // without one, a sentence that names the stand-in
        double delay = 0;                     // seconds
        /// Answers to requests whose prompts hold a certain part, before `text`; the first that fits.
        std::vector<std::pair<std::string, std::string>> answers = {};
        int times = std::numeric_limits<int>::max(); // requests that `mode` holds for; the ones after them go well
        /// Of an account: a merge patch (RFC 7396) of the values that it answers, as JSON; null takes a value away.
        std::string reply = {};
    };

    /// A part of a multipart body.
    struct Part {
        std::string name;
        std::string head; // its header lines
        std::string value;
    };

    struct Received {
        std::string service;
        std::string provider; // of a clip or a key
        WireRequest wire;
        std::vector<Part> parts; // of a clip
        std::string system;      // the prompts for a language model
        std::string user;
        double time = 0; // seconds since the start

        std::optional<std::string> field(const std::string& name) const;
        std::string audio() const; // the bytes of the clip
    };

    /// `onRequest` hears of each request to a service, on the connection's thread. `package` has the bytes of the
    /// update.
    explicit LoopbackServices(std::uint16_t port = 0, std::function<void(const WireRequest&)> onRequest = {},
                              std::string package = {});
    ~LoopbackServices();

    void behave(const std::string& service, Behaviour behaviour);
    std::vector<Received> requests() const;
    const LoopbackServer& server() const { return m_server; }
    /// What makes a deployment of its own use these services for everything.
    nlohmann::json deployment() const;
    AccountServices& account() { return *m_account; }

private:
    struct State {
        std::map<std::string, Behaviour> behaviours; // of an account by endpoint
        std::vector<Received> requests;
    };

    WireAnswer answer(const WireRequest& request, std::stop_token stop);
    Behaviour noteRequest(Received received);
    WireAnswer answerAsAccount(Received received, std::stop_token stop);
    bool resetsUpload(const WireRequest& head) const;
    /// What is wrong with the wish; empty when it was taken.
    std::string control(const nlohmann::json& wish);
    std::string listRequests() const;

    const std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
    const std::function<void(const WireRequest&)> m_onRequest;
    const std::unique_ptr<AccountServices> m_account;
    Guarded<State> m_state;
    LoopbackServer m_server; // last: its threads use the rest
};

} // namespace fenlo::test
