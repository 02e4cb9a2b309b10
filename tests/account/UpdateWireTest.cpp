// Against a server that misbehaves on the wire.

#include "account/PackageCheck.h"
#include "account/PackageDownload.h"
#include "account/Release.h"
#include "account/UpdateServer.h"
#include "platform/linux/net/CurlHttpClient.h"
#include "support/FakePackageSystem.h"
#include "support/LoopbackServer.h"
#include "support/TemporaryFolder.h"
#include "support/WaitUntil.h"

#include <gmock/gmock.h>

using namespace fenlo;
using namespace fenlo::test;
using ::testing::HasSubstr;

namespace {

/// From the feed to the verified file, as the updater goes.
class UpdatesOnTheWire : public ::testing::Test {
protected:
    using Handler = std::function<WireAnswer(const WireRequest&, std::stop_token)>;

    std::string attempt(std::stop_token stop = {}) {
        const UpdateServer updates(m_http, m_server.url() + "/feed.xml");
        const UpdateGround ground{.origin = updates.origin(),
                                  .installed = ReleaseVersion::parse("1.4").value(),
                                  .takesPrereleases = false,
                                  .newestVerified = {},
                                  .architecture = "amd64"};
        const auto file = m_folder / "package.part";
        try {
            const auto offer = chooseOffer(updates.releases(stop), ground);
            PackageDownload(file, offer.value().package.value(), [](auto) {}).run(updates, stop);
            requireRightPackage(file, *offer, PackageKey::parse(key.publicText()).value(), m_packages, stop);
            return "verified";
        } catch (const UpdateFault& fault) {
            return fault.what();
        }
    }

