#include "WhisperEngine/runtime/InstructionSet.h"
#include "WhisperEngine/runtime/SelfTest.h"
#include "app/Commands.h"

#include <cstdio>
#include <cstdlib>
#include <new>
#include <sys/prctl.h>
#include <sys/resource.h>

namespace fenlo {

namespace {

constexpr rlim_t longest = 10; // seconds of the processor, whatever else is at work; it takes a fraction of one

} // namespace

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

} // namespace fenlo
