#include "WhisperEngine/runtime/InstructionChoice.h"

#include <algorithm>
#include <array>
#include <strings.h>
#include <utility>

namespace fenlo::whisper {

namespace {

constexpr auto widest = InstructionSet::amx;

InstructionSet narrower(InstructionSet step) {
    return static_cast<InstructionSet>(static_cast<int>(step) - 1);
}

/// oneDNN's names. What lies between two steps counts as the narrower one; other names mean no limit, as they do there.
InstructionSet limitOfLibrary(const std::string& name) {
    constexpr std::array<std::pair<const char*, InstructionSet>, 10> limits{
        {{"SSE41", InstructionSet::sse4},
         {"AVX", InstructionSet::avx},
         {"AVX2", InstructionSet::avx2},
         {"AVX2_VNNI", InstructionSet::avx2vnni},
         {"AVX512_MIC", InstructionSet::avx2},
         {"AVX512_MIC_4OPS", InstructionSet::avx2},
         {"AVX512_CORE", InstructionSet::avx512},
         {"AVX512_CORE_VNNI", InstructionSet::avx512vnni},
         {"AVX512_CORE_BF16", InstructionSet::avx512bf16},
         {"AVX512_CORE_AMX", InstructionSet::amx}}};
    const auto* const found = std::ranges::find_if(
        limits, [&name](const auto& limit) { return ::strcasecmp(limit.first, name.c_str()) == 0; });
    return found == limits.end() ? widest : found->second;
}

InstructionSet bestAtOrBelow(const ProcessorFacts& processor, InstructionSet step) {
    while (!has(processor, step))
        step = narrower(step);
    return step;
}

} // namespace

InstructionChoice chooseInstructionSet(const ProcessorFacts& processor, const InstructionWish& wish,
                                       const InstructionTrial& trial) {
    InstructionChoice choice;
    if (const std::string fault = faultOfTiles(processor); !fault.empty())
        choice.reasons.push_back(std::string(nameOf(InstructionSet::amx)) + ": " + fault);

    const std::optional<InstructionSet> named = instructionSetNamed(wish.step);
    const InstructionSet best = bestAtOrBelow(processor, widest);
    const InstructionSet limit = std::min(named.value_or(widest), limitOfLibrary(wish.library));
    choice.used = bestAtOrBelow(processor, limit);
    if (named.value_or(widest) < best)
        choice.reasons.push_back("FENLO_ISA is " + wish.step);
    if (limitOfLibrary(wish.library) < best)
        choice.reasons.push_back("oneDNN's variable MAX_CPU_ISA is " + wish.library);

    while (choice.used != InstructionSet::scalar) {
        const std::string fault = trial ? trial(choice.used).fault : "";
        if (fault.empty())
            break;
        choice.hasFault = true;
        choice.reasons.push_back(std::string(nameOf(choice.used)) + ": " + fault);
        choice.used = bestAtOrBelow(processor, narrower(choice.used));
    }

    const std::string instead = "; using " + std::string(nameOf(choice.used));
    if (!wish.step.empty() && !named)
        choice.warning = "FENLO_ISA=" + wish.step + " is none of " + instructionSetNames() + instead;
    else if (named && !has(processor, *named))
        choice.warning = "FENLO_ISA=" + wish.step + " is more than this processor offers" + instead;
    return choice;
}

} // namespace fenlo::whisper
