#pragma once

#include <cstddef>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <stop_token>
#include <string>

namespace fenlo {

class HttpClient;

/// Seconds that one request to the service may take.
inline constexpr double serviceTimeout = 5.0;

/// The path of the service below its host.
inline constexpr char servicePath[] = "/api/v1";

/// Where the keyring has the token of this installation.
inline constexpr char backendTokenAccount[] = "backend_token";

inline constexpr std::size_t maxConfigurationBytes = 1u << 20; // keys and choices

/// One request to the service.
struct ServiceRequest {
    std::string method;
    std::string path;                      // below the address, "/config"
    const nlohmann::json* body = nullptr;  // an object; null for none
    std::string token = {};                // empty for none
    double timeout = serviceTimeout;       // seconds
    std::size_t maxReplyBytes = 64u << 10; // a longer reply counts as one that cannot be read
};

/// The reply: the JSON object of a status 200. Of any other status its object, or an empty one, with the status as the
/// further member "_status"; with 401 nothing but that. Nothing without an answer, or where that of a 200 is no object.
///
/// Threads: any; blocks for the time-out at most, and less when it is asked to stop.
/// Errors:  none thrown.
std::optional<nlohmann::json> askService(HttpClient& http, const std::string& address, const ServiceRequest& request,
                                         std::stop_token stop);

/// The status that a reply failed with; 0 where it did not.
int failedStatus(const nlohmann::json& reply);

} // namespace fenlo
