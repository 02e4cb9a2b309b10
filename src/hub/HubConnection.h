#pragma once

#include "hub/HubClient.h"
#include "platform/HttpAnswer.h"

namespace fenlo::hub {

/// The requests to a hub about one repository. The token goes to the hub's own host only, whatever a redirect says.
///
/// Threads: any, side by side.
/// Errors:  HubError; a PassingFault where another attempt makes sense.
class HubConnection {
public:
    HubConnection(HttpClient& http, const HubSettings& settings, HubRepo repo);

    const HubRepo& repo() const { return m_repo; }
    /// The repository or a file of it, for messages: "publisher/name/folder/file at v2".
    std::string described(const std::string& path = "") const;
    /// Bytes. When an attempt received fewer before the connection fell silent, it is not repeated.
    double leastProgress() const { return m_settings.idleLimit * m_settings.leastRate; }
    std::string listingAddress() const;
    std::string fileAddress(const std::string& path) const;

    /// Sends a GET and follows its redirects. There is no time limit while enough bytes arrive. Answers of 2xx and 416
    /// (no such range) are returned; only the body of a 2xx is streamed. `what` is named in messages. `onRedirect` sees
    /// the hub's own redirects, which tell about the file that they lead to; it may throw.
    HttpResponse get(HttpRequest request, const std::string& what, std::stop_token stop,
                     const std::function<void(const HttpResponse&)>& onRedirect = {}) const;

private:
    HttpResponse sendOnce(const HttpRequest& request, const std::string& what, std::stop_token stop) const;
    [[noreturn]] void refuse(const HttpResponse& answer, const std::string& what, bool isFromHub) const;

    HttpClient& m_http;
    const HubSettings& m_settings;
    const HubRepo m_repo;
    const std::string m_endpoint; // without a slash at its end
};

} // namespace fenlo::hub
