#pragma once

#include "account/UpdateFault.h"
#include "account/UpdateFeed.h"
#include "platform/HttpClient.h"

#include <string>
#include <vector>

namespace fenlo {

/// The server of a deployment's update feed. Nothing is ever fetched from another one, nor without TLS, whatever an
/// answer says; a feed on this machine itself (127.0.0.1) needs none.
///
/// Threads: workers; its operations block.
/// Errors:  UpdateFault.
class UpdateServer {
public:
    /// `feed` is the whole address. The client outlives the server.
    UpdateServer(HttpClient& http, std::string feed);

    /// Scheme, host and port.
    const std::string& origin() const { return m_origin; }

    std::vector<FeedItem> releases(std::stop_token stop) const;

    /// Sends a GET and follows redirects within the server. Any status but a redirect is returned; of a redirect
    /// nothing reaches the request's callbacks.
    HttpResponse get(HttpRequest request, std::stop_token stop) const;

private:
    HttpResponse send(const HttpRequest& request, std::stop_token stop) const;

    HttpClient& m_http;
    const std::string m_feed;
    const std::string m_origin; // empty for an address that is not trusted
};

} // namespace fenlo
