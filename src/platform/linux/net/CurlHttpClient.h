#pragma once

#include "platform/HttpClient.h"
#include "platform/linux/net/WarmHosts.h"

#include <memory>
#include <mutex>

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

    /// Loads libcurl and starts the network thread, which takes some milliseconds; else the first request does it.
    ///
    /// Threads: any.
    /// Errors:  a line in the log where the library is missing; then every request fails.
    void open();

    HttpResponse send(const HttpRequest& request, std::stop_token stop) override;
    void preconnect(const std::string& url) override;

private:
    class Network;

    Network& network();
    void warm(const HttpHost& host);

    const Options m_options;
    WarmHosts m_warmHosts;
    std::once_flag m_opened;
    std::unique_ptr<Network> m_network; // from then on
};

} // namespace fenlo
