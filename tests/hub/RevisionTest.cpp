// Revisions, subfolders and patterns, and repositories that change while they are downloaded.

#include "HubFixture.h"

#include "support/WaitUntil.h"

#include <functional>

using namespace fenlo;
using namespace fenlo::hub;
using namespace fenlo::test;
using ::testing::HasSubstr;
namespace fs = std::filesystem;

namespace {

class RevisionTest : public HubFixture {
protected:
    void fetch(const FilePatterns& wanted) { hubClient().snapshot(repo, wanted, folder, {}, {}); }
    bool isHere(const std::string& path) const { return fs::exists(folder / path); }
    std::size_t requestsFor(const std::string& part) const {
        const auto all = hub.requests();
        return static_cast<std::size_t>(std::ranges::count_if(all, [&](const LoopbackHub::Received& received) {
            return received.wire.target.find(part) != std::string::npos;
        }));
    }
    std::size_t listings() const { return requestsFor("/tree/"); }

    const std::string commit = "0123456789abcdef0123456789abcdef01234567";
};

} // namespace

TEST_F(RevisionTest, ARevisionIsFetchedAndAnotherOneInTheFolderIsNotTakenForIt) {
    publish("config.json", "of the branch", "maker/model@feature+x");
    publish("extra.json", "{}", "maker/model@feature+x");
    repo.revision = "feature/x";
    download();
    EXPECT_EQ(there("config.json"), "of the branch");
    EXPECT_EQ(hub.requests().front().wire.target, "/api/models/maker/model/tree/feature%2Fx?recursive=true");
    EXPECT_EQ(requestsFor("/maker/model/resolve/feature%2Fx/config.json"), 1u);

    settings.offline = true;
    download();
    repo.revision = "main";
    EXPECT_EQ(failure().kind, Kind::offline);
    settings.offline = false;
    download();
    EXPECT_EQ(there("config.json"), small);
    EXPECT_TRUE(there(weights) == large);
    EXPECT_FALSE(isHere("extra.json")) << "the other revision's";
    settings.offline = true;
    download();
    repo.revision = "feature/x";
    EXPECT_EQ(failure().kind, Kind::offline);
}

TEST_F(RevisionTest, WithoutHashesSizesOfAnotherRevisionProveNothing) {
    publish("a", "new", "maker/model@v2");
    publish("a", "old");
    hub.setListing(R"([{"type": "file", "path": "a", "size": 3}])");
    download();
    EXPECT_EQ(there("a"), "old");
    repo.revision = "v2";
    download();
    EXPECT_EQ(there("a"), "new");
}

