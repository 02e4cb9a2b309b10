#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace fenlo::whisper {

/// How wide the runtime calculates, in steps from the narrowest to the widest.
enum class InstructionSet { scalar, sse4, avx, avx2, avx2vnni, avx512, avx512vnni, avx512bf16, amx };

/// The names are those of the enumerators.
std::string_view nameOf(InstructionSet instructions);
std::optional<InstructionSet> instructionSetNamed(std::string_view name);
/// "scalar, sse4, …"
std::string instructionSetNames();

/// How one step did when it was tried out.
struct TrialResult {
    std::string fault; // empty when its results were right
    bool lasts = true; // another trial would give the same
};
using InstructionTrial = std::function<TrialResult(InstructionSet)>;

/// Which step is used, and why the wider ones that the processor announces are not.
struct InstructionChoice {
    InstructionSet used = InstructionSet::scalar;
    std::vector<std::string> reasons; // one short sentence each
    bool hasFault = false;            // a wider step was tried, and failed
    std::string warning;              // a line for the log about a variable that could not be honoured, or empty
};

/// Settles for the whole process how wide it calculates, and tells Highway and oneDNN, which cannot be told again: the
/// first call counts, and later ones return what it chose. It is the widest step that the processor has, that the
/// environment allows (`FENLO_ISA` names a step; `DNNL_MAX_CPU_ISA`, in oneDNN's own names, counts as well) and that
/// passes the trial. Without a trial, what the processor announces decides alone.
///
/// Threads: any; others wait for the first call's trial.
const InstructionChoice& settleInstructionSet(const InstructionTrial& trial);

/// The settled step. Where none is settled yet, this settles it without a trial.
///
/// Threads: any.
InstructionSet allowedInstructionSet();

} // namespace fenlo::whisper
