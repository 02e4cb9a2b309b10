#pragma once

#include "settings/Config.h"
#include "settings/ServiceKeys.h"
#include "settings/StoredKeys.h"

#include <functional>
#include <string>

namespace fenlo {

/// What decides which way a take goes.
struct RoadFacts {
    Settings settings;
    std::string offlineModel;   // folder name of the model that loads; empty for none
    bool hasCarriedKey = false; // the program has a key of its own for Grok
    std::function<KeyPlace(const ServiceKey&)> placeOf;
    std::string rescuer = {};      // the installed model that takes over where a service fails; empty for none
    std::string provider = "groq"; // as the remote configuration names it
    KeyringUse keyring = KeyringUse::asListed;
    RemoteConfiguration::Values remote = {}; // what the service tells this installation
};

/// The way that a take goes now, in words: who recognises it, who rewrites it, and what happens when they fail.
struct TakeRoad {
    std::string speech;
    std::string text;
    bool leadsThrough = false; // somebody can recognise it
};

TakeRoad roadOf(const RoadFacts& facts);

/// "key from GROQ_API_KEY", "key from the keyring", "key from the service"; empty where a service finds no key for this
/// use.
std::string keySource(CloudService service, KeyUse use, const RoadFacts& facts);

} // namespace fenlo
