#include "support/LoopbackServices.h"

#include "base/Json.h"
#include "support/ServiceFaults.h"
#include "support/ServiceProtocols.h"
#include "support/account/AccountServices.h"
#include "support/account/Forms.h"

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
    if (wish.contains("reply"))
        behaviour.reply = wish["reply"].is_object() ? writeJson(wish["reply"]) : "";
    return behaviour;
}

/// The answer of an error's status: as services do, it quotes the key that was sent. Nothing for another mode.
std::optional<WireAnswer> refusalOf(const LoopbackServices::Behaviour& behaviour, const WireRequest& request,
                                    std::stop_token stop) {
    if (behaviour.mode.find_first_not_of("0123456789") != std::string::npos)
        return {};
    pause(behaviour.delay, stop);
    std::string key = request.header("Authorization") + request.header("x-goog-api-key");
    key = key.substr(key.rfind(' ') + 1) + fieldOf(queryOf(request), "key");
    const json fault = {{"error", {{"message", "the stand-in does not like the key " + key}}}};
    return jsonAnswer(std::stoi(behaviour.mode), writeJson(fault));
}

std::string textFor(const LoopbackServices::Behaviour& behaviour, const ServiceProtocol& protocol,
                    const std::string& prompts) {
    for (const auto& [part, answer] : behaviour.answers)
        if (prompts.find(part) != std::string::npos)
            return answer;
    return behaviour.text.value_or(protocol.text);
}

json bodyOf(const WireRequest& request) {
    if (request.header("Content-Type").starts_with("application/x-www-form-urlencoded"))
        return parseForm(request.body);
    const json body = parseJson(request.body);
    return body.is_discarded() ? json() : body;
}

json describe(const LoopbackServices::Received& received) {
    json entry = {{"service", received.service},
                  {"method", received.wire.method},
                  {"target", received.wire.target},
                  {"authorization", received.wire.header("Authorization")},
                  {"connection", received.wire.connection},
                  {"warm", received.wire.reused},
                  {"time", received.time}};
    if (!AccountServices::endpointsNamed(received.service).empty()) {
        entry["body"] = bodyOf(received.wire);
        return entry;
    }
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

/// The services that a name means; none for an unknown one.
std::vector<std::string> namesOf(const std::string& service) {
    if (service == "speech" || service == "gemini" || service == "groq" || service == "keys")
        return {service};
    return AccountServices::endpointsNamed(service);
}

} // namespace

std::optional<std::string> LoopbackServices::Received::field(const std::string& name) const {
    const auto found = std::ranges::find(parts, name, &Part::name);
    return found == parts.end() ? std::nullopt : std::optional(found->value);
}

std::string LoopbackServices::Received::audio() const {
    return field("file").value_or(parts.empty() ? wire.body : "");
}

LoopbackServices::LoopbackServices(std::uint16_t port, std::function<void(const WireRequest&)> onRequest,
                                   std::string package)
    : m_onRequest(std::move(onRequest)), m_account(std::make_unique<AccountServices>(std::move(package))),
      m_server([this](const WireRequest& request, std::stop_token stop) { return answer(request, stop); }, port,
               [this](const WireRequest& head) { return resetsUpload(head); }) {}

LoopbackServices::~LoopbackServices() = default;

void LoopbackServices::behave(const std::string& service, Behaviour behaviour) {
    m_state.with([&](State& state) {
        for (const std::string& name : namesOf(service))
            state.behaviours[name] = behaviour;
    });
}

json LoopbackServices::deployment() const {
    json values = m_account->deployment(m_server.url());
    for (const char* host : {"groq_host", "gemini_host", "deepgram_host", "xai_host"})
        values[host] = m_server.url();
    return values;
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
    if (const std::string endpoint = AccountServices::endpointOf(request); !endpoint.empty())
        return answerAsAccount({endpoint, {}, request, {}, {}, {}, {}}, stop);
    const ServiceProtocol* protocol = protocolOf(request);
    if (!protocol)
        return notFound(request);

    const Received received = readRequest(*protocol, request);
    const Behaviour behaviour = noteRequest(received);
    if (auto refusal = refusalOf(behaviour, request, stop))
        return *std::move(refusal);
    const std::string text = textFor(behaviour, *protocol, received.system + "\n" + received.user);
    return answerInMode(behaviour.mode, text, behaviour.delay, protocol->reply, stop);
}

/// Adds it to the list, and tells what is to be done with it.
LoopbackServices::Behaviour LoopbackServices::noteRequest(Received received) {
    received.time = std::chrono::duration<double>(std::chrono::steady_clock::now() - m_start).count();
    return m_state.with([&](State& state) {
        Behaviour& settled = state.behaviours[received.service];
        state.requests.push_back(std::move(received));
        Behaviour now = settled;
        if (settled.times > 0)
            --settled.times;
        else
            now.mode = "ok";
        return now;
    });
}

WireAnswer LoopbackServices::answerAsAccount(Received received, std::stop_token stop) {
    const Behaviour behaviour = noteRequest(received);
    if (auto refusal = refusalOf(behaviour, received.wire, stop))
        return *std::move(refusal);
    const auto good = [&] {
        AccountReply reply = m_account->answer(received.service, received.wire);
        if (!behaviour.reply.empty() && reply.status < 400)
            reply.values.merge_patch(parseJson(behaviour.reply));
        return reply.render(reply.status, reply.values);
    };
    return answerInMode(behaviour.mode, good, behaviour.delay, stop);
}

bool LoopbackServices::resetsUpload(const WireRequest& head) const {
    const ServiceProtocol* protocol = protocolOf(head);
    const std::string service = protocol ? std::string(protocol->service) : AccountServices::endpointOf(head);
    return m_state.with([&](const State& state) {
        const auto found = state.behaviours.find(service);
        return found != state.behaviours.end() && found->second.mode == "reset";
    });
}

std::string LoopbackServices::control(const json& wish) try {
    if (!wish.is_object())
        return "the body must be a JSON object";
    const std::string service = wish.value("service", "speech");
    const std::vector<std::string> names = namesOf(service);
    if (names.empty())
        return "unknown service";
    const Behaviour wished = changed({}, wish);
    if (!isServiceMode(wished.mode) && wished.mode != "reset")
        return "unknown mode";
    if (wish.value("forget", false))
        m_account->forget(service);
    m_state.with([&](State& state) {
        for (const std::string& name : names)
            state.behaviours[name] = changed(state.behaviours[name], wish);
    });
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
