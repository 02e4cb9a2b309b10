#include "hub/HubClient.h"

#include "base/Environment.h"
#include "base/Text.h"
#include "hub/Listing.h"
#include "hub/Snapshot.h"

namespace fenlo::hub {

namespace {

std::string variable(const char* name) {
    return text::trimWhitespaceAndNewlines(environment(name));
}

} // namespace

HubSettings HubSettings::fromEnvironment() {
    HubSettings settings;
    if (const std::string endpoint = variable("HF_ENDPOINT"); !endpoint.empty())
        settings.endpoint = endpoint;
    settings.token = variable("HF_TOKEN");
    const std::string offline = text::lower(variable("HF_HUB_OFFLINE"));
    settings.offline = offline == "1" || offline == "true" || offline == "yes" || offline == "on";
    return settings;
}

HubClient::HubClient(HttpClient& http, HubSettings settings, Clock& clock)
    : m_http(http), m_settings(std::move(settings)), m_clock(clock) {}

std::vector<RepoFile> HubClient::listFiles(const HubRepo& repo, const FilePatterns& wanted, std::stop_token stop) {
    const HubConnection connection(m_http, m_settings, repo);
    if (m_settings.offline)
        throw HubError(HubError::Kind::offline,
                       "cannot list the files of " + connection.described() + ": HF_HUB_OFFLINE forbids the network");
    return list(connection, wanted, m_clock, listingAttempts, stop);
}

void HubClient::snapshot(const HubRepo& repo, const FilePatterns& wanted, const std::filesystem::path& folder,
                         const std::function<void(DownloadProgress)>& progress, std::stop_token stop) {
    const HubConnection connection(m_http, m_settings, repo);
    const Snapshot snapshot{connection, m_clock, wanted, folder};
    if (m_settings.offline)
        snapshot.requireWhole();
    else
        snapshot.fetch(progress, stop);
}

} // namespace fenlo::hub
