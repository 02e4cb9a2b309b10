// `fenlo transcribe` as a user runs it, with the model that comes with the program.

#include "base/Files.h"

#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <sys/wait.h>
#include <tuple>
#include <unistd.h>

using namespace fenlo;
using testing::HasSubstr;
namespace fs = std::filesystem;

namespace {

const fs::path samples = fs::path(GOLDEN_FOLDER) / "samples";
const std::string phrase = (samples / "sample_10_phrase.wav").string();
const std::string noise = (samples / "sample_12_noise_only.wav").string();
constexpr const char* phraseText = "The quick brown fox jumps over the lazy dog near the riverbank.\n";

struct Outcome {
    int status = 0;
    std::string out;
    std::string err;
};

class TranscribeCommand : public testing::Test {
protected:
    static void SetUpTestSuite() { // one home for all, so that the model is prepared once
        home = files::temporaryFile("transcribe", "");
        fs::create_directories(home);
        ::setenv("HOME", home.c_str(), 1);
        ::setenv("XDG_STATE_HOME", (home / "state").c_str(), 1);
        ::setenv("XDG_CACHE_HOME", (home / "cache").c_str(), 1);
    }
    static void TearDownTestSuite() { fs::remove_all(home); }
    ~TranscribeCommand() override { fs::remove_all(folder); }

    static std::string commandLine(const std::string& arguments) {
        return std::string(FENLO_PROGRAM) + " transcribe --model micro-whisper-espeak.en " + arguments;
    }

    /// A line for a shell.
    static Outcome shell(const std::string& line) {
        const std::string redirected =
            "{ " + line + "; } >" + (home / "out").string() + " 2>" + (home / "err").string();
        const int status = std::system(redirected.c_str());
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, files::read(home / "out").value(),
                files::read(home / "err").value()};
    }

    /// `arguments` may redirect.
    static Outcome run(const std::string& arguments) { return shell(commandLine(arguments)); }

    /// The phrase again and again, with a second of silence after each: several windows.
    static fs::path longRecording(int phrases) {
        const std::string one = files::read(phrase).value();
        const std::string samplesOfOne = one.substr(44) + std::string(32000, '\0');
        std::string data;
        for (int i = 0; i < phrases; ++i)
            data += samplesOfOne;
        std::string header = one.substr(0, 44);
        const auto put = [&](std::size_t at, std::size_t value) {
            for (int byte = 0; byte < 4; ++byte)
                header[at + static_cast<std::size_t>(byte)] = static_cast<char>(value >> (8 * byte) & 0xFF);
        };
        put(4, data.size() + 36);
        put(40, data.size());
        std::ofstream(home / "long.wav", std::ios::binary) << header << data;
        return home / "long.wav";
    }

    /// Sends SIGINT once so many windows are begun.
    static Outcome interrupt(const std::string& arguments, int begun) {
        FILE* log =
            ::popen(("exec 2>&1; echo $$; exec " + commandLine("--verbose --verbose " + arguments)).c_str(), "r");
        Outcome outcome;
        // While nobody reads, a short pipe fills up and holds the program.
        ::fcntl(::fileno(log), F_SETPIPE_SZ, 4096);
        pid_t process = 0;
        std::array<char, 4096> line{};
        for (int windows = 0; std::fgets(line.data(), line.size(), log);) {
            if (process == 0)
                process = std::atoi(line.data());
            outcome.err += line.data();
            if (std::string_view(line.data()).starts_with("Decoding Window Size") && ++windows == begun)
                ::kill(process, SIGINT);
        }
        const int status = ::pclose(log);
        outcome.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        return outcome;
    }

    static inline fs::path home;
    const fs::path folder = home / "results";
    const std::string toFolder = "--output-dir " + folder.string() + " ";
};

} // namespace

TEST_F(TranscribeCommand, TellsByItsExitStatusWhatBecameOfTheRecordings) {
    const Outcome good = run(phrase);
    EXPECT_EQ(good.status, 0) << good.err;
    EXPECT_EQ(good.out, phraseText);
    const Outcome silent = run(noise);
    EXPECT_EQ(silent.status, 3);
    EXPECT_THAT(silent.err, HasSubstr("no speech was heard"));
    const Outcome missing = run("nothing.wav " + phrase);
    EXPECT_EQ(missing.status, 1);
    EXPECT_EQ(missing.out, phraseText) << "the other recording is sound";
    const std::string whole = files::read(phrase).value();
    std::ofstream(home / "cut.wav", std::ios::binary) << whole.substr(0, whole.size() * 3 / 4);
    const Outcome cut = run((home / "cut.wav").string());
    EXPECT_EQ(cut.status, 4);
    EXPECT_THAT(cut.out, HasSubstr("The quick brown fox jumps"));
    EXPECT_THAT(cut.err, HasSubstr("cut.wav: cut off at 3.6 s"));
    for (const char* wrong : {"", "--language de x.wav", "--task translate x.wav"}) {
        const Outcome refused = run(wrong);
        EXPECT_EQ(refused.status, 2) << wrong;
        EXPECT_EQ(refused.out, "") << wrong;
    }
    EXPECT_THAT(run("--language de x.wav").err, HasSubstr("knows English only"));
    const Outcome full = run(phrase + " >/dev/full");
    EXPECT_EQ(full.status, 1);
    EXPECT_THAT(full.err, HasSubstr("fenlo: cannot write to standard output: No space left on device\n"));
    const Outcome languages = run("--list-languages");
    EXPECT_THAT(languages.out, HasSubstr("de\tgerman\n"));
}

