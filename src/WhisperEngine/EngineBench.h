#pragma once

#include "WhisperEngine/network/ModelComputeOptions.h"
#include "WhisperEngine/network/ModelPlace.h"

#include <stop_token>
#include <vector>

namespace fenlo {
class Clock;
}

namespace fenlo::whisper {

class ThreadPool;

struct BenchStage {
    enum class Kind { compile, load, mel, encode, attach, decode, decodeTogether };
    Kind kind;
    double seconds; // of one run, the fastest of several; of one token for `decode` and `decodeTogether`
};

/// What a stage is called in a list.
const char* textOf(BenchStage::Kind kind);

struct BenchExtent {
    int runs = 5;    // of each stage
    int windows = 1; // that are decoded at once in a stage of its own, where there are several
};

/// Runs the stages of the engine on a window that is full of sound; a model that is not compiled yet
/// is compiled first.
///
/// Threads: any; it blocks.
/// Errors:  WhisperError, `cancelled` after a stop request; a call of the neural engine runs to its end.
std::vector<BenchStage> measureEngine(const ModelPlace& place, const ModelComputeOptions& compute, ThreadPool& pool,
                                      Clock& clock, const BenchExtent& extent, std::stop_token stop);

/// Seconds from the end of a short sentence to its text, by these stages.
double secondsForSentence(const std::vector<BenchStage>& stages);

} // namespace fenlo::whisper
