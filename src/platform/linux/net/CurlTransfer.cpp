#include "platform/linux/net/CurlTransfer.h"

#include "base/Deadline.h"
#include "base/Log.h"
#include "base/Text.h"

#include <algorithm>
#include <system_error>
#include <utility>

namespace fenlo {

namespace {

constexpr std::size_t maxHeaderBytes = 256u << 10u;

std::string systemError(CURL* handle) {
    long error = 0;
    curl_easy_getinfo(handle, CURLINFO_OS_ERRNO, &error);
    std::string message = error ? std::generic_category().message(static_cast<int>(error)) : "";
    return message.empty() ? message : ": " + text::lower(message);
}

/// Whether the other end closed or reset the connection, or sent something other than HTTP (libcurl calls an answer
/// without a status line an "unsupported protocol"). On a kept connection the exchange before may be the cause.
bool isFaultOfConnection(CURLcode result) {
    switch (result) {
    case CURLE_GOT_NOTHING:
    case CURLE_SEND_ERROR:
    case CURLE_RECV_ERROR:
    case CURLE_PARTIAL_FILE:
    case CURLE_WEIRD_SERVER_REPLY:
    case CURLE_UNSUPPORTED_PROTOCOL:
    case CURLE_HTTP2:
    case CURLE_HTTP2_STREAM:
        return true;
    default:
        return false;
    }
}

double secondsSince(CurlTransfer::Moment moment) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - moment).count();
}

} // namespace

std::size_t CurlTransfer::takeBody(std::string_view bytes) {
    noteProgress(bytes.size());
    try {
        return m_request->onBody ? stream(bytes) : gather(bytes);
    } catch (const std::exception&) {
        return CURL_WRITEFUNC_ERROR;
    }
}

std::size_t CurlTransfer::gather(std::string_view bytes) {
    m_tooLarge = bytes.size() > m_request->maxResponseBytes - m_response.body.size();
    if (m_tooLarge)
        return CURL_WRITEFUNC_ERROR;
    m_response.body.append(bytes);
    return bytes.size();
}

std::size_t CurlTransfer::stream(std::string_view bytes) {
    if (!m_head)
        m_head = HttpResponse{status(), m_response.headers, {}};
    m_paused = !m_stream.offer(bytes);
    return m_paused ? CURL_WRITEFUNC_PAUSE : bytes.size();
}

void CurlTransfer::resumeWhereTaken() {
    if (!m_paused || m_stream.isFull())
        return;
    m_paused = false;
    m_lastProgress = std::chrono::steady_clock::now();
    m_bytesSince = 0;
    curl_easy_pause(m_easy.get(), CURLPAUSE_CONT);
}

std::optional<CurlTransfer::Moment> CurlTransfer::stallsAt() const {
    if (m_request->idleLimit <= 0 || m_paused)
        return {};
    return deadlineAfter(m_request->idleLimit, m_lastProgress);
}

void CurlTransfer::noteProgress(std::size_t bytes) {
    m_bytesSince += bytes;
    if (static_cast<double>(m_bytesSince) < m_request->idleLimit * m_request->leastRate)
        return;
    m_lastProgress = std::chrono::steady_clock::now();
    m_bytesSince = 0;
}

