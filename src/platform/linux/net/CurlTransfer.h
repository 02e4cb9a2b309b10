#pragma once

#include "platform/linux/net/CurlHttpClient.h"
#include "platform/linux/net/HttpHost.h"

#include <array>
#include <atomic>
#include <curl/curl.h>
#include <functional>
#include <future>
#include <memory>
#include <variant>

namespace fenlo {

/// One request on its way through libcurl.
///
/// Threads: made and waited for by the sender, run by the network thread; cancel() on any.
class CurlTransfer {
public:
    /// The request must live until the transfer has ended. Throws HttpError badUrl.
    CurlTransfer(std::shared_ptr<const HttpRequest> request, HttpHost host, const CurlHttpClient::Options& options);
    CurlTransfer(const CurlTransfer&) = delete;
    CurlTransfer& operator=(const CurlTransfer&) = delete;

    CURL* handle() const { return m_easy.get(); }

    void cancel() { m_cancelled = true; }
    bool isCancelled() const { return m_cancelled; }

    /// Ends the transfer, exactly once; after this the request is not looked at again. `result` is libcurl's.
    void end(CURLcode result);
    void endAsCancelled();

    /// Blocks until the end. Throws HttpError.
    HttpResponse wait();

    /// Called on the network thread right before the end; true when an answer came.
    std::function<void(bool answered)> onEnd;

private:
    struct Fault {
        HttpError::Kind kind;
        std::string message;
    };
    using Easy = std::unique_ptr<CURL, decltype(&curl_easy_cleanup)>;
    using HeaderList = std::unique_ptr<curl_slist, decltype(&curl_slist_free_all)>;

    void setUpConnection(const CurlHttpClient::Options& options);
    void setUpMethod();
    void setUpHeaders();
    void setUpCallbacks();
    void addHeader(const std::string& line);
    Fault explain(CURLcode result) const;

    bool takeBody(std::string_view bytes);
    bool takeHeader(std::string_view line);
    void tellProgress(std::size_t sent, std::size_t total);

    const std::shared_ptr<const HttpRequest> m_request;
    const HttpHost m_host;
    HeaderList m_headers;
    std::array<char, CURL_ERROR_SIZE> m_detail{};
    Easy m_easy; // dies before what it points to
    HttpResponse m_response;
    std::size_t m_headerBytes = 0;
    std::size_t m_told = 0;
    bool m_tooLarge = false;
    std::atomic<bool> m_cancelled = false;
    std::promise<std::variant<HttpResponse, Fault>> m_outcome;
};

} // namespace fenlo
