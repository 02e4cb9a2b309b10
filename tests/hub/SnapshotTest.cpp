// The folder of a snapshot: its files, who may write there, and what works without a network.

#include "HubFixture.h"

#include "hub/FolderLock.h"
#include "hub/SnapshotManifest.h"
#include "support/LogCapture.h"
#include "support/WaitUntil.h"

#include <fcntl.h>
#include <sys/file.h>
#include <thread>

using namespace fenlo;
using namespace fenlo::hub;
using namespace fenlo::test;
using ::testing::HasSubstr;
namespace fs = std::filesystem;

namespace {

class SnapshotTest : public HubFixture {
protected:
    void goOffline() { settings.offline = true; }
    void loseTheNetwork() { settings.endpoint = "http://127.0.0.1:1"; }
    std::size_t requestsSoFar() const { return hub.requests().size(); }
};

} // namespace

TEST_F(SnapshotTest, OfflineOnlyACompleteSnapshotIsUsed) {
    download({"config.json"});
    const std::size_t before = requestsSoFar();
    goOffline();
    download({"config.json"});
    EXPECT_THAT(failure({"config.json", "weights/*"}).what(), HasSubstr("HF_HUB_OFFLINE"));
    EXPECT_EQ(failure({}).kind, Kind::offline);
    EXPECT_THROW(hubClient().listFiles(repo, {}, {}), HubError);
    EXPECT_EQ(requestsSoFar(), before);

    settings.offline = false;
    download();
    goOffline();
    download();
    download({"weights/*"});
    download({"config.json"});
    fs::resize_file(folder / weights, 3);
    EXPECT_EQ(failure().kind, Kind::offline);
    download({"config.json"});
    EXPECT_THROW(hubClient().snapshot({"maker/other"}, {}, folder, {}, {}), HubError);
}

TEST_F(SnapshotTest, WithoutANetworkCompleteFilesAreUsedAtOnce) {
    loseTheNetwork();
    EXPECT_EQ(failure().kind, Kind::network);
    settings.endpoint = hub.server().url();
    download();

    loseTheNetwork();
    const double start = clock.now();
    const LogCapture logged;
    download();
    EXPECT_EQ(clock.now(), start) << "no retries when everything is on the disk";
    EXPECT_TRUE(logged.containsPrefix("[Fenlo] Using " + folder.string() + " as it is: could not download"));

    settings.endpoint = hub.server().url();
    hub.hit({.mode = "garbage", .inListing = true}); // a sign-in page of the network
    download();
    hub.hit({.mode = "status", .inListing = true, .status = 401});
    EXPECT_EQ(failure().kind, Kind::unauthorized) << "the hub did answer";
}

TEST_F(SnapshotTest, AHalfDoneUpdateIsNotComplete) {
    download();
    publish("config.json", "{}");
    publish(weights, large + "more");
    hub.hit({.mode = "drop", .after = 1000, .times = 99}); // the small file arrives first
    std::stop_source stop;
    clock.onSleep = [&](double) {
        EXPECT_TRUE(waitUntil(60, [&] { return there("config.json") == "{}"; }));
        stop.request_stop();
    };
    EXPECT_EQ(failure({}, stop.get_token()).kind, Kind::cancelled);
    goOffline();
    EXPECT_EQ(failure().kind, Kind::offline) << "half old, half new";

    clock.onSleep = {};
    settings.offline = false;
    hub.hit({.mode = "drop", .times = 0});
    download();
    goOffline();
    download();
    EXPECT_TRUE(there(weights) == large + "more");
}

TEST_F(SnapshotTest, LinksInTheFolderAreNotFollowed) {
    const fs::path outside = root / "outside";
    fs::create_directories(outside);
    fs::create_directories(folder);
    for (const char* name : {"weights", ".partial"}) {
        fs::remove_all(folder / name);
        fs::create_directory_symlink(outside, folder / name);
        const HubError error = failure();
        EXPECT_EQ(error.kind, Kind::disk);
        EXPECT_THAT(error.what(), HasSubstr((folder / name).string() + ": it is no plain folder"));
        fs::remove(folder / name);
    }
    ASSERT_TRUE(files::writeAtomically(outside / "precious", "p"));
    fs::remove(folder / "config.json");
    fs::create_symlink(outside / "precious", folder / "config.json");
    EXPECT_THAT(failure().what(), HasSubstr("it is no plain file"));
    fs::remove(folder / "config.json");
    fs::remove(folder / ".lock");
    fs::create_symlink(outside / "precious", folder / ".lock");
    EXPECT_EQ(failure().kind, Kind::disk);
    EXPECT_EQ(files::read(outside / "precious"), "p");
    EXPECT_EQ(std::distance(fs::directory_iterator(outside), {}), 1);
}

