#include "speech/ApiKeys.h"

#include "settings/ApiKey.h"

#include <cstdlib>
#include <utility>

namespace fenlo {

namespace {

/// Where a key may lie, in the order in which it is looked for.
struct KeySources {
    const char* service; // as messages name it
    const char* name;    // as commands name it
    const char* environment;
    const char* account; // in the secure store; null where it is not asked
    const char* remote;  // name in the remote configuration
};

KeySources sourcesOf(SpeechService service) {
    switch (service) {
    case SpeechService::groq:
        return {"Groq", "groq", "GROQ_API_KEY", nullptr, "groq_api_key"};
    case SpeechService::deepgram:
        return {"Deepgram", "deepgram", "DEEPGRAM_API_KEY", "deepgram_api_key", "deepgram_api_key"};
    case SpeechService::grok:
        return {"Grok", "xai", "XAI_API_KEY", "xai_api_key", "xai_api_key"};
    }
    std::abort();
}

} // namespace

ApiKeys::ApiKeys(Keychain& keychain, RemoteConfiguration remote, std::string carriedXaiKey)
    : m_keychain(keychain), m_remote(std::move(remote)), m_carriedXaiKey(apiKey::clean(carriedXaiKey)) {}

void ApiKeys::setup(std::stop_token stop) {
    const auto configuration = askRemote(stop);
    takeProvider(configuration);
    remember(SpeechService::deepgram, apiKey::valueOf(configuration, "deepgram_api_key"));
}

std::optional<std::string> ApiKeys::find(SpeechService service, std::stop_token stop) {
    const auto known = m_state.with([&](State& state) {
        const auto found = state.keys.find(service);
        return found == state.keys.end() ? std::nullopt : std::optional(found->second);
    });
    if (known)
        return known;

    const KeySources sources = sourcesOf(service);
    if (const auto key = remember(service, apiKey::fromEnvironment(sources.environment)))
        return key;
    if (sources.account)
        if (const auto key = remember(service, apiKey::clean(m_keychain.load(sources.account).value_or(""))))
            return key;
    const auto configuration = askRemote(stop);
    if (service == SpeechService::deepgram)
        takeProvider(configuration);
    if (const auto key = remember(service, apiKey::valueOf(configuration, sources.remote)))
        return key;
    return service == SpeechService::grok ? remember(service, m_carriedXaiKey) : std::nullopt;
}

bool ApiKeys::isKnown(SpeechService service) const {
    return !apiKey::fromEnvironment(sourcesOf(service).environment).empty() ||
           m_state.with([&](const State& state) { return state.keys.contains(service); });
}

std::string ApiKeys::describeMissing(SpeechService service) {
    const KeySources sources = sourcesOf(service);
    std::string line = std::string("no key for the speech service ") + sources.service +
                       "; set the environment variable " + sources.environment;
    if (sources.account)
        line += std::string(", or run `fenlo keys set ") + sources.name + "`";
    return line;
}

std::string ApiKeys::transcriptionProvider() const {
    return m_state.with([](const State& state) { return state.transcriptionProvider; });
}

std::map<std::string, std::string> ApiKeys::askRemote(std::stop_token stop) const {
    return m_remote ? m_remote(stop) : std::map<std::string, std::string>();
}

std::optional<std::string> ApiKeys::remember(SpeechService service, std::string key) {
    if (key.empty())
        return {};
    m_state.with([&](State& state) { state.keys[service] = key; });
    return key;
}

void ApiKeys::takeProvider(const std::map<std::string, std::string>& configuration) {
    if (const auto found = configuration.find("transcription_provider"); found != configuration.end())
        m_state.with([&](State& state) { state.transcriptionProvider = found->second; });
}

} // namespace fenlo
