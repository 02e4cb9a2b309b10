// Everything that goes wrong between a hub and a disk.

#include "HubFixture.h"

#include "support/ScarceDisk.h"

using namespace fenlo;
using namespace fenlo::hub;
using namespace fenlo::test;
using ::testing::HasSubstr;
namespace fs = std::filesystem;

using DownloadFaultsTest = HubFixture;

TEST_F(DownloadFaultsTest, ABrokenDownloadGoesOnWhereItStopped) {
    hub.hit({.mode = "drop", .after = 1'000'000, .times = 2});
    download(onlyLarge);
    EXPECT_TRUE(there(weights) == large);

    const auto came = transfers();
    ASSERT_EQ(came.size(), 3u);
    EXPECT_EQ(came[0].wire.header("range"), "");
    EXPECT_EQ(came[1].wire.header("range"), "bytes=1000000-");
    EXPECT_EQ(came[2].wire.header("range"), "bytes=2000000-");
    const std::string tag = "\"" + test::sha256(large).substr(0, 32) + "\"";
    EXPECT_EQ(came[1].wire.header("if-range"), tag);
    EXPECT_EQ(came[0].sent + came[1].sent + came[2].sent, large.size()) << "no byte twice";
}

TEST_F(DownloadFaultsTest, WhatCannotBeContinuedStartsOver) {
    // The hub has another version of the file, cannot send ranges, or sends a wrong range.
    for (const char* mode : {"tag", "no-ranges", "range"}) {
        interruptAfter(700'000);
        hub.hit({.mode = mode, .times = 1});
        download(onlyLarge);
        EXPECT_TRUE(there(weights) == large) << mode;
        EXPECT_FALSE(fs::exists(folder / ".partial"));
        fs::remove_all(folder);
    }
    // A weak ETag does not promise the same bytes.
    hub.hit({.mode = "weak", .times = 1});
    {
        const ScarceDisk scarce(1'000'000);
        EXPECT_EQ(failure(onlyLarge).kind, Kind::diskFull);
    }
    download(onlyLarge);
    EXPECT_EQ(transfers().back().wire.header("range"), "");
    EXPECT_TRUE(there(weights) == large);
}

TEST_F(DownloadFaultsTest, APartOfAnOldVersionIsNotContinued) {
    interruptAfter(700'000);
    const std::string newer = std::string(2'000'000, 'n');
    publish(weights, newer);
    download(onlyLarge);
    EXPECT_EQ(transfers().back().wire.header("range"), "");
    EXPECT_TRUE(there(weights) == newer);
}

TEST_F(DownloadFaultsTest, DamagedContentNeverGetsItsName) {
    hub.hit({.mode = "content", .times = 1});
    download(onlyLarge);
    EXPECT_TRUE(there(weights) == large) << "a second attempt may be right";
    fs::remove_all(folder);

    struct Case {
        LoopbackHub::Fault fault;
        std::string message;
        std::string file = "weights/model one.safetensors";
    };
    for (const Case& test :
         {Case{{.mode = "content", .times = 9}, "is not what the hub lists"},
          Case{{.mode = "hash", .inListing = true, .times = 2}, "has another maker/model/weights/"},
          Case{{.mode = "hash", .inListing = true, .times = 2}, "is not what the hub lists", "config.json"},
          Case{{.mode = "size", .inListing = true, .times = 2}, "with 2500000 bytes but lists it with 2500001"},
          Case{{.mode = "content", .times = 9}, "is not what the hub lists", "config.json"},
          Case{{.mode = "endless", .times = 2}, "sends more of"}}) {
        hub.hit(test.fault);
        const HubError error = failure({test.file});
        EXPECT_EQ(error.kind, Kind::damaged) << test.fault.mode;
        EXPECT_THAT(error.what(), HasSubstr(test.message));
        EXPECT_FALSE(fs::exists(folder / test.file));
        EXPECT_FALSE(fs::exists(folder / ".snapshot.json"));
        fs::remove_all(folder);
    }
}

TEST_F(DownloadFaultsTest, RefusalsNameTheRemedy) {
    struct Case {
        int status;
        Kind kind;
        std::string remedy;
    };
    for (const Case& test : {Case{401, Kind::unauthorized, "set HF_TOKEN to a token that may read maker/model"},
                             Case{403, Kind::unauthorized, "set HF_TOKEN to a token that may read maker/model"},
                             Case{404, Kind::notFound, "check the name of the repository"},
                             Case{418, Kind::badReply, "(status 418); check HF_ENDPOINT"}}) {
        hub.hit({.mode = "status", .inListing = true, .status = test.status});
        const HubError error = failure();
        EXPECT_EQ(error.kind, test.kind) << test.status;
        EXPECT_THAT(error.what(), HasSubstr(test.remedy));
    }
    EXPECT_EQ(hub.requests().size(), 4u) << "none of these is retried";

    hub.setToken("hf_right");
    settings.token = "hf_secret";
    EXPECT_EQ(failure().kind, Kind::unauthorized);
    EXPECT_EQ(failure({"*none*"}).kind, Kind::unauthorized);
    settings.token = "hf_right";
    EXPECT_EQ(failure({"*none*"}).kind, Kind::notFound);
    settings.endpoint = "hub.example";
    EXPECT_THAT(failure().what(), HasSubstr("check HF_ENDPOINT"));
}

TEST_F(DownloadFaultsTest, PassingFaultsAreRetriedAtGrowingIntervals) {
    double start = clock.now();
    hub.hit({.mode = "status", .inListing = true, .times = 3, .status = 503});
    download();
    EXPECT_NEAR(clock.now() - start, 1 + 2 + 4, 0.01);

    start = clock.now();
    hub.hit({.mode = "status", .inListing = true, .times = 1, .status = 429, .retryAfter = "17"});
    fs::remove_all(folder);
    download();
    EXPECT_NEAR(clock.now() - start, 17, 0.01);

    fs::remove_all(folder);
    hub.hit({.mode = "status", .times = 99, .status = 500});
    const std::size_t before = transfers().size();
    HubError error = failure({"config.json"});
    EXPECT_EQ(error.kind, Kind::network);
    EXPECT_THAT(error.what(), HasSubstr("maker/model/config.json (status 500); try again later"));
    EXPECT_EQ(transfers().size(), before + 5);

    start = clock.now();
    hub.hit({.mode = "status", .inListing = true, .times = 9, .status = 429, .retryAfter = "86400"});
    EXPECT_THAT(failure().what(), HasSubstr("status 429"));
    EXPECT_EQ(clock.now(), start) << "no wait for a day";

    // An expired address of the storage is replaced by a fresh one.
    hub.hit({.mode = "status", .times = 1, .status = 403});
    download(onlyLarge);
    EXPECT_TRUE(there(weights) == large);

    settings.endpoint = "http://127.0.0.1:1";
    fs::remove_all(folder);
    error = failure();
    EXPECT_EQ(error.kind, Kind::network);
    EXPECT_THAT(error.what(), HasSubstr("connection refused; check the network"));
}

TEST_F(DownloadFaultsTest, BreaksDoNotEndADownloadThatProgresses) {
    hub.hit({.mode = "drop", .after = 100'000, .times = 20});
    download(onlyLarge);
    EXPECT_TRUE(there(weights) == large) << "each attempt brought something";
    fs::remove_all(folder);
    hub.hit({.mode = "drop", .after = 0, .times = 20});
    EXPECT_EQ(failure(onlyLarge).kind, Kind::network);
}

TEST_F(DownloadFaultsTest, AStalledDownloadIsTakenUpAgain) {
    settings.idleLimit = 0.7;
    hub.hit({.mode = "stall", .after = 1'000'000, .times = 1});
    download(onlyLarge);
    EXPECT_TRUE(there(weights) == large);
    EXPECT_EQ(transfers().back().wire.header("range"), "bytes=1000000-");
}

TEST_F(DownloadFaultsTest, AHubThatSendsNextToNothingIsNotRetried) {
    settings.idleLimit = 0.7;
    const double start = clock.now();
    hub.hit({.mode = "trickle", .after = 600, .times = 9}); // too little in all
    HubError error = failure(onlyLarge);
    EXPECT_EQ(error.kind, Kind::network);
    EXPECT_THAT(error.what(), HasSubstr("sent less than 1.0 KB/s for 0.7s; check the network"));
    EXPECT_GE(kept(), 600u);
    const std::string host = settings.endpoint.substr(std::string("http://").size());
    hub.hit({.mode = "stall", .inListing = true, .times = 9});
    EXPECT_THAT(failure().what(), HasSubstr(host + " sent nothing for 0.7s; check the network"));
    EXPECT_EQ(transfers().size(), 1u);
    EXPECT_EQ(clock.now(), start) << "no pause, since there is no other attempt";

    hub.hit({});
    download(onlyLarge);
    EXPECT_TRUE(there(weights) == large);
    EXPECT_NE(transfers().back().wire.header("range"), "") << "what had come was kept";
}

TEST_F(DownloadFaultsTest, OtherRepliesThanListingsAreRefused) {
    for (const char* mode : {"garbage", "endless"}) {
        hub.hit({.mode = mode, .inListing = true});
        EXPECT_EQ(failure().kind, Kind::badReply) << mode;
    }
    const auto file = [](const std::string& path, const std::string& rest) {
        return R"([{"type": "file", "path": ")" + path + R"(", )" + rest + "}]";
    };
    for (const std::string& listing :
         {std::string("{}"), std::string("[1]"), std::string("["), file("a", R"("size": -1)"),
          file("a", R"("size": "5")"), file("a", R"("size": 18446744073709551615)"),
          file("a", R"("lfs": {"size": null})"), file("../a", R"("size": 1)"), file("/etc/a", R"("size": 1)"),
          file("a\\\\b", R"("size": 1)"), file("a\\u0000", R"("size": 1)"), file(".snapshot.json", R"("size": 1)"),
          std::string(R"([{"type": "file", "size": 1}])"),
          std::string(R"([{"type": "file", "path": "a", "size": 1}, {"type": "file", "path": "a", "size": 1}])")}) {
        hub.setListing(listing);
        EXPECT_EQ(failure().kind, Kind::badReply) << listing;
    }
    EXPECT_FALSE(fs::exists(folder.parent_path() / "a"));
}

TEST_F(DownloadFaultsTest, FreeSpaceIsCheckedBeforehand) {
    hub.setListing(R"([{"type": "file", "path": "huge.bin", "size": 10000000000000}])");
    const HubError error = failure();
    EXPECT_EQ(error.kind, Kind::diskFull);
    EXPECT_THAT(error.what(), HasSubstr("maker/model: 10000.0 GB more are needed in " + folder.string()));
    EXPECT_THAT(error.what(), HasSubstr("are free; free some space and try again"));
    EXPECT_TRUE(transfers().empty());
}

TEST_F(DownloadFaultsTest, ADiskThatRunsFullKeepsWhatCame) {
    {
        const ScarceDisk scarce(1'500'000);
        const HubError error = failure(onlyLarge);
        EXPECT_EQ(error.kind, Kind::diskFull);
        EXPECT_THAT(error.what(), HasSubstr("1.0 MB more are needed"));
    }
    EXPECT_EQ(kept(), 1'500'000u);
    download(onlyLarge);
    EXPECT_TRUE(there(weights) == large);
    EXPECT_EQ(transfers().back().wire.header("range"), "bytes=1500000-");
}
