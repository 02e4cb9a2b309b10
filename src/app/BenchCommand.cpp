#include "app/Commands.h"

#include "WhisperEngine/TextDecoder/CacheStepper.h"
#include "WhisperEngine/TextDecoder/DecodingInputs.h"
#include "WhisperEngine/network/ModelFiles.h"
#include "WhisperEngine/runtime/ThreadPool.h"
#include "app/LocalEngine.h"
#include "app/StandardOutput.h"
#include "app/TerminationSignals.h"
#include "base/Clock.h"
#include "base/Json.h"
#include "platform/linux/net/CurlHttpClient.h"
#include "settings/Deployment.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <functional>
#include <nlohmann/json.hpp>
#include <vector>

namespace fenlo {

namespace {

using namespace whisper;

constexpr int runs = 5;
constexpr int decoderSteps = 100;

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
        const double t = static_cast<double>(i) / 16000;
        audio[i] = static_cast<float>(0.3 * std::sin(2 * M_PI * (200 + 40 * t) * t) * std::sin(2 * M_PI * 3 * t));
    }
    return audio;
}

void decode(const TextDecoderModel& decoder, const AudioEmbeddings& embeddings, std::stop_token stop) {
    const int positions = decoder.kvCacheMaxSequenceLength().value();
    auto inputs = DecodingInputs::forModel(decoder, positions, false);
    CacheStepper stepper(decoder, embeddings, inputs);
    std::vector<float> logits(static_cast<std::size_t>(decoder.logitsSize().value()));
    for (int step = 0; step < std::min(decoderSteps, positions); ++step) {
        if (stop.stop_requested())
            throw Interrupted();
        stepper.step(1000 + step, logits);
    }
}

} // namespace

int runBench(const BenchOptions& options) {
    TerminationSignals::block();
    std::stop_source interruption;
    const TerminationSignals termination([&] { interruption.request_stop(); });
    const std::stop_token stop = interruption.get_token();
    SystemClock clock;
    CurlHttpClient http;
    const Deployment deployment = Deployment::load();
    const auto folder =
        installedModel(options.model.empty() ? deployment.offlineModel : options.model, deployment, http, clock, stop);
    const auto compute = ModelComputeOptions::all(options.float32 ? ComputeUnit::float32 : ComputeUnit::automatic);
    ThreadPool pool(options.threads);
    const InstructionChoice& instructions = settleInstructionSet(instructionTrial());
    std::vector<Stage> stages;
    const ModelPlace place = placeOf(folder, modelsDirectory(), compute);
    if (!isCompiled(place, compute))
        stages.push_back(
            {"compile the checkpoint", fastest(clock, 1, [&] { compileModel(place, compute, {}, stop); })});

    std::unique_ptr<MelSpectrogramModel> mel;
    std::unique_ptr<AudioEncoderModel> encoder;
    std::unique_ptr<TextDecoderModel> decoder;
    stages.push_back({"load", fastest(clock, 1, [&] {
                          mel = loadMelSpectrogram(place, compute, pool);
                          encoder = loadAudioEncoder(place, compute, pool);
                          decoder = loadTextDecoder(place, compute, pool);
                      })});
    const std::vector<float> audio = sounding(mel->windowSamples());
    std::vector<float> features(static_cast<std::size_t>(mel->melBands()) * static_cast<std::size_t>(mel->melFrames()));
    AudioEmbeddings embeddings;
    const auto measure = [&](const char* name, const std::function<void()>& work) {
        stages.push_back({name, fastest(clock, runs, [&] {
                              if (stop.stop_requested())
                                  throw Interrupted();
                              work();
                          })});
    };
    measure("mel spectrogram of 30 s", [&] { mel->predict(audio, features); });
    measure("encode 30 s", [&] { encoder->predict(features, embeddings); });
    measure("cross-attention keys and values", [&] { decoder->attach(embeddings); });
    measure("decode a token, mean of 100", [&] { decode(*decoder, embeddings, stop); });
    stages.back().seconds /= decoderSteps;

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

} // namespace fenlo
