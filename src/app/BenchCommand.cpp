#include "app/Commands.h"

#include "WhisperEngine/AudioTime.h"
#include "WhisperEngine/TextDecoder/CacheStepper.h"
#include "WhisperEngine/TextDecoder/DecodingInputs.h"
#include "WhisperEngine/network/ModelFiles.h"
#include "WhisperEngine/runtime/ThreadPool.h"
#include "app/CommandServices.h"
#include "app/ExitStatus.h"
#include "app/LocalEngine.h"
#include "app/StandardOutput.h"
#include "base/Json.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <functional>
#include <memory>
#include <nlohmann/json.hpp>
#include <vector>

namespace fenlo {

namespace {

using namespace whisper;

constexpr int runs = 5;
constexpr int decoderSteps = 100;

struct BenchOptions {
    std::string model; // empty for the offline model
    int threads = 0;
    bool float32 = false;
    bool json = false;
};

struct Stage {
    const char* name;
    double seconds; // of one run, the fastest of several
};

/// The fastest is what the machine can do; the others were disturbed.
double fastest(Clock& clock, int count, const std::function<void()>& work) {
    double best = HUGE_VAL;
    for (int run = 0; run < count; ++run) {
        const double begin = clock.now();
        work();
        best = std::min(best, clock.now() - begin);
    }
    return best;
}

/// A window that is full of sound: a chirp with a beat.
std::vector<float> sounding(int samples) {
    std::vector<float> audio(static_cast<std::size_t>(samples));
    for (std::size_t i = 0; i < audio.size(); ++i) {
        const double t = static_cast<double>(i) / sampleRate;
        audio[i] = static_cast<float>(0.3 * std::sin(2 * M_PI * (200 + 40 * t) * t) * std::sin(2 * M_PI * 3 * t));
    }
    return audio;
}

void refuseAfterSignal(std::stop_token stop) {
    if (stop.stop_requested())
        throw Interrupted();
}

void decode(const TextDecoderModel& decoder, const AudioEmbeddings& embeddings, std::stop_token stop) {
    const int positions = decoder.kvCacheMaxSequenceLength().value();
    auto inputs = DecodingInputs::forModel(decoder, positions, false);
    CacheStepper stepper(decoder, embeddings, inputs);
    std::vector<float> logits(static_cast<std::size_t>(decoder.logitsSize().value()));
    for (int step = 0; step < std::min(decoderSteps, positions); ++step) {
        refuseAfterSignal(stop);
        stepper.step(1000 + step, logits);
    }
}

/// The stages of the engine, one after the other.
std::vector<Stage> measureStages(const ModelPlace& place, const ModelComputeOptions& compute, ThreadPool& pool,
                                 CommandServices& command) {
    const std::stop_token stop = command.stop();
    std::vector<Stage> stages;
    const auto measure = [&](const char* name, int count, const std::function<void()>& work) {
        stages.push_back({name, fastest(command.clock, count, work)});
    };
    if (!isCompiled(place, compute))
        measure("compile the checkpoint", 1, [&] { compileModel(place, compute, {}, stop); });
    std::unique_ptr<MelSpectrogramModel> mel;
    std::unique_ptr<AudioEncoderModel> encoder;
    std::unique_ptr<TextDecoderModel> decoder;
    measure("load", 1, [&] {
        mel = loadMelSpectrogram(place, compute, pool);
        encoder = loadAudioEncoder(place, compute, pool);
        decoder = loadTextDecoder(place, compute, pool);
    });
    const std::vector<float> audio = sounding(mel->windowSamples());
    std::vector<float> features(static_cast<std::size_t>(mel->melBands()) * static_cast<std::size_t>(mel->melFrames()));
    AudioEmbeddings embeddings;
    const auto measureOften = [&](const char* name, const std::function<void()>& work) {
        measure(name, runs, [&] {
            refuseAfterSignal(stop);
            work();
        });
    };
    measureOften("mel spectrogram of 30 s", [&] { mel->predict(audio, features); });
    measureOften("encode 30 s", [&] { encoder->predict(features, embeddings); });
    measureOften("cross-attention keys and values", [&] { decoder->attach(embeddings); });
    measureOften("decode a token, mean of 100", [&] { decode(*decoder, embeddings, stop); });
    stages.back().seconds /= decoderSteps;
    return stages;
}

int runBench(const BenchOptions& options) {
    CommandServices command;
    const auto folder = installedModel(options.model.empty() ? command.deployment.offlineModel : options.model,
                                       command.deployment, command.http, command.clock, command.stop());
    const auto compute = ModelComputeOptions::all(options.float32 ? ComputeUnit::float32 : ComputeUnit::automatic);
    ThreadPool pool(options.threads);
    const InstructionChoice& instructions = settleInstructionSet(instructionTrial());
    const auto stages = measureStages(placeOf(folder, modelsDirectory(), compute), compute, pool, command);

    if (options.json) {
        nlohmann::ordered_json result{{"model", folder.filename().string()},
                                      {"threads", pool.size()},
                                      {"instructions", nameOf(instructions.used)},
                                      {"instructionReasons", instructions.reasons}};
        for (const Stage& stage : stages)
            result["seconds"][stage.name] = stage.seconds;
        print(writeJson(result, 2) + "\n");
        return exitStatus::ok;
    }
    printFormatted("%s, %d threads, %s, %s\n", folder.filename().c_str(), pool.size(),
                   options.float32 ? "32-bit floats" : "the fastest precision", nameOf(instructions.used).data());
    for (const std::string& reason : instructions.reasons)
        print("  " + reason + "\n");
    for (const Stage& stage : stages)
        printFormatted("  %-34s %10.2f ms\n", stage.name, stage.seconds * 1000);
    return exitStatus::ok;
}

} // namespace

Command addBenchCommand(CLI::App& cli) {
    const auto options = std::make_shared<BenchOptions>();
    CLI::App& command = *cli.add_subcommand("bench", "Measure how fast the engine runs on this machine");
    command.add_option("--model", options->model, modelHelp);
    command.add_option("--threads", options->threads, "by default one for each core")->check(CLI::Range(0, 1024));
    command.add_flag("--float32", options->float32, "measure the reference in 32-bit floats");
    command.add_flag("--json", options->json, "print a JSON object");
    return {&command, [options] { return runBench(*options); }};
}

} // namespace fenlo
