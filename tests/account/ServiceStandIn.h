#pragma once

#include "base/Guarded.h"
#include "base/Json.h"
#include "support/LoopbackServer.h"
#include "support/ServiceFaults.h"

#include <algorithm>
#include <functional>
#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace fenlo::test {

/// A service of the accounts that keeps what it is told: it knows the newest token of each device, and sums up the
/// statistics of all. A path can be given another answer.
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
    void forgetTokens() {
        m_state.with([](State& state) { state.tokens.clear(); });
    }

    std::vector<WireRequest> requests() const {
        return m_state.with([](const State& state) { return state.requests; });
    }
    /// "POST /register", without what every path begins with; forgets them.
    std::vector<std::string> takeCalls() {
        std::vector<std::string> calls;
        for (const WireRequest& request : m_state.with([](State& state) { return std::exchange(state.requests, {}); }))
            calls.push_back(request.method + " " + request.target.substr(std::string("/api/v1").size()));
        return calls;
    }

    Json config{{"groq_api_key", "remote-groq"}, {"transcription_provider", "groq"}};

private:
    struct State {
        std::map<std::string, Answer> answers;
        std::vector<WireRequest> requests;
        std::vector<std::string> tokens;
        std::map<std::string, Json> entries;
        std::map<std::string, Json> baselines; // by token
        int registered = 0;
    };

    WireAnswer serve(const WireRequest& request, std::stop_token stop) {
        const std::string path = request.target.starts_with("/api/v1") ? request.target.substr(7) : "?";
        const Answer other = m_state.with([&](State& state) {
            state.requests.push_back(request);
            return state.answers[path];
        });
        if (other)
            return other(request, stop);
        return m_state.with([&](State& state) { return reply(state, path, request); });
    }

    WireAnswer reply(State& state, const std::string& path, const WireRequest& request) {
        if (path == "/register") {
            state.tokens.push_back("token-" + std::to_string(++state.registered));
            return jsonAnswer(200, writeJson(Json{{"token", state.tokens.back()}}));
        }
        const std::string authorization = request.header("authorization");
        const std::string token = authorization.substr(std::min(authorization.size(), std::string("Bearer ").size()));
        if (std::ranges::find(state.tokens, token) == state.tokens.end())
            return jsonAnswer(401, R"({"groq_api_key": "no"})");
        if (path == "/config")
            return jsonAnswer(200, writeJson(config));
        if (path == "/stats/sync")
            return jsonAnswer(200, writeJson(merge(state, token, parseJson(request.body))));
        return jsonAnswer(200, "{}");
    }

    static Json merge(State& state, const std::string& token, const Json& told) {
        for (Json entry : told.at("entries")) {
            entry["ts"] = "2026-11-15T10:00:0" + std::to_string(state.entries.size() % 10) + "Z";
            state.entries[entry.at("entry_id")] = entry;
        }
        state.baselines[token] = told.at("baseline");
        Json totals{{"total_words", 0}, {"total_sessions", 0}, {"total_duration_secs", 0.0}, {"days_active", 1}};
        for (const auto& [machine, baseline] : state.baselines)
            for (const char* name : {"total_words", "total_sessions", "total_duration_secs"})
                totals[name] = totals[name].get<double>() + baseline.at(name).get<double>();
        for (const char* name : {"total_words", "total_sessions"})
            totals[name] = totals[name].get<std::int64_t>();
        totals["history"] = Json::array();
        for (const auto& [id, entry] : state.entries)
            totals["history"].push_back(entry);
        return totals;
    }

    Guarded<State> m_state;
    LoopbackServer m_server{[this](const auto& request, auto stop) { return serve(request, stop); }};
};

} // namespace fenlo::test
