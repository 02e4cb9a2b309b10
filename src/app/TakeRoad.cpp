#include "app/TakeRoad.h"

#include "text/DictationPrompt.h"

#include <optional>
#include <vector>

namespace fenlo {

namespace {

constexpr const char* unchanged = "pasted as it was heard";

std::string labelOf(const KeyedService& service) {
    const std::string name = service.name;
    return name == "gemini" ? "Gemini" : name == "xai" ? "Grok" : "Groq";
}

std::string sourceAt(const KeyedService& service, KeyPlace place) {
    if (place == KeyPlace::environment)
        return std::string("key from ") + service.variable;
    return place == KeyPlace::keyring ? "key from the keyring" : "";
}

/// The service with the source of its key; nothing when it has none.
std::optional<std::string> speechService(const RoadFacts& facts) {
    const KeyedService& service = keyedService(facts.settings.sttEngine == "stt81" ? "xai" : "groq");
    const std::string source = speechKeySource(service, facts);
    return source.empty() ? std::nullopt : std::optional(labelOf(service) + " (" + source + ")");
}

std::string textRoad(const RoadFacts& facts) {
    const Settings& settings = facts.settings;
    if (!settings.smartRewrite && !isTranslating(settings))
        return std::string(unchanged) + ", since \"smart_rewrite\" is off";
    std::vector<std::string> chain;
    for (const char* name : {"gemini", "groq"}) {
        const bool other = (settings.smartRewriteModel == "groq" || settings.smartRewriteModel == "gemini") &&
                           settings.smartRewriteModel != name;
        const KeyedService& service = keyedService(name);
        const std::string source = other ? "" : modelKeySource(service, facts);
        if (!source.empty())
            chain.push_back(labelOf(service) + " (" + source + ")");
    }
    if (chain.empty())
        return std::string(unchanged) + ", since no language model has a key";
    std::string road = "rewritten by " + chain.front();
    for (std::size_t i = 1; i < chain.size(); ++i)
        road += ", else by " + chain[i];
    return road + "; when that fails it is " + unchanged;
}

} // namespace

std::string speechKeySource(const KeyedService& service, const RoadFacts& facts) {
    const KeyPlace place = facts.placeOf(service);
    if (place == KeyPlace::environment || (place == KeyPlace::keyring && service.speechFromKeyring))
        return sourceAt(service, place);
    return facts.hasCarriedKey && std::string(service.name) == "xai" ? "key of this program" : "";
}

std::string modelKeySource(const KeyedService& service, const RoadFacts& facts) {
    return sourceAt(service, facts.placeOf(service));
}

TakeRoad roadOf(const RoadFacts& facts) {
    TakeRoad road;
    const bool isOffline = facts.settings.offlineMode && !facts.offlineModel.empty();
    const auto service = speechService(facts);
    road.leadsThrough = isOffline || service;
    if (isOffline)
        road.speech = "recognised on this machine by " + facts.offlineModel + "; while that loads " +
                      (service ? "by " + *service : "not at all, since no service has a key");
    else if (service)
        road.speech = "recognised by " + *service +
                      (facts.settings.offlineMode ? ", although offline mode is on: its model is not ready" : "");
    else
        road.speech = "not recognised, since the service has no key";
    if (!isOffline && !facts.rescuer.empty()) {
        road.speech = service ? road.speech + "; when that fails on this machine by " + facts.rescuer
                              : "recognised on this machine by " + facts.rescuer + ", since the service has no key";
        road.leadsThrough = true;
    }
    road.text = textRoad(facts);
    return road;
}

} // namespace fenlo
