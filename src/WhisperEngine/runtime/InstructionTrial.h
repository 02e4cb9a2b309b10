#pragma once

#include "WhisperEngine/runtime/InstructionSet.h"

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

/// How a step is tried out before this process settles on it: in a child process, since an illegal instruction ends the
/// process that meets it, and since the libraries can be set only once.
namespace fenlo::whisper {

/// Starts the program that `command` names for a step and waits for its end. The program calculates with that step and
/// ends with status 0 when all results were right, 1 when one was wrong; it limits its own processor time, so that it
/// always ends. A program that cannot be started, or is killed from outside, tells no fault.
///
/// Threads: any; blocks.
InstructionTrial trialInChild(std::function<std::vector<std::string>(InstructionSet)> command);

/// Remembers in `file` what a trial found, as long as `key` stays the same. Where the file cannot be read or written,
/// the trial is made again.
InstructionTrial remembered(InstructionTrial trial, std::filesystem::path file, std::string key);

/// What a remembered trial depends on, besides the program itself: the processor as it is seen here, and oneDNN.
std::string trialKey();

} // namespace fenlo::whisper
