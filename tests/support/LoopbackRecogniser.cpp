#include "support/LoopbackRecogniser.h"

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <nlohmann/json.hpp>

namespace fenlo::test {

namespace {

using nlohmann::json;

constexpr char speechPath[] = "/openai/v1/audio/transcriptions";

/// Waits for the time, or for the end of the server.
void wait(double seconds, std::stop_token stop) {
    std::mutex mutex;
    std::condition_variable_any sleep;
    std::unique_lock lock(mutex);
    sleep.wait_for(lock, stop, std::chrono::duration<double>(seconds), [] { return false; });
}

void hang(std::stop_token stop) {
    while (!stop.stop_requested())
        wait(3600, stop);
}

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

WireAnswer asJson(int status, const std::string& body) {
    return httpAnswer(status, "application/json", body);
}

} // namespace

const std::vector<std::string>& LoopbackRecogniser::modes() {
    static const std::vector<std::string> names = {"ok", "500", "hang", "close", "partial", "garbage", "html", "utf8"};
    return names;
}

std::optional<std::string> LoopbackRecogniser::Received::field(const std::string& name) const {
    const auto found = std::find_if(parts.begin(), parts.end(), [&](const Part& part) { return part.name == name; });
    return found == parts.end() ? std::nullopt : std::optional(found->value);
}

LoopbackRecogniser::LoopbackRecogniser() : LoopbackRecogniser(Behaviour(), 0, {}) {}

LoopbackRecogniser::LoopbackRecogniser(Behaviour behaviour, std::uint16_t port,
                                       std::function<void(std::size_t, const Received&)> onRequest)
    : m_onRequest(std::move(onRequest)), m_state(State{std::move(behaviour), {}}),
      m_server([this](const WireRequest& request, std::stop_token stop) { return answer(request, stop); }, port) {}

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
    if (request.method == "POST" && request.target == "/control")
        return control(request);
    if (request.method == "GET" && request.target == "/control/requests")
        return asJson(200, listRequests());
    return asJson(404, R"({"error": "not found"})");
}

WireAnswer LoopbackRecogniser::transcribe(const WireRequest& request, std::stop_token stop) {
    const std::chrono::duration<double> time = std::chrono::steady_clock::now() - m_start;
    const Received received{request, parseParts(request), time.count()};
    const auto [number, behaviour] = m_state.with([&](State& state) {
        state.requests.push_back(received);
        return std::pair(state.requests.size(), state.behaviour);
    });
    if (m_onRequest)
        m_onRequest(number, received);

    if (behaviour.delay > 0)
        wait(behaviour.delay, stop);
    const std::string reply = behaviour.reply.empty() ? replyWith(behaviour.text) : behaviour.reply;
    if (behaviour.mode == "500")
        return asJson(500, R"({"error": {"message": "internal error of the stand-in"}})");
    if (behaviour.mode == "hang")
        hang(stop);
    if (behaviour.mode == "hang" || behaviour.mode == "close")
        return {{}, true};
    if (behaviour.mode == "partial") {
        std::string bytes = asJson(200, reply).bytes;
        bytes.resize(bytes.size() - reply.size() / 2);
        return {bytes, true};
    }
    if (behaviour.mode == "garbage")
        return asJson(200, "{\"text\": [[[ this is no JSON");
    if (behaviour.mode == "html")
        return httpAnswer(200, "text/html", "<!DOCTYPE html>\n<html><body>Sign in to the network</body></html>");
    if (behaviour.mode == "utf8")
        return asJson(200, "{\"text\": \"A broken caf\xE9 letter\"}");
    return asJson(200, reply);
}

WireAnswer LoopbackRecogniser::control(const WireRequest& request) {
    const json wish = json::parse(request.body, nullptr, false);
    if (!wish.is_object())
        return asJson(400, R"({"error": "the body must be a JSON object"})");
    const auto mode = wish.find("mode");
    if (mode != wish.end() && std::find(modes().begin(), modes().end(), *mode) == modes().end())
        return asJson(400, R"({"error": "unknown mode"})");
    m_state.with([&](State& state) {
        Behaviour& behaviour = state.behaviour;
        if (mode != wish.end())
            behaviour.mode = mode->get<std::string>();
        if (const auto text = wish.find("text"); text != wish.end() && text->is_string())
            behaviour.text = text->get<std::string>();
        if (const auto delay = wish.find("delay"); delay != wish.end() && delay->is_number())
            behaviour.delay = delay->get<double>();
    });
    return asJson(200, "{}");
}

std::string LoopbackRecogniser::listRequests() const {
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
        list.push_back({{"fields", fields},
                        {"audio", audio},
                        {"connection", received.wire.connection},
                        {"warm", received.wire.reused},
                        {"time", received.time}});
    }
    return list.dump(2, ' ', false, json::error_handler_t::replace);
}

} // namespace fenlo::test
