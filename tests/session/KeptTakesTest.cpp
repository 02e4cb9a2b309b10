#include "session/KeptTakes.h"
#include "base/Files.h"
#include "session/TakeNote.h"
#include "settings/Config.h"
#include "support/EnvironmentVariable.h"
#include "support/VirtualTime.h"

#include <algorithm>
#include <fstream>
#include <gtest/gtest.h>

using namespace fenlo;
namespace fs = std::filesystem;

namespace {

class Kept : public ::testing::Test {
protected:
    Kept() { fs::create_directories(temporary); }
    ~Kept() override { fs::remove_all(home); }

    fs::path record(const std::string& sound) const {
        const fs::path chunk = files::temporaryFile("", ".wav");
        EXPECT_TRUE(files::writeAtomically(chunk, sound));
        return chunk;
    }
    Take takeOf(std::vector<fs::path> chunks) const {
        return {.chunks = std::move(chunks), .duration = 4.5, .speechRatio = 0.5f, .isCommand = true};
    }
    std::unique_ptr<TakeNote> noteOf(const Take& take) const {
        auto note = takes.begin();
        EXPECT_TRUE(note->write(take));
        return note;
    }
    static std::ptrdiff_t filesIn(const fs::path& folder) { return std::distance(fs::directory_iterator(folder), {}); }

    const fs::path home = fs::temp_directory_path() / files::makeUuid();
    const fs::path temporary = home / "tmp";
    const fs::path folder = home / "takes";
    const test::EnvironmentVariable temporaryFolder{"TMPDIR", temporary.c_str()};
    test::VirtualClock clock;
    Config config{home / "config.json", clock};
    KeptTakes takes{config, folder, clock};
};

} // namespace

TEST_F(Kept, AFailedTakeIsMovedWholeAndComesBack) {
    Take take = takeOf({record("one"), record("two")});
    take.texts = {"said before"};
    {
        const auto note = noteOf(take);
        EXPECT_TRUE(takes.isEmpty()) << "it is still on its way";
        EXPECT_TRUE(takes.keep(*note));
    }
    EXPECT_EQ(filesIn(temporary), 0);
    EXPECT_EQ(fs::status(folder).permissions(), fs::perms::owner_all);
    const auto note = takes.newest();
    ASSERT_TRUE(note);
    const Take kept = note->take();
    EXPECT_EQ(kept.texts, take.texts);
    EXPECT_EQ(kept.duration, 4.5);
    EXPECT_EQ(kept.speechRatio, 0.5f);
    EXPECT_TRUE(kept.isCommand);
    ASSERT_EQ(kept.chunks.size(), 2u);
    EXPECT_EQ(files::read(kept.chunks[1]), "two");
    for (const auto& file : fs::directory_iterator(folder))
        EXPECT_EQ(file.status().permissions(), fs::perms::owner_read | fs::perms::owner_write);
    note->discard();
    EXPECT_EQ(filesIn(folder), 0);
}

TEST_F(Kept, TakesOfADeadProcessAreFoundAndThoseOfALivingOneLeftAlone) {
    const auto running = noteOf(takeOf({record("of another instance")}));
    noteOf(takeOf({record("of the dead")})); // the lock ends with the object
    Take copy = takeOf({record("copy of a file")});
    copy.isCopy = true;
    noteOf(copy);
    Take isolating = takeOf({record("of two voices")});
    isolating.isolated = record("of one voice");
    noteOf(isolating);
    noteOf(takeOf({temporary / "cleared away.wav"}));
    EXPECT_TRUE(takes.recover());
    EXPECT_EQ(filesIn(temporary), 1);
    EXPECT_TRUE(fs::exists(running->take().chunks.at(0)));
    EXPECT_EQ(filesIn(folder), 1 + 2 * 2) << "the running note, and two notes with a recording each";
    EXPECT_FALSE(takes.recover()) << "nothing new";
}

TEST_F(Kept, ANoteCutOffByACrashCountsAsItStoodBefore) {
    const auto chunk = record("sound");
    const fs::path file = noteOf(takeOf({chunk}))->file();
    std::ofstream(file, std::ios::app) << "{\"chunks\": [], \"texts\": [\"ha";
    const fs::path stray = folder / (file.stem().string() + "-" + files::makeUuid() + ".wav");
    ASSERT_TRUE(files::writeAtomically(stray, "half a move"));
    EXPECT_TRUE(takes.recover());
    EXPECT_FALSE(fs::exists(stray));
    EXPECT_EQ(files::read(takes.newest()->take().chunks.at(0)), "sound");
}

TEST_F(Kept, TenTakesAndAWeekAreTheLimit) {
    for (int i = 0; i < 12; ++i, clock.advance(1)) {
        const auto note = noteOf(takeOf({record(std::to_string(i))}));
        EXPECT_TRUE(takes.keep(*note));
    }
    EXPECT_EQ(filesIn(folder), 20);
    EXPECT_EQ(files::read(takes.newest()->take().chunks.at(0)), "11");
    clock.advance(7 * 24 * 3600);
    EXPECT_FALSE(takes.recover());
    EXPECT_EQ(filesIn(folder), 0);
}

TEST_F(Kept, TheSettingTurnsItOff) {
    config.update([](Settings& settings) { settings.keepFailedTakes = false; });
    EXPECT_FALSE(takes.keep(*noteOf(takeOf({record("secret")}))));
    noteOf(takeOf({record("left behind")}));
    EXPECT_FALSE(takes.recover());
    EXPECT_EQ(filesIn(temporary) + filesIn(folder), 0);
}
