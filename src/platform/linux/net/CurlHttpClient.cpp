#include "platform/linux/net/CurlHttpClient.h"

#include "base/Log.h"
#include "platform/linux/net/CurlNetwork.h"
#include "platform/linux/net/CurlTransfer.h"

namespace fenlo {

CurlHttpClient::CurlHttpClient() : CurlHttpClient(Options()) {}

CurlHttpClient::CurlHttpClient(Options options) : m_options(std::move(options)), m_warmHosts(m_options.keepWarm) {}

CurlHttpClient::~CurlHttpClient() = default;

/// HttpError where libcurl is missing.
CurlHttpClient::Network& CurlHttpClient::network() try {
    std::call_once(m_opened, [this] { m_network = std::make_unique<Network>(); });
    return *m_network;
} catch (const LateLibraryError& error) {
    throw HttpError(HttpError::Kind::connection, error.what());
}

void CurlHttpClient::open() {
    try {
        network();
    } catch (const std::exception& error) {
        logError("No service can be reached: {}", error.what());
    }
}

HttpResponse CurlHttpClient::send(const HttpRequest& request, std::stop_token stop) {
    Network& network = this->network();
    // The sender waits for the end, so the request need not be copied.
    const std::shared_ptr<const HttpRequest> borrowed(std::shared_ptr<const HttpRequest>(), &request);
    const HttpHost host = HttpHost::of(request.url);
    const auto transfer = std::make_shared<CurlTransfer>(borrowed, host, m_options);
    transfer->onEnd = [this, origin = host.origin](bool answered) {
        if (answered)
            m_warmHosts.used(origin, std::chrono::steady_clock::now());
    };
    transfer->onWake = [&network] { network.wake(); };
    const std::stop_callback cancel(stop, [&] {
        transfer->cancel();
        network.wake();
    });
    network.start(transfer);
    return request.onBody ? transfer->deliver() : transfer->wait();
}

void CurlHttpClient::preconnect(const std::string& url) {
    try {
        network(); // opens what reads the address too
        const HttpHost host = HttpHost::of(url);
        if (m_warmHosts.beginWarming(host.origin, std::chrono::steady_clock::now()))
            warm(host);
    } catch (const std::exception& error) {
        logInfo("Could not warm a connection: {}", error.what());
    }
}

/// A small request without credentials; the answer is ignored.
void CurlHttpClient::warm(const HttpHost& host) {
    auto request = std::make_shared<HttpRequest>();
    request->method = "HEAD";
    request->url = host.origin + "/";
    request->timeout = m_options.connectTimeout;
    const auto transfer = std::make_shared<CurlTransfer>(std::move(request), host, m_options);
    transfer->onEnd = [this, origin = host.origin](bool answered) {
        if (answered)
            m_warmHosts.used(origin, std::chrono::steady_clock::now());
        m_warmHosts.endWarming(origin);
    };
    network().start(transfer);
}

} // namespace fenlo
