#include "settings/ServiceKeys.h"

#include "base/Environment.h"
#include "platform/SecureStore.h"
#include "settings/ApiKey.h"
#include "settings/Keychain.h"

#include <algorithm>
#include <cstdlib>
#include <stdexcept>
#include <utility>

namespace fenlo {

namespace {

using Source = KeySource;

constexpr Source groqSpeech[] = {Source::environment, Source::remote};
constexpr Source deepgramSpeech[] = {Source::environment, Source::keyring, Source::remote};
constexpr Source grokSpeech[] = {Source::environment, Source::keyring, Source::remote, Source::program};
constexpr Source anyRewriting[] = {Source::environment, Source::remote, Source::keyring};

constexpr ServiceKey table[] = {
    {CloudService::groq, "groq", "Groq", "GROQ_API_KEY", "groq_api_key", "groq_api_key",
     "speech and rewriting; from the keyring rewriting only", groqSpeech, anyRewriting},
    {CloudService::gemini,
     "gemini",
     "Gemini",
     "GEMINI_API_KEY",
     "gemini_api_key",
     "gemini_api_key",
     "rewriting",
     {},
     anyRewriting},
    {CloudService::deepgram,
     "deepgram",
     "Deepgram",
     "DEEPGRAM_API_KEY",
     "deepgram_api_key",
     "deepgram_api_key",
     "speech",
     deepgramSpeech,
     {}},
    {CloudService::grok, "xai", "Grok", "XAI_API_KEY", "xai_api_key", "xai_api_key", "speech", grokSpeech, {}},
};

std::string fromEnvironment(const ServiceKey& wanted) {
    return apiKey::clean(environment(wanted.variable));
}

std::string fromRemote(const ServiceKey& wanted, const ServiceKeys::Configuration& configuration) {
    const auto found = configuration.find(wanted.remote);
    return found == configuration.end() ? std::string() : apiKey::clean(found->second);
}

} // namespace

bool ServiceKey::hasSource(KeyUse use, KeySource source) const {
    return std::ranges::find(sources(use), source) != sources(use).end();
}

std::span<const ServiceKey> serviceKeys() {
    return table;
}

const ServiceKey& serviceKey(CloudService service) {
    return *std::ranges::find(table, service, &ServiceKey::service);
}

const ServiceKey& serviceKey(std::string_view name) {
    const auto* found = std::ranges::find(table, name, &ServiceKey::name);
    if (found == std::end(table))
        throw std::runtime_error("no service \"" + std::string(name) + "\"; there are groq, gemini, deepgram and xai");
    return *found;
}

std::string describeMissingKey(CloudService service, KeyUse use) {
    const ServiceKey& missing = serviceKey(service);
    const bool isSpeech = use == KeyUse::speech;
    std::string line = isSpeech ? "no key for the speech service " : "no key for the language models of ";
    line += std::string(missing.label) + "; set the environment variable " + missing.variable;
    if (isSpeech && missing.hasSource(use, Source::keyring))
        line += std::string(", or run `fenlo keys set ") + missing.name + "`";
    return line;
}

KeyPlace placeOf(const ServiceKey& key, SecureStore& store) {
    if (!fromEnvironment(key).empty())
        return KeyPlace::environment;
    switch (store.load(key.account).status) {
    case SecureStore::Status::ok:
        return KeyPlace::keyring;
    case SecureStore::Status::notFound:
        return KeyPlace::nowhere;
    case SecureStore::Status::unavailable:
        break;
    }
    return KeyPlace::keyringSilent;
}

ServiceKeys::ServiceKeys(Keychain& keychain, RemoteConfiguration remote, std::string_view carriedGrokKey)
    : m_keychain(keychain), m_remote(std::move(remote)), m_carriedGrokKey(apiKey::clean(carriedGrokKey)) {}

std::optional<std::string> ServiceKeys::find(CloudService service, KeyUse use, std::stop_token stop,
                                             const std::function<void(const Configuration&)>& onRemote) {
    const ServiceKey& wanted = serviceKey(service);
    if (auto known = inMemory(wanted, use))
        return known;
    const auto ask = [&](KeySource source) -> std::string {
        switch (source) {
        case Source::environment:
            return fromEnvironment(wanted);
        case Source::keyring:
            return apiKey::clean(m_keychain.load(wanted.account).value_or(""));
        case Source::remote: {
            const Configuration configuration = askRemote(stop);
            if (onRemote)
                onRemote(configuration);
            return fromRemote(wanted, configuration);
        }
        case Source::program:
            return m_carriedGrokKey;
        }
        std::abort();
    };
    for (const KeySource source : wanted.sources(use))
        if (const std::string key = ask(source); !key.empty()) {
            m_held.with([&](auto& held) { held[service].push_back({source, key}); });
            return key;
        }
    return {};
}

bool ServiceKeys::isKnown(CloudService service, KeyUse use) const {
    const ServiceKey& wanted = serviceKey(service);
    return inMemory(wanted, use) || !fromEnvironment(wanted).empty();
}

ServiceKeys::Configuration ServiceKeys::askRemote(std::stop_token stop) const {
    return m_remote ? m_remote(stop) : Configuration();
}

void ServiceKeys::adopt(CloudService service, const Configuration& configuration) {
    if (const std::string key = fromRemote(serviceKey(service), configuration); !key.empty())
        m_held.with([&](auto& held) { held[service] = {{Source::remote, key}}; });
}

std::optional<std::string> ServiceKeys::inMemory(const ServiceKey& wanted, KeyUse use) const {
    return m_held.with([&](const auto& all) -> std::optional<std::string> {
        if (const auto held = all.find(wanted.service); held != all.end())
            for (const Held& one : held->second)
                if (wanted.hasSource(use, one.source))
                    return one.key;
        return {};
    });
}

} // namespace fenlo
