#pragma once

#include "platform/linux/net/BodyStream.h"
#include "platform/linux/net/Curl.h"
#include "platform/linux/net/CurlHttpClient.h"
#include "platform/linux/net/HttpHost.h"

#include <array>
#include <atomic>
#include <chrono>
#include <functional>
#include <future>
#include <memory>
#include <optional>
#include <variant>

namespace fenlo {

/// One request on its way through libcurl.
///
/// Threads: made and waited for by the sender, run by the network thread; cancel() on any.
class CurlTransfer {
public:
    using Moment = std::chrono::steady_clock::time_point;

    /// The request must live until the transfer has ended. Throws HttpError badUrl.
    CurlTransfer(std::shared_ptr<const HttpRequest> request, HttpHost host, const CurlHttpClient::Options& options);
    CurlTransfer(const CurlTransfer&) = delete;
    CurlTransfer& operator=(const CurlTransfer&) = delete;

    CURL* handle() const { return m_easy.get(); }

    void cancel() { m_cancelled = true; }
    bool isCancelled() const { return m_cancelled; }

    /// After a failure: whether to run the transfer once more over a fresh connection, for which it is then prepared.
    bool startsAfresh(CURLcode result);

    /// Ends the transfer, exactly once; the request is not used afterwards. `result` is libcurl's.
    void end(CURLcode result);
    void endAsCancelled();
    void endAsStalled();

    /// The moment at which the transfer counts as stalled if nothing comes until then. Network thread.
    std::optional<Moment> stallsAt() const;

    /// Resumes a transfer that waited for its sender to take what came. Network thread.
    void resumeWhereTaken();

    /// Blocks until the end. Throws HttpError.
    HttpResponse wait();

    /// Like wait(), and gives the body to the request's callbacks. What those throw passes through, after the transfer
    /// was cancelled and has ended.
    HttpResponse deliver();

    /// Called on the network thread right before the end; true when an answer came.
    std::function<void(bool answered)> onEnd;

    /// Called by deliver() when the network thread has something to look at.
    std::function<void()> onWake;

private:
    struct Fault {
        HttpError::Kind kind;
        std::string message;
    };
    using Easy = std::unique_ptr<CURL, decltype(::curl_easy_cleanup)*>;
    using HeaderList = std::unique_ptr<curl_slist, decltype(::curl_slist_free_all)*>;

    void setUpConnection(const CurlHttpClient::Options& options);
    void setUpMethod();
    void setUpHeaders();
    void setUpCallbacks();
    void addHeader(const std::string& line);
    void finish(std::variant<HttpResponse, Fault> outcome);
    Fault explain(CURLcode result) const;
    Fault tooLarge() const;
    int status() const;
    HttpResponse handOver();

    std::size_t takeBody(std::string_view bytes);
    std::size_t gather(std::string_view bytes);
    std::size_t stream(std::string_view bytes);
    bool takeHeader(std::string_view line);
    void noteProgress(std::size_t bytes);
    void tellProgress(std::size_t sent, std::size_t total);

    const std::shared_ptr<const HttpRequest> m_request;
    const HttpHost m_host;
    HeaderList m_headers;
    std::array<char, CURL_ERROR_SIZE> m_detail{};
    Easy m_easy; // freed before what it points to
    HttpResponse m_response;
    std::size_t m_headerBytes = 0;
    std::size_t m_told = 0;
    bool m_tooLarge = false;
    std::atomic<bool> m_cancelled = false;
    const Moment m_begin = std::chrono::steady_clock::now();
    Moment m_lastProgress = m_begin; // network thread only, as the next two
    std::size_t m_bytesSince = 0;    // of the answer
    bool m_paused = false;
    std::optional<HttpResponse> m_head; // set before the first piece of a stream
    BodyStream m_stream;
    std::promise<std::variant<HttpResponse, Fault>> m_outcome;
    std::future<std::variant<HttpResponse, Fault>> m_end = m_outcome.get_future();
};

} // namespace fenlo
