#include "WhisperEngine/runtime/InstructionChoice.h"
#include "WhisperEngine/runtime/InstructionTrial.h"
#include "WhisperEngine/runtime/SelfTest.h"
#include "base/Files.h"

#include <csignal>
#include <gmock/gmock.h>
#include <limits>

using namespace fenlo;
using namespace fenlo::whisper;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

constexpr std::uint64_t avxState = 0b111;
constexpr std::uint64_t avx512State = 0xE7;
constexpr std::uint64_t tileState = 0x60000;

/// A processor that has everything, and a system that keeps all of its registers.
ProcessorFacts everything() {
    return {.name = "a processor",
            .identity = "",
            .sse41 = true,
            .avx = true,
            .avx2 = true,
            .avx2Vnni = true,
            .avx512 = true,
            .avx512Vnni = true,
            .avx512Bf16 = true,
            .amx = true,
            .savedState = avx512State | tileState,
            .tiles = {.palettes = 1, .count = 8, .rows = 16, .bytesPerRow = 64},
            .tilesPermitted = true};
}

ProcessorFacts with(const std::function<void(ProcessorFacts&)>& change) {
    ProcessorFacts facts = everything();
    change(facts);
    return facts;
}

InstructionChoice choose(const ProcessorFacts& facts, const InstructionWish& wish = {},
                         const InstructionTrial& trial = {}) {
    return chooseInstructionSet(facts, wish, trial);
}

/// A shell stands in for the program that tries a step out.
std::vector<std::string> shell(const std::string& script) {
    return {"/bin/sh", "-c", script};
}

} // namespace

TEST(InstructionChoice, TilesThatAreAnnouncedAreUsedOnlyWhenTheyCanBe) {
    EXPECT_EQ(choose(everything()).used, InstructionSet::amx);
    EXPECT_TRUE(choose(everything()).reasons.empty());
    const std::vector<std::pair<ProcessorFacts, std::string>> faults{
        {with([](auto& facts) { facts.tiles = {}; }), "no tile sizes"}, // a hypervisor hides CPUID leaf 0x1D
        {with([](auto& facts) { facts.tiles.palettes = 0; }), "no tile sizes"},
        {with([](auto& facts) { facts.tiles.rows = 8; }), "no tile sizes"},
        {with([](auto& facts) { facts.savedState = avx512State | 0x20000; }), "does not keep its registers"},
        {with([](auto& facts) { facts.tilesPermitted = false; }), "does not permit"}};
    for (const auto& [facts, reason] : faults) {
        const InstructionChoice choice = choose(facts);
        EXPECT_EQ(choice.used, InstructionSet::avx512bf16);
        EXPECT_THAT(choice.reasons, ElementsAre(HasSubstr("amx: ")));
        EXPECT_THAT(choice.reasons, ElementsAre(HasSubstr(reason)));
        EXPECT_FALSE(choice.hasFault);
    }
}

TEST(InstructionChoice, IsTheWidestThatTheProcessorAndTheSystemHave) {
    using Set = InstructionSet;
    const std::vector<std::pair<ProcessorFacts, Set>> processors{
        {{}, Set::scalar},
        {with([](auto& f) { f.savedState = 0; }), Set::sse4},
        {with([](auto& f) { f.avx = false; }), Set::sse4},
        {with([](auto& f) { f.avx2 = false; }), Set::avx},
        {with([](auto& f) { f.savedState = avxState; }), Set::avx2vnni},
        {with([](auto& f) { f.avx512 = f.avx2Vnni = false; }), Set::avx2},
        {with([](auto& f) { f.avx512Vnni = false; }), Set::avx512},
        {with([](auto& f) { f.avx512Bf16 = false; }), Set::avx512vnni},
        {with([](auto& f) { f.amx = false; }), Set::avx512bf16}};
    for (const auto& [facts, widest] : processors)
        EXPECT_EQ(choose(facts).used, widest) << nameOf(widest);
}

TEST(InstructionChoice, TheEnvironmentNarrowsIt_AndIsToldWhatCannotBe) {
    using Set = InstructionSet;
    const ProcessorFacts noBf16 = with([](auto& facts) { facts.avx512Bf16 = facts.avx2Vnni = false; });
    const struct {
        InstructionWish wish;
        Set used;
        std::string reason, warning;
    } cases[] = {{{"avx2", ""}, Set::avx2, "FENLO_ISA is avx2", ""},
                 {{"avx2vnni", ""}, Set::avx2, "FENLO_ISA is avx2vnni", "more than this processor offers; using avx2"},
                 {{"amx", ""}, Set::avx512vnni, "", "more than this processor offers; using avx512vnni"},
                 {{"AVX9", ""}, Set::avx512vnni, "", "AVX9 is none of scalar, sse4, avx, avx2, "},
                 {{"", "avx512_core"}, Set::avx512, "MAX_CPU_ISA is avx512_core", ""},
                 {{"", "AVX512_MIC"}, Set::avx2, "MAX_CPU_ISA is AVX512_MIC", ""},
                 {{"", "ALL"}, Set::avx512vnni, "", ""},
                 {{"sse4", "AVX2"}, Set::sse4, "FENLO_ISA is sse4", ""},
                 {{"avx512", "AVX2"}, Set::avx2, "MAX_CPU_ISA is AVX2", ""}};
    for (const auto& [wish, used, reason, warning] : cases) {
        const InstructionChoice choice = choose(noBf16, wish);
        EXPECT_EQ(choice.used, used) << wish.step << wish.library;
        EXPECT_THAT(testing::PrintToString(choice.reasons), HasSubstr(reason));
        EXPECT_EQ(choice.reasons.empty(), reason.empty()) << wish.step << wish.library;
        EXPECT_THAT(choice.warning, HasSubstr(warning));
        EXPECT_EQ(choice.warning.empty(), warning.empty()) << choice.warning;
    }
}

