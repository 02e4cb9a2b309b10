#include "hub/Listing.h"

#include "base/Clock.h"
#include "base/Url.h"
#include "hub/HubPaths.h"
#include "hub/Retries.h"
#include "hub/TreePage.h"
#include "hub/WebAddress.h"

#include <set>

namespace fenlo::hub {

namespace {

constexpr int maxPages = 1000;
constexpr std::size_t maxFiles = 100'000;

HttpResponse getPage(const HubConnection& connection, const std::string& address, Clock& clock, int attempts,
                     std::stop_token stop) {
    HttpRequest request;
    request.url = address;
    for (Retries retries(clock, attempts);;)
        try {
            return connection.get(request, connection.described(), stop);
        } catch (const Silence&) {
            throw;
        } catch (const PassingFault& fault) {
            retries.waitAfter(fault, stop);
        }
}

[[noreturn]] void refuseList(const HubConnection& connection, const std::string& fault) {
    throw HubError(HubError::Kind::badReply,
                   "the hub's list of the files of " + connection.repo().name + " " + fault + "; try again later");
}

} // namespace

std::vector<RepoFile> list(const HubConnection& connection, const FilePatterns& wanted, Clock& clock, int attempts,
                           std::stop_token stop) {
    std::vector<RepoFile> files;
    std::set<std::string> paths;
    std::string address = connection.listingAddress();
    for (int page = 0; !address.empty(); ++page) {
        if (page == maxPages || paths.size() > maxFiles)
            refuseList(connection, "has no end");
        const HttpResponse answer = getPage(connection, address, clock, attempts, stop);
        for (RepoFile& file : parseTreePage(connection.repo(), answer.body)) {
            if (!paths.insert(file.path).second)
                refuseList(connection, "names \"" + shown(file.path) + "\" twice");
            if (wanted.match(file.path))
                files.push_back(std::move(file));
        }
        const std::string next = nextPage(headerOf(answer, "link"));
        const std::string previous = std::exchange(address, next.empty() ? "" : url::resolveAddress(address, next));
        if (!next.empty() && url::originOf(address) != url::originOf(previous))
            refuseList(connection, "goes on at another host");
    }
    return files;
}

} // namespace fenlo::hub
