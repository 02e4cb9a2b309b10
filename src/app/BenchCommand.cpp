#include "app/Commands.h"

#include "WhisperEngine/EngineBench.h"
#include "WhisperEngine/WhisperError.h"
#include "WhisperEngine/runtime/ThreadPool.h"
#include "app/CommandServices.h"
#include "app/ExitStatus.h"
#include "app/LocalEngine.h"
#include "app/StandardOutput.h"
#include "base/Json.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <memory>
#include <nlohmann/json.hpp>
#include <vector>

namespace fenlo {

namespace {

using namespace whisper;

struct BenchOptions {
    std::string model; // empty for the offline model
    int threads = 0;
    bool float32 = false;
    BenchExtent extent;
    bool json = false;
};

/// A signal ends the measurement in one line.
std::vector<BenchStage> measureStages(const ModelPlace& place, const ModelComputeOptions& compute, ThreadPool& pool,
                                      const BenchExtent& extent, CommandServices& command) try {
    return measureEngine(place, compute, pool, command.clock, extent, command.stop());
} catch (const WhisperError& error) {
    if (error.kind == WhisperError::Kind::cancelled)
        throw Interrupted();
    throw;
}

int runBench(const BenchOptions& options) {
    CommandServices command;
    const auto folder = installedModel(options.model.empty() ? command.deployment.offlineModel : options.model,
                                       command.deployment, command.http, command.clock, command.stop());
    const auto compute = ModelComputeOptions::all(options.float32 ? ComputeUnit::float32 : ComputeUnit::automatic);
    ThreadPool pool(options.threads);
    const InstructionChoice& instructions = settleInstructionSet(instructionTrial());
    const auto stages =
        measureStages(placeOf(folder, modelsDirectory(), compute), compute, pool, options.extent, command);

    if (options.json) {
        nlohmann::ordered_json result{{"model", folder.filename().string()},
                                      {"threads", pool.size()},
                                      {"instructions", nameOf(instructions.used)},
                                      {"instructionReasons", instructions.reasons}};
        for (const BenchStage& stage : stages)
            result["seconds"][textOf(stage.kind)] = stage.seconds;
        print(writeJson(result, 2) + "\n");
        return exitStatus::ok;
    }
    printFormatted("%s, %d threads, %s, %s\n", folder.filename().c_str(), pool.size(),
                   options.float32 ? "32-bit floats" : "the fastest precision", nameOf(instructions.used).data());
    for (const std::string& reason : instructions.reasons)
        print("  " + reason + "\n");
    for (const BenchStage& stage : stages)
        printFormatted("  %-41s %10.2f ms\n", textOf(stage.kind), stage.seconds * 1000);
    return exitStatus::ok;
}

} // namespace

Command addBenchCommand(CLI::App& cli) {
    const auto options = std::make_shared<BenchOptions>();
    CLI::App& command = *cli.add_subcommand("bench", "Measure how fast the engine runs on this machine");
    command.add_option("--model", options->model, modelHelp)->type_name("MODEL");
    command.add_option("--threads", options->threads, "by default one for each core")->check(CLI::Range(0, 1024));
    command.add_flag("--float32", options->float32, "measure the reference in 32-bit floats");
    command.add_option("--windows", options->extent.windows, "measure so many windows that are decoded at once, too")
        ->check(CLI::Range(1, 64));
    command.add_flag("--json", options->json, "print a JSON object");
    return {&command, [options] { return runBench(*options); }};
}

} // namespace fenlo
