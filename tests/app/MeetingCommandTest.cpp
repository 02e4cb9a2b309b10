// `fenlo meeting` as a user runs it, with the model that comes with the program.

#include "audio/WavFile.h"
#include "base/Files.h"
#include "media/AudioFile.h"

#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

using namespace fenlo;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;
namespace fs = std::filesystem;

namespace {

struct Outcome {
    int status = 0;
    std::string out;
    std::string err;
};

std::vector<float> sample(const std::string& name) {
    return readRecording(fs::path(GOLDEN_FOLDER) / "samples" / (name + ".wav"), 16000).samples;
}

class MeetingCommand : public testing::Test {
protected:
    static void SetUpTestSuite() { // one home for all, so that the model is prepared once
        home = files::temporaryFile("meeting", "");
        fs::create_directories(home);
        ::setenv("HOME", home.c_str(), 1);
        ::setenv("XDG_STATE_HOME", (home / "state").c_str(), 1);
        ::setenv("XDG_CACHE_HOME", (home / "cache").c_str(), 1);
        for (const char* key : {"GROQ_API_KEY", "GEMINI_API_KEY", "DBUS_SESSION_BUS_ADDRESS"})
            ::unsetenv(key);
    }
    static void TearDownTestSuite() { fs::remove_all(home); }

    static Outcome run(const std::string& arguments, const std::string& before = "") {
        const std::string line = before + FENLO_PROGRAM " meeting " + arguments + " >" + (home / "out").string() +
                                 " 2>" + (home / "err").string();
        const int status = std::system(line.c_str());
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, files::read(home / "out").value(),
                files::read(home / "err").value()};
    }

    /// Samples with a pause after each.
    static std::string recording(const std::string& name, const std::vector<std::string>& samples) {
        const fs::path file = home / name;
        std::vector<float> joined;
        for (const std::string& one : samples) {
            const auto spoken = sample(one);
            joined.insert(joined.end(), spoken.begin(), spoken.end());
            joined.resize(joined.size() + 24000);
        }
        files::removeQuietly(file);
        writeWav(file, joined, 16000, WavEncoding::int16);
        return file.string();
    }

    static std::string twoVoices(const std::string& name = "weekly call.wav") {
        return recording(name, {"sample_04_held", "sample_09_unseen", "sample_06_held"});
    }

    static inline fs::path home;
    static constexpr const char* here = "--model micro-whisper-espeak.en ";
};

std::string quoted(const std::string& path) {
    return "'" + path + "'";
}

} // namespace

TEST_F(MeetingCommand, TellsWhoSaidWhat) {
    const std::string file = twoVoices();
    const Outcome told = run(here + quoted(file) + " --name 2=Ann");
    EXPECT_EQ(told.status, 0) << told.err;
    EXPECT_THAT(told.out, HasSubstr("# weekly call\n"));
    EXPECT_THAT(told.out, HasSubstr("**Duration:** 0:15  \n**Attendees:** Speaker 1, Ann  \n"));
    EXPECT_THAT(told.out, HasSubstr("**[0:04] Speaker 1:** She wants to check the quick schedule this weekend\n\n"
                                    "**[0:10] Ann:** Email the signed agenda to Adam on Tuesday\n\n"
                                    "**[0:14] Speaker 1:** I know the update is ready\n"));
    EXPECT_THAT(told.err, HasSubstr("3 segments by 2 speakers in 0:15\n"));
    EXPECT_THAT(told.err, Not(HasSubstr("notes"))) << "nobody has asked for them";
    EXPECT_THAT(told.err, Not(HasSubstr("[Fenlo]"))) << "log lines would run into the progress";

    const Outcome live = run(here + quoted(file) + " --transcription --subject Quick");
    EXPECT_THAT(live.out, HasSubstr("# Quick\n"));
    EXPECT_THAT(live.out, HasSubstr("**Attendees:** Speaker 1  \n"));
}

