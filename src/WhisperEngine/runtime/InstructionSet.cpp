#include "WhisperEngine/runtime/InstructionSet.h"

#include "WhisperEngine/runtime/InstructionChoice.h"
#include "WhisperEngine/runtime/OneDnn.h"
#include "base/Environment.h"
#include "base/Log.h"

#include <algorithm>
#include <array>
#include <hwy/targets.h>

namespace fenlo::whisper {

namespace {

struct Step {
    std::string_view name;
    std::int64_t withoutTargets; // of Highway
    dnnl::cpu_isa library;
};

constexpr std::int64_t noAvx512 = HWY_AVX3 | HWY_AVX3_DL;
constexpr std::int64_t noAvx2 = noAvx512 | HWY_AVX2;
constexpr std::int64_t noSse = noAvx2 | HWY_SSE4 | HWY_SSSE3;

/// In the order of the enumerators.
constexpr std::array<Step, 9> steps{{{"scalar", noSse, dnnl::cpu_isa::sse41},
                                     {"sse4", noAvx2, dnnl::cpu_isa::sse41},
                                     {"avx", noAvx2, dnnl::cpu_isa::avx},
                                     {"avx2", noAvx512, dnnl::cpu_isa::avx2},
                                     {"avx2vnni", noAvx512, dnnl::cpu_isa::avx2_vnni},
                                     {"avx512", HWY_AVX3_DL, dnnl::cpu_isa::avx512_core},
                                     {"avx512vnni", 0, dnnl::cpu_isa::avx512_core_vnni},
                                     {"avx512bf16", 0, dnnl::cpu_isa::avx512_core_bf16},
                                     {"amx", 0, dnnl::cpu_isa::avx512_core_amx}}};

const Step& stepOf(InstructionSet instructions) {
    return steps.at(static_cast<std::size_t>(instructions));
}

InstructionWish readWish() {
    const std::string library = environment("ONEDNN_MAX_CPU_ISA"); // oneDNN looks there first
    return {environment("FENLO_ISA"), library.empty() ? environment("DNNL_MAX_CPU_ISA") : library};
}

InstructionChoice settle(const InstructionTrial& trial) {
    InstructionChoice choice = chooseInstructionSet(readProcessor(), readWish(), trial);
    if (!choice.warning.empty())
        logInfo("{}", choice.warning);
    const Step& step = stepOf(choice.used);
    hwy::DisableTargets(step.withoutTargets);
    dnnl::set_max_cpu_isa(step.library);
    return choice;
}

} // namespace

std::string_view nameOf(InstructionSet instructions) {
    return stepOf(instructions).name;
}

std::optional<InstructionSet> instructionSetNamed(std::string_view name) {
    const auto* const found = std::ranges::find(steps, name, &Step::name);
    if (found == steps.end())
        return std::nullopt;
    return static_cast<InstructionSet>(found - steps.begin());
}

std::string instructionSetNames() {
    std::string names;
    for (const Step& step : steps)
        names.append(names.empty() ? "" : ", ").append(step.name);
    return names;
}

const InstructionChoice& settleInstructionSet(const InstructionTrial& trial) {
    static const InstructionChoice settled = settle(trial);
    return settled;
}

InstructionSet allowedInstructionSet() {
    static const InstructionSet used = settleInstructionSet({}).used;
    return used;
}

} // namespace fenlo::whisper
