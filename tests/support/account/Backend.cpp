#include "support/account/Backend.h"

#include "base/Json.h"
#include "support/account/Secrets.h"

#include <algorithm>

namespace fenlo::test {

using nlohmann::json;

namespace {

constexpr std::string_view bearer = "Bearer ";

AccountReply unknownToken() {
    return refusal(401, "unknown token");
}

/// Which of the members is missing; null when none is.
const char* missing(const json& body, const std::vector<const char*>& members) {
    const auto found = std::ranges::find_if(
        members, [&](const char* name) { return !body.is_object() || !body.contains(name) || body[name].is_null(); });
    return found == members.end() ? nullptr : *found;
}

} // namespace

AccountReply Backend::registerDevice(const WireRequest& request) {
    const json body = parseJson(request.body);
    if (const char* name = missing(body, {"device_id", "machine_name", "os_version", "app_version"}))
        return refusal(400, std::string("no ") + name);
    const std::string token = newSecret("token");
    const std::string device = body["device_id"].get<std::string>();
    m_state.with([&](State& state) { state.devices[token] = device; });
    return {200, {{"token", token}}};
}

AccountReply Backend::config(const WireRequest& request) {
    if (device(request).empty())
        return unknownToken();
    return {200, {{"groq_api_key", "standin-groq-key"}, {"gemini_api_key", "standin-gemini-key"}}};
}

AccountReply Backend::note(const WireRequest& request) {
    return known(request, {}, [](const auto&, const auto&) { return AccountReply(); });
}

AccountReply Backend::login(const WireRequest& request) {
    return known(request, {"email", "name", "device_id"}, [&](const std::string& device, const json& body) {
        const std::string person = body["email"].get<std::string>();
        m_state.with([&](State& state) { state.people[device] = person; });
        return AccountReply();
    });
}

AccountReply Backend::syncStatistics(const WireRequest& request) {
    return known(request, {"entries", "baseline"}, [&](const std::string& device, const json& body) {
        return m_state.with([&](State& state) {
            state.statistics.take(device, body["entries"], body["baseline"]);
            std::set<std::string> together{device};
            if (const auto self = state.people.find(device); self != state.people.end())
                for (const auto& [other, person] : state.people)
                    if (person == self->second)
                        together.insert(other);
            return AccountReply{200, state.statistics.of(together)};
        });
    });
}

AccountReply Backend::mail(const WireRequest& request) {
    return known(request, {"email", "subject", "notes", "meeting_date", "duration"}, [](const auto&, const auto&) {
        return AccountReply{200, {{"sent", true}}};
    });
}

void Backend::forget() {
    m_state.with([](State& state) { state.devices.clear(); });
}

std::string Backend::device(const WireRequest& request) const {
    const std::string header = request.header("Authorization");
    return m_state.with([&](const State& state) {
        const auto found =
            header.starts_with(bearer) ? state.devices.find(header.substr(bearer.size())) : state.devices.end();
        return found == state.devices.end() ? std::string() : found->second;
    });
}

AccountReply Backend::known(const WireRequest& request, const std::vector<const char*>& members,
                            const std::function<AccountReply(const std::string&, const json&)>& answer) try {
    const std::string sender = device(request);
    if (sender.empty())
        return unknownToken();
    const json body = parseJson(request.body);
    if (!body.is_object())
        return refusal(400, "the body is no JSON object");
    if (const char* name = missing(body, members))
        return refusal(400, std::string("no ") + name);
    return answer(sender, body);
} catch (const json::exception&) { // a member of another type
    return refusal(400, "the body has another shape");
}

} // namespace fenlo::test
