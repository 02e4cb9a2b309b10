#pragma once

#include "WhisperEngine/runtime/InstructionSet.h"

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

/// How a step is tried out before the process settles on it: in a process of its own, since an illegal instruction ends
/// the one that meets it, and since the libraries settle once.
namespace fenlo::whisper {

/// Starts the program that `command` names for a step and waits for its end. It shall calculate with that step,
/// compare, and end with status 0 when all was right, 1 when a result was wrong; its own limit of processor time sees
/// to it that it ends. A program that cannot be started, or that somebody ends, finds no fault.
///
/// Threads: any; blocks.
InstructionTrial trialInChild(std::function<std::vector<std::string>(InstructionSet)> command);

/// Remembers in `file` what a trial found, as long as `key` stays the same. A file that cannot be read or written costs
/// a trial, no more.
InstructionTrial remembered(InstructionTrial trial, std::filesystem::path file, std::string key);

/// What a remembered trial depends on, besides the program itself: the processor as it is seen here, and oneDNN.
std::string trialKey();

} // namespace fenlo::whisper
