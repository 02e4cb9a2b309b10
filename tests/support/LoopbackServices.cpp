#include "support/LoopbackServices.h"

#include "base/Json.h"
#include "support/ServiceFaults.h"
#include "support/ServiceProtocols.h"

#include <algorithm>
#include <nlohmann/json.hpp>

namespace fenlo::test {

using nlohmann::json;

namespace {

/// The behaviour with the wish's fields; throws what the JSON library throws for a field of another type.
LoopbackServices::Behaviour changed(LoopbackServices::Behaviour behaviour, const json& wish) {
    behaviour.mode = wish.value("mode", behaviour.mode);
    if (wish.contains("text"))
        behaviour.text = wish["text"].get<std::string>();
    behaviour.delay = wish.value("delay", behaviour.delay);
    behaviour.answers = wish.value("answers", behaviour.answers);
    behaviour.times = wish.value("times", std::numeric_limits<int>::max());
    return behaviour;
}

std::string textFor(const LoopbackServices::Behaviour& behaviour, const ServiceProtocol& protocol,
                    const std::string& prompts) {
    for (const auto& [part, answer] : behaviour.answers)
        if (prompts.find(part) != std::string::npos)
            return answer;
    return behaviour.text.value_or(protocol.text);
}

json describe(const LoopbackServices::Received& received) {
    json entry = {{"service", received.service},
                  {"target", received.wire.target},
                  {"authorization", received.wire.header("Authorization")},
                  {"connection", received.wire.connection},
                  {"warm", received.wire.reused},
                  {"time", received.time}};
    if (received.service != "speech") {
        entry["system"] = received.system;
        entry["user"] = received.user;
        return entry;
    }
    entry["provider"] = received.provider;
    entry["fields"] = json::object();
    entry["audio"]["bytes"] = received.audio().size();
    for (const LoopbackServices::Part& part : received.parts)
        if (part.name == "file")
            entry["audio"]["file_name"] = quotedAfter(part.head, "filename=\"");
        else
            entry["fields"][part.name] = part.value;
    return entry;
}

} // namespace

std::optional<std::string> LoopbackServices::Received::field(const std::string& name) const {
    const auto found = std::ranges::find(parts, name, &Part::name);
    return found == parts.end() ? std::nullopt : std::optional(found->value);
}

std::string LoopbackServices::Received::audio() const {
    return field("file").value_or(parts.empty() ? wire.body : "");
}

LoopbackServices::LoopbackServices(std::uint16_t port, std::function<void(const WireRequest&)> onRequest)
    : m_onRequest(std::move(onRequest)),
      m_server([this](const WireRequest& request, std::stop_token stop) { return answer(request, stop); }, port,
               [this](const WireRequest& head) { return resetsUpload(head); }) {}

void LoopbackServices::behave(const std::string& service, Behaviour behaviour) {
    m_state.with([&](State& state) { state.behaviours[service] = std::move(behaviour); });
}

std::vector<LoopbackServices::Received> LoopbackServices::requests() const {
    return m_state.with([](const State& state) { return state.requests; });
}

WireAnswer LoopbackServices::answer(const WireRequest& request, std::stop_token stop) {
    if (request.method == "POST" && request.target == "/control") {
        const std::string fault = control(parseJson(request.body));
        return fault.empty() ? jsonAnswer(200, "{}") : jsonAnswer(400, writeJson(json{{"error", fault}}));
    }
    if (request.method == "GET" && request.target == "/control/requests")
        return jsonAnswer(200, listRequests());
    if (m_onRequest)
        m_onRequest(request);
    const ServiceProtocol* protocol = protocolOf(request);
    if (!protocol)
        return notFound(request);

    Received received = readRequest(*protocol, request);
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
    const std::string text = textFor(behaviour, *protocol, received.system + "\n" + received.user);
    return answerInMode(behaviour.mode, text, behaviour.delay, protocol->reply, stop);
}

bool LoopbackServices::resetsUpload(const WireRequest& head) const {
    const ServiceProtocol* protocol = protocolOf(head);
    return protocol && m_state.with([&](const State& state) {
        const auto found = state.behaviours.find(std::string(protocol->service));
        return found != state.behaviours.end() && found->second.mode == "reset";
    });
}

std::string LoopbackServices::control(const json& wish) try {
    if (!wish.is_object())
        return "the body must be a JSON object";
    const std::string service = wish.value("service", "speech");
    if (service != "speech" && service != "gemini" && service != "groq" && service != "keys")
        return "unknown service";
    const Behaviour wished = changed({}, wish);
    if (!isServiceMode(wished.mode) && (service != "speech" || wished.mode != "reset"))
        return "unknown mode";
    m_state.with([&](State& state) { state.behaviours[service] = changed(state.behaviours[service], wish); });
    return {};
} catch (const json::exception& error) {
    return error.what();
}

std::string LoopbackServices::listRequests() const {
    auto all = requests();
    std::ranges::stable_sort(all, {}, &Received::time);
    json list = json::array();
    for (const Received& received : all)
        list.push_back(describe(received));
    return writeJson(list, 2);
}

} // namespace fenlo::test
