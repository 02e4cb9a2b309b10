#include "WhisperEngine/runtime/InstructionSet.h"
#include "WhisperEngine/runtime/SelfTest.h"
#include "app/Commands.h"
#include "app/ExitStatus.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <new>
#include <sys/prctl.h>
#include <sys/resource.h>

namespace fenlo {

namespace {

constexpr rlim_t longest = 10; // seconds of processor time; a fraction of one is enough

int runEngineCheck(const std::string& step) {
    ::prctl(PR_SET_DUMPABLE, 0); // an illegal instruction is an expected result here and leaves no core file
    const rlimit limit{longest, longest + 1}; // with an equal hard limit the signal would be SIGKILL
    ::setrlimit(RLIMIT_CPU, &limit);
    ::setenv("FENLO_ISA", step.c_str(), 1);
    const whisper::InstructionChoice& choice = whisper::settleInstructionSet({});
    if (whisper::nameOf(choice.used) != step)
        return exitStatus::usage;
    try {
        const std::string fault = whisper::selfTest(whisper::engineProducts());
        if (fault.empty())
            return exitStatus::ok;
        std::fprintf(stderr, "fenlo: with %s, %s is wrong\n", step.c_str(), fault.c_str());
        return exitStatus::failed;
    } catch (const std::bad_alloc&) { // tells nothing about the step
        return exitStatus::usage;
    }
}

} // namespace

Command addEngineCheckCommand(CLI::App& cli) {
    const auto step = std::make_shared<std::string>();
    CLI::App& command = *cli.add_subcommand("engine-check", "Try out the engine's instructions");
    command.group(""); // Fenlo calls it itself
    command.add_option("STEP", *step, "one of the names of FENLO_ISA")->required();
    return {&command, [step] { return runEngineCheck(*step); }};
}

} // namespace fenlo
