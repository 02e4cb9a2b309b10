// `fenlo bench --json` without the rest of the program, which is quick to build: bench/engine_speed.py runs either.

#include "WhisperEngine/EngineBench.h"
#include "WhisperEngine/runtime/InstructionSet.h"
#include "WhisperEngine/runtime/ThreadPool.h"
#include "base/Clock.h"
#include "base/Json.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <nlohmann/json.hpp>

using namespace fenlo;
using namespace fenlo::whisper;

namespace {

void measure(const std::filesystem::path& model, int threads, ComputeUnit unit, const BenchExtent& extent) {
    SystemClock clock;
    ThreadPool pool(threads);
    const auto compute = ModelComputeOptions::all(unit);
    nlohmann::ordered_json result{{"threads", pool.size()}, {"instructions", nameOf(allowedInstructionSet())}};
    for (const BenchStage& stage : measureEngine(placeOf(model, {}, compute), compute, pool, clock, extent, {}))
        result["seconds"][textOf(stage.kind)] = stage.seconds;
    std::puts(writeJson(result, 2).c_str());
}

} // namespace

int main(int argc, char** argv) try {
    CLI::App cli("Measures the engine on a checkpoint");
    std::filesystem::path model;
    int threads = 0;
    bool float32 = false;
    BenchExtent extent;
    CLI::App& bench = *cli.add_subcommand("bench")->required();
    bench.add_option("--model", model)->required();
    bench.add_option("--threads", threads)->check(CLI::Range(0, 1024));
    bench.add_flag("--float32", float32);
    bench.add_option("--windows", extent.windows)->check(CLI::Range(1, 64));
    bench.add_flag("--json"); // always so
    CLI11_PARSE(cli, argc, argv);
    measure(model, threads, float32 ? ComputeUnit::float32 : ComputeUnit::automatic, extent);
    return 0;
} catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
}
