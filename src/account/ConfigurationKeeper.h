#pragma once

#include "account/SharedCall.h"
#include "settings/RemoteConfiguration.h"

#include <atomic>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <stop_token>

namespace fenlo {

class Background;
class BackendClient;
class Clock;

/// Has the service's configuration at hand, so that nobody waits for the service who need not: what is in memory
/// counts until there is something newer, which is fetched beside; a service that failed is left alone for a minute.
///
/// Threads:  any. atHand() never blocks; fetch() does.
/// Errors:   none thrown.
/// Lifetime: outlives the tasks of `beside`, which is not used before the first call.
class ConfigurationKeeper {
public:
    using Values = RemoteConfiguration::Values;

    ConfigurationKeeper(BackendClient& backend, const Clock& clock, Background& beside);
    ConfigurationKeeper(const ConfigurationKeeper&) = delete;
    ConfigurationKeeper& operator=(const ConfigurationKeeper&) = delete;

    /// What is in memory, fresh or not. Has it fetched beside where it is missing or half an hour old.
    std::optional<Values> atHand();
    /// The same, and where there is nothing in memory waits for the service, five seconds at most. All who wait wait
    /// for one answer. Empty when there is none.
    Values fetch(std::stop_token stop);
    /// Has it fetched beside where it is missing, also after a failure: the service may have keys for whoever signed
    /// in.
    void askAgain();
    /// Whether the service had no configuration when it was last asked.
    bool hasFailed() const { return m_hasFailed; }

private:
    bool mayAsk() const;
    void ask(std::stop_token stop);
    void askBeside();

    BackendClient& m_backend;
    const Clock& m_clock;
    Background& m_beside;
    std::atomic<double> m_leftAloneUntil;
    std::atomic<bool> m_hasFailed = false;
    std::atomic<bool> m_isAskedBeside = false;
    SharedCall<bool> m_asking;
};

/// The members of a configuration that are texts, without control characters.
RemoteConfiguration::Values textsOf(const nlohmann::json& configuration);

} // namespace fenlo
