#pragma once

#include "base/Guarded.h"
#include "base/Json.h"
#include "support/LoopbackServer.h"
#include "support/ServiceFaults.h"
#include "support/account/AccountServices.h"

#include <functional>
#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace fenlo::test {

/// The stand-in of the accounts' service, where a test can give each path another answer.
class ServiceStandIn {
public:
    using Json = nlohmann::json;
    using Answer = std::function<WireAnswer(const WireRequest&, std::stop_token)>;

    const LoopbackServer& server() const { return m_server; }

    /// In place of its own answer, without a look at the token; an empty one ends that.
    void answer(const std::string& path, Answer answer) {
        m_state.with([&](State& state) { state.answers[path] = std::move(answer); });
    }
    void answer(const std::string& path, int status, const std::string& body) {
        answer(path, [=](auto&&...) { return httpAnswer(status, "application/json", body); });
    }
    void forgetTokens() { m_account.forget("backend"); }

    std::vector<WireRequest> requests() const {
        return m_state.with([](const State& state) { return state.requests; });
    }
    /// "POST /register", without what every path begins with; forgets them.
    std::vector<std::string> takeCalls() {
        std::vector<std::string> calls;
        for (const WireRequest& request : m_state.with([](State& state) { return std::exchange(state.requests, {}); }))
            calls.push_back(request.method + " " + pathOf(request));
        return calls;
    }

    Json config() const {
        return m_state.with([](const State& state) { return state.config; });
    }
    void changeKey(const std::string& key) {
        m_state.with([&](State& state) { state.config["groq_api_key"] = key; });
    }

private:
    struct State {
        std::map<std::string, Answer> answers; // by path
        std::vector<WireRequest> requests;
        Json config{{"groq_api_key", "remote-groq"}, {"transcription_provider", "groq"}};
    };

    static std::string pathOf(const WireRequest& request) {
        const std::string base = "/api/v1";
        return request.target.starts_with(base) ? request.target.substr(base.size()) : "? " + request.target;
    }

    WireAnswer serve(const WireRequest& request, std::stop_token stop) {
        const Answer other = m_state.with([&](State& state) {
            state.requests.push_back(request);
            return state.answers[pathOf(request)];
        });
        if (other)
            return other(request, stop);
        const std::string endpoint = AccountServices::endpointOf(request);
        AccountReply reply = m_account.answer(endpoint, request);
        if (endpoint == "backend/config" && reply.status == 200)
            reply.values = config();
        return reply.render(reply.status, reply.values);
    }

    AccountServices m_account{""};
    Guarded<State> m_state;
    LoopbackServer m_server{[this](const auto& request, auto stop) { return serve(request, stop); }};
};

} // namespace fenlo::test
