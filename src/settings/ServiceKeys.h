#pragma once

#include "base/Guarded.h"
#include "settings/RemoteConfiguration.h"

#include <functional>
#include <map>
#include <optional>
#include <span>
#include <stop_token>
#include <string>
#include <string_view>
#include <vector>

namespace fenlo {

class Keychain;

/// The cloud services that want a key of the user's.
enum class CloudService { groq, gemini, deepgram, grok };

/// What a service is asked for. A service may look for its key in other places for one than for the other.
enum class KeyUse { speech, rewriting };

enum class KeySource {
    environment,
    keyring,
    remote,  // the remote configuration
    program, // a key that comes with the program
};

/// Whether the keyring is asked, after all sources of a service's own, also for uses that do not list it.
enum class KeyringUse { asListed, forEveryUse };

/// What the program knows of a service's key.
struct ServiceKey {
    CloudService service;
    const char* name;     // as commands name it
    const char* label;    // as messages name it
    const char* variable; // in the environment
    const char* account;  // in the keyring
    const char* remote;   // in the remote configuration
    const char* purpose;
    std::span<const KeySource> forSpeech; // in the order in which they are asked; empty for none
    std::span<const KeySource> forRewriting;

    std::span<const KeySource> sources(KeyUse use) const { return use == KeyUse::speech ? forSpeech : forRewriting; }
    bool hasSource(KeyUse use, KeySource source, KeyringUse keyring = KeyringUse::asListed) const;
};

/// All services.
std::span<const ServiceKey> serviceKeys();
const ServiceKey& serviceKey(CloudService service);
/// Throws std::runtime_error that names the services there are.
const ServiceKey& serviceKey(std::string_view name);

/// Empty where the remote configuration has no key that can be one.
std::string keyInConfiguration(const ServiceKey& key, const RemoteConfiguration::Values& configuration);

/// One line for the user: which service lacks its key, and where it may be put.
std::string describeMissingKey(CloudService service, KeyUse use, KeyringUse keyring = KeyringUse::asListed);

/// The keys of all services: looked up when they are first needed, then held in memory until the program ends. A key
/// that was not found is looked for again the next time.
///
/// A remote configuration that is not at hand is asked after all other sources, so that nobody waits for it who has a
/// key elsewhere. A key that was found so counts until the configuration is at hand; then the order of the sources
/// does. A key of the remote configuration changes with it.
///
/// Threads: any; find(), findAtHand() and askRemote() block, at least for the keyring, the others never do.
/// Errors:  none; a key that no source has is absent.
class ServiceKeys {
public:
    using Configuration = RemoteConfiguration::Values;

    /// `carriedGrokKey` comes with the program, for users who have no key for Grok; it may be empty.
    ServiceKeys(Keychain& keychain, RemoteConfiguration remote, std::string_view carriedGrokKey,
                KeyringUse keyring = KeyringUse::asListed);

    /// The key in memory, when it is of a source for this use, or else the first that the sources have.
    /// `onRemote` hears the remote configuration if that is asked. Rewriting, which a take can do without, does not
    /// wait for a backend that failed to answer.
    std::optional<std::string> find(CloudService service, KeyUse use, std::stop_token stop,
                                    const std::function<void(const Configuration&)>& onRemote = {});
    /// The same without waiting for the backend.
    std::optional<std::string> findAtHand(CloudService service, KeyUse use);

    KeyringUse keyringUse() const { return m_keyring; }

    /// Whether find() would give a key without asking anyone.
    bool isKnown(CloudService service, KeyUse use) const;

    /// The remote configuration; empty without a backend.
    Configuration askRemote(std::stop_token stop) const;
    /// The same without asking; nothing when that would be necessary.
    std::optional<Configuration> remoteAtHand() const;
    /// Takes a service's key, if the configuration has one, in the place of those in memory.
    void adopt(CloudService service, const Configuration& configuration);
    /// The keyring has another key of the service now, or none: what was found there is looked up again.
    void forgetKeyring(CloudService service);

private:
    struct Held {
        KeySource source;
        std::string key;
        bool isAhead = false; // of the remote configuration, which was not at hand
    };

    struct Memory {
        std::map<CloudService, std::vector<Held>> held; // in the order of finding
        unsigned keyringChanges = 0;
    };

    struct Remote {
        std::optional<Configuration> atHand;
        bool mayBeAwaited = false;
        std::stop_token stop = {};
        std::function<void(const Configuration&)> onAsked = {};
    };

    std::optional<std::string> look(const ServiceKey& wanted, KeyUse use, const Remote& remote);
    /// In the order in which they are asked now.
    std::vector<KeySource> sourcesOf(const ServiceKey& wanted, KeyUse use, const Remote& remote) const;
    std::optional<std::string> inMemory(const ServiceKey& wanted, KeyUse use,
                                        const std::optional<Configuration>& remote) const;
    std::string ask(const ServiceKey& wanted, KeySource source, const Remote& remote);
    bool isAwaited(const Remote& remote) const { return m_remote.atHand && !remote.atHand; }

    Keychain& m_keychain;
    const RemoteConfiguration m_remote;
    const std::string m_carriedGrokKey;
    const KeyringUse m_keyring;
    Guarded<Memory> m_memory;
};

} // namespace fenlo
