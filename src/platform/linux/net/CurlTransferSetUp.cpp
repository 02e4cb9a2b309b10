#include "platform/linux/net/CurlTransfer.h"

#include "base/Text.h"

#include <algorithm>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

namespace fenlo {

namespace {

constexpr unsigned silenceLimit = 20'000; // milliseconds until a peer that acknowledges nothing counts as gone

bool isHeaderSafe(std::string_view text) {
    return std::none_of(text.begin(), text.end(), [](char c) { return c == '\r' || c == '\n' || c == '\0'; });
}

bool names(const HttpRequest& request, std::string_view header) {
    return std::any_of(request.headers.begin(), request.headers.end(),
                       [&](const auto& entry) { return text::lower(entry.first) == header; });
}

long milliseconds(double seconds) {
    return std::max(1L, static_cast<long>(seconds * 1000));
}

/// Gives up a connection whose other end has vanished, as after a sleep of the machine, within seconds instead of at
/// the request's time-out; libcurl then sends again on a fresh one.
int setUpSocket(void*, curl_socket_t socket, curlsocktype) {
    ::setsockopt(socket, IPPROTO_TCP, TCP_USER_TIMEOUT, &silenceLimit, sizeof silenceLimit);
    return CURL_SOCKOPT_OK;
}

} // namespace

CurlTransfer::CurlTransfer(std::shared_ptr<const HttpRequest> request, HttpHost host,
                           const CurlHttpClient::Options& options)
    : m_request(std::move(request)), m_host(std::move(host)), m_headers(nullptr, curl_slist_free_all),
      m_easy(curl_easy_init(), curl_easy_cleanup) {
    if (!m_easy)
        throw HttpError(HttpError::Kind::connection, "the network library could not be started");
    setUpConnection(options);
    setUpMethod();
    setUpHeaders();
    setUpCallbacks();
}

void CurlTransfer::setUpConnection(const CurlHttpClient::Options& options) {
    CURL* easy = m_easy.get();
    curl_easy_setopt(easy, CURLOPT_URL, m_request->url.c_str());
    curl_easy_setopt(easy, CURLOPT_PROTOCOLS_STR, "http,https");
    // A stream that waits for its sender would hold up others on the same connection.
    curl_easy_setopt(easy, CURLOPT_HTTP_VERSION, m_request->onBody ? CURL_HTTP_VERSION_1_1 : CURL_HTTP_VERSION_2TLS);
    curl_easy_setopt(easy, CURLOPT_PIPEWAIT, 1L); // share a connection that is being warmed
    curl_easy_setopt(easy, CURLOPT_SSL_VERIFYPEER, 1L);
    curl_easy_setopt(easy, CURLOPT_SSL_VERIFYHOST, 2L);
    curl_easy_setopt(easy, CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_2));
    if (!options.trustedRoots.empty()) {
        curl_easy_setopt(easy, CURLOPT_CAINFO, options.trustedRoots.c_str());
        curl_easy_setopt(easy, CURLOPT_CAPATH, nullptr);
    }
    curl_easy_setopt(easy, CURLOPT_FOLLOWLOCATION, 0L);
    curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(easy, CURLOPT_QUICK_EXIT, 1L); // quitting does not wait for a name look-up that hangs
    curl_easy_setopt(easy, CURLOPT_CONNECTTIMEOUT_MS, milliseconds(options.connectTimeout));
    curl_easy_setopt(easy, CURLOPT_TIMEOUT_MS, m_request->timeout > 0 ? milliseconds(m_request->timeout) : 0L);
    curl_easy_setopt(easy, CURLOPT_TCP_KEEPALIVE, 1L);
    curl_easy_setopt(easy, CURLOPT_TCP_KEEPIDLE, 30L);
    curl_easy_setopt(easy, CURLOPT_TCP_KEEPINTVL, 15L);
    curl_easy_setopt(easy, CURLOPT_SOCKOPTFUNCTION, &setUpSocket);
}

void CurlTransfer::setUpMethod() {
    CURL* easy = m_easy.get();
    const HttpRequest& request = *m_request;
    if (request.method == "HEAD") {
        curl_easy_setopt(easy, CURLOPT_NOBODY, 1L);
        return;
    }
    if (request.method == "POST" || !request.body.empty()) {
        curl_easy_setopt(easy, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(request.body.size()));
        curl_easy_setopt(easy, CURLOPT_POSTFIELDS, request.body.data());
    }
    if (request.method != "GET" || !request.body.empty())
        curl_easy_setopt(easy, CURLOPT_CUSTOMREQUEST, request.method.c_str());
}

void CurlTransfer::setUpHeaders() {
    const auto refuseUnsafe = [&](std::string_view text) {
        if (!isHeaderSafe(text))
            throw HttpError(HttpError::Kind::badUrl,
                            "a header of the request to " + m_host.label + " holds a line break");
    };
    refuseUnsafe(m_request->method);
    for (const auto& [name, value] : m_request->headers) {
        refuseUnsafe(name);
        refuseUnsafe(value);
        addHeader(value.empty() ? name + ";" : name + ": " + value);
    }
    // Replaces what libcurl would add by itself: it may wait a second for "100 Continue", and guesses the body's type.
    addHeader("Expect:");
    if (!names(*m_request, "content-type"))
        addHeader("Content-Type:");
    if (!names(*m_request, "user-agent"))
        addHeader("User-Agent: Fenlo");
    curl_easy_setopt(m_easy.get(), CURLOPT_HTTPHEADER, m_headers.get());
}

void CurlTransfer::addHeader(const std::string& line) {
    curl_slist* longer = curl_slist_append(m_headers.get(), line.c_str());
    if (!longer)
        throw std::bad_alloc();
    static_cast<void>(m_headers.release());
    m_headers.reset(longer);
}

void CurlTransfer::setUpCallbacks() {
    CURL* easy = m_easy.get();
    curl_easy_setopt(easy, CURLOPT_ERRORBUFFER, m_detail.data());
    curl_easy_setopt(easy, CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);

    using Sink = std::size_t (*)(char*, std::size_t, std::size_t, void*);
    const Sink takeBodyOf = [](char* bytes, std::size_t, std::size_t size, void* self) {
        return static_cast<CurlTransfer*>(self)->takeBody({bytes, size});
    };
    const Sink takeHeaderOf = [](char* bytes, std::size_t, std::size_t size, void* self) {
        return static_cast<CurlTransfer*>(self)->takeHeader({bytes, size}) ? size : 0;
    };
    curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, takeBodyOf);
    curl_easy_setopt(easy, CURLOPT_WRITEDATA, this);
    curl_easy_setopt(easy, CURLOPT_HEADERFUNCTION, takeHeaderOf);
    curl_easy_setopt(easy, CURLOPT_HEADERDATA, this);

    if (!m_request->onUpload)
        return;
    using Progress = int (*)(void*, curl_off_t, curl_off_t, curl_off_t, curl_off_t);
    const Progress tell = [](void* self, curl_off_t, curl_off_t, curl_off_t total, curl_off_t sent) {
        static_cast<CurlTransfer*>(self)->tellProgress(static_cast<std::size_t>(sent), static_cast<std::size_t>(total));
        return 0;
    };
    curl_easy_setopt(easy, CURLOPT_NOPROGRESS, 0L);
    curl_easy_setopt(easy, CURLOPT_XFERINFOFUNCTION, tell);
    curl_easy_setopt(easy, CURLOPT_XFERINFODATA, this);
}

} // namespace fenlo
