#include "WhisperEngine/network/GoldenModel.h"

#include "WhisperEngine/runtime/ThreadPool.h"
#include "base/Files.h"
#include "base/Json.h"

#include <algorithm>
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

Decoding::Decoding(const TextDecoderModel& model)
    : logits(static_cast<std::size_t>(model.logitsSize().value())),
      alignment(static_cast<std::size_t>(model.audioFrames())), m_model(model),
      m_width(static_cast<std::size_t>(model.kvCacheEmbedDim().value())),
      m_positions(static_cast<std::size_t>(model.kvCacheMaxSequenceLength().value())), m_keys(m_positions * m_width),
      m_values(m_keys.size()), m_keyUpdate(m_width), m_valueUpdate(m_width), m_updateMask(m_positions),
      m_paddingMask(m_positions, -1e4f), m_scratch(model.makeScratch()) {}

void Decoding::step(int token, const AudioEmbeddings& embeddings) {
    const auto position = static_cast<std::size_t>(m_length);
    m_paddingMask[position] = 0.0f;
    m_updateMask[position] = 1.0f;
    const TextDecoderInputs inputs{token,         m_length,    m_keys, m_values, m_updateMask,
                                   m_paddingMask, &embeddings, true,   true};
    m_model.predict(inputs, {logits, m_keyUpdate, m_valueUpdate, alignment}, *m_scratch);
    std::ranges::copy(m_keyUpdate, m_keys.begin() + static_cast<std::ptrdiff_t>(position * m_width));
    std::ranges::copy(m_valueUpdate, m_values.begin() + static_cast<std::ptrdiff_t>(position * m_width));
    m_updateMask[position] = 0.0f;
    ++m_length;
}

} // namespace fenlo::test
