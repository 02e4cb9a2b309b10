#include "text/LanguageModelCalls.h"

#include "base/Json.h"
#include "base/Text.h"
#include "settings/ApiKey.h"

#include <nlohmann/json.hpp>

namespace fenlo {

namespace {

using nlohmann::json;
using nlohmann::ordered_json;

constexpr double timeout = 30; // seconds
constexpr std::size_t maxReplyBytes = 4u << 20u;
constexpr std::size_t shownReplyBytes = 20; // enough to tell a web page from a reply that broke off

constexpr double temperature = 0.3;

std::string dump(const ordered_json& body) {
    return writeJson(body);
}

json decode(const std::string& service, std::string_view body) {
    json reply = parseJson(text::repairUtf8(body));
    if (reply.is_discarded()) {
        const std::string start = text::repairUtf8(body.substr(0, shownReplyBytes));
        throw std::runtime_error(service + "'s reply is no JSON, it starts '" + text::join(text::words(start), " ") +
                                 "'");
    }
    return reply;
}

/// The answer in a reply; `walk` leads to its place.
template <typename Walk>
std::string answerIn(const std::string& service, std::string_view body, Walk walk) {
    const json reply = decode(service, body);
    try {
        return text::trimWhitespaceAndNewlines(walk(reply).template get_ref<const std::string&>());
    } catch (const json::exception&) { // its own text may quote the reply
        throw SmartRewriteError(SmartRewriteError::Kind::parseError, service + "'s reply holds no answer");
    }
}

std::string post(HttpClient& http, const char* service, HttpRequest request, const std::string& key,
                 std::stop_token stop) {
    request.method = "POST";
    request.headers.emplace_back("Content-Type", "application/json");
    request.timeout = timeout;
    request.maxResponseBytes = maxReplyBytes;
    HttpResponse response = http.send(request, stop);
    if (response.status != 200)
        throw SmartRewriteError(SmartRewriteError::Kind::apiError,
                                apiKey::describeError(service, response.status, response.body, key), response.status);
    return std::move(response.body);
}

} // namespace

namespace gemini {

std::string composeBody(const ModelPrompt& prompt) {
    const auto parts = [](const std::string& text) {
        return ordered_json::array({ordered_json::object({{"text", text}})});
    };
    ordered_json body;
    body["system_instruction"] = {{"parts", parts(prompt.system)}};
    body["contents"] = ordered_json::array({ordered_json::object({{"role", "user"}, {"parts", parts(prompt.user)}})});
    body["generationConfig"] = {{"temperature", temperature}, {"maxOutputTokens", prompt.maxAnswerTokens}};
    return dump(body);
}

std::string parseReply(std::string_view body) {
    return answerIn("Gemini", body, [](const json& reply) -> const json& {
        return reply.at("candidates").at(0).at("content").at("parts").at(0).at("text");
    });
}

} // namespace gemini

namespace groqChat {

std::string composeBody(const ModelPrompt& prompt) {
    const auto message = [](const char* role, const std::string& content) {
        return ordered_json::object({{"role", role}, {"content", content}});
    };
    ordered_json body;
    body["model"] = "llama-3.3-70b-versatile";
    body["messages"] = ordered_json::array({message("system", prompt.system), message("user", prompt.user)});
    body["temperature"] = temperature;
    body["max_tokens"] = prompt.maxAnswerTokens;
    return dump(body);
}

std::string parseReply(std::string_view body) {
    return answerIn("Groq", body, [](const json& reply) -> const json& {
        return reply.at("choices").at(0).at("message").at("content");
    });
}

} // namespace groqChat

std::string callGemini(HttpClient& http, const ModelAccess& access, const ModelPrompt& prompt, std::stop_token stop) {
    HttpRequest request;
    request.url = access.host + "/v1beta/models/gemini-2.0-flash:generateContent?key=" + access.key;
    request.body = gemini::composeBody(prompt);
    return gemini::parseReply(post(http, "Gemini", std::move(request), access.key, stop));
}

std::string callGroq(HttpClient& http, const ModelAccess& access, const ModelPrompt& prompt, std::stop_token stop) {
    HttpRequest request;
    request.url = access.host + "/openai/v1/chat/completions";
    request.headers = {{"Authorization", "Bearer " + access.key}};
    request.body = groqChat::composeBody(prompt);
    return groqChat::parseReply(post(http, "Groq", std::move(request), access.key, stop));
}

} // namespace fenlo
