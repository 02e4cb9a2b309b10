#include "app/TakeRoad.h"

#include "speech/Transcriber.h"
#include "text/SmartRewrite.h"

#include <optional>
#include <utility>
#include <vector>

namespace fenlo {

namespace {

constexpr const char* keyringKey = "key from the keyring";
constexpr const char* unchanged = "pasted as it was heard";

/// The service with the source of its key; nothing when it has none.
std::optional<std::string> withKey(CloudService service, KeyUse use, const RoadFacts& facts) {
    const std::string source = keySource(service, use, facts);
    return source.empty() ? std::nullopt : std::optional(serviceKey(service).label + (" (" + source + ")"));
}

std::string textRoad(const RoadFacts& facts) {
    const Settings& settings = facts.settings;
    if (!wantsRewrite(settings))
        return std::string(unchanged) + ", since \"smart_rewrite\" is off";
    std::vector<std::string> chain;
    for (const CloudService service : rewritingServices(settings))
        if (auto named = withKey(service, KeyUse::rewriting, facts))
            chain.push_back(std::move(*named));
    if (chain.empty())
        return std::string(unchanged) + ", since no language model has a key";
    std::string road = "rewritten by " + chain.front();
    for (std::size_t i = 1; i < chain.size(); ++i)
        road += ", else by " + chain[i];
    return road + "; when that fails it is " + unchanged;
}

} // namespace

std::string keySource(CloudService service, KeyUse use, const RoadFacts& facts) {
    const ServiceKey& key = serviceKey(service);
    const KeyPlace place = facts.placeOf(key);
    if (place == KeyPlace::environment)
        return std::string("key from ") + key.variable;
    for (const KeySource source : key.sources(use)) {
        if (source == KeySource::keyring && place == KeyPlace::keyring)
            return keyringKey;
        if (source == KeySource::remote && !keyInConfiguration(key, facts.remote).empty())
            return "key from the service";
        if (source == KeySource::program && facts.hasCarriedKey)
            return "key of this program";
    }
    return place == KeyPlace::keyring && key.hasSource(use, KeySource::keyring, facts.keyring) ? keyringKey : "";
}

TakeRoad roadOf(const RoadFacts& facts) {
    TakeRoad road;
    const bool isOffline = facts.settings.offlineMode && !facts.offlineModel.empty();
    const auto service = withKey(chosenRecogniser(facts.settings, facts.provider), KeyUse::speech, facts);
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