    Release release(const std::string& version = "1.5.0") {
        Release made(version, "fenlo " + version + " amd64 " + std::string(300'000, 'p'), key);
        made.address = m_server.url() + "/fenlo_1_amd64.deb";
        return made;
    }
    void serve(const Release& release) {
        m_answers.with([&](Handler& answers) {
            answers = [release](const WireRequest& request, std::stop_token) {
                return request.target == "/feed.xml" ? httpAnswer(200, "application/xml", feedOf(release.item()))
                                                     : httpAnswer(200, "application/octet-stream", release.package);
            };
        });
    }
    /// Puts this in the place of one address of the server.
    void serveAt(const std::string& target, Handler other) {
        m_answers.with([&](Handler& answers) {
            answers = [before = answers, target, other](const WireRequest& request, std::stop_token stop) {
                return request.target == target ? other(request, stop) : before(request, stop);
            };
        });
    }

    const SigningKey key;
    Guarded<Handler> m_answers;
    const TemporaryFolder m_folder;
    FakePackageSystem m_packages;
    CurlHttpClient m_http;
    LoopbackServer m_server{[this](const WireRequest& request, std::stop_token stop) {
        const Handler answer = m_answers.with([](const Handler& answers) { return answers; });
        return answer(request, stop);
    }};
};

WireAnswer redirectionTo(const std::string& address) {
    return {"HTTP/1.1 302 Found\r\nLocation: " + address + "\r\nContent-Length: 0\r\n\r\n"};
}

} // namespace

TEST_F(UpdatesOnTheWire, OnlyWhatTheMakersSignedArrives) {
    serve(release());
    serveAt("/fenlo_1_amd64.deb", [](const WireRequest&, std::stop_token) { return redirectionTo("/moved?x"); });
    EXPECT_EQ(attempt(), "verified") << "also by way of another page of the same server";
    std::filesystem::remove(m_folder / "package.part");

    Release bad = release();
    bad.package[100'000] ^= 1;
    serve(bad);
    EXPECT_THAT(attempt(), HasSubstr("signed")) << "tampered with";
    std::filesystem::remove(m_folder / "package.part");
    Release replay = release("1.3.0");
    replay.version = "1.5.0";
    serve(replay);
    EXPECT_THAT(attempt(), HasSubstr("holds Fenlo 1.3.0 and not 1.5.0"));
    std::filesystem::remove(m_folder / "package.part");
    bad = release();
    bad.length = "299999";
    serve(bad);
    EXPECT_THAT(attempt(), HasSubstr("another length"));
    std::filesystem::remove(m_folder / "package.part");

    serve(release());
    LoopbackServer elsewhere([content = release().package](const WireRequest&, std::stop_token) {
        return httpAnswer(200, "application/octet-stream", content);
    });
    serveAt("/fenlo_1_amd64.deb",
            [&](const WireRequest&, std::stop_token) { return redirectionTo(elsewhere.url() + "/fenlo_1_amd64.deb"); });
    EXPECT_THAT(attempt(), HasSubstr("leads to another one"));
    EXPECT_EQ(elsewhere.connections(), 0);

    serveAt("/feed.xml", [](const WireRequest&, std::stop_token) {
        return httpAnswer(200, "text/html", "<!DOCTYPE html><html><body>Welcome to the hotel</body></html>");
    });
    EXPECT_THAT(attempt(), HasSubstr("no update feed"));
    serveAt("/feed.xml", [](const WireRequest&, std::stop_token) {
        return httpAnswer(200, "application/xml", std::string(10u << 20u, ' '));
    });
    EXPECT_THAT(attempt(), HasSubstr("far too long"));
}

TEST_F(UpdatesOnTheWire, ABrokenDownloadGoesOn_AndOneWithoutAnEndEnds) {
    const Release whole = release();
    serve(whole);
    const std::string head = "HTTP/1.1 200 OK\r\nContent-Length: " + std::to_string(whole.package.size()) + "\r\n\r\n";
    serveAt("/fenlo_1_amd64.deb", [&](const WireRequest&, std::stop_token) {
        return WireAnswer{head + whole.package.substr(0, 200'000), true};
    });
    EXPECT_THAT(attempt(), HasSubstr("try again"));
    Guarded<std::string> range;
    serveAt("/fenlo_1_amd64.deb", [&](const WireRequest& request, std::stop_token) {
        range.with([&](std::string& seen) { seen = request.header("Range"); });
        return WireAnswer{"HTTP/1.1 206 Partial Content\r\nContent-Range: bytes 200000-" +
                          std::to_string(whole.package.size() - 1) + "/" + std::to_string(whole.package.size()) +
                          "\r\nContent-Length: " + std::to_string(whole.package.size() - 200'000) + "\r\n\r\n" +
                          whole.package.substr(200'000)};
    });
    EXPECT_EQ(attempt(), "verified");
    EXPECT_EQ(range.with([](const std::string& seen) { return seen; }), "bytes=200000-");
    std::filesystem::remove(m_folder / "package.part");

    serveAt("/fenlo_1_amd64.deb", [&](const WireRequest&, std::stop_token) {
        return WireAnswer{"HTTP/1.1 200 OK\r\nConnection: close\r\n\r\n", true,
                          [](std::stop_token) { return std::string(65536, 'x'); }};
    });
    EXPECT_THAT(attempt(), HasSubstr("another length"));
    EXPECT_LE(std::filesystem::file_size(m_folder / "package.part"), whole.package.size());
}

TEST_F(UpdatesOnTheWire, AServerThatHangsIsLeftAtOnce) {
    serve(release());
    for (const char* target : {"/feed.xml", "/fenlo_1_amd64.deb"}) {
        std::atomic<bool> isAsked = false;
        serveAt(target, [&](const WireRequest&, std::stop_token stop) {
            isAsked = true;
            waitUntil(60, [&] { return stop.stop_requested(); });
            return WireAnswer{"", true};
        });
        std::stop_source cancel;
        std::string told;
        std::jthread working([&] { told = attempt(cancel.get_token()); });
        ASSERT_TRUE(waitUntil(20, [&] { return isAsked.load(); }));
        const auto begin = std::chrono::steady_clock::now();
        cancel.request_stop();
        working.join();
        EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(5));
        EXPECT_THAT(told, HasSubstr("cancelled"));
        serve(release());
    }
}
