// Skips all tests of a program when FENLO_ISA names a step that this processor lacks: they would test another one.

#include "WhisperEngine/runtime/InstructionSet.h"

#include <cstdlib>
#include <gtest/gtest.h>

namespace {

class ForcedStep : public testing::Environment {
    void SetUp() override {
        const char* wanted = std::getenv("FENLO_ISA");
        if (wanted && fenlo::whisper::nameOf(fenlo::whisper::allowedInstructionSet()) != wanted)
            GTEST_SKIP() << "FENLO_ISA=" << wanted << ": this processor cannot";
    }
};

[[maybe_unused]] const auto* const registered = testing::AddGlobalTestEnvironment(new ForcedStep);

} // namespace