TEST_F(RevisionTest, FoldersOfEarlierProgramsStayValid) {
    download();
    const std::string path = folder / ".snapshot.json";
    const std::string record = files::read(path).value();
    EXPECT_THAT(record, HasSubstr("\"revision\": \"main\""));
    EXPECT_EQ(record.find("subfolder"), std::string::npos);
    ASSERT_TRUE(files::writeAtomically(
        folder / ".snapshot.json", R"({"repo": "maker/model", "revision": "main", "globs": ["*.json", "weights/*"],)"
                                   R"("files": [{"path": "config.json", "size": )" +
                                       std::to_string(small.size()) + "}]}"));
    settings.offline = true;
    download({"*.json", "weights/*"});
    EXPECT_EQ(failure({"*.txt"}).kind, Kind::offline);
}

TEST_F(RevisionTest, WhatACommitNamesIsNotAskedForAgain) {
    publish("config.json", "fixed", "maker/model@" + commit);
    repo.revision = commit;
    download();
    const std::size_t before = hub.requests().size();
    download();
    EXPECT_EQ(hub.requests().size(), before);
    fs::remove(folder / "config.json");
    download();
    EXPECT_EQ(there("config.json"), "fixed");
}

TEST_F(RevisionTest, ASubfolderIsARepositoryOfItsOwn) {
    publish("unet/config.json", "unet");
    publish("unet/deep/one two.bin", large);
    repo.subfolder = "unet";
    const auto listed = hubClient().listFiles(repo, {{"deep/*"}}, {});
    ASSERT_EQ(listed.size(), 1u);
    EXPECT_EQ(listed[0].path, "deep/one two.bin");
    EXPECT_EQ(hub.requests().front().wire.target, "/api/models/maker/model/tree/main/unet?recursive=true");
    download();
    EXPECT_EQ(there("config.json"), "unet");
    EXPECT_TRUE(there("deep/one two.bin") == large);
    settings.offline = true;
    download();
    repo.subfolder = "";
    EXPECT_EQ(failure().kind, Kind::offline) << "another folder's files";

    settings.offline = false;
    repo.subfolder = "none";
    const HubError missing = failure();
    EXPECT_EQ(missing.kind, Kind::notFound);
    EXPECT_THAT(missing.what(), HasSubstr("no maker/model/none (status 404); check the name"));
    repo.subfolder = "unet";
    fs::remove_all(folder);
    hub.setListing(R"([{"type": "file", "path": "config.json", "size": 3}])");
    EXPECT_THAT(failure().what(), HasSubstr("\"config.json\", which is not in unet"));
}

TEST_F(RevisionTest, HostileRevisionsAndSubfoldersAreRefusedAtTheDoor) {
    for (const char* revision : {"", "../../secrets", "main?x=1", "a b", "-rf"}) {
        repo.revision = revision;
        EXPECT_THAT(failure().what(), HasSubstr("is no revision of maker/model; check that")) << revision;
    }
    repo.revision = "main";
    for (const char* subfolder : {"/", "../x", "a/../../x", "a//b", "a/", "a\\b", "a\nb"}) {
        repo.subfolder = subfolder;
        EXPECT_THAT(failure().what(), HasSubstr("is no folder of maker/model; check that")) << subfolder;
    }
    EXPECT_TRUE(hub.requests().empty());
    EXPECT_FALSE(fs::exists(folder));
}

TEST_F(RevisionTest, IgnoredFilesAreLeftOutAndTheRecordKnowsIt) {
    publish("notes.txt", "n");
    publish("readme.md", "r");
    fetch({{}, {"weights/", "*.md"}});
    EXPECT_TRUE(isHere("config.json") && isHere("notes.txt"));
    EXPECT_FALSE(isHere("readme.md") || isHere(weights));
    fetch({{"*.md"}, {}});

    settings.offline = true;
    fetch({{}, {"*.md", "weights/"}});
    fetch({{"*.txt"}, {"*.md", "weights/", "more"}});
    fetch({{"*.md"}, {}});
    EXPECT_THROW(fetch({{}, {}}), HubError);
    EXPECT_THROW(fetch({{}, {"weights/"}}), HubError);
    EXPECT_THROW(fetch({{"*.txt"}, {}}), HubError) << "a text below \"weights\" would have been left out";
}

TEST_F(RevisionTest, AMovedBranchLeavesNoFilesOfItsOldPlaceBehind) {
    publish("old.json", "{}");
    publish("mine.json", "{}");
    download();
    ASSERT_TRUE(files::writeAtomically(folder / "mine.json", "[]"));
    ASSERT_TRUE(files::writeAtomically(folder / "own.txt", "never published"));
    for (const char* gone : {"old.json", "mine.json"})
        fs::remove(root / "served" / repo.name / gone);
    publish("config.json", "moved");
    download({"weights/*"});
    EXPECT_TRUE(isHere("old.json")) << "not what was asked for";
    download();
    EXPECT_EQ(there("config.json"), "moved");
    EXPECT_FALSE(isHere("old.json"));
    EXPECT_EQ(there("mine.json"), "[]") << "somebody changed it";
    EXPECT_TRUE(isHere("own.txt"));
    settings.offline = true;
    download();
}

TEST_F(RevisionTest, AFileThatChangesAfterTheListingIsListedAgainOnce) {
    std::string sameSize = large;
    sameSize[5] ^= 1;
    const std::string newer = std::string(2'000'000, 'n');
    const std::vector<std::pair<std::string, std::function<void()>>> changes{
        {weights, [&] { publish(weights, newer); }},                            // another size
        {weights, [&] { publish(weights, sameSize); }},                         // another hash
        {"config.json", [&] { publish("config.json", std::string(20, '#')); }}, // another small file
        {weights, [&] {                                                         // gone, and another one there
             fs::remove(root / "served" / repo.name / weights);
             publish("b.bin", "b");
         }}};
    for (const auto& [path, change] : changes) {
        publish("config.json", small);
        publish(weights, large);
        fs::remove_all(folder);
        const std::size_t before = listings();
        hub.beforeFile(path, change);
        download();
        EXPECT_EQ(listings(), before + 2);
        for (const char* file : {"config.json", weights.c_str(), "b.bin"})
            EXPECT_TRUE(there(file) == files::read(root / "served" / repo.name / file).value_or("")) << file;
        EXPECT_FALSE(isHere(".partial"));
        settings.offline = true;
        download();
        settings.offline = false;
    }
}

TEST_F(RevisionTest, AChangeInMidDownloadReplacesWhatHadCome) {
    const std::string newer = std::string(2'400'000, 'n');
    hub.hit({.mode = "drop", .after = 1'000'000, .times = 2}); // of either file; the small one is whole before
    clock.onSleep = [&](double) {                              // in the pause after the break
        EXPECT_TRUE(waitUntil(60, [&] { return there("config.json") == small; }));
        publish(weights, newer);
    };
    download();
    EXPECT_TRUE(there(weights) == newer);
    EXPECT_EQ(there("config.json"), small);
    EXPECT_EQ(requestsFor("/resolve-cache/"), 1u) << "what had arrived is not fetched again";
}

TEST_F(RevisionTest, ASecondChangeEndsInOneLine) {
    hub.beforeFile(weights, [&] {
        publish(weights, "first");
        hub.beforeFile(weights, [&] { publish(weights, "a second one"); });
    });
    const HubError changed = failure(onlyLarge);
    EXPECT_EQ(changed.kind, Kind::damaged);
    EXPECT_EQ(listings(), 2u);
    download(onlyLarge);
    EXPECT_EQ(there(weights), "a second one");

    hub.setListing(R"([{"type": "file", "path": "gone.bin", "size": 5}])");
    const HubError gone = failure();
    EXPECT_EQ(gone.kind, Kind::notFound);
    EXPECT_THAT(gone.what(), HasSubstr("lists maker/model/gone.bin but does not have it; try again later"));
}