TEST_F(TranscribeCommand, ReadsPipesAndParts) {
    EXPECT_EQ(run("--quiet - < " + phrase).out, phraseText);
    const Outcome piped = shell("cat " + phrase + " | " + commandLine(toFolder + "-"));
    EXPECT_EQ(piped.status, 0) << piped.err;
    EXPECT_EQ(files::read(folder / "stdin.txt"), phraseText);
    const Outcome bad = run("- < /dev/null");
    EXPECT_EQ(bad.status, 1);
    EXPECT_THAT(bad.err, HasSubstr("standard input"));
    EXPECT_EQ(run("--duration 2 " + phrase).out, "The quick brown fox jumps.\n");
    const Outcome beyond = run("--offset 60 " + phrase);
    EXPECT_EQ(beyond.status, 1);
    EXPECT_THAT(beyond.err, HasSubstr("take a smaller --offset"));
}

TEST_F(TranscribeCommand, WritesFilesAndOverwritesNone) {
    fs::create_directories(home / "a");
    fs::create_directories(home / "b");
    fs::copy_file(phrase, home / "a/talk.wav", fs::copy_options::overwrite_existing);
    fs::copy_file(phrase, home / "b/talk.wav", fs::copy_options::overwrite_existing);
    const std::string both = (home / "a").string() + " " + (home / "b").string() + " --recursive --output srt,json ";
    const Outcome first = run(toFolder + both);
    EXPECT_EQ(first.status, 0) << first.err;
    EXPECT_THAT(first.err, HasSubstr("its results are called " + (folder / "talk-b").string()));
    for (const char* file : {"talk.srt", "talk.json", "talk-b.srt", "talk-b.json"})
        EXPECT_TRUE(fs::exists(folder / file)) << file;
    const Outcome skipped = run(toFolder + both + "--skip-existing");
    EXPECT_EQ(skipped.status, 0);
    EXPECT_THAT(skipped.err, HasSubstr("is there already; skipped"));
    const Outcome again = run(toFolder + (home / "a/talk.wav").string());
    EXPECT_EQ(again.status, 0);
    EXPECT_TRUE(fs::exists(folder / "talk.txt")) << "results of another form leave the name free";

    const Outcome nowhere = run("--output-dir /proc/none " + phrase);
    EXPECT_EQ(nowhere.status, 1);
    EXPECT_THAT(nowhere.err, HasSubstr("cannot write into /proc/none"));
}

TEST_F(TranscribeCommand, RecordingsSideBySideKeepTheirWordsAndTheirOrder) {
    const std::string talk = longRecording(8).string() + " ";
    const std::string alone = run(talk).out;
    EXPECT_GT(alone.size(), 4 * std::string(phraseText).size());
    const Outcome several = run(talk + phrase + " " + noise + " " + talk);
    EXPECT_EQ(several.status, 3) << several.err;
    EXPECT_EQ(several.out, alone + phraseText + alone);
    const Outcome full = run(talk + phrase + " " + talk + " >/dev/full");
    EXPECT_EQ(full.status, 1);
    EXPECT_THAT(full.err, HasSubstr("fenlo: cannot write to standard output: No space left on device\n"));

    const std::string arguments = "--output json " + talk + "--recursive " + (home / "copies").string() + " ";
    fs::create_directories(home / "copies");
    fs::copy_file(talk.substr(0, talk.size() - 1), home / "copies/copy.wav", fs::copy_options::overwrite_existing);
    EXPECT_EQ(run(toFolder + arguments).status, 0);
    const auto json = files::read(folder / "long.json");
    fs::remove_all(folder);
    const Outcome interrupted = interrupt(toFolder + arguments, 3);
    EXPECT_EQ(interrupted.status, 130);
    EXPECT_TRUE(fs::exists(folder / "long.partial") || fs::exists(folder / "copy.partial")) << interrupted.err;
    const Outcome resumed = run(toFolder + "--resume " + arguments);
    EXPECT_EQ(resumed.status, 0) << resumed.err;
    EXPECT_EQ(files::read(folder / "long.json"), json);
    EXPECT_EQ(files::read(folder / "copy.json"), json);
}

TEST_F(TranscribeCommand, AnInterruptedRunGoesOnToTheSameDocuments) {
    // Cut at its silences, eight windows at most are begun before one is done; and so where a long one is cut into
    // parts.
    for (const auto& [cut, phrases, begun] :
         {std::tuple{"", 16, 2}, std::tuple{"--vad ", 48, 9}, std::tuple{"", 130, 9}}) {
        const std::string arguments = "--output srt,json --word-timestamps " + longRecording(phrases).string() + " ";
        fs::remove_all(folder);
        const Outcome whole = run(toFolder + cut + arguments);
        ASSERT_EQ(whole.status, 0) << whole.err;
        const auto srt = files::read(folder / "long.srt");
        const auto json = files::read(folder / "long.json");
        fs::remove_all(folder);

        const Outcome interrupted = interrupt(toFolder + cut + arguments, begun);
        EXPECT_EQ(interrupted.status, 130);
        EXPECT_THAT(interrupted.err, HasSubstr("fenlo: interrupted; what was found is in"));
        EXPECT_TRUE(fs::exists(folder / "long.partial"));
        EXPECT_FALSE(fs::exists(folder / "long.srt"));
        const Outcome other = run(toFolder + cut + "--resume --temperature 0.4 " + arguments);
        EXPECT_EQ(other.status, 1);
        EXPECT_THAT(other.err, HasSubstr("is of another model or of other options; remove it to begin anew"));
        const Outcome resumed = run(toFolder + cut + "--resume " + arguments);
        EXPECT_EQ(resumed.status, 0);
        EXPECT_THAT(resumed.err, HasSubstr("goes on from"));
        EXPECT_EQ(files::read(folder / "long.srt"), srt);
        EXPECT_EQ(files::read(folder / "long.json"), json);
        EXPECT_FALSE(fs::exists(folder / "long.partial"));
    }
}