TEST_F(MeetingCommand, WritesFilesAndTheArchive) {
    const std::string file = twoVoices();
    const fs::path document = home / "call.md", folder = home / "results";
    const Outcome one = run(here + quoted(file) + " --quiet --archive -o " + document.string());
    EXPECT_EQ(one.status, 0);
    EXPECT_EQ(one.out + one.err, "");
    EXPECT_THAT(files::read(document).value(), HasSubstr("## Transcript\n\n**[0:04] Speaker 1:** She wants"));
    const auto archive = fs::directory_iterator(home / ".fenlo/meetings");
    const std::string kept = files::read(archive->path()).value_or("");
    EXPECT_THAT(archive->path().filename().string(), MatchesRegex("meeting_.*\\.md"));
    EXPECT_THAT(kept, HasSubstr("<!-- FENLO_META\nsubject: weekly call\n"));

    const std::string several = here + quoted(file) + " " + quoted(recording("b.wav", {"sample_05_held"})) + " ";
    EXPECT_EQ(run(several + "-o " + document.string()).status, 2);
    EXPECT_EQ(run(several + "--output-dir " + folder.string()).status, 0);
    EXPECT_TRUE(fs::exists(folder / "weekly call.md"));
    EXPECT_TRUE(fs::exists(folder / "b.md"));
}

TEST_F(MeetingCommand, TellsByItsExitStatusWhatBecameOfTheRecordings) {
    const std::string silent = recording("silent.wav", {"sample_12_noise_only"});
    const Outcome nothing = run(here + silent + " -o " + (home / "none.md").string());
    EXPECT_EQ(nothing.status, 3);
    EXPECT_THAT(nothing.err, HasSubstr("silent.wav: no speech was heard\n"));
    EXPECT_FALSE(fs::exists(home / "none.md"));

    std::ofstream(home / "empty.wav");
    const Outcome empty = run(here + (home / "empty.wav").string() + " " + quoted(twoVoices()));
    EXPECT_EQ(empty.status, 1);
    EXPECT_THAT(empty.err, HasSubstr("empty.wav"));
    EXPECT_THAT(empty.out, HasSubstr("I know the update is ready")) << "the other recording is sound";

    const std::string whole = files::read(twoVoices()).value();
    std::ofstream(home / "cut.wav", std::ios::binary) << whole.substr(0, whole.size() / 2);
    const Outcome cut = run(here + (home / "cut.wav").string());
    EXPECT_EQ(cut.status, 4);
    EXPECT_THAT(cut.err, HasSubstr("cut.wav: cut off at "));
    EXPECT_THAT(cut.out, HasSubstr("She wants to check the quick schedule this weekend"));

    for (const char* wrong : {"", "--name Ann x.wav", "--template party x.wav", "--notes --no-notes x.wav"})
        EXPECT_EQ(run(wrong).status, 2) << wrong;
    const Outcome keyless = run(here + quoted(twoVoices()) + " --notes");
    EXPECT_EQ(keyless.status, 1);
    EXPECT_THAT(keyless.err, HasSubstr("fenlo: notes need a key for Gemini or Groq; "));
}

TEST_F(MeetingCommand, KeepsWhatWasHeardWhenItIsInterrupted) {
    std::vector<std::string> sentences;
    for (int i = 0; i < 40; ++i)
        sentences.insert(sentences.end(), {"sample_04_held", "sample_09_unseen"});
    const std::string file = recording("long.wav", sentences);
    const fs::path document = home / "long.md";
    FILE* output = ::popen(("exec 2>&1; echo $$; exec " FENLO_PROGRAM " meeting --verbose " + std::string(here) + file +
                            " -o " + document.string())
                               .c_str(),
                           "r");
    ::fcntl(::fileno(output), F_SETPIPE_SZ, 4096); // while nobody reads, it fills up and holds the program
    std::string seen;
    bool isSent = false;
    for (std::array<char, 4096> line{}; std::fgets(line.data(), line.size(), output);) {
        seen += line.data();
        if (!isSent && std::string_view(line.data()).starts_with("[Fenlo] Meeting segment 1 "))
            isSent = ::kill(std::atoi(seen.c_str()), SIGINT) == 0;
    }
    const int status = ::pclose(output);
    EXPECT_EQ(WIFEXITED(status) ? WEXITSTATUS(status) : -1, 130);
    EXPECT_THAT(seen, HasSubstr("fenlo: interrupted; what was heard up to "));
    EXPECT_FALSE(fs::exists(document));
    EXPECT_THAT(files::read(home / "long.md.part").value_or(""), HasSubstr("She wants to check"));
}
