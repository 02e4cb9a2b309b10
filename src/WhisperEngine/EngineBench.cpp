#include "WhisperEngine/EngineBench.h"

#include "WhisperEngine/AudioTime.h"
#include "WhisperEngine/SideBySide.h"
#include "WhisperEngine/TextDecoder/CacheStepper.h"
#include "WhisperEngine/TextDecoder/DecodingInputs.h"
#include "WhisperEngine/TextDecoder/StepBatch.h"
#include "WhisperEngine/WhisperError.h"
#include "WhisperEngine/network/ModelFiles.h"
#include "WhisperEngine/runtime/ThreadPool.h"
#include "base/Clock.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <functional>
#include <memory>

namespace fenlo::whisper {

namespace {

using Kind = BenchStage::Kind;

constexpr int decoderSteps = 100;
constexpr int tokensOfSentence = 20;

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

void endWhenStopped(std::stop_token stop) {
    if (stop.stop_requested())
        throw WhisperError(WhisperError::Kind::cancelled, "the measurement was ended");
}

void decode(const TextDecoderModel& decoder, const AudioEmbeddings& embeddings, const CacheStepper::Run& run,
            std::stop_token stop) {
    const int positions = decoder.kvCacheMaxSequenceLength().value();
    auto inputs = DecodingInputs::forModel(decoder, positions, false);
    CacheStepper stepper(decoder, embeddings, inputs, run);
    std::vector<float> logits(static_cast<std::size_t>(decoder.logitsSize().value()));
    for (int step = 0; step < std::min(decoderSteps, positions); ++step) {
        endWhenStopped(stop);
        stepper.step(1000 + step, logits);
    }
}

/// Each window on a thread, with keys and values of its own, as a transcription has them.
void decodeTogether(const TextDecoderModel& decoder, const std::vector<AudioEmbeddings>& windows,
                    std::stop_token stop) {
    StepBatch batch(decoder);
    std::vector<std::unique_ptr<StepBatch::Window>> members; // all before the first step
    for (std::size_t i = 0; i < windows.size(); ++i)
        members.push_back(std::make_unique<StepBatch::Window>(batch));
    runSideBySide(windows.size(), windows.size(), [&](std::size_t i) {
        const auto window = std::move(members[i]);
        decode(
            decoder, windows[i], [&](const TextDecoderModel::Call& call) { window->step(call, stop); }, stop);
    });
}

} // namespace

const char* textOf(BenchStage::Kind kind) {
    switch (kind) {
    case Kind::compile:
        return "compile the checkpoint";
    case Kind::load:
        return "load";
    case Kind::mel:
        return "mel spectrogram of 30 s";
    case Kind::encode:
        return "encode 30 s";
    case Kind::attach:
        return "cross-attention keys and values";
    case Kind::decode:
        return "decode a token, mean of 100";
    case Kind::decodeTogether:
        return "decode a token of several windows at once";
    }
    std::abort();
}

std::vector<BenchStage> measureEngine(const ModelPlace& place, const ModelComputeOptions& compute, ThreadPool& pool,
                                      Clock& clock, const BenchExtent& extent, std::stop_token stop) {
    const int runs = extent.runs;
    std::vector<BenchStage> stages;
    const auto measure = [&](Kind kind, int count, const std::function<void()>& work) {
        stages.push_back({kind, fastest(clock, count, [&] {
                              endWhenStopped(stop);
                              work();
                          })});
    };
    if (!isCompiled(place, compute))
        measure(Kind::compile, 1, [&] { compileModel(place, compute, {}, stop); });
    std::unique_ptr<MelSpectrogramModel> mel;
    std::unique_ptr<AudioEncoderModel> encoder;
    std::unique_ptr<TextDecoderModel> decoder;
    measure(Kind::load, 1, [&] {
        mel = loadMelSpectrogram(place, compute, pool);
        encoder = loadAudioEncoder(place, compute, pool);
        decoder = loadTextDecoder(place, compute, pool);
    });
    const std::vector<float> audio = sounding(mel->windowSamples());
    std::vector<float> features(static_cast<std::size_t>(mel->melBands()) * static_cast<std::size_t>(mel->melFrames()));
    AudioEmbeddings embeddings;
    measure(Kind::mel, runs, [&] { mel->predict(audio, features); });
    measure(Kind::encode, runs, [&] { encoder->predict(features, embeddings); });
    measure(Kind::attach, runs, [&] { decoder->attach(embeddings); });
    measure(Kind::decode, runs, [&] { decode(*decoder, embeddings, {}, stop); });
    stages.back().seconds /= decoderSteps;
    if (extent.windows > 1) {
        std::vector<AudioEmbeddings> windows(static_cast<std::size_t>(extent.windows), embeddings);
        for (AudioEmbeddings& window : windows)
            decoder->attach(window);
        measure(Kind::decodeTogether, runs, [&] { decodeTogether(*decoder, windows, stop); });
        stages.back().seconds /= decoderSteps * extent.windows;
    }
    return stages;
}

double secondsForSentence(const std::vector<BenchStage>& stages) {
    double seconds = 0;
    for (const BenchStage& stage : stages)
        if (stage.kind == Kind::decode)
            seconds += stage.seconds * tokensOfSentence;
        else if (stage.kind == Kind::mel || stage.kind == Kind::encode || stage.kind == Kind::attach)
            seconds += stage.seconds;
    return seconds;
}

} // namespace fenlo::whisper