bool CurlTransfer::takeHeader(std::string_view line) {
    noteProgress(line.size());
    m_headerBytes += line.size();
    m_tooLarge = m_headerBytes > maxHeaderBytes;
    if (m_tooLarge)
        return false;
    try {
        if (line.starts_with("HTTP/")) // an interim answer came before
            m_response.headers.clear();
        const std::size_t colon = line.find(':');
        if (colon != std::string_view::npos)
            m_response.headers.emplace_back(text::lower(line.substr(0, colon)),
                                            text::trimWhitespaceAndNewlines(line.substr(colon + 1)));
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

void CurlTransfer::tellProgress(std::size_t sent, std::size_t total) {
    if (sent == m_told)
        return;
    m_told = sent;
    try {
        m_request->onUpload(sent, total);
    } catch (...) { // no exception may enter libcurl, and the exchange goes on without its listener
    }
}

int CurlTransfer::status() const {
    long status = 0;
    curl_easy_getinfo(m_easy.get(), CURLINFO_RESPONSE_CODE, &status);
    return static_cast<int>(status);
}

bool CurlTransfer::startsAfresh(CURLcode result) {
    long fresh = 0; // connections that were opened for this transfer
    curl_easy_getinfo(m_easy.get(), CURLINFO_NUM_CONNECTS, &fresh);
    const double left = m_request->timeout - secondsSince(m_begin);
    if (!isFaultOfConnection(result) || fresh > 0 || m_head || m_cancelled || (m_request->timeout > 0 && left <= 0))
        return false;
    logInfo("{}; the request goes once more over a fresh connection", explain(result).message);
    m_response = {};
    m_headerBytes = 0;
    m_lastProgress = std::chrono::steady_clock::now();
    m_bytesSince = 0;
    curl_easy_setopt(m_easy.get(), CURLOPT_FRESH_CONNECT, 1L);
    if (m_request->timeout > 0)
        curl_easy_setopt(m_easy.get(), CURLOPT_TIMEOUT_MS, std::max(1L, static_cast<long>(left * 1000)));
    return true;
}

void CurlTransfer::end(CURLcode result) {
    if (result != CURLE_OK) {
        finish(explain(result));
        return;
    }
    m_response.status = status();
    finish(std::move(m_response));
}

void CurlTransfer::endAsCancelled() {
    finish(Fault{HttpError::Kind::cancelled, "the request to " + m_host.label + " was cancelled"});
}

void CurlTransfer::endAsStalled() {
    const std::string amount = m_bytesSince > 0 ? "less than " + text::fixed(m_request->leastRate / 1000, 1) + " KB/s"
                                                : std::string("nothing");
    finish(Fault{HttpError::Kind::timeout,
                 m_host.label + " sent " + amount + " for " + text::fixed(m_request->idleLimit, 1) + "s"});
}

void CurlTransfer::finish(std::variant<HttpResponse, Fault> outcome) {
    if (onEnd)
        onEnd(std::holds_alternative<HttpResponse>(outcome));
    m_stream.close();
    m_outcome.set_value(std::move(outcome));
}

HttpResponse CurlTransfer::wait() {
    auto outcome = m_end.get();
    // Thrown here, on the sender's thread: an exception object must not be shared between threads.
    if (const Fault* fault = std::get_if<Fault>(&outcome))
        throw HttpError(fault->kind, fault->message);
    return std::get<HttpResponse>(std::move(outcome));
}

HttpResponse CurlTransfer::deliver() {
    try {
        return handOver();
    } catch (...) {
        cancel();
        onWake();
        if (m_end.valid()) // the network thread still looks at the request
            m_end.wait();
        throw;
    }
}

HttpResponse CurlTransfer::handOver() {
    const auto isStreamed = [this](const HttpResponse& head) { return !m_request->onHead || m_request->onHead(head); };
    std::optional<bool> streamed;
    std::string gathered;
    for (std::string bytes; !(bytes = m_stream.take(onWake)).empty();) {
        if (!streamed)
            streamed = isStreamed(*m_head);
        if (*streamed)
            m_request->onBody(bytes);
        else if (bytes.size() > m_request->maxResponseBytes - gathered.size())
            throw HttpError(tooLarge().kind, tooLarge().message);
        else
            gathered += bytes;
    }
    HttpResponse response = wait();
    if (!streamed)
        isStreamed(response);
    response.body = std::move(gathered);
    return response;
}

CurlTransfer::Fault CurlTransfer::tooLarge() const {
    return {HttpError::Kind::tooLarge, "the answer of " + m_host.label + " is too large"};
}

CurlTransfer::Fault CurlTransfer::explain(CURLcode result) const {
    using Kind = HttpError::Kind;
    const std::string& host = m_host.label;
    if (m_tooLarge)
        return tooLarge();
    switch (result) {
    case CURLE_COULDNT_RESOLVE_PROXY:
        return {Kind::connection, "could not find the proxy for " + host};
    case CURLE_COULDNT_RESOLVE_HOST:
        return {Kind::connection, "could not find the host " + host};
    case CURLE_COULDNT_CONNECT:
        return {Kind::connection, "could not connect to " + host + systemError(m_easy.get())};
    case CURLE_GOT_NOTHING:
        return {Kind::connection, host + " closed the connection without an answer"};
    case CURLE_PARTIAL_FILE:
        return {Kind::connection, host + " closed the connection in the middle of its answer"};
    case CURLE_WEIRD_SERVER_REPLY:
    case CURLE_UNSUPPORTED_PROTOCOL:
        return {Kind::connection, "the request to " + host + " failed: the answer is no HTTP"};
    case CURLE_SEND_ERROR:
    case CURLE_RECV_ERROR:
        return {Kind::connection, "the connection to " + host + " broke" + systemError(m_easy.get())};
    case CURLE_OPERATION_TIMEDOUT: {
        curl_off_t reached = 0;
        curl_easy_getinfo(m_easy.get(), CURLINFO_PRETRANSFER_TIME_T, &reached);
        return {Kind::timeout, reached > 0
                                   ? "no answer from " + host + " in " + text::fixed(m_request->timeout, 1) + "s"
                                   : "could not connect to " + host + " in time"};
    }
    case CURLE_PEER_FAILED_VERIFICATION:
    case CURLE_SSL_CONNECT_ERROR:
    case CURLE_SSL_CACERT_BADFILE:
    case CURLE_SSL_ISSUER_ERROR:
    case CURLE_SSL_CERTPROBLEM:
    case CURLE_SSL_CIPHER:
        return {Kind::tls,
                "no secure connection to " + host + ": " +
                    text::join(text::words(m_detail[0] ? m_detail.data() : curl_easy_strerror(result)), " ")};
    default:
        return {Kind::connection, "the request to " + host + " failed: " + text::lower(curl_easy_strerror(result))};
    }
}

} // namespace fenlo
