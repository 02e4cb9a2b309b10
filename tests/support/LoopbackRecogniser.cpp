#include "support/LoopbackRecogniser.h"

#include "base/Json.h"
#include "base/Text.h"
#include "support/ServiceFaults.h"

#include <algorithm>
#include <nlohmann/json.hpp>

namespace fenlo::test {

namespace {

using nlohmann::json;

std::string quotedAfter(std::string_view head, std::string_view key) {
    const std::size_t start = head.find(key);
    if (start == std::string_view::npos)
        return {};
    const std::string_view rest = head.substr(start + key.size());
    return std::string(rest.substr(0, rest.find('"')));
}

std::vector<LoopbackRecogniser::Part> parseParts(const WireRequest& request) {
    const std::string type = request.header("content-type");
    const std::string key = "boundary=";
    const std::size_t at = type.find(key);
    std::vector<LoopbackRecogniser::Part> parts;
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

json transcriptReply(const std::string& text) {
    const json segment = {{"id", 0}, {"text", text}, {"no_speech_prob", 0.01}, {"avg_logprob", -0.2}};
    return {{"task", "transcribe"}, {"text", text}, {"segments", json::array({segment})}};
}

json deepgramReply(const std::string& text) {
    json words = json::array();
    for (const std::string& word : text::words(text))
        words.push_back({{"word", text::lower(word)}, {"punctuated_word", word}, {"confidence", 0.98}});
    const json alternative = {{"transcript", text}, {"confidence", 0.97}, {"words", words}};
    const json channel = {{"alternatives", json::array({alternative})}};
    return {{"metadata", {{"channels", 1}}}, {"results", {{"channels", json::array({channel})}}}};
}

json grokReply(const std::string& text) {
    return {{"text", text}, {"duration", 1.5}};
}

struct Provider {
    const char* name;
    std::string_view path;
    json (*reply)(const std::string& text);
};

constexpr Provider providers[] = {{"groq", "/openai/v1/audio/transcriptions", transcriptReply},
                                  {"deepgram", "/v1/listen", deepgramReply},
                                  {"grok", "/v1/stt", grokReply}};

/// Null for a request that goes to none.
const Provider* providerOf(const WireRequest& request) {
    const std::string_view path = std::string_view(request.target).substr(0, request.target.find('?'));
    const auto* found = std::find_if(std::begin(providers), std::end(providers),
                                     [&](const Provider& provider) { return provider.path == path; });
    return request.method == "POST" && found != std::end(providers) ? found : nullptr;
}

} // namespace

std::optional<std::string> LoopbackRecogniser::Received::field(const std::string& name) const {
    const auto found = std::find_if(parts.begin(), parts.end(), [&](const Part& part) { return part.name == name; });
    return found == parts.end() ? std::nullopt : std::optional(found->value);
}

std::string LoopbackRecogniser::Received::audio() const {
    return field("file").value_or(parts.empty() ? wire.body : "");
}

LoopbackRecogniser::LoopbackRecogniser()
    : m_server([this](const WireRequest& request, std::stop_token stop) { return answer(request, stop); }, 0,
               [this](const WireRequest& head) { return resetsUpload(head); }) {}

void LoopbackRecogniser::behave(Behaviour behaviour) {
    m_state.with([&](State& state) { state.behaviour = std::move(behaviour); });
}

std::vector<LoopbackRecogniser::Received> LoopbackRecogniser::requests() const {
    return m_state.with([](const State& state) { return state.requests; });
}

WireAnswer LoopbackRecogniser::answer(const WireRequest& request, std::stop_token stop) {
    const Provider* provider = providerOf(request);
    if (!provider)
        return notFound(request);
    const std::chrono::duration<double> time = std::chrono::steady_clock::now() - m_start;
    const Behaviour behaviour = m_state.with([&](State& state) {
        state.requests.push_back({provider->name, request, parseParts(request), time.count()});
        return state.behaviour;
    });
    const auto reply = [&](const std::string& text) {
        return behaviour.reply.empty() ? writeJson(provider->reply(text)) : behaviour.reply;
    };
    return answerInMode(behaviour.mode, behaviour.text, behaviour.delay, reply, stop);
}

bool LoopbackRecogniser::resetsUpload(const WireRequest& head) const {
    return providerOf(head) && m_state.with([](const State& state) { return state.behaviour.mode == "reset"; });
}

std::string LoopbackRecogniser::control(const json& wish) try {
    Behaviour behaviour = m_state.with([](const State& state) { return state.behaviour; });
    behaviour.mode = wish.value("mode", behaviour.mode);
    behaviour.text = wish.value("text", behaviour.text);
    behaviour.delay = wish.value("delay", behaviour.delay);
    if (!isServiceMode(behaviour.mode) && behaviour.mode != "reset")
        return "unknown mode";
    behave(std::move(behaviour));
    return {};
} catch (const json::exception& error) {
    return error.what();
}

json LoopbackRecogniser::listRequests() const {
    json list = json::array();
    for (const Received& received : requests()) {
        json fields = json::object();
        json audio = {{"bytes", received.audio().size()}};
        for (const Part& part : received.parts) {
            if (part.name == "file")
                audio["file_name"] = quotedAfter(part.head, "filename=\"");
            else
                fields[part.name] = part.value;
        }
        list.push_back({{"service", "speech"},
                        {"provider", received.provider},
                        {"target", received.wire.target},
                        {"authorization", received.wire.header("Authorization")},
                        {"fields", fields},
                        {"audio", audio},
                        {"connection", received.wire.connection},
                        {"warm", received.wire.reused},
                        {"time", received.time}});
    }
    return list;
}

} // namespace fenlo::test
