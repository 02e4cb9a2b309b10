#include "hub/HubConnection.h"

#include "base/Text.h"
#include "base/Url.h"
#include "hub/HubPaths.h"
#include "hub/Retries.h"

#include <algorithm>
#include <charconv>

namespace fenlo::hub {

namespace {

using Kind = HubError::Kind;

constexpr int maxRedirects = 5;

bool isSuccess(int status) {
    return status >= 200 && status < 300;
}

/// The seconds that the hub asks for. A date is ignored: the usual pause will do.
double askedPause(const HttpResponse& answer) {
    const std::string value = headerOf(answer, "retry-after");
    unsigned seconds = 0;
    const auto [end, error] = std::from_chars(value.data(), value.data() + value.size(), seconds);
    return error == std::errc() && end == value.data() + value.size() ? seconds : 0;
}

std::string withoutSlash(std::string endpoint) {
    while (endpoint.ends_with('/'))
        endpoint.pop_back();
    return endpoint;
}

} // namespace

HubConnection::HubConnection(HttpClient& http, const HubSettings& settings, HubRepo repo)
    : m_http(http), m_settings(settings), m_repo(std::move(repo)), m_endpoint(withoutSlash(settings.endpoint)) {
    if (!isRepoName(m_repo.name))
        throw HubError(Kind::notFound,
                       "\"" + shown(m_repo.name) + "\" is no name of a repository; it looks like \"publisher/name\"");
    if (!isRevision(m_repo.revision))
        throw HubError(Kind::notFound, "\"" + shown(m_repo.revision) + "\" is no revision of " + m_repo.name +
                                           "; check that it is a branch, a tag or a commit");
    if (!m_repo.subfolder.empty() && !isSafePath(m_repo.subfolder))
        throw HubError(Kind::notFound, "\"" + shown(m_repo.subfolder) + "\" is no folder of " + m_repo.name +
                                           "; check that it looks like \"folder/within\"");
    if (url::originOf(m_endpoint).empty())
        throw HubError(Kind::network, "the address of the model hub is no http or https address; check HF_ENDPOINT");
}

std::string HubConnection::described(const std::string& path) const {
    std::string text = m_repo.name;
    for (const std::string& below : {m_repo.subfolder, path})
        if (!below.empty())
            text += "/" + shown(below);
    return m_repo.revision == HubRepo().revision ? text : text + " at " + shown(m_repo.revision);
}

std::string HubConnection::listingAddress() const {
    const std::string folder = m_repo.subfolder.empty() ? "" : "/" + url::percentEncode(m_repo.subfolder, "/");
    return m_endpoint + "/api/models/" + m_repo.name + "/tree/" + url::percentEncode(m_repo.revision, "") + folder +
           "?recursive=true";
}

std::string HubConnection::fileAddress(const std::string& path) const {
    const std::string whole = m_repo.subfolder.empty() ? path : m_repo.subfolder + "/" + path;
    return m_endpoint + "/" + m_repo.name + "/resolve/" + url::percentEncode(m_repo.revision, "") + "/" +
           url::percentEncode(whole, "/");
}

HttpResponse HubConnection::get(HttpRequest request, const std::string& what, std::stop_token stop,
                                const std::function<void(const HttpResponse&)>& onRedirect) const {
    const std::string home = url::originOf(m_endpoint);
    const auto plainHeaders = request.headers;
    if (request.onBody)
        request.onHead = [wanted = request.onHead](const HttpResponse& head) {
            return isSuccess(head.status) && (!wanted || wanted(head));
        };
    request.timeout = 0; // a slow download may take as long as it needs
    request.idleLimit = m_settings.idleLimit;
    request.leastRate = m_settings.leastRate;
    bool isFromHub = true;
    for (int redirects = 0; redirects <= maxRedirects; ++redirects) {
        isFromHub = isFromHub && url::originOf(request.url) == home;
        request.headers = plainHeaders;
        if (isFromHub && !m_settings.token.empty())
            request.headers.emplace_back("Authorization", "Bearer " + m_settings.token);
        HttpResponse answer = sendOnce(request, what, stop);
        if (isSuccess(answer.status) || answer.status == 416)
            return answer;
        if (!isRedirect(answer.status))
            refuse(answer, what, isFromHub);
        if (onRedirect && isFromHub)
            onRedirect(answer);
        const std::string next = url::resolveAddress(request.url, headerOf(answer, "location"));
        if (next.empty() || (request.url.starts_with("https:") && !text::lower(next).starts_with("https:")))
            throw HubError(Kind::badReply,
                           "the hub leads the download of " + what + " to an unusable address; try again later");
        request.url = next;
    }
    throw HubError(Kind::badReply, "the hub leads the download of " + what + " in a circle; try again later");
}

HttpResponse HubConnection::sendOnce(const HttpRequest& request, const std::string& what, std::stop_token stop) const {
    try {
        return m_http.send(request, stop);
    } catch (const HttpError& error) {
        const std::string fault = "could not download " + what + ": " + error.what();
        switch (error.kind) {
        case HttpError::Kind::cancelled:
            throwCancelled();
        case HttpError::Kind::connection:
            throw PassingFault(Kind::network, fault + "; check the network and try again");
        case HttpError::Kind::timeout:
            throw Silence(Kind::network,
                          fault + "; check the network and try again, a download goes on where it stopped");
        case HttpError::Kind::tls:
            throw HubError(Kind::network, fault + "; check this machine's date and certificates");
        case HttpError::Kind::tooLarge:
            throw HubError(Kind::badReply, fault + "; check HF_ENDPOINT");
        case HttpError::Kind::badUrl:
            throw HubError(Kind::badReply, fault + "; check HF_ENDPOINT and HF_TOKEN");
        }
        throw;
    }
}

void HubConnection::refuse(const HttpResponse& answer, const std::string& what, bool isFromHub) const {
    const std::string status = " (status " + std::to_string(answer.status) + ")";
    // A signed address of the storage expires; the hub gives a fresh one.
    if (!isFromHub && answer.status < 500)
        throw PassingFault(Kind::network, "the storage of the hub refuses " + what + status + "; try again later",
                           askedPause(answer));
    switch (answer.status) {
    case 401:
    case 403:
        throw HubError(Kind::unauthorized, "the hub does not give out " + what + status +
                                               "; check the name, and set HF_TOKEN to a token that may read " +
                                               m_repo.name);
    case 404:
    case 410:
        throw HubError(Kind::notFound, "the hub has no " + what + status + "; check the name of the repository" +
                                           (m_repo == HubRepo{m_repo.name} ? "" : ", its revision and its folder"));
    case 408:
    case 429:
    case 500:
    case 502:
    case 503:
    case 504:
        throw PassingFault(Kind::network,
                           "the hub is too busy or out of order to give out " + what + status + "; try again later",
                           askedPause(answer));
    default:
        throw HubError(Kind::badReply,
                       "the hub gave an unexpected answer for " + what + status + "; check HF_ENDPOINT");
    }
}

} // namespace fenlo::hub
