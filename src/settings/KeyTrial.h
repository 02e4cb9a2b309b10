#pragma once

#include "settings/ServiceKeys.h"

#include <stop_token>
#include <string>

namespace fenlo {

class HttpClient;
struct Deployment;

/// What a service says of a key.
enum class KeyVerdict {
    accepted,
    limited, // accepted, but the service takes no more requests for now
    refused,
    noNetwork,
    noAnswer,  // within the time limit
    noVerdict, // the service answered something else
    cancelled,
};

/// Asks the service whether it takes the key, by a request that changes nothing and costs nothing.
///
/// Threads: workers; it blocks for ten seconds at most.
/// Errors:  none. Neither the key nor the answer is logged.
KeyVerdict tryKey(CloudService service, const std::string& key, const Deployment& deployment, HttpClient& http,
                  std::stop_token stop);

/// One sentence for the user. Empty for `cancelled`.
std::string describe(KeyVerdict verdict, CloudService service);

} // namespace fenlo
