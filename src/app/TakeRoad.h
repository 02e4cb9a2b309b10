#pragma once

#include "app/ServiceKeys.h"
#include "settings/Config.h"

#include <functional>
#include <string>

namespace fenlo {

/// What decides which way a take goes.
struct RoadFacts {
    Settings settings;
    std::string offlineModel;   // the folder's name of the one that loads; empty for none
    bool hasCarriedKey = false; // the program has a key of its own for Grok
    std::function<KeyPlace(const KeyedService&)> placeOf;
    std::string rescuer = {}; // the installed model that takes over where a service fails; empty for none
};

/// The way that a take goes now, in words: who recognises it, who rewrites it, and what happens when they fail.
struct TakeRoad {
    std::string speech;
    std::string text;
    bool leadsThrough = false; // somebody can recognise it
};

TakeRoad roadOf(const RoadFacts& facts);

/// "its key in GROQ_API_KEY", "its key from the keyring"; empty when the recogniser, or a language model, finds none.
std::string speechKeySource(const KeyedService& service, const RoadFacts& facts);
std::string modelKeySource(const KeyedService& service, const RoadFacts& facts);

} // namespace fenlo
