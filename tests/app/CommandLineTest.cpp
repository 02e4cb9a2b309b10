#include "app/CommandLine.h"
#include "app/ExitStatus.h"

#include <gmock/gmock.h>
#include <string>
#include <vector>

using namespace fenlo;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

struct Outcome {
    int status = 0;
    std::string out, err;
};

Outcome run(
    std::vector<const char*> arguments, const std::function<int()>& withoutCommand = [] { return -1; }) {
    arguments.insert(arguments.begin(), "fenlo");
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    const int status = runCommandLine(static_cast<int>(arguments.size()), arguments.data(), withoutCommand);
    return {status, testing::internal::GetCapturedStdout(), testing::internal::GetCapturedStderr()};
}

} // namespace

TEST(CommandLine, HelpNamesTheCommandsInTheirOrder) {
    const Outcome help = run({"--help"});
    EXPECT_EQ(help.status, exitStatus::ok);
    EXPECT_EQ(help.err, "");
    std::size_t last = 0;
    for (const char* name :
         {"dictate", "transcribe", "meeting", "models", "keys", "voice-profile", "bench", "doctor"}) {
        const std::size_t at = help.out.find(std::string("\n  ") + name + " ");
        ASSERT_NE(at, help.out.npos) << name;
        EXPECT_GT(at, last) << name;
        last = at;
        const Outcome own = run({name, "--help"});
        EXPECT_EQ(own.status, exitStatus::ok);
        EXPECT_THAT(own.out, HasSubstr(std::string("Usage: fenlo ") + name));
    }
    EXPECT_THAT(help.out, Not(HasSubstr("engine-check"))) << "it is for Fenlo itself";
    EXPECT_THAT(help.out, HasSubstr("with the key in GROQ_API_KEY;\n"));
    EXPECT_THAT(run({"--version"}).out, StartsWith("fenlo "));
}

TEST(CommandLine, WrongArgumentsAreRefusedBeforeAnythingIsDone) {
    struct Case {
        std::vector<const char*> arguments;
        const char* complaint;
    };
    for (const Case& test :
         {Case{{"nonsense"}, "not expected: nonsense"}, Case{{"doctor", "extra"}, "not expected: extra"},
          Case{{"dictate"}, "FILE is required"}, Case{{"voice-profile"}, "FILE is required"},
          Case{{"models"}, "A subcommand is required"}, Case{{"models", "download"}, "NAME is required"},
          Case{{"keys", "set"}, "NAME is required"},
          Case{{"keys", "remove", "openai"}, "NAME: openai not in {groq,gemini,deepgram,xai}"},
          Case{{"bench", "--threads", "-3"}, "--threads: Value -3 not in range 0 to 1024"},
          Case{{"engine-check"}, "STEP is required"}, Case{{"transcribe"}, "fenlo: which recording? "},
          Case{{"transcribe", "--language", "klingon", "x.wav"}, "is no language that Whisper knows"},
          Case{{"transcribe", "--output", "srt,json", "x.wav"}, "several forms do not fit into one stream"},
          Case{{"transcribe", "--output", "srt", "a.wav", "b.wav"}, "several recordings in one stream"},
          Case{{"transcribe", "--max-line-count", "2", "x.wav"}, "--max-line-count requires --max-line-width"},
          Case{{"meeting"}, "fenlo: which recording? "}, Case{{"meeting", "--name", "Ann", "x.wav"}, "names nobody"},
          Case{{"meeting", "-o", "a.md", "--output-dir", "b", "x.wav"}, "--output excludes --output-dir"},
          Case{{"transcribe", "--resume", "a.wav"}, "--resume requires --output-dir"}}) {
        const Outcome refused = run(test.arguments);
        EXPECT_EQ(refused.status, exitStatus::usage) << test.complaint;
        EXPECT_EQ(refused.out, "");
        EXPECT_THAT(refused.err, HasSubstr(test.complaint));
    }
}

TEST(CommandLine, TheNamedCommandRunsAndItsFaultIsALine) {
    const Outcome folder = run({"models", "path"});
    EXPECT_EQ(folder.status, exitStatus::ok);
    EXPECT_THAT(folder.out, HasSubstr("/.fenlo/models\n"));
    for (const auto& [arguments, line] : std::vector<std::pair<std::vector<const char*>, const char*>>{
             {{"models", "path", "oracle"}, "fenlo: there is no model \"oracle\" on this machine; fetch it with: "},
             {{"models", "remove", "oracle"}, "fenlo: there is no model \"oracle\" in "},
             {{"voice-profile", "/no/such.wav"}, "fenlo: /no/such.wav: No such file"}}) {
        const Outcome failed = run(arguments);
        EXPECT_EQ(failed.status, exitStatus::failed);
        EXPECT_EQ(failed.out, "");
        EXPECT_THAT(failed.err, StartsWith(line));
    }
}

TEST(CommandLine, WithoutACommandTheDesktopProgramRuns) {
    EXPECT_EQ(run({}, [] { return 7; }).status, 7);
    EXPECT_EQ(run({}, []() -> int { throw std::runtime_error("no room"); }).err, "fenlo: no room\n");
    EXPECT_EQ(run({}, []() -> int { throw UsageError("not so"); }).status, exitStatus::usage);
    const Outcome stopped = run({}, []() -> int { throw Interrupted(); });
    EXPECT_EQ(stopped.status, exitStatus::interrupted);
    EXPECT_EQ(stopped.err, "fenlo: interrupted\n");
}
