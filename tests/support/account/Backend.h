#pragma once

#include "base/Guarded.h"
#include "support/account/AccountReply.h"
#include "support/account/MergedStatistics.h"

namespace fenlo::test {

/// The service's own side: installations and their tokens, the configuration, statistics, mail. What it is told of
/// heartbeats, events and profiles is in the list of requests.
///
/// Threads: any.
class Backend {
public:
    AccountReply registerDevice(const WireRequest& request);
    AccountReply config(const WireRequest& request);
    AccountReply note(const WireRequest& request); // heartbeat, event, profile
    AccountReply login(const WireRequest& request);
    AccountReply syncStatistics(const WireRequest& request);
    AccountReply mail(const WireRequest& request);

    /// From now on no token is known.
    void forget();

private:
    struct State {
        std::map<std::string, std::string> devices; // by their tokens
        std::map<std::string, std::string> people;  // e-mail addresses by device
        MergedStatistics statistics;
    };

    /// The device whose token this is; empty for none.
    std::string device(const WireRequest& request) const;
    /// Answers a known device that sends an object with these members, and refuses all others.
    AccountReply
    known(const WireRequest& request, const std::vector<const char*>& members,
          const std::function<AccountReply(const std::string& device, const nlohmann::json& body)>& answer);

    Guarded<State> m_state;
};

} // namespace fenlo::test
