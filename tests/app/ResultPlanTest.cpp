#include "app/transcribe/ResultPlan.h"

#include "app/transcribe/Recordings.h"
#include "base/Files.h"

#include <fstream>
#include <gmock/gmock.h>
#include <set>

using namespace fenlo;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
namespace fs = std::filesystem;

namespace {

using Files = std::set<fs::path>;

std::vector<PlannedResult> planned(const std::vector<fs::path>& recordings, ExistingResults existing,
                                   const Files& left = {}, const std::vector<std::string>& outputs = {"txt"}) {
    return planResults(recordings, outputs, "out", existing, [&](const fs::path& file) { return left.contains(file); });
}

std::vector<std::string> names(const std::vector<PlannedResult>& plans) {
    std::vector<std::string> stems;
    for (const PlannedResult& plan : plans)
        stems.push_back(plan.stem.filename());
    return stems;
}

} // namespace

TEST(ResultPlan, RecordingsOfOneNameNeverShareAResult) {
    const auto plans = planned({"/a/talk.wav", "/b/talk.mp3", "/b/talk.wav", "/c/b/talk.ogg", "/d/talk-b.wav", "-"},
                               ExistingResults::replace);
    EXPECT_THAT(names(plans), ElementsAre("talk", "talk-b-2", "talk-b-3", "talk-b-4", "talk-b", "stdin"))
        << "a file's own name comes before names that are made up";
    EXPECT_EQ(plans[0].note, "");
    EXPECT_EQ(plans[1].note, "/b/talk.mp3: its results are called out/talk-b-2, as /a/talk.wav has the name");
    EXPECT_THAT(names(planned({"/a/talk.wav", "/a/talk.mp3"}, ExistingResults::keep)), ElementsAre("talk", "talk-2"));
}

TEST(ResultPlan, ResultsOfEarlierRunsAreKeptUnlessTheUserSaysOtherwise) {
    const std::vector<fs::path> talk{"/a/talk.wav"};
    const std::vector<std::string> both{"srt", "json"};
    const Files left{"out/talk.srt", "out/talk-2.json"};
    const auto kept = planned(talk, ExistingResults::keep, left, both);
    EXPECT_THAT(names(kept), ElementsAre("talk-3"));
    EXPECT_THAT(kept[0].note, HasSubstr("as an earlier result has the name"));
    EXPECT_THAT(planned(talk, ExistingResults::replace, left, both)[0].outputs, ElementsAre("srt", "json"));
    const auto half = planned(talk, ExistingResults::skip, left, both);
    EXPECT_THAT(names(half), ElementsAre("talk"));
    EXPECT_THAT(half[0].outputs, ElementsAre("json")) << "only what is missing";
    const auto done = planned(talk, ExistingResults::skip, {"out/talk.txt"});
    EXPECT_THAT(done[0].outputs, IsEmpty());
    EXPECT_EQ(done[0].note, "/a/talk.wav: out/talk.txt is there already; skipped");
}

TEST(ResultPlan, ANameThatWasTakenMeanwhileGetsANumber) {
    const PlannedResult talk{.stem = "out/talk", .outputs = {"srt", "json"}, .hasPartial = false, .note = {}};
    const auto stemBeside = [&](const Files& left) {
        return stillFreeStem(talk, [&](const fs::path& file) { return left.contains(file); });
    };
    EXPECT_EQ(stemBeside({"out/talk.txt"}), "out/talk");
    EXPECT_EQ(stemBeside({"out/talk.json", "out/talk-2.srt"}), "out/talk-3");
}

TEST(ResultPlan, AnInterruptedRunIsFoundUnderTheNameItHad) {
    const std::vector<fs::path> talk{"/a/talk.wav"};
    const auto atFirst = planned(talk, ExistingResults::resume, {"out/talk.partial"});
    EXPECT_THAT(names(atFirst), ElementsAre("talk"));
    EXPECT_TRUE(atFirst[0].hasPartial);
    const auto numbered = planned(talk, ExistingResults::resume, {"out/talk.txt", "out/talk-2.partial"});
    EXPECT_THAT(names(numbered), ElementsAre("talk-2"));
    EXPECT_THAT(numbered[0].outputs, ElementsAre("txt"));
    EXPECT_THAT(planned(talk, ExistingResults::resume, {"out/talk.txt"})[0].outputs, IsEmpty());
    EXPECT_FALSE(planned(talk, ExistingResults::resume)[0].hasPartial);
}

TEST(Recordings, AFolderStandsForTheRecordingsInIt) {
    const fs::path root = files::temporaryFile("recordings", "");
    for (const char* file : {"b.wav", "a/z.MP3", "a/notes.txt", "a/.hidden.wav", "c/d/e.opus"}) {
        fs::create_directories((root / file).parent_path());
        std::ofstream(root / file) << "12345";
    }
    fs::create_directory_symlink(root, root / "a/loop");
    fs::create_directories(root / "empty");
    const auto relative = [&](const FoundRecordings& found) {
        std::vector<std::string> all;
        for (const InputRecording& recording : found.recordings)
            all.push_back(fs::relative(recording.file, root));
        return all;
    };
    const auto found = findRecordings({root / "b.wav", root}, true);
    EXPECT_THAT(relative(found), ElementsAre("b.wav", "a/z.MP3", "c/d/e.opus")) << "b.wav once";
    EXPECT_EQ(found.recordings[1].bytes, 5u);
    EXPECT_THAT(found.faults, IsEmpty());
    EXPECT_THAT(findRecordings({root}, false).faults, ElementsAre(HasSubstr("is a folder; add --recursive")));
    EXPECT_THAT(findRecordings({root / "empty"}, true).faults, ElementsAre(HasSubstr("there is no recording")));
    EXPECT_EQ(findRecordings({"-", "missing.wav"}, false).recordings.size(), 2u);
    fs::remove_all(root);
}
