#include "support/LoopbackModels.h"
#include "base/Json.h"

#include "support/ServiceFaults.h"

#include <algorithm>
#include <nlohmann/json.hpp>

namespace fenlo::test {

namespace {

using nlohmann::json;
using Pointer = json::json_pointer;

constexpr std::string_view geminiPath = "/v1beta/models/gemini-2.0-flash:generateContent?key=";
constexpr std::string_view groqPath = "/openai/v1/chat/completions";

std::string stringAt(const json& body, const char* path) {
    const Pointer pointer(path);
    return body.is_object() && body.contains(pointer) && body[pointer].is_string() ? body[pointer].get<std::string>()
                                                                                   : "";
}

std::string geminiReply(const std::string& text) {
    const json part = {{"text", text}};
    const json content = {{"role", "model"}, {"parts", json::array({part})}};
    const json candidate = {{"content", content}, {"finishReason", "STOP"}};
    return writeJson(json::object({{"candidates", json::array({candidate})}}));
}

std::string groqReply(const std::string& text) {
    const json message = {{"role", "assistant"}, {"content", text}};
    const json choice = {{"index", 0}, {"message", message}};
    return writeJson(json{{"object", "chat.completion"}, {"choices", json::array({choice})}});
}

std::string textFor(const LoopbackModels::Behaviour& behaviour, const std::string& prompts) {
    const auto fitting = std::find_if(behaviour.answers.begin(), behaviour.answers.end(), [&](const auto& answer) {
        return prompts.find(answer.first) != std::string::npos;
    });
    return fitting == behaviour.answers.end() ? behaviour.text : fitting->second;
}

/// The behaviour with the wish's fields; throws what the JSON library throws for a field of another type.
LoopbackModels::Behaviour changed(LoopbackModels::Behaviour behaviour, const json& wish) {
    behaviour.mode = wish.value("mode", behaviour.mode);
    behaviour.text = wish.value("text", behaviour.text);
    behaviour.delay = wish.value("delay", behaviour.delay);
    behaviour.answers = wish.value("answers", behaviour.answers);
    behaviour.times = wish.value("times", std::numeric_limits<int>::max());
    return behaviour;
}

} // namespace

void LoopbackModels::behave(const std::string& service, Behaviour behaviour) {
    m_state.with([&](State& state) { state.behaviours[service] = std::move(behaviour); });
}

std::vector<LoopbackModels::Received> LoopbackModels::requests() const {
    return m_state.with([](const State& state) { return state.requests; });
}

std::vector<LoopbackModels::Received> LoopbackModels::requests(const std::string& service) const {
    auto list = requests();
    std::erase_if(list, [&](const Received& received) { return received.service != service; });
    return list;
}

LoopbackServer::Handler LoopbackModels::handler() {
    return [this](const WireRequest& request, std::stop_token stop) { return answer(request, stop); };
}

std::string LoopbackModels::serviceOf(const WireRequest& request) {
    if (request.method != "POST")
        return {};
    return request.target.starts_with(geminiPath) ? "gemini" : request.target == groqPath ? "groq" : "";
}

WireAnswer LoopbackModels::answer(const WireRequest& request, std::stop_token stop) {
    Received received{serviceOf(request), request, {}, {}, {}};
    if (received.service.empty())
        return notFound(request);
    const bool isGemini = received.service == "gemini";
    const json body = parseJson(request.body);
    received.system = stringAt(body, isGemini ? "/system_instruction/parts/0/text" : "/messages/0/content");
    received.user = stringAt(body, isGemini ? "/contents/0/parts/0/text" : "/messages/1/content");
    received.time = std::chrono::duration<double>(std::chrono::steady_clock::now() - m_start).count();

    const Behaviour behaviour = m_state.with([&](State& state) {
        state.requests.push_back(received);
        Behaviour& settled = state.behaviours[received.service];
        Behaviour now = settled;
        if (settled.times > 0)
            --settled.times;
        else
            now.mode = "ok";
        return now;
    });
    const std::string text = textFor(behaviour, received.system + "\n" + received.user);
    return answerInMode(behaviour.mode, text, behaviour.delay, isGemini ? geminiReply : groqReply, stop);
}

std::string LoopbackModels::control(const std::string& service, const json& wish) try {
    const Behaviour wished = changed({}, wish);
    if (!isServiceMode(wished.mode))
        return "unknown mode";
    m_state.with([&](State& state) { state.behaviours[service] = changed(state.behaviours[service], wish); });
    return {};
} catch (const json::exception& error) {
    return error.what();
}

json LoopbackModels::listRequests() const {
    json list = json::array();
    for (const Received& received : requests())
        list.push_back({{"service", received.service},
                        {"system", received.system},
                        {"user", received.user},
                        {"target", received.wire.target},
                        {"authorization", received.wire.header("Authorization")},
                        {"connection", received.wire.connection},
                        {"warm", received.wire.reused},
                        {"time", received.time}});
    return list;
}

} // namespace fenlo::test
