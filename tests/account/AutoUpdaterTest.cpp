#include "account/AutoUpdater.h"

#include "account/UpdateWords.h"
#include "account/UpdateWorld.h"
#include "support/LogCapture.h"
#include "support/ScarceDisk.h"

#include <gmock/gmock.h>

using namespace fenlo;
using namespace fenlo::test;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

namespace fs = std::filesystem;

namespace {

using Stage = AutoUpdater::Stage;

constexpr double untilFirstLook = 601;
constexpr double oneHour = 3600;

std::vector<std::string> filesIn(const fs::path& folder) {
    std::vector<std::string> names;
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(folder, error))
        names.push_back(entry.path().filename().string());
    return names;
}

class Updating : public ::testing::Test, protected UpdateWorld {
protected:
    Stage stage() const { return updater->stage(); }
    fs::path packages_() const { return folder / "cache/updates"; }

    /// What the user is told instead of an update. Nothing must be left that could be installed.
    std::string refusal() {
        check();
        if (stage() == Stage::available) {
            updater->install();
            settle();
        }
        EXPECT_THAT(packages.opened, IsEmpty());
        for (const std::string& name : filesIn(packages_()))
            EXPECT_FALSE(name.ends_with(".deb")) << name;
        return stage() == Stage::failed ? updater->fault() : "nothing was refused";
    }
    /// The same on a machine that nothing has happened on before.
    std::string refusalAfresh() {
        fs::remove_all(folder / "cache");
        fs::remove_all(folder / "data");
        updater = make();
        return refusal();
    }

    const LogCapture log;
};

} // namespace

TEST_F(Updating, ANewerReleaseIsShown_Fetched_Verified_AndHandedOver) {
    const Release release = this->release();
    serve(release);
    std::vector<Stage> stages;
    const auto watch = updater->watch([&] {
        if (stages.empty() || stages.back() != stage())
            stages.push_back(stage());
    });
    check();
    EXPECT_EQ(updater->notice(), "Fenlo 1.5.0 is available");
    EXPECT_EQ(UpdateWords::of(*updater).notes, "Faster.");
    updater->install();
    settle();
    EXPECT_THAT(stages, ElementsAre(Stage::checking, Stage::available, Stage::downloading, Stage::verifying,
                                    Stage::handedOver));
    EXPECT_THAT(packages.opened, ElementsAre(packages_() / "fenlo_1.5.0_amd64.deb"));
    EXPECT_EQ(files::read(packages.opened.front()), release.package);
    EXPECT_EQ(fs::status(packages_()).permissions(), fs::perms::owner_all);
    EXPECT_EQ(fs::status(packages.opened.front()).permissions(), fs::perms::owner_read | fs::perms::owner_write);

    // Once more: it is not downloaded a second time, but verified.
    const std::size_t asked = http.requests.size();
    check();
    updater->install();
    settle();
    EXPECT_EQ(http.requests.size(), asked + 1) << "the feed alone";
    EXPECT_EQ(packages.opened.size(), 2u);

    // The next version runs: nothing of it is left.
    updater->later();
    packages.own->version = "1.5.0";
    updater = make("1.5.0");
    updater->start();
    queue.advance(untilFirstLook);
    settle();
    EXPECT_THAT(filesIn(packages_()), IsEmpty());
}

TEST_F(Updating, WithNothingNewerItSaysSo) {
    serve(release("1.4.0"));
    check();
    EXPECT_EQ(stage(), Stage::upToDate);
    EXPECT_EQ(UpdateWords::of(*updater).title, "Fenlo 1.4.0 is the newest version.");
    packages.own->version = "1.4.1-1"; // installed while this one runs
    check();
    EXPECT_THAT(UpdateWords::of(*updater).text, HasSubstr("quit Fenlo and start it again"));
    packages.own.reset();
    serve(release());
    check();
    EXPECT_EQ(stage(), Stage::available);
    EXPECT_FALSE(updater->offer()->package) << "it did not come as a package";
    updater->install();
    settle();
    EXPECT_EQ(stage(), Stage::available);
}

