#include "app/ServiceKeys.h"

#include "platform/SecureStore.h"
#include "settings/ApiKey.h"

#include <algorithm>
#include <stdexcept>

namespace fenlo {

namespace {

constexpr KeyedService services[] = {
    {"groq", "GROQ_API_KEY", "groq_api_key", "speech and rewriting; from the keyring rewriting only", false},
    {"gemini", "GEMINI_API_KEY", "gemini_api_key", "rewriting", false},
    {"deepgram", "DEEPGRAM_API_KEY", "deepgram_api_key", "speech", true},
    {"xai", "XAI_API_KEY", "xai_api_key", "speech", true},
};

} // namespace

std::span<const KeyedService> keyedServices() {
    return services;
}

const KeyedService& keyedService(const std::string& name) {
    const auto* found =
        std::ranges::find_if(services, [&](const KeyedService& service) { return name == service.name; });
    if (found == std::end(services))
        throw std::runtime_error("no service \"" + name + "\"; there are groq, gemini, deepgram and xai");
    return *found;
}

KeyPlace placeOf(const KeyedService& service, SecureStore& store) {
    if (!apiKey::fromEnvironment(service.variable).empty())
        return KeyPlace::environment;
    switch (store.load(service.account).status) {
    case SecureStore::Status::ok:
        return KeyPlace::keyring;
    case SecureStore::Status::notFound:
        return KeyPlace::nowhere;
    case SecureStore::Status::unavailable:
        break;
    }
    return KeyPlace::keyringSilent;
}

} // namespace fenlo
