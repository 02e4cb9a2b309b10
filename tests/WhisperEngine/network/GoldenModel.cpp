#include "WhisperEngine/network/GoldenModel.h"

#include "WhisperEngine/runtime/ThreadPool.h"
#include "base/Files.h"
#include "base/Json.h"

#include <cstring>
#include <map>

namespace fenlo::test {

using namespace whisper;
namespace fs = std::filesystem;

namespace {

const fs::path samplesFolder = fs::path(GOLDEN_FOLDER) / "samples";

/// One window: 16-bit samples behind a header of 44 bytes, then zeros.
std::vector<float> readWindow(const nlohmann::json& sample, int length) {
    const std::string bytes = files::read(samplesFolder / sample["file"].get<std::string>()).value();
    std::vector<float> audio(static_cast<std::size_t>(length));
    for (std::size_t i = 0; 44 + 2 * i + 1 < bytes.size(); ++i) {
        std::int16_t value = 0;
        std::memcpy(&value, bytes.data() + 44 + 2 * i, 2);
        audio[i] = static_cast<float>(value) / 32768.0f;
    }
    return audio;
}

} // namespace

const Networks& networks(ComputeUnit unit, int threads) {
    static std::map<int, ThreadPool> pools;
    static std::map<std::pair<ComputeUnit, int>, Networks> loaded;
    if (const auto found = loaded.find({unit, threads}); found != loaded.end())
        return found->second;
    ThreadPool& pool = pools.try_emplace(threads, threads).first->second;
    const fs::path folder = files::temporaryFile("model-", "");
    fs::create_directory(folder);
    for (const auto& file : fs::directory_iterator(DEMO_MODEL_FOLDER))
        if (file.is_regular_file())
            fs::create_symlink(file.path(), folder / file.path().filename());
    const ModelComputeOptions options{unit, unit, unit, unit};
    compileModel(folder, options, {}, {});
    return loaded[{unit, threads}] = {loadMelSpectrogram(folder, options, pool),
                                      loadAudioEncoder(folder, options, pool), loadTextDecoder(folder, options, pool)};
}

std::vector<nlohmann::json> goldenSamples() {
    return parseJson(files::read(samplesFolder / "samples.json").value());
}

std::vector<float> readDump(const nlohmann::json& dump) {
    const std::string bytes = files::read(samplesFolder / dump["file"].get<std::string>()).value();
    std::vector<float> values(bytes.size() / sizeof(float));
    std::memcpy(values.data(), bytes.data(), bytes.size());
    return values;
}

std::vector<float> melOf(const Networks& nets, const nlohmann::json& sample) {
    std::vector<float> features(static_cast<std::size_t>(nets.mel->melBands() * nets.mel->melFrames()));
    nets.mel->predict(readWindow(sample, nets.mel->windowSamples()), features);
    return features;
}

AudioEmbeddings embeddingsOf(const Networks& nets, const nlohmann::json& sample) {
    AudioEmbeddings embeddings;
    nets.encoder->predict(melOf(nets, sample), embeddings);
    nets.decoder->attach(embeddings);
    return embeddings;
}

Decoding::Decoding(const TextDecoderModel& model, const AudioEmbeddings& embeddings)
    : inputs(DecodingInputs::forModel(model, model.kvCacheMaxSequenceLength().value(), true)),
      stepper(model, embeddings, inputs), logits(static_cast<std::size_t>(model.logitsSize().value())) {}

} // namespace fenlo::test
