#include "speech/DeepgramProvider.h"

#include "base/Text.h"
#include "base/Url.h"
#include "speech/DeveloperText.h"
#include "speech/SpeechReply.h"

#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>

namespace fenlo::deepgram {

namespace {

using nlohmann::json;

constexpr ServiceNames names{.service = "Deepgram", .destination = "Deepgram"};
constexpr double timeout = 30; // seconds
constexpr std::size_t maxTerms = 20;
constexpr double doubtfulWord = 0.7;
constexpr double confidenceOfNothing = -2.0;

/// Characters that need no encoding in a query. "&", "+", ";" and "=" do: they would end a value or become blanks.
constexpr std::string_view plainInValue = "!$'()*,:@/?";

std::string encode(const std::string& value) {
    return url::percentEncode(value, plainInValue);
}

/// The best reading of the reply's only channel.
const json& bestAlternative(const json& reply) {
    static const json::json_pointer place("/results/channels/0/alternatives/0");
    if (!reply.contains(place))
        throw TranscriberError(TranscriberError::Kind::invalidResponse, "Deepgram's reply holds no alternative");
    return reply[place];
}

/// The words that the service was unsure of.
std::vector<std::string> doubtfulWords(const json& alternative) {
    std::vector<std::string> doubtful;
    const auto words = alternative.find("words");
    if (words == alternative.end() || !words->is_array())
        return doubtful;
    for (const json& word : *words) {
        if (speechReply::numberAt(word, "confidence", 1) >= doubtfulWord)
            continue;
        for (const char* form : {"punctuated_word", "word"})
            if (const auto found = word.find(form); found != word.end() && found->is_string()) {
                doubtful.push_back(found->get<std::string>());
                break;
            }
    }
    return doubtful;
}

} // namespace

std::string composeQuery(const std::string& language, const std::vector<std::string>& vocabulary, bool isDevMode) {
    std::string query = "model=nova-3";
    query += language == "auto" ? "&detect_language=true" : "&language=" + encode(language);
    query += isDevMode ? "&punctuate=false&smart_format=false" : "&smart_format=true";
    const std::size_t count = std::min(vocabulary.size(), maxTerms);
    for (std::size_t i = 0; i < count; ++i)
        if (const std::string& term = vocabulary[i]; text::repairUtf8(term) == term)
            query += "&keyterm=" + encode(term) + ":2"; // the boost
    return query;
}

ProviderResult parseReply(std::string_view body) {
    const json reply = speechReply::parse(body, names.service);
    const json& alternative = bestAlternative(reply);
    ProviderResult result;
    result.text = speechReply::textAt(alternative, "transcript", names.service);
    // A log-probability, as the other services give it.
    const double confidence = speechReply::numberAt(alternative, "confidence", 0);
    result.meta.emplace();
    result.meta->avgConfidence = confidence > 0 ? std::log(confidence) : confidenceOfNothing;
    if (const auto doubtful = doubtfulWords(alternative); !doubtful.empty())
        result.meta->lowConfidenceRanges = {text::join(doubtful, " ")};
    return result;
}

ProviderResult transcribe(const ServiceAccess& access, const TranscribeRequest& request, const std::string& language,
                          const std::vector<std::string>& vocabulary, std::stop_token stop) {
    const SpeechCall call(access, names, request);
    return parseReply(
        call.send({.path = "/v1/listen?" + composeQuery(language, vocabulary, isDeveloperTool(request.appName)),
                   .authorization = "Token " + access.key,
                   .contentType = "audio/wav",
                   .body = call.readClip(request.audio),
                   .timeout = timeout},
                  stop));
}

} // namespace fenlo::deepgram
