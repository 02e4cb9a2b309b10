#include "account/UpdateServer.h"

#include "base/Url.h"
#include "platform/HttpAnswer.h"

#include <utility>

namespace fenlo {

namespace {

constexpr double feedLimit = 30; // seconds
constexpr int mostRedirects = 5;

/// Whether what comes from there is what its owner sent.
bool isSafe(const std::string& origin) {
    return origin.starts_with("https://") || origin == "http://127.0.0.1" || origin.starts_with("http://127.0.0.1:");
}

std::string safeOriginOf(const std::string& url) {
    std::string origin = url::originOf(url);
    return isSafe(origin) ? origin : "";
}

const char* sentenceFor(HttpError::Kind kind) {
    switch (kind) {
    case HttpError::Kind::connection:
        return "The update server cannot be reached; check the network and try again.";
    case HttpError::Kind::timeout:
        return "The update server does not answer; try again later.";
    case HttpError::Kind::tls:
        return "The update server cannot prove that it is the right one; check this computer's date, and try again "
               "later.";
    case HttpError::Kind::tooLarge:
        return "The update server's answer is far too long; try again later.";
    case HttpError::Kind::cancelled:
        return "The update was cancelled.";
    case HttpError::Kind::badUrl:
        break;
    }
    return "The update server has an address that cannot be used; install Fenlo again.";
}

} // namespace

UpdateServer::UpdateServer(HttpClient& http, std::string feed)
    : m_http(http), m_feed(std::move(feed)), m_origin(safeOriginOf(m_feed)) {}

std::vector<FeedItem> UpdateServer::releases(std::stop_token stop) const {
    HttpRequest request;
    request.url = m_feed;
    request.timeout = feedLimit;
    request.maxResponseBytes = longestFeed;
    request.headers = {{"Accept", "application/rss+xml, application/xml"}};
    const HttpResponse answer = get(std::move(request), stop);
    if (answer.status != 200)
        throw UpdateFault("The update server answers with the status " + std::to_string(answer.status) +
                          "; try again later.");
    auto items = parseFeed(answer.body);
    if (!items)
        throw UpdateFault("What the update server sends is no update feed; try again later.");
    return std::move(*items);
}

HttpResponse UpdateServer::get(HttpRequest request, std::stop_token stop) const {
    if (request.onBody)
        request.onHead = [wanted = request.onHead](const HttpResponse& head) {
            return !isRedirect(head.status) && (!wanted || wanted(head));
        };
    for (int redirects = 0; redirects <= mostRedirects; ++redirects) {
        if (m_origin.empty() || url::originOf(request.url) != m_origin)
            throw UpdateFault(m_origin.empty()
                                  ? sentenceFor(HttpError::Kind::badUrl)
                                  : "The update server leads to another one, from which Fenlo takes nothing; try again "
                                    "later.");
        HttpResponse answer = send(request, stop);
        if (!isRedirect(answer.status))
            return answer;
        request.url = url::resolveAddress(request.url, headerOf(answer, "location"));
    }
    throw UpdateFault("The update server leads in a circle; try again later.");
}

HttpResponse UpdateServer::send(const HttpRequest& request, std::stop_token stop) const {
    try {
        return m_http.send(request, std::move(stop));
    } catch (const HttpError& error) {
        throw UpdateFault(sentenceFor(error.kind));
    }
}

} // namespace fenlo
