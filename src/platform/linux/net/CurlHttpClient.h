#pragma once

#include "platform/HttpClient.h"
#include "platform/linux/net/WarmHosts.h"

#include <memory>

namespace fenlo {

struct HttpHost;

/// HTTP through libcurl, with one pool of connections on a network thread of its own. Speaks http and https only, and
/// HTTP/2 where it is offered; proxies come from the environment. Redirects are not followed: a 3xx is an answer like
/// any other, and no header ever reaches a host that the request does not name.
///
/// Threads:  as HttpClient.
/// Lifetime: outlives every send().
class CurlHttpClient final : public HttpClient {
public:
    struct Options {
        double connectTimeout = 10; // seconds
        double keepWarm = 20;       // seconds after use in which a connection needs no warming
        std::string trustedRoots;   // PEM file; empty for the system's
    };

    CurlHttpClient();
    explicit CurlHttpClient(Options options);
    ~CurlHttpClient() override;

    HttpResponse send(const HttpRequest& request, std::stop_token stop) override;
    void preconnect(const std::string& url) override;

private:
    class Network;

    void warm(const HttpHost& host);

    const Options m_options;
    WarmHosts m_warmHosts;
    std::unique_ptr<Network> m_network;
};

} // namespace fenlo
