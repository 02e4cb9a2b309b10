#include "support/ServiceProtocols.h"

#include "base/Json.h"
#include "base/Text.h"

#include <algorithm>
#include <nlohmann/json.hpp>

namespace fenlo::test {

namespace {

using nlohmann::json;

std::string groqTranscript(const std::string& text) {
    const json segment = {{"id", 0}, {"text", text}, {"no_speech_prob", 0.01}, {"avg_logprob", -0.2}};
    return writeJson(json{{"task", "transcribe"}, {"text", text}, {"segments", json::array({segment})}});
}

std::string deepgramTranscript(const std::string& text) {
    json words = json::array();
    for (const std::string& word : text::words(text))
        words.push_back({{"word", text::lower(word)}, {"punctuated_word", word}, {"confidence", 0.98}});
    const json alternative = {{"transcript", text}, {"confidence", 0.97}, {"words", words}};
    const json channel = {{"alternatives", json::array({alternative})}};
    return writeJson(json{{"metadata", {{"channels", 1}}}, {"results", {{"channels", json::array({channel})}}}});
}

std::string grokTranscript(const std::string& text) {
    return writeJson(json{{"text", text}, {"duration", 1.5}});
}

std::string geminiAnswer(const std::string& text) {
    const json content = {{"role", "model"}, {"parts", json::array({json{{"text", text}}})}};
    const json candidate = {{"content", content}, {"finishReason", "STOP"}};
    return writeJson(json::object({{"candidates", json::array({candidate})}}));
}

std::string groqAnswer(const std::string& text) {
    const json choice = {{"index", 0}, {"message", {{"role", "assistant"}, {"content", text}}}};
    return writeJson(json{{"object", "chat.completion"}, {"choices", json::array({choice})}});
}

std::string keyAccepted(const std::string&) {
    return "{}";
}

constexpr const char* spoken = "Hello from the stand-in.";
constexpr const char* polished = "Polished by the stand-in.";

constexpr ServiceProtocol protocols[] = {
    {"speech", "groq", "/openai/v1/audio/transcriptions", groqTranscript, spoken},
    {"speech", "deepgram", "/v1/listen", deepgramTranscript, spoken},
    {"speech", "grok", "/v1/stt", grokTranscript, spoken},
    {"gemini", "", "/v1beta/models/gemini-2.0-flash:generateContent", geminiAnswer, polished,
     "/system_instruction/parts/0/text", "/contents/0/parts/0/text"},
    {"groq", "", "/openai/v1/chat/completions", groqAnswer, polished, "/messages/0/content", "/messages/1/content"},
    {"keys", "groq", "/openai/v1/models", keyAccepted, "", "", "", "GET"},
    {"keys", "gemini", "/v1beta/models", keyAccepted, "", "", "", "GET"},
    {"keys", "deepgram", "/v1/auth/token", keyAccepted, "", "", "", "GET"},
    {"keys", "grok", "/v1/api-key", keyAccepted, "", "", "", "GET"},
};

std::vector<LoopbackServices::Part> partsOf(const WireRequest& request) {
    const std::string type = request.header("content-type");
    const std::string key = "boundary=";
    const std::size_t at = type.find(key);
    std::vector<LoopbackServices::Part> parts;
    if (at == std::string::npos)
        return parts;
    const std::string delimiter = "--" + type.substr(at + key.size()) + "\r\n";
    const std::string ending = "\r\n--" + type.substr(at + key.size());
    std::string_view rest = request.body;
    while (rest.starts_with(delimiter)) {
        rest.remove_prefix(delimiter.size());
        const std::size_t headEnd = rest.find("\r\n\r\n");
        const std::size_t end = rest.find(ending, headEnd);
        if (headEnd == std::string_view::npos || end == std::string_view::npos)
            break;
        const std::string head(rest.substr(0, headEnd));
        parts.push_back(
            {quotedAfter(head, "; name=\""), head, std::string(rest.substr(headEnd + 4, end - headEnd - 4))});
        rest.remove_prefix(end + 2);
    }
    return parts;
}

std::string stringAt(const json& body, const char* path) {
    const json::json_pointer pointer(path);
    return body.is_object() && body.contains(pointer) && body[pointer].is_string() ? body[pointer].get<std::string>()
                                                                                   : "";
}

} // namespace

const ServiceProtocol* protocolOf(const WireRequest& request) {
    const std::string_view path = std::string_view(request.target).substr(0, request.target.find('?'));
    const auto* found = std::ranges::find(protocols, path, &ServiceProtocol::path);
    return found != std::end(protocols) && request.method == found->method ? found : nullptr;
}

LoopbackServices::Received readRequest(const ServiceProtocol& protocol, const WireRequest& request) {
    LoopbackServices::Received received{
        std::string(protocol.service), std::string(protocol.provider), request, {}, {}, {}, {}};
    if (protocol.service == "speech") {
        received.parts = partsOf(request);
    } else {
        const json body = parseJson(request.body);
        received.system = stringAt(body, protocol.system);
        received.user = stringAt(body, protocol.user);
    }
    return received;
}

std::string quotedAfter(std::string_view head, std::string_view key) {
    const std::size_t start = head.find(key);
    if (start == std::string_view::npos)
        return {};
    const std::string_view rest = head.substr(start + key.size());
    return std::string(rest.substr(0, rest.find('"')));
}

} // namespace fenlo::test
