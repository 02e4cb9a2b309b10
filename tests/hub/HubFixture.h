#pragma once

#include "base/Files.h"
#include "hub/HubClient.h"
#include "platform/linux/net/CurlHttpClient.h"
#include "support/LoopbackHub.h"
#include "support/TemporaryFolder.h"
#include "support/VirtualTime.h"

#include <gmock/gmock.h>

namespace fenlo::test {

/// A hub with one repository, a real client of it, and an empty folder to download into.
class HubFixture : public ::testing::Test {
protected:
    using Kind = hub::HubError::Kind;

    HubFixture();

    /// Puts a file into the repository.
    void publish(const std::string& path, const std::string& content, const std::string& repository = "maker/model");

    hub::HubClient hubClient() { return {http, settings, clock}; }
    void download(const std::vector<std::string>& globs = {}, std::stop_token stop = {}) {
        hubClient().snapshot(
            repo, {globs}, folder, [this](hub::DownloadProgress now) { told.push_back(now); }, stop);
    }
    /// The error of a download that must not succeed; its message is checked for what holds for all.
    hub::HubError failure(const std::vector<std::string>& globs = {}, std::stop_token stop = {});

    /// A download of the large file that is cut off after so many bytes, as when the program ends.
    void interruptAfter(std::uint64_t bytes);

    /// How many bytes of an unfinished file are kept.
    std::uint64_t kept() const;

    /// The content of a file in the download folder; "" when it is not there.
    std::string there(const std::string& path) const { return files::read(folder / path).value_or(""); }

    /// The requests for contents that came to the storage or to the hub itself; no listings, no redirects.
    std::vector<LoopbackHub::Received> transfers() const;

    const TemporaryFolder root;
    const std::filesystem::path folder = root / "downloads" / "model";
    hub::HubRepo repo{"maker/model"};
    const std::string weights = "weights/model one.safetensors";
    const std::vector<std::string> onlyLarge{"weights/*"};
    const std::string& large; // the content of `weights`, 2,500,000 random bytes
    const std::string small = "{\"kind\": \"whisper\"}\n";
    LoopbackHub hub{root / "served"};
    VirtualClock clock;
    CurlHttpClient http;
    hub::HubSettings settings;
    std::vector<hub::DownloadProgress> told;
};

} // namespace fenlo::test
