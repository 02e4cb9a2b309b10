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

constexpr rlim_t longest = 10; // seconds of the processor, whatever else is at work; it takes a fraction of one

int runEngineCheck(const std::string& step) {
    ::prctl(PR_SET_DUMPABLE, 0); // an illegal instruction is a result here, and no crash to keep a picture of
    const rlimit limit{longest, longest + 1}; // a hard limit of the same would end it without a word
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
    } catch (const std::bad_alloc&) { // says nothing of the step
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
