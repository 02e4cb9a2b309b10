#pragma once

#include "WhisperEngine/runtime/InstructionSet.h"
#include "WhisperEngine/runtime/Processor.h"

#include <string>

namespace fenlo::whisper {

/// What the environment says; empty where it says nothing.
struct InstructionWish {
    std::string step;    // FENLO_ISA
    std::string library; // ONEDNN_MAX_CPU_ISA or DNNL_MAX_CPU_ISA
};

/// The widest step that the processor has, the wish allows and the trial passes. Trials go from the widest step down.
/// The narrowest step is used without a trial.
InstructionChoice chooseInstructionSet(const ProcessorFacts& processor, const InstructionWish& wish,
                                       const InstructionTrial& trial);

} // namespace fenlo::whisper