TEST(InstructionTrial, AStepThatDiesOrIsWrongIsLeftOut_OnceForAProcessorAndLibrary) {
    const auto file = files::cacheDirectory() / "instructions";
    std::vector<InstructionSet> tried;
    const InstructionTrial inChild = trialInChild([&tried](InstructionSet step) {
        tried.push_back(step);
        return shell(step == InstructionSet::amx          ? "kill -ILL $$"
                     : step == InstructionSet::avx512bf16 ? "exit 1"
                                                          : "exit 0");
    });
    const auto triedSteps = ElementsAre(InstructionSet::amx, InstructionSet::avx512bf16, InstructionSet::avx512vnni);
    for (int start = 0; start < 2; ++start) {
        const InstructionChoice choice = choose(everything(), {}, remembered(inChild, file, "this processor"));
        EXPECT_EQ(choice.used, InstructionSet::avx512vnni);
        EXPECT_TRUE(choice.hasFault);
        EXPECT_THAT(choice.reasons,
                    ElementsAre("amx: it ends in an illegal instruction", "avx512bf16: its results are wrong"));
        EXPECT_THAT(tried, triedSteps);
    }
    tried.clear();
    choose(everything(), {}, remembered(inChild, file, "another processor"));
    EXPECT_THAT(tried, triedSteps);
    tried.clear();
    files::writeAtomically(file, "another processor\namx\n\n\xFF");
    choose(everything(), {}, remembered(inChild, file, "another processor"));
    EXPECT_THAT(tried, triedSteps);
}

TEST(InstructionTrial, WhatSaysNothingOfTheStepIsNotRemembered) {
    const auto file = files::cacheDirectory() / "instructions-undecided";
    const auto run = [&file](const std::vector<std::string>& command) {
        return remembered(trialInChild([command](InstructionSet) { return command; }), file,
                          "key")(InstructionSet::amx);
    };
    EXPECT_EQ(run(shell("kill -KILL $$")).fault, "");
    EXPECT_NE(run(shell("exit 2")).fault, "");
    EXPECT_EQ(run({"/nonexistent/program"}).fault, "");
    EXPECT_EQ(files::read(file), std::nullopt);
    // The narrowest step is used without a trial, or nothing would be left.
    EXPECT_EQ(choose(everything(), {}, [](InstructionSet) { return TrialResult{"no"}; }).used, InstructionSet::scalar);
}

TEST(SelfTest, FindsTheEnginesProductsRight_AndAWrongLibraryOut) {
    EXPECT_EQ(selfTest(engineProducts()), "");

    Products wrongLast = engineProducts();
    wrongLast.linearInt8 = [good = wrongLast.linearInt8](auto* weights, auto* scales, auto* bias, int outputs,
                                                         int inputs, auto* src, float* dst, int rows) {
        good(weights, scales, bias, outputs, inputs, src, dst, rows);
        dst[rows * outputs - 1] += 0.5F; // a single step of one product
    };
    EXPECT_THAT(selfTest(wrongLast), HasSubstr("8-bit values of 49 rows"));
    Products noNumbers = engineProducts();
    noNumbers.attendAll = [](auto*, auto*, auto*, float* dst, int, int, int) {
        *dst = std::numeric_limits<float>::quiet_NaN();
    };
    EXPECT_THAT(selfTest(noNumbers), HasSubstr("attention over 1 positions"));
    Products coarse = engineProducts(); // as if calculated in 16 bits
    coarse.linear = [good = coarse.linear](auto* weights, auto* bias, int outputs, int inputs, auto* src, float* dst,
                                           int rows) {
        good(weights, bias, outputs, inputs, src, dst, rows);
        dst[0] *= 1.002F;
    };
    EXPECT_THAT(selfTest(coarse), HasSubstr("32-bit floats"));
    Products dying = engineProducts();
    dying.linear = [](auto...) { std::raise(SIGILL); };
    EXPECT_EXIT(selfTest(dying), testing::KilledBySignal(SIGILL), "");
}
