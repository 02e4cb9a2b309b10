#include "WhisperEngine/runtime/InstructionSet.h"
#include "WhisperEngine/runtime/OneDnn.h"
#include "WhisperEngine/runtime/Processor.h"

#include <gtest/gtest.h>
#include <hwy/targets.h>

#include <cstdlib>
#include <map>

using namespace fenlo::whisper;

// ctest runs this program once for each name of FENLO_ISA; this proves that each run uses the named step.
TEST(InstructionSet, IsWhatTheVariableSays_InBothLibraries) {
    using dnnl::cpu_isa;
    constexpr std::int64_t all = HWY_SSSE3 | HWY_SSE4 | HWY_AVX2 | HWY_AVX3;
    const std::map<InstructionSet, std::pair<cpu_isa, std::int64_t>> expected{
        {InstructionSet::scalar, {cpu_isa::sse41, 0}},
        {InstructionSet::sse4, {cpu_isa::sse41, HWY_SSSE3 | HWY_SSE4}},
        {InstructionSet::avx, {cpu_isa::avx, HWY_SSSE3 | HWY_SSE4}},
        {InstructionSet::avx2, {cpu_isa::avx2, all & ~HWY_AVX3}},
        {InstructionSet::avx2vnni, {cpu_isa::avx2_vnni, all & ~HWY_AVX3}},
        {InstructionSet::avx512, {cpu_isa::avx512_core, all}},
        {InstructionSet::avx512vnni, {cpu_isa::avx512_core_vnni, all}},
        {InstructionSet::avx512bf16, {cpu_isa::avx512_core_bf16, all}},
        {InstructionSet::amx, {cpu_isa::avx512_core_amx, all}}};
    const InstructionSet used = allowedInstructionSet();
    if (const char* wanted = std::getenv("FENLO_ISA")) {
        EXPECT_EQ(nameOf(used), wanted);
    } else {
        ASSERT_EQ(std::getenv("DNNL_MAX_CPU_ISA"), nullptr);
        for (const auto& [step, libraries] : expected)
            EXPECT_TRUE(step <= used || !has(readProcessor(), step)) << nameOf(step);
    }
    const auto& [library, targets] = expected.at(used);
    if (used != InstructionSet::scalar) { // processors made before 2008 lack even the library's narrowest step
        EXPECT_EQ(dnnl::get_effective_cpu_isa(), library) << nameOf(used);
    }
    EXPECT_EQ(hwy::SupportedTargets() & all & ~targets, 0) << nameOf(used); // Highway asks for more in some groups
}