TEST_F(Updating, WhatLiesIsRefusedInOneSentence) {
    const Release good = release();
    const auto told = [&](const Release& release) {
        serve(release);
        return refusalAfresh();
    };
    Release bad = good;
    bad.package[1000] ^= 1;
    EXPECT_THAT(told(bad), HasSubstr("not the one that Fenlo's makers have signed")) << "tampered with";
    bad = good;
    bad.package += "more";
    EXPECT_THAT(told(bad), HasSubstr("another length"));
    bad = good;
    bad.package.resize(1000);
    EXPECT_THAT(told(bad), HasSubstr("broke off"));
    bad = good;
    bad.signature = SigningKey('x').sign(bad.package);
    EXPECT_THAT(told(bad), HasSubstr("signed")) << "by somebody else";
    EXPECT_THAT(told(Release("1.5.0", packageText("1.3.0"), key)), HasSubstr("holds Fenlo 1.3.0 and not 1.5.0"));
    EXPECT_THAT(told(Release("1.5.0", packageText("1.4.5"), key)), HasSubstr("holds Fenlo 1.4.5 and not 1.5.0"));
    EXPECT_THAT(told(Release("1.5.0", "other 1.5.0 amd64", key)), HasSubstr("not one of Fenlo"));
    EXPECT_THAT(told(Release("1.5.0", "fenlo 1.5.0 arm64", key)), HasSubstr("not one of Fenlo"));
    EXPECT_THAT(told(Release("1.5.0", "", key)), HasSubstr("no possible length"));

    serve(good);
    for (const char* elsewhere :
         {"https://evil.example/a_amd64.deb", "http://updates.example/a_amd64.deb", "ftp://x/", ""}) {
        pages[good.address] = {302, {{"location", elsewhere}}, ""};
        EXPECT_THAT(refusalAfresh(), HasSubstr("leads to another one")) << elsewhere;
    }
    pages[good.address] = {302, {{"location", good.address}}, ""};
    EXPECT_THAT(refusalAfresh(), HasSubstr("in a circle"));
    pages[good.address] = {200, {{"content-length", "7"}}, good.package};
    EXPECT_THAT(refusalAfresh(), HasSubstr("another length"));
    pages[good.address] = {200, {}, "<html>Please sign in</html>"};
    EXPECT_THAT(refusalAfresh(), HasSubstr("broke off"));
    pages.erase(good.address);
    EXPECT_THAT(refusalAfresh(), HasSubstr("404"));
    pages[feedAddress] = {200, {}, "<html><body>Please sign in</body></html>"};
    EXPECT_THAT(refusalAfresh(), HasSubstr("no update feed"));
    pages[feedAddress] = {503, {}, ""};
    EXPECT_THAT(refusalAfresh(), HasSubstr("503"));

    const std::size_t asked = http.requests.size();
    keyText = "c29tZXRoaW5n";
    EXPECT_THAT(refusalAfresh(), HasSubstr("signing key is damaged"));
    EXPECT_EQ(http.requests.size(), asked);
}

TEST_F(Updating, FaultsOfTheNetworkAreTold_AndTriedAgain) {
    serve(release());
    const auto fine = http.onSend;
    for (const auto& [kind, words] :
         {std::pair(HttpError::Kind::connection, "check the network"),
          std::pair(HttpError::Kind::timeout, "does not answer"), std::pair(HttpError::Kind::tls, "prove"),
          std::pair(HttpError::Kind::tooLarge, "far too long")}) {
        http.onSend = [kind = kind](const HttpRequest&) -> HttpResponse { throw HttpError(kind, "no"); };
        check();
        EXPECT_THAT(updater->fault(), HasSubstr(words));
    }
    http.onSend = fine;
    updater->tryAgain();
    settle();
    ASSERT_EQ(stage(), Stage::available);

    // In the middle of the download; what came is kept.
    http.onSend = [&](const HttpRequest& request) {
        HttpResponse answer = fine(request);
        answer.body.resize(answer.body.size() / 2);
        return answer;
    };
    updater->install();
    settle();
    EXPECT_THAT(updater->fault(), HasSubstr("broke off"));
    http.onSend = fine;
    updater->tryAgain();
    settle();
    EXPECT_EQ(stage(), Stage::handedOver);
    EXPECT_EQ(http.requests.back().headers.front().first, "Range");
}

TEST_F(Updating, AFullDiskAndAFolderOfOthersAreTold) {
    serve(release());
    {
        const ScarceDisk disk(1000);
        EXPECT_THAT(refusal(), HasSubstr("cannot be saved"));
    }
    updater->tryAgain();
    settle();
    EXPECT_EQ(stage(), Stage::handedOver);
    packages.opened.clear();

    fs::remove_all(folder / "cache");
    fs::create_directories(folder / "cache");
    fs::create_directory_symlink(folder / "elsewhere", packages_());
    fs::create_directories(folder / "elsewhere");
    EXPECT_THAT(refusal(), HasSubstr("Other users"));
    fs::permissions(folder, fs::perms::all);
    EXPECT_THAT(refusalAfresh(), HasSubstr("Other users"));
    fs::permissions(folder, fs::perms::owner_all);
    updater->tryAgain();
    settle();
    EXPECT_EQ(stage(), Stage::handedOver);
}

