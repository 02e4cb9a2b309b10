#pragma once

#include "base/Files.h"
#include "base/Json.h"
#include "settings/Config.h"
#include "settings/Deployment.h"
#include "settings/Keychain.h"
#include "support/FakeHttpClient.h"
#include "support/FakeSecureStore.h"
#include "support/LogCapture.h"
#include "support/VirtualTime.h"
#include "text/SmartRewrite.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

namespace fenlo::test {

inline Deployment modelHosts(const std::string& gemini, const std::string& groq) {
    Deployment deployment = {groq, "", ""};
    deployment.geminiHost = gemini;
    return deployment;
}

inline std::string geminiReply(const std::string& text) {
    return R"({"candidates": [{"content": {"parts": [{"text": )" + writeJson(nlohmann::json(text)) + "}]}}]}";
}

inline std::string groqReply(const std::string& text) {
    return R"({"choices": [{"message": {"content": )" + writeJson(nlohmann::json(text)) + "}}]}";
}

/// The gateway to the models on virtual time, with a key for each and two services that answer as they are told.
class ModelsFixture : public ::testing::Test {
protected:
    /// Answers other than a status.
    enum Fault { ok = 200, timeout = 1, tooLarge, cancelled, garbage, wrongShape };

    ModelsFixture() {
        http.onSend = [this](const HttpRequest& request) -> HttpResponse {
            const bool isGemini = request.url.starts_with(deployment.geminiHost);
            calls += isGemini ? 'G' : 'Q';
            clock.advance(0.416);
            const int how = isGemini ? geminiDoes : groqDoes;
            switch (how) {
            case timeout:
                throw HttpError(HttpError::Kind::timeout, "no answer");
            case tooLarge:
                throw HttpError(HttpError::Kind::tooLarge, "too large");
            case cancelled:
                throw HttpError(HttpError::Kind::cancelled, "cancelled");
            case garbage:
                return {200, {}, "<!DOCTYPE\nhtml> and much more that no one wants to read"};
            case wrongShape:
                return {200, {}, R"({"error": "odd"})"};
            default:
                return {how, {}, how == ok ? replyOf(isGemini) : isGemini ? "odd\nSECRET-G" : "odd\nSECRET-Q"};
            }
        };
        choose("auto");
    }

    void choose(const std::string& model, const std::string& outputMode = "transcribe") {
        config.update([&](Settings& settings) {
            settings.smartRewriteModel = Choice<SmartRewriteModel>(model);
            settings.outputMode = Choice<OutputMode>(outputMode);
        });
    }
    std::string replyOf(bool isGemini) const { return isGemini ? geminiReply(answer) : groqReply(answer); }
    std::string groqPrompt(const char* role) const {
        const auto messages = parseJson(http.requests.back().body).at("messages");
        return messages.at(role == std::string("system") ? 0 : 1).at("content");
    }

    int geminiDoes = ok, groqDoes = ok; // a status or a Fault
    std::string answer = "Polished.";
    std::string calls; // G for each to Gemini, Q for each to Groq

    VirtualClock clock;
    FakeHttpClient http;
    Config config{files::temporaryFile("config_", ".json"), clock};
    const Deployment deployment = modelHosts("https://gemini.example", "https://groq.example");
    FakeSecureStore store;
    Keychain keychain{store};
    std::map<std::string, std::string> configuration{{"gemini_api_key", "SECRET-G"}, {"groq_api_key", "SECRET-Q"}};
    int asked = 0; // the remote configuration
    const RemoteConfiguration remote = [this](std::stop_token) {
        ++asked;
        models.warmConnection(); // would block if a lock were held
        return configuration;
    };
    ServiceKeys keys{keychain, remote, ""};
    SmartRewrite models{config, deployment, http, keys, clock};
    LogCapture log;
};

} // namespace fenlo::test
