#pragma once

#include "account/SharedCall.h"
#include "base/Guarded.h"

#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <stop_token>
#include <string>

namespace fenlo {

class Clock;
class Config;
class HttpClient;
class Keychain;
class StatisticsStore;
struct ServiceRequest;
struct Settings;

/// What the service is told of this machine.
struct Installation {
    std::string machineName; // empty where it has none
    std::string osVersion;   // "Debian GNU/Linux 12 (bookworm)"
    std::string appVersion;  // empty where it is not known
};

/// The single client of the deployment's own service: registers this installation, fetches the remote configuration,
/// tells who signed in, mirrors profile and statistics, and has mails sent. Nothing waits for it that need not: every
/// call fails quietly to nothing. Without an address of a service nothing is ever asked.
///
/// Threads: any worker; every operation blocks. Two callers at once register once. No lock is held during a request.
/// Errors:  none thrown; a failed call gives an empty result. A stop request ends a call within a fraction of a second.
class BackendClient {
public:
    /// All outlive the client.
    struct Services {
        Config& config;
        Keychain& keychain;
        StatisticsStore& statistics;
        HttpClient& http;
        const Clock& clock;
    };

    /// `serviceHost` has no path; empty for no service.
    BackendClient(Services services, const std::string& serviceHost, Installation installation);

    bool hasService() const { return !m_baseURL.empty(); }

    /// The one transport; see askService(). `body` may be null, `token` empty.
    std::optional<nlohmann::json> request(const std::string& method, const std::string& path,
                                          const nlohmann::json* body, const std::string& token, std::stop_token stop);

    /// The new token, which the keyring holds then.
    std::optional<std::string> registerInstallation(std::stop_token stop);

    /// The configuration of the last half hour without asking, or else the service's. That of earlier, or nothing, when
    /// the service has none. Waits five seconds at most, whatever it takes.
    std::optional<nlohmann::json> getConfig(std::stop_token stop);
    /// The configuration in memory, of whatever age; null for none. Never blocks.
    std::shared_ptr<const nlohmann::json> configInMemory() const;
    /// Whether getConfig() would answer without asking.
    bool isConfigFresh() const;

    void heartbeat(std::stop_token stop);
    void sendEvent(const std::string& eventType, std::stop_token stop);
    void sendLogin(const std::string& email, const std::string& name, std::stop_token stop);
    void syncProfile(std::stop_token stop);
    /// Sends the entries that the service does not have, and takes its totals over. True when all have arrived.
    bool syncStats(std::stop_token stop);

    /// What counts as a mail that the service took.
    enum class MailAnswer {
        any,     // every answer but that the token is not valid
        success, // an answer that tells of no failure
    };
    /// Whether the service took the request.
    bool sendMeetingEmail(const nlohmann::json& body, std::stop_token stop, MailAnswer counts = MailAnswer::any);

private:
    struct State {
        std::shared_ptr<const nlohmann::json> configCache; // the last good one
        double configFetchedAt = 0;                        // seconds of the clock
        std::string unstoredToken;                         // that no keyring took
    };

    std::optional<std::string> token();
    std::optional<std::string> freshToken(const std::string& rejected, double end, std::stop_token stop);
    std::optional<std::string> registerUntil(double end, std::stop_token stop);
    std::optional<nlohmann::json> ask(ServiceRequest request, double end, std::stop_token stop);
    std::optional<nlohmann::json> authorized(ServiceRequest request, double end, std::stop_token stop);
    bool post(const std::string& path, const nlohmann::json& body, std::stop_token stop);

    const Services m_services;
    const std::string m_baseURL; // ends in /api/v1; empty for no service
    const Installation m_installation;
    Guarded<State> m_state;
    SharedCall<std::string> m_registration;
};

} // namespace fenlo
