#pragma once

#include "base/Guarded.h"
#include "settings/Keychain.h"
#include "settings/RemoteConfiguration.h"

#include <map>
#include <optional>
#include <stop_token>
#include <string>

namespace fenlo {

/// The cloud services that turn speech into text.
enum class SpeechService { groq, deepgram, grok };

/// The keys of the speech services, and the service that the backend chose. Keys are looked up when they are first
/// needed and then held in memory only.
///
/// Threads: any; setup() and find() block, the others never do.
/// Errors:  none; a key that no source has is absent.
class ApiKeys {
public:
    /// `carriedXaiKey` comes with the program, for users who have no key for Grok; it may be empty.
    ApiKeys(Keychain& keychain, RemoteConfiguration remote, std::string carriedXaiKey);

    /// Takes over what the remote configuration chooses.
    void setup(std::stop_token stop);

    /// The key: the one in memory, or else from the environment, the secure store, the remote configuration and the
    /// program itself, as far as the service has these sources.
    std::optional<std::string> find(SpeechService service, std::stop_token stop);

    /// Whether find() would give a key without asking anyone.
    bool isKnown(SpeechService service) const;

    /// One line for the user: which service lacks its key, and where it may be put.
    static std::string describeMissing(SpeechService service);

    /// "groq" or "deepgram".
    std::string transcriptionProvider() const;

private:
    struct State {
        std::map<SpeechService, std::string> keys;
        std::string transcriptionProvider = "groq";
    };

    std::map<std::string, std::string> askRemote(std::stop_token stop) const;
    std::optional<std::string> remember(SpeechService service, std::string key);
    void takeProvider(const std::map<std::string, std::string>& configuration);

    Keychain& m_keychain;
    const RemoteConfiguration m_remote;
    const std::string m_carriedXaiKey;
    Guarded<State> m_state;
};

} // namespace fenlo
