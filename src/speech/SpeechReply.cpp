#include "speech/SpeechReply.h"

#include "base/Json.h"
#include "base/Text.h"
#include "speech/Transcription.h"

#include <nlohmann/json.hpp>

namespace fenlo::speechReply {

namespace {

using nlohmann::json;

TranscriberError invalid(std::string_view service, const std::string& fault) {
    return {TranscriberError::Kind::invalidResponse, std::string(service) + "'s reply " + fault};
}

} // namespace

json parse(std::string_view body, std::string_view service) {
    json reply = parseJson(text::repairUtf8(body));
    if (!reply.is_object())
        throw invalid(service, "is no JSON object");
    return reply;
}

std::string textAt(const json& object, const char* name, std::string_view service) {
    const auto found = object.find(name);
    if (found == object.end() || !found->is_string())
        throw invalid(service, std::string("holds no \"") + name + "\"");
    return text::trimWhitespaceAndNewlines(found->get_ref<const std::string&>());
}

double numberAt(const json& object, const char* name, double otherwise) {
    const auto found = object.find(name);
    return found != object.end() && found->is_number() ? found->get<double>() : otherwise;
}

} // namespace fenlo::speechReply
