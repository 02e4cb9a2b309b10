#include "WhisperEngine/runtime/InstructionSet.h"

#include "base/Log.h"

#include <hwy/targets.h>
#include <oneapi/dnnl/dnnl.hpp>

#include <cstdlib>
#include <string_view>

namespace fenlo::whisper {

namespace {

void allow(std::int64_t unwantedTargets, dnnl::cpu_isa widest) {
    hwy::DisableTargets(unwantedTargets);
    dnnl::set_max_cpu_isa(widest);
}

InstructionSet readVariable() {
    const char* variable = std::getenv("FENLO_ISA");
    const std::string_view name = variable ? variable : "";
    constexpr std::int64_t avx512 = HWY_AVX3 | HWY_AVX3_DL;
    if (name == "scalar") {
        allow(avx512 | HWY_AVX2 | HWY_SSE4 | HWY_SSSE3, dnnl::cpu_isa::sse41);
        return InstructionSet::scalar;
    }
    if (name == "sse4") {
        allow(avx512 | HWY_AVX2, dnnl::cpu_isa::sse41);
        return InstructionSet::sse4;
    }
    if (name == "avx2") {
        allow(avx512, dnnl::cpu_isa::avx2);
        return InstructionSet::avx2;
    }
    if (!name.empty() && name != "avx512")
        log("[Fenlo] FENLO_ISA is none of scalar, sse4, avx2 and avx512; using "
            "what the processor has");
    return InstructionSet::avx512;
}

} // namespace

InstructionSet allowedInstructionSet() {
    static const InstructionSet allowed = readVariable();
    return allowed;
}

} // namespace fenlo::whisper
