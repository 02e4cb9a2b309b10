#include "shell/home/OfflineModels.h"

#include "support/VirtualTime.h"

#include <gmock/gmock.h>

using namespace fenlo;
using namespace fenlo::test;
using ::testing::HasSubstr;

namespace {

constexpr const char* smallName = "openai_whisper-small";
constexpr const char* tinyName = "openai_whisper-tiny.en";
constexpr std::uint64_t gigabyte = 1'000'000'000;

struct OfflineModelsTest : ::testing::Test {
    OfflineModelsTest() {
        work.installed = [this] { return installed; };
        work.fetchable = [this](std::stop_token) {
            if (!hubFault.empty())
                throw std::runtime_error(hubFault);
            return fetchable;
        };
        work.downloadSize = [](const std::string& name, std::stop_token) {
            return name == smallName ? gigabyte : gigabyte / 10;
        };
        work.download = [this](const std::string& name, const LocalTranscriber::Steps& steps, std::stop_token stop) {
            onDownload(steps, stop);
            installed.push_back({name, 1'300'000'000, true, true});
            std::erase_if(fetchable, [&](const auto& model) { return model.name == name; });
        };
        work.remove = [this](const std::string& name) {
            std::erase_if(installed, [&](const auto& model) { return model.name == name; });
            fetchable.push_back({name, 0});
        };
        work.measure = [this](const std::string&, std::stop_token) { return speed; };
        work.freeDisk = [this] { return freeDisk; };
    }
    OfflineModels& model() {
        if (!made)
            made = std::make_unique<OfflineModels>(
                OfflineModels::Services{work, queue, background, "small", [this] { return isOffline; }, 8 * gigabyte});
        return *made;
    }
    void settle() {
        while (background.pending() > 0) {
            background.runAll();
            queue.runPosted();
        }
    }
    const OfflineModelRow& row(const std::string& name) {
        return *std::ranges::find(model().rows(), name, &OfflineModelRow::name);
    }

    VirtualClock clock;
    VirtualMainQueue queue{clock};
    ManualBackground background;
    ModelWork work;
    std::vector<ModelWork::Installed> installed;
    std::vector<ModelWork::Fetchable> fetchable{{tinyName, 0}, {smallName, 0}};
    std::string hubFault;
    std::function<void(const LocalTranscriber::Steps&, std::stop_token)> onDownload = [](const auto&, auto) {};
    double speed = 1.23;
    std::uint64_t freeDisk = 100 * gigabyte;
    bool isOffline = false;
    std::unique_ptr<OfflineModels> made;
};

} // namespace

TEST_F(OfflineModelsTest, InstalledOnesAreShownWhateverTheHubSays) {
    installed = {{"micro", 20'000'000, true, true}};
    hubFault = "the hub cannot be reached";
    EXPECT_EQ(model().state(), OfflineModels::State::loading);
    model().refresh();
    settle();
    ASSERT_EQ(model().rows().size(), 1u);
    EXPECT_EQ(model().rows()[0].status(), "20 MB on the disk");
    EXPECT_EQ(model().note().text, "The models to download cannot be listed: the hub cannot be reached.");

    hubFault.clear();
    model().refresh();
    settle();
    EXPECT_EQ(model().note().kind, Note::Kind::none);
    EXPECT_EQ(model().rows()[1].name, smallName) << "offline mode's comes first of those to download";
    EXPECT_EQ(row(smallName).status(), "Download of 1.0 GB");
    EXPECT_EQ(row(tinyName).label, "Whisper tiny, English only");
}

TEST_F(OfflineModelsTest, ADownloadShowsItsBytesAndGoesOnAfterACancel) {
    model().refresh();
    settle();
    int looks = 0;
    onDownload = [&](const LocalTranscriber::Steps& steps, std::stop_token stop) {
        steps({SetupStep::Kind::downloading, 250'000'000, gigabyte});
        queue.advance(0.3);
        EXPECT_EQ(row(smallName).status(), "Downloading, 250 MB of 1.0 GB");
        EXPECT_EQ(row(smallName).fraction(), 0.25);
        model().download(tinyName);
        EXPECT_EQ(row(tinyName).job, OfflineModelRow::Job::none) << "one at a time";
        if (looks++ > 0)
            return steps({SetupStep::Kind::preparing, 500, 1000});
        model().cancel();
        EXPECT_TRUE(stop.stop_requested());
        EXPECT_EQ(row(smallName).status(), "Stopping…");
        fetchable[1].received = 250'000'000;
        throw std::runtime_error("cancelled");
    };
    model().download(smallName);
    settle();
    EXPECT_FALSE(model().isBusy());
    EXPECT_EQ(row(smallName).note.text, "") << "the user knows";
    EXPECT_EQ(row(smallName).status(), "250 MB of 1.0 GB downloaded");
    EXPECT_EQ(row(smallName).downloadVerb(), "Resume");
    model().download(smallName);
    settle();
    EXPECT_EQ(row(smallName).status(), "1.3 GB on the disk, the model of offline mode");
    EXPECT_EQ(row(smallName).note.kind, Note::Kind::good);
}

TEST_F(OfflineModelsTest, WhatKeepsAModelFromBeingFetchedIsOneSentence) {
    EXPECT_EQ(modelObstacle(6 * gigabyte, 0, 100 * gigabyte, 2 * gigabyte),
              "This model needs about 4.0 GB of memory, and this machine has 2.0 GB.");
    EXPECT_EQ(modelObstacle(gigabyte, gigabyte / 2, 2 * gigabyte, 0), "");
    model().refresh();
    settle();
    freeDisk = gigabyte;
    model().download(smallName);
    settle();
    EXPECT_EQ(row(smallName).note.text, "The disk is too full: this model needs 1.6 GB, and 1.0 GB are free.");
    freeDisk = 100 * gigabyte;
    onDownload = [](const auto&, auto) { throw std::runtime_error("no space left on the device"); };
    model().download(smallName);
    settle();
    EXPECT_EQ(row(smallName).note.text, "It failed: no space left on the device.");
    onDownload = [&](const LocalTranscriber::Steps& steps, auto) {
        steps({SetupStep::Kind::downloading, 250'000'000, gigabyte});
        freeDisk = 4096;
        throw std::runtime_error("a text for the command line");
    };
    model().download(smallName);
    settle();
    EXPECT_EQ(row(smallName).note.text, "The disk is full: 750 MB more are needed; free some space and press Resume, "
                                        "what was downloaded is kept.");
}

TEST_F(OfflineModelsTest, AnInstalledModelIsMeasuredAndRemoved) {
    installed = {{smallName, gigabyte, true, true}};
    fetchable.clear();
    model().refresh();
    settle();
    model().measure(smallName);
    settle();
    EXPECT_EQ(row(smallName).note.text, "A short sentence takes 1.2 s on this machine.");
    speed = 9;
    model().measure(smallName);
    settle();
    EXPECT_THAT(row(smallName).note.text, HasSubstr("Slow on this machine"));

    isOffline = true;
    model().remove(smallName);
    settle();
    EXPECT_TRUE(row(smallName).isInstalled);
    EXPECT_THAT(row(smallName).note.text, HasSubstr("Turn offline mode off first"));
    isOffline = false;
    model().remove(smallName);
    settle();
    EXPECT_FALSE(row(smallName).isInstalled);
    EXPECT_EQ(row(smallName).status(), "Download of 1.0 GB");
}
