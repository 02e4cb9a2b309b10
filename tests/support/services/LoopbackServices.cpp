#include "support/services/LoopbackServices.h"
#include "base/Json.h"

#include "support/ServiceFaults.h"

#include <algorithm>
#include <nlohmann/json.hpp>

namespace fenlo::test {

using nlohmann::json;

namespace {

WireAnswer refuse(const std::string& reason) {
    return jsonAnswer(400, writeJson(json{{"error", reason}}));
}

} // namespace

LoopbackServices::LoopbackServices(std::uint16_t port, std::function<void(const WireRequest&)> onRequest)
    : m_onRequest(std::move(onRequest)),
      m_server([this](const WireRequest& request, std::stop_token stop) { return answer(request, stop); }, port,
               [this](const WireRequest& head) { return m_speech.resetsUpload(head); }) {}

WireAnswer LoopbackServices::answer(const WireRequest& request, std::stop_token stop) {
    if (request.method == "POST" && request.target == "/control")
        return control(request);
    if (request.method == "GET" && request.target == "/control/requests")
        return jsonAnswer(200, listRequests());
    m_onRequest(request);
    return LoopbackModels::serviceOf(request).empty() ? m_speech.answer(request, stop) : m_models.answer(request, stop);
}

WireAnswer LoopbackServices::control(const WireRequest& request) {
    const json wish = parseJson(request.body);
    if (!wish.is_object())
        return refuse("the body must be a JSON object");
    const json service = wish.value("service", json("speech"));
    if (service != "speech" && service != "gemini" && service != "groq")
        return refuse("unknown service");
    const std::string fault = service == "speech" ? m_speech.control(wish) : m_models.control(service, wish);
    return fault.empty() ? jsonAnswer(200, "{}") : refuse(fault);
}

std::string LoopbackServices::listRequests() const {
    json list = m_speech.listRequests();
    for (const json& request : m_models.listRequests())
        list.push_back(request);
    std::stable_sort(list.begin(), list.end(), [](const json& a, const json& b) { return a["time"] < b["time"]; });
    return writeJson(list, 2);
}

} // namespace fenlo::test
