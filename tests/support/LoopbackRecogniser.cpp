#include "support/LoopbackRecogniser.h"

#include "support/ServiceFaults.h"

#include <algorithm>
#include <nlohmann/json.hpp>

namespace fenlo::test {

namespace {

using nlohmann::json;

constexpr char speechPath[] = "/openai/v1/audio/transcriptions";

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

std::string replyWith(const std::string& text) {
    const json segment = {{"id", 0}, {"text", text}, {"no_speech_prob", 0.01}, {"avg_logprob", -0.2}};
    const json reply = {{"task", "transcribe"}, {"text", text}, {"segments", json::array({segment})}};
    return reply.dump(-1, ' ', false, json::error_handler_t::replace);
}

} // namespace

std::optional<std::string> LoopbackRecogniser::Received::field(const std::string& name) const {
    const auto found = std::find_if(parts.begin(), parts.end(), [&](const Part& part) { return part.name == name; });
    return found == parts.end() ? std::nullopt : std::optional(found->value);
}

LoopbackRecogniser::LoopbackRecogniser()
    : m_server([this](const WireRequest& request, std::stop_token stop) { return answer(request, stop); }) {}

void LoopbackRecogniser::behave(Behaviour behaviour) {
    m_state.with([&](State& state) { state.behaviour = std::move(behaviour); });
}

std::vector<LoopbackRecogniser::Received> LoopbackRecogniser::requests() const {
    return m_state.with([](const State& state) { return state.requests; });
}

WireAnswer LoopbackRecogniser::answer(const WireRequest& request, std::stop_token stop) {
    if (request.method == "HEAD")
        return {"HTTP/1.1 404 Answer\r\nContent-Length: 0\r\n\r\n", false};
    if (request.method == "POST" && request.target == speechPath)
        return transcribe(request, stop);
    return jsonAnswer(404, R"({"error": "not found"})");
}

WireAnswer LoopbackRecogniser::transcribe(const WireRequest& request, std::stop_token stop) {
    const std::chrono::duration<double> time = std::chrono::steady_clock::now() - m_start;
    const Received received{request, parseParts(request), time.count()};
    const Behaviour behaviour = m_state.with([&](State& state) {
        state.requests.push_back(received);
        return state.behaviour;
    });
    const auto reply = [&](const std::string& text) {
        return behaviour.reply.empty() ? replyWith(text) : behaviour.reply;
    };
    return answerInMode(behaviour.mode, behaviour.text, behaviour.delay, reply, stop);
}

std::string LoopbackRecogniser::control(const json& wish) try {
    Behaviour behaviour = m_state.with([](const State& state) { return state.behaviour; });
    behaviour.mode = wish.value("mode", behaviour.mode);
    behaviour.text = wish.value("text", behaviour.text);
    behaviour.delay = wish.value("delay", behaviour.delay);
    if (!isServiceMode(behaviour.mode))
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
        json audio = nullptr;
        for (const Part& part : received.parts) {
            if (part.name == "file")
                audio = {{"bytes", part.value.size()}, {"file_name", quotedAfter(part.head, "filename=\"")}};
            else
                fields[part.name] = part.value;
        }
        list.push_back({{"service", "speech"},
                        {"fields", fields},
                        {"audio", audio},
                        {"connection", received.wire.connection},
                        {"warm", received.wire.reused},
                        {"time", received.time}});
    }
    return list;
}

} // namespace fenlo::test
