#include "settings/ServiceKeys.h"

#include "settings/ApiKey.h"
#include "settings/Keychain.h"
#include "settings/StoredKeys.h"

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
    {CloudService::groq, "groq", "Groq", "GROQ_API_KEY", "groq_api_key", "groq_api_key", "speech and rewriting",
     groqSpeech, anyRewriting},
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

} // namespace

bool ServiceKey::hasSource(KeyUse use, KeySource source, KeyringUse keyring) const {
    const auto listed = sources(use);
    return std::ranges::find(listed, source) != listed.end() ||
           (source == Source::keyring && keyring == KeyringUse::forEveryUse && !listed.empty());
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

std::string keyInConfiguration(const ServiceKey& key, const RemoteConfiguration::Values& configuration) {
    const auto found = configuration.find(key.remote);
    return found == configuration.end() ? std::string() : checkedKey(found->second).value_or("");
}

std::string describeMissingKey(CloudService service, KeyUse use, KeyringUse keyring) {
    const ServiceKey& missing = serviceKey(service);
    const bool isSpeech = use == KeyUse::speech;
    std::string line = isSpeech ? "no key for the speech service " : "no key for the language models of ";
    line += std::string(missing.label) + "; set the environment variable " + missing.variable;
    if (isSpeech && missing.hasSource(use, Source::keyring, keyring))
        line += std::string(", or run `fenlo keys set ") + missing.name + "`";
    return line;
}

ServiceKeys::ServiceKeys(Keychain& keychain, RemoteConfiguration remote, std::string_view carriedGrokKey,
                         KeyringUse keyring)
    : m_keychain(keychain), m_remote(std::move(remote)), m_carriedGrokKey(apiKey::clean(carriedGrokKey)),
      m_keyring(keyring) {}

std::optional<std::string> ServiceKeys::find(CloudService service, KeyUse use, std::stop_token stop,
                                             const std::function<void(const Configuration&)>& onRemote) {
    const bool hasFailed = m_remote.hasFailed && m_remote.hasFailed();
    return look(serviceKey(service), use,
                {remoteAtHand(), use == KeyUse::speech || !hasFailed, std::move(stop), onRemote});
}

std::optional<std::string> ServiceKeys::findAtHand(CloudService service, KeyUse use) {
    return look(serviceKey(service), use, {remoteAtHand()});
}

std::optional<std::string> ServiceKeys::look(const ServiceKey& wanted, KeyUse use, const Remote& remote) {
    if (auto known = inMemory(wanted, use, remote.atHand))
        return known;
    for (const KeySource source : sourcesOf(wanted, use, remote)) {
        const unsigned before = m_memory.with([](const Memory& memory) { return memory.keyringChanges; });
        const std::string key = ask(wanted, source, remote);
        if (key.empty())
            continue;
        const bool isAhead = isAwaited(remote) && source != Source::remote && source != Source::environment;
        m_memory.with([&](Memory& memory) {
            if (source == Source::keyring && memory.keyringChanges != before)
                return;
            auto& held = memory.held[wanted.service];
            std::erase_if(held, [](const Held& one) { return one.isAhead; });
            held.push_back({source, key, isAhead});
        });
        return key;
    }
    return {};
}

std::vector<KeySource> ServiceKeys::sourcesOf(const ServiceKey& wanted, KeyUse use, const Remote& remote) const {
    std::vector<KeySource> sources(wanted.sources(use).begin(), wanted.sources(use).end());
    if (!wanted.hasSource(use, Source::keyring) && wanted.hasSource(use, Source::keyring, m_keyring))
        sources.push_back(Source::keyring);
    if (isAwaited(remote) && std::erase(sources, Source::remote) > 0 && remote.mayBeAwaited)
        sources.push_back(Source::remote);
    return sources;
}

std::string ServiceKeys::ask(const ServiceKey& wanted, KeySource source, const Remote& remote) {
    switch (source) {
    case Source::environment:
        return keyInEnvironment(wanted);
    case Source::keyring:
        return apiKey::clean(m_keychain.load(wanted.account).value_or(""));
    case Source::remote: {
        const Configuration configuration = askRemote(remote.stop);
        if (remote.onAsked)
            remote.onAsked(configuration);
        return keyInConfiguration(wanted, configuration);
    }
    case Source::program:
        return m_carriedGrokKey;
    }
    std::abort();
}

bool ServiceKeys::isKnown(CloudService service, KeyUse use) const {
    const ServiceKey& wanted = serviceKey(service);
    const auto remote = remoteAtHand();
    return inMemory(wanted, use, remote) || !keyInEnvironment(wanted).empty() ||
           (remote && wanted.hasSource(use, Source::remote) && !keyInConfiguration(wanted, *remote).empty());
}

ServiceKeys::Configuration ServiceKeys::askRemote(std::stop_token stop) const {
    return m_remote.fetch ? m_remote.fetch(stop) : Configuration();
}

std::optional<ServiceKeys::Configuration> ServiceKeys::remoteAtHand() const {
    return m_remote.atHand ? m_remote.atHand() : std::nullopt;
}

void ServiceKeys::adopt(CloudService service, const Configuration& configuration) {
    if (const std::string key = keyInConfiguration(serviceKey(service), configuration); !key.empty())
        m_memory.with([&](Memory& memory) { memory.held[service] = {{Source::remote, key}}; });
}

void ServiceKeys::forgetKeyring(CloudService service) {
    m_memory.with([&](Memory& memory) {
        ++memory.keyringChanges;
        std::erase_if(memory.held[service], [](const Held& held) { return held.source == Source::keyring; });
    });
}

std::optional<std::string> ServiceKeys::inMemory(const ServiceKey& wanted, KeyUse use,
                                                 const std::optional<Configuration>& remote) const {
    const std::string current = remote ? keyInConfiguration(wanted, *remote) : std::string();
    return m_memory.with([&](const Memory& memory) -> std::optional<std::string> {
        if (const auto held = memory.held.find(wanted.service); held != memory.held.end())
            for (const Held& one : held->second)
                if (wanted.hasSource(use, one.source, m_keyring) && !(one.isAhead && remote))
                    return one.source == Source::remote && !current.empty() ? current : one.key;
        return {};
    });
}

} // namespace fenlo