TEST_F(SnapshotTest, AnImpossibleFolderIsReportedInOneLine) {
    fs::create_directories(folder.parent_path());
    ASSERT_TRUE(files::writeAtomically(folder, "a file"));
    EXPECT_THAT(failure().what(), HasSubstr("cannot make the folder " + folder.string()));
    fs::remove(folder);
    fs::create_directories(folder / "config.json");
    EXPECT_EQ(failure().kind, Kind::disk);
}

TEST_F(SnapshotTest, ASecondDownloadWaitsForTheFirst) {
    fs::create_directories(folder);
    auto first = std::make_unique<FolderLock>(folder, clock, std::stop_token());
    int asked = 0;
    clock.onSleep = [&](double) {
        if (++asked == 3)
            first.reset();
    };
    const LogCapture logged;
    download();
    EXPECT_EQ(asked, 3);
    EXPECT_TRUE(logged.containsPrefix("[Fenlo] Another download into " + folder.string() + " is under way"));
    EXPECT_EQ(there("config.json"), small);

    first = std::make_unique<FolderLock>(folder, clock, std::stop_token());
    std::stop_source stop;
    clock.onSleep = [&](double) { stop.request_stop(); };
    EXPECT_EQ(failure({}, stop.get_token()).kind, Kind::cancelled);
}

TEST_F(SnapshotTest, CancellingEndsAllWorkersAtOnceAndKeepsWhatCame) {
    for (int i = 0; i < 6; ++i)
        publish("more/" + std::to_string(i) + ".bin", large + std::to_string(i));
    hub.hit({.mode = "stall", .after = 500'000, .times = 99});
    std::stop_source stop;
    std::chrono::steady_clock::time_point asked;
    try {
        hubClient().snapshot(
            repo, {{"more/*"}}, folder,
            [&](DownloadProgress now) {
                if (now.received == 4 * 500'000) {
                    asked = std::chrono::steady_clock::now();
                    stop.request_stop();
                }
            },
            stop.get_token());
        ADD_FAILURE() << "the download succeeded";
    } catch (const HubError& error) {
        EXPECT_EQ(error.kind, Kind::cancelled);
    }
    EXPECT_LT(std::chrono::steady_clock::now() - asked, std::chrono::milliseconds(500));
    hub.hit({.mode = "stall", .times = 0});
    const std::size_t before = transfers().size();
    EXPECT_EQ(before, 4u) << "four side by side";
    download({"more/*"});
    std::uint64_t sent = 0;
    for (const auto& received : transfers())
        sent += received.sent;
    EXPECT_EQ(sent, 6 * (large.size() + 1)) << "no byte twice";
}

TEST_F(SnapshotTest, TheFirstFailureEndsTheOthersAndAListenersFaultPassesThrough) {
    publish("a-first.bin", large);
    hub.hit({.mode = "stall", .times = 99});
    hub.setListing(R"([{"type": "file", "path": ")" + weights + R"(", "size": 2500000},)" +
                   R"({"type": "file", "path": "gone.bin", "size": 5}])");
    EXPECT_EQ(failure().kind, Kind::notFound) << "without waiting for the stalled one";

    hub.setListing("");
    struct Fault {};
    EXPECT_THROW(hubClient().snapshot(repo, {}, folder, [](DownloadProgress) { throw Fault(); }, {}), Fault);
}

TEST(SnapshotManifest, DamagedManifestsAreIgnored) {
    const SnapshotManifest manifest{
        {"a/b"}, {{"*"}, {"c*", {"cd", "ce"}}}, {{"c", 5, std::string(64, 'a'), {}}, {"d/e", 0, {}, {}}}};
    const auto back = SnapshotManifest::parse(manifest.text());
    ASSERT_TRUE(back);
    EXPECT_EQ(back->text(), manifest.text());
    EXPECT_EQ(back->done, manifest.done);
    EXPECT_TRUE(back->names(manifest.files[0]));
    EXPECT_FALSE(back->names({"c", 5, std::string(64, 'b'), {}}));
    for (const char* content :
         {"", "[]", "{}", R"({"repo": 1})", R"({"repo": "a", "revision": "m", "globs": 5, "files": []})",
          R"({"repo": "a", "revision": "m", "globs": [], "files": [{"path": "../x", "size": 1}]})",
          R"({"repo": "a", "revision": "m", "globs": [], "files": [{"path": "x", "size": "1"}]})"})
        EXPECT_FALSE(SnapshotManifest::parse(content)) << content;
}
