// The whole program beside a library that dies.

#include "WhisperEngine/runtime/InstructionChoice.h"
#include "base/Files.h"

#include <cstdlib>
#include <gmock/gmock.h>

using namespace fenlo;
using testing::HasSubstr;
using testing::Not;

TEST(EngineTrial, AnIllegalInstructionCostsOneStep_NotTheWords) {
    const whisper::InstructionSet widest = whisper::chooseInstructionSet(whisper::readProcessor(), {}, {}).used;
    if (widest == whisper::InstructionSet::scalar)
        GTEST_SKIP() << "this processor has one step only";
    const std::string step(whisper::nameOf(widest));
    const auto folder = files::homeDirectory();
    const std::string line = "BROKEN_STEP=" + step +
                             " LD_PRELOAD=" BROKEN_LIBRARY " " FENLO_PROGRAM
                             " transcribe --model micro-whisper-espeak.en " GOLDEN_FOLDER
                             "/samples/sample_10_phrase.wav >" +
                             (folder / "out").string() + " 2>" + (folder / "err").string();
    const std::string message = "the engine does not use " + step + ": it ends in an illegal instruction";
    for (const bool isFirstStart : {true, false}) {
        EXPECT_EQ(std::system(line.c_str()), 0);
        EXPECT_THAT(files::read(folder / "out").value(), HasSubstr("quick brown fox"));
        if (isFirstStart)
            EXPECT_THAT(files::read(folder / "err").value(), HasSubstr(message));
        else
            EXPECT_THAT(files::read(folder / "err").value(), Not(HasSubstr(message))) << "it is remembered";
        EXPECT_THAT(files::read(files::cacheDirectory() / "instructions").value(), HasSubstr("\n" + step + " it ends"));
    }
}
