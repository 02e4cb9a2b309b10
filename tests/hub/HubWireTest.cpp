// Requests and answers between client and hub.

#include "HubFixture.h"

#include "support/EnvironmentVariable.h"
#include "support/LogCapture.h"

using namespace fenlo;
using namespace fenlo::hub;
using namespace fenlo::test;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::UnorderedElementsAre;
namespace fs = std::filesystem;

namespace {

class HubWireTest : public HubFixture {
protected:
    static std::vector<std::string> paths(const std::vector<RepoFile>& files) {
        std::vector<std::string> names;
        for (const RepoFile& file : files)
            names.push_back(file.path);
        return names;
    }
};

} // namespace

TEST_F(HubWireTest, AListingNamesFilesOfAllPagesThatMatch) {
    publish("a.txt", "a");
    publish("b/c.txt", "bc");
    hub.setPageSize(1);
    const auto all = hubClient().listFiles(repo, {}, {});
    ASSERT_THAT(paths(all), ElementsAre("a.txt", "b/c.txt", "config.json", weights));
    EXPECT_EQ(all[2].size, small.size());
    EXPECT_EQ(all[2].blobId, gitBlobSha1(small));
    EXPECT_EQ(all[2].sha256, std::nullopt);
    EXPECT_EQ(all[3].size, large.size());
    EXPECT_EQ(all[3].sha256, test::sha256(large));
    EXPECT_THAT(paths(hubClient().listFiles(repo, {{"*.txt", "weights/*"}}, {})),
                ElementsAre("a.txt", "b/c.txt", weights));
    EXPECT_THAT(paths(hubClient().listFiles(repo, {{"none*"}}, {})), ElementsAre());

    const WireRequest first = hub.requests().front().wire;
    EXPECT_EQ(first.method, "GET");
    EXPECT_EQ(first.target, "/api/models/maker/model/tree/main?recursive=true");
    EXPECT_EQ(first.header("authorization"), "");
    EXPECT_EQ(hub.requests()[1].wire.target, "/api/models/maker/model/tree/main?recursive=true&cursor=1");
}

TEST_F(HubWireTest, TheTokenGoesToTheHubAndNeverToItsStorage) {
    hub.setToken("hf_secret");
    settings.token = "hf_secret";
    download();
    EXPECT_EQ(there("config.json"), small);
    EXPECT_TRUE(there(weights) == large);

    std::vector<std::string> targets;
    for (const auto& [wire, atStorage, sent] : hub.requests()) {
        targets.push_back(wire.target);
        EXPECT_EQ(wire.header("authorization"), atStorage ? "" : "Bearer hf_secret") << wire.target;
        EXPECT_EQ(wire.header("range"), "");
        EXPECT_EQ(wire.header("accept-encoding"), "") << "a packed answer cannot be continued";
    }
    EXPECT_THAT(targets, UnorderedElementsAre("/api/models/maker/model/tree/main?recursive=true",
                                              "/maker/model/resolve/main/config.json",
                                              "/api/resolve-cache/models/maker/model/config.json",
                                              "/maker/model/resolve/main/weights/model%20one.safetensors",
                                              "/objects/maker/model/weights/model%20one.safetensors?signature=s"));
}

TEST_F(HubWireTest, ProgressBeginsAtNothingAndEndsAtAll) {
    download();
    ASSERT_FALSE(told.empty());
    EXPECT_EQ(told.front().received, 0u);
    EXPECT_EQ(told.back().received, large.size() + small.size());
    for (std::size_t i = 0; i < told.size(); ++i) {
        EXPECT_EQ(told[i].total, large.size() + small.size());
        EXPECT_LE(i ? told[i - 1].received : 0, told[i].received);
    }
}

TEST_F(HubWireTest, CompleteFilesAreNotFetchedAgain) {
    download();
    download();
    EXPECT_EQ(transfers().size(), 2u);
    EXPECT_EQ(told.back().received, large.size() + small.size());

    fs::remove(folder / ".snapshot.json"); // as after an interruption: now the contents are checked
    download();
    EXPECT_EQ(transfers().size(), 2u);

    publish("config.json", "{\"kind\": \"whistle\"}\n"); // same size
    download();
    EXPECT_EQ(transfers().size(), 3u);
    EXPECT_EQ(there("config.json"), "{\"kind\": \"whistle\"}\n");

    fs::remove(folder / ".snapshot.json");
    fs::resize_file(folder / weights, 5);
    download();
    EXPECT_EQ(transfers().size(), 4u);
    EXPECT_TRUE(there(weights) == large);
    EXPECT_FALSE(fs::exists(folder / ".partial"));
}

TEST_F(HubWireTest, RedirectsAreFollowedButNotInCirclesNorOutOfTheWeb) {
    const auto faultWith = [&](const std::string& location) {
        const LoopbackServer elsewhere([&](const WireRequest&, std::stop_token) -> WireAnswer {
            return {"HTTP/1.1 302 Found\r\nLocation: " + location + "\r\nContent-Length: 0\r\n\r\n"};
        });
        settings.endpoint = elsewhere.url();
        try {
            hubClient().listFiles(repo, {}, {});
        } catch (const HubError& error) {
            EXPECT_EQ(error.kind, Kind::badReply);
            return std::string(error.what());
        }
        return std::string("no error");
    };
    EXPECT_THAT(faultWith("/api/models/maker/renamed"), HasSubstr("in a circle"));
    EXPECT_THAT(faultWith("ftp://127.0.0.1/"), HasSubstr("an unusable address"));
    EXPECT_THAT(faultWith("file:///etc/passwd"), HasSubstr("an unusable address"));
    EXPECT_THAT(faultWith(""), HasSubstr("an unusable address"));
}

TEST_F(HubWireTest, AListingThatGoesOnAtAnotherHostIsRefused) {
    const LoopbackServer evil([](const WireRequest&, std::stop_token) { return httpAnswer(200, "", "[]"); });
    const LoopbackServer first([&](const WireRequest&, std::stop_token) -> WireAnswer {
        return {"HTTP/1.1 200 Fine\r\nLink: <" + evil.url() + "/api>; rel=\"next\"\r\nContent-Length: 2\r\n\r\n[]"};
    });
    settings.endpoint = first.url();
    settings.token = "hf_secret";
    EXPECT_EQ(failure().kind, Kind::badReply);
    EXPECT_EQ(evil.connections(), 0);
}

TEST_F(HubWireTest, SettingsComeFromTheEnvironment) {
    const auto with = [](const char* endpoint, const char* token, const char* offline) {
        const EnvironmentVariable endpointSet("HF_ENDPOINT", endpoint), tokenSet("HF_TOKEN", token);
        const EnvironmentVariable offlineSet("HF_HUB_OFFLINE", offline);
        return HubSettings::fromEnvironment();
    };
    const HubSettings given = with("http://hub.example/", " hf_secret\n", "1");
    EXPECT_EQ(given.endpoint, "http://hub.example/");
    EXPECT_EQ(given.token, "hf_secret");
    EXPECT_TRUE(given.offline);
    EXPECT_TRUE(with("", "", "TRUE").offline);
    EXPECT_FALSE(with("", "", "0").offline);
    EXPECT_EQ(with("", "", "").endpoint, HubSettings().endpoint);
    EXPECT_FALSE(with(nullptr, nullptr, nullptr).offline);

    settings.endpoint += "/";
    EXPECT_EQ(hubClient().listFiles(repo, {}, {}).size(), 2u);
    EXPECT_EQ(hub.requests().front().wire.target.find("//"), std::string::npos);
}