TEST_F(Updating, NothingOlderThanWhatWasOnceVerified) {
    serve(release("1.6.0"));
    check();
    updater->install();
    settle();
    ASSERT_EQ(packages.opened.size(), 1u);
    packages.opened.clear();
    fs::remove_all(folder / "cache");
    serve(release("1.5.0"));
    updater = make(); // another run of the program
    EXPECT_THAT(refusal(), HasSubstr("though it had 1.6.0 before"));
    files::writeAtomically(folder / "data/updates.json", "no JSON");
    updater = make();
    check();
    EXPECT_EQ(stage(), Stage::available) << "and a record that cannot be read stops nobody";

    serve(release("999.0"));
    pages[release().address].body[1000] ^= 1;
    EXPECT_THAT(refusal(), HasSubstr("signed"));
    serve(release("1.5.0"));
    check();
    EXPECT_EQ(stage(), Stage::available) << "a number that only a feed named is not remembered";
}

TEST_F(Updating, WhatIsChangedAfterTheCheckIsNotHandedOver) {
    serve(release());
    updater->isBusy = [] { return true; };
    check();
    updater->install();
    settle();
    ASSERT_EQ(stage(), Stage::verified) << "no installer bursts into a take";
    EXPECT_THAT(packages.opened, IsEmpty());
    updater->showInFolder();
    settle();
    EXPECT_EQ(packages.shown.size(), 1u);
    files::writeAtomically(updater->packageFile(), packageText("1.5.1"));
    updater->openInstaller();
    settle();
    EXPECT_THAT(updater->fault(), HasSubstr("signed"));
    EXPECT_THAT(packages.opened, IsEmpty());

    updater->tryAgain();
    settle();
    EXPECT_EQ(stage(), Stage::failed) << "the file that was put there is found out, and removed";
    updater->tryAgain();
    settle();
    ASSERT_EQ(stage(), Stage::verified);
    packages.hasInstaller = false;
    updater->openInstaller();
    settle();
    EXPECT_EQ(stage(), Stage::handedOver);
    EXPECT_THAT(packages.shown, ElementsAre(updater->packageFile(), updater->packageFile()));
    EXPECT_THAT(UpdateWords::of(*updater).text, HasSubstr("sudo apt install " + updater->packageFile().string()));
}

TEST_F(Updating, Later_EndsWhatIsUnderWay_AndOnlyOneWorkRunsAtATime) {
    serve(release());
    check();
    updater->install();
    updater->later();
    EXPECT_EQ(stage(), Stage::idle);
    updater->checkForUpdates();
    updater->checkForUpdates();
    EXPECT_EQ(background.pending(), 1u) << "the download that was given up has not ended";
    settle();
    EXPECT_EQ(stage(), Stage::available);
    EXPECT_THAT(packages.opened, IsEmpty());
    updater->install();
    updater.reset(); // the program ends
    settle();
    EXPECT_THAT(packages.opened, IsEmpty());
}

TEST_F(Updating, OnceADayByItselfWhereTheUserAllowsIt) {
    serve(release());
    updater->start();
    queue.advance(48 * oneHour);
    settle();
    EXPECT_THAT(http.requests, IsEmpty()) << "off unless the user allows it";

    config.update([](Settings& settings) { settings.checkForUpdates = true; });
    queue.advance(oneHour);
    settle();
    EXPECT_EQ(http.requests.size(), 1u);
    EXPECT_EQ(updater->notice(), "Fenlo 1.5.0 is available");
    updater->later();
    for (int i = 0; i < 22; ++i) {
        queue.advance(oneHour);
        settle();
    }
    EXPECT_EQ(http.requests.size(), 1u);
    queue.advance(3 * oneHour);
    settle();
    EXPECT_EQ(http.requests.size(), 2u);

    updater->skipThisVersion();
    queue.advance(25 * oneHour);
    settle();
    EXPECT_EQ(http.requests.size(), 3u);
    EXPECT_EQ(stage(), Stage::idle) << "it was skipped";
    serve(release("1.5.1"));
    queue.advance(25 * oneHour);
    settle();
    EXPECT_EQ(updater->notice(), "Fenlo 1.5.1 is available");
    updater->later();

    http.onSend = [](const HttpRequest&) -> HttpResponse { throw HttpError(HttpError::Kind::connection, "no"); };
    queue.advance(25 * oneHour);
    settle();
    EXPECT_EQ(stage(), Stage::idle);
    EXPECT_TRUE(updater->fault().empty()) << "nobody asked";
}

TEST_F(Updating, AClockThatWasSetBackDelaysNoCheck) {
    UpdateRecord record;
    record.lastCheck = clock.wallTime() + std::chrono::hours(9000);
    EXPECT_TRUE(record.isDue(clock.wallTime()));
    record.lastCheck = clock.wallTime() - std::chrono::hours(23);
    EXPECT_FALSE(record.isDue(clock.wallTime()));
}
