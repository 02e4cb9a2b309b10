#pragma once

#include "account/AutoUpdater.h"
#include "account/Release.h"
#include "settings/Config.h"
#include "support/FakeHttpClient.h"
#include "support/FakePackageSystem.h"
#include "support/TemporaryFolder.h"
#include "support/VirtualTime.h"

#include <map>

namespace fenlo::test {

/// An updater of version 1.4.0 on virtual time, and a server that gives out what it is told to.
struct UpdateWorld {
    UpdateWorld() {
        http.onSend = [this](const HttpRequest& request) { return answer(request); };
    }

    /// Puts a feed with this release, and its package, onto the server.
    void serve(const Release& release) {
        pages[feedAddress] = {200, {}, feedOf(release.item())};
        pages[release.address] = {200, {}, release.package};
    }

    /// Lets workers and the main thread do all that there is to do.
    void settle() {
        do {
            background.runAll();
            queue.runPosted();
        } while (background.pending() > 0);
    }

    /// Runs to the offer of this release.
    void check() {
        updater->checkForUpdates();
        settle();
    }

    std::unique_ptr<AutoUpdater> make(const std::string& version = "1.4.0") {
        return std::make_unique<AutoUpdater>(UpdateServices{.feed = feedAddress,
                                                            .key = keyText,
                                                            .version = version,
                                                            .http = http,
                                                            .packages = packages,
                                                            .config = config,
                                                            .clock = clock,
                                                            .mainQueue = queue,
                                                            .background = background,
                                                            .folder = folder / "cache/updates",
                                                            .record = folder / "data/updates.json"});
    }

    static std::string packageText(const std::string& version) {
        return "fenlo " + version + " amd64 " + std::string(2000, 'p');
    }
    Release release(const std::string& version = "1.5.0") const { return {version, packageText(version), key}; }

    static constexpr char feedAddress[] = "https://updates.example/feed.xml";
    VirtualClock clock;
    VirtualMainQueue queue{clock};
    ManualBackground background;
    TemporaryFolder folder;
    Config config{folder / "config.json", clock};
    FakeHttpClient http;
    FakePackageSystem packages;
    SigningKey key;
    std::string keyText = key.publicText();
    std::map<std::string, HttpResponse> pages; // by address
    std::unique_ptr<AutoUpdater> updater = make();

private:
    HttpResponse answer(const HttpRequest& request) const {
        const auto page = pages.find(request.url);
        if (page == pages.end())
            return {404, {}, "not here"};
        for (const auto& [name, value] : request.headers)
            if (name == "Range" && page->second.status == 200)
                return rest(page->second.body, value);
        return page->second;
    }
    static HttpResponse rest(const std::string& body, const std::string& range) {
        const std::size_t begin = std::stoul(range.substr(sizeof "bytes=" - 1));
        if (begin >= body.size())
            return {416, {}, ""};
        const std::string size = std::to_string(body.size());
        return {
            206,
            {{"content-range", "bytes " + std::to_string(begin) + "-" + std::to_string(body.size() - 1) + "/" + size}},
            body.substr(begin)};
    }
};

} // namespace fenlo::test
