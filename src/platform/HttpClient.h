#pragma once

#include <cstddef>
#include <functional>
#include <stdexcept>
#include <stop_token>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace fenlo {

struct HttpResponse {
    int status = 0;
    std::vector<std::pair<std::string, std::string>> headers; // names in lower case
    std::string body;
};

struct HttpRequest {
    std::string method = "GET";
    std::string url;
    std::vector<std::pair<std::string, std::string>> headers;
    std::string body;
    double timeout = 60.0;                     // seconds for the whole exchange; 0 for no limit
    double idleLimit = 0;                      // seconds in which too little of the answer comes; 0 for no limit
    double leastRate = 0;                      // bytes a second; over idleLimit, less than this is too little
    std::size_t maxResponseBytes = 16u << 20u; // a longer body is an error
    std::function<void(std::size_t sent, std::size_t total)> onUpload; // on the network thread; may be empty

    /// For downloads: onBody takes the answer piece by piece as it comes, however long it is. onHead, which may be
    /// empty, is given the status and the headers first; when it returns false, the body is gathered in the response
    /// instead. Both run on the thread that sends; what they throw ends the exchange and leaves send(). Of an answer
    /// that breaks off onBody has received all that came.
    std::function<bool(const HttpResponse& head)> onHead;
    std::function<void(std::string_view bytes)> onBody;
};

/// The exchange brought no answer. what() is one line for the log, without any header or body.
struct HttpError : std::runtime_error {
    enum class Kind { connection, timeout, tls, cancelled, tooLarge, badUrl };
    HttpError(Kind reason, const std::string& message) : std::runtime_error(message), kind(reason) {}
    Kind kind;
};

/// HTTP with one pool of connections. TLS is always verified.
///
/// Threads: any; send() blocks its caller, which must not be the main thread.
class HttpClient {
public:
    virtual ~HttpClient() = default;

    /// Throws HttpError. Any status is an answer. A stop request ends the wait within a fraction of a second.
    /// When a kept connection is closed, reset or breaks the protocol before the answer is whole, the request goes once
    /// more over a fresh one, within the same time limit, unless a part of the body was handed out already. No other
    /// request is sent twice.
    virtual HttpResponse send(const HttpRequest& request, std::stop_token stop) = 0;

    /// Opens a connection to the host of `url` in the background, so that the next request finds it warm. Does
    /// nothing when one is open. Never blocks, never fails.
    virtual void preconnect(const std::string& url) = 0;
};

} // namespace fenlo
