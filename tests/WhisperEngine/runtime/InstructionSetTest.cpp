#include "WhisperEngine/runtime/InstructionSet.h"

#include <gtest/gtest.h>
#include <hwy/targets.h>
#include <oneapi/dnnl/dnnl.hpp>

#include <cstdlib>
#include <string>

using namespace fenlo::whisper;

// ctest runs this program once for each name of FENLO_ISA: here the runs prove to be what they are called.
TEST(InstructionSet, IsAsNarrowAsTheVariableSays) {
    const char* variable = std::getenv("FENLO_ISA");
    const std::string name = variable ? variable : "";
    const InstructionSet allowed = allowedInstructionSet();
    const std::int64_t targets = hwy::SupportedTargets();
    const auto library = dnnl::get_effective_cpu_isa();
    if (name == "scalar") {
        EXPECT_EQ(allowed, InstructionSet::scalar);
        EXPECT_EQ(targets & (HWY_SSSE3 | HWY_SSE4 | HWY_AVX2 | HWY_AVX3), 0);
        EXPECT_LE(library, dnnl::cpu_isa::sse41);
    } else if (name == "sse4") {
        EXPECT_EQ(allowed, InstructionSet::sse4);
        EXPECT_EQ(targets & (HWY_AVX2 | HWY_AVX3), 0);
        EXPECT_LE(library, dnnl::cpu_isa::sse41);
    } else if (name == "avx2") {
        EXPECT_EQ(allowed, InstructionSet::avx2);
        EXPECT_EQ(targets & HWY_AVX3, 0);
        EXPECT_LE(library, dnnl::cpu_isa::avx2);
    } else {
        EXPECT_EQ(allowed, InstructionSet::avx512);
    }
}
