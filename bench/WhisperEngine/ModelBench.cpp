// What the published sizes cost on this machine, with random weights: the time depends on the shape alone. The
// checkpoints lie in a temporary folder, one at a time, and are gone at the end. FENLO_BENCH_THREADS says how many
// threads share the work; by default one for each core.

#include "WhisperEngine/TextDecoder/CacheStepper.h"
#include "WhisperEngine/TextDecoder/DecodingInputs.h"
#include "WhisperEngine/network/ModelFiles.h"
#include "WhisperEngine/runtime/ThreadPool.h"
#include "WhisperEngine/support/RandomCheckpoint.h"
#include "base/Files.h"

#include <benchmark/benchmark.h>
#include <cstdlib>
#include <functional>
#include <memory>
#include <optional>
#include <string>

using namespace fenlo;
using namespace fenlo::whisper;
namespace fs = std::filesystem;

namespace {

struct Size {
    const char* name;
    int width, layers, heads;

    ModelArchitecture architecture() const {
        return {width, layers, heads, 4 * width, layers, heads, 4 * width, 80, 51865, 1500, 448};
    }
};
constexpr Size sizes[] = {{"tiny", 384, 4, 6}, {"base", 512, 6, 8}, {"small", 768, 12, 12}};

ThreadPool& pool() {
    static const char* const wanted = std::getenv("FENLO_BENCH_THREADS");
    static ThreadPool threads(wanted ? std::atoi(wanted) : 0);
    return threads;
}

/// One checkpoint in one precision, and what is made of it step by step.
class Model {
public:
    Model(const Size& size, ComputeUnit unit)
        : m_folder(files::temporaryFile(std::string("bench-").append(size.name).append("-"), "")), m_options{unit, unit,
                                                                                                             unit,
                                                                                                             unit} {
        test::RandomCheckpoint{size.architecture(), {}}.write(m_folder);
    }
    ~Model() {
        std::error_code ignored;
        fs::remove_all(m_folder, ignored);
    }
    Model(const Model&) = delete;
    Model& operator=(const Model&) = delete;

    void compile() { compileModel(m_folder, m_options, {}, {}); }

    void load() {
        if (!isCompiled(m_folder, m_options))
            compile();
        m_mel = loadMelSpectrogram(m_folder, m_options, pool());
        m_encoder = loadAudioEncoder(m_folder, m_options, pool());
        m_decoder = loadTextDecoder(m_folder, m_options, pool());
    }

    /// Everything once: the first calls make the products and the memory.
    void prepare() {
        if (m_stepper)
            return;
        load();
        m_audio.resize(static_cast<std::size_t>(m_mel->windowSamples()));
        test::randomNumbers("audio", 0, m_audio);
        m_features.resize(static_cast<std::size_t>(m_mel->melBands()) * static_cast<std::size_t>(m_mel->melFrames()));
        m_logits.resize(static_cast<std::size_t>(*m_decoder->logitsSize()));
        m_inputs = DecodingInputs::forModel(*m_decoder, *m_decoder->kvCacheMaxSequenceLength(), true);
        computeMel();
        m_encoder->predict(m_features, m_embeddings);
        attach();
        m_stepper.emplace(*m_decoder, m_embeddings, m_inputs);
        step(0);
    }

    void computeMel() { m_mel->predict(m_audio, m_features); }
    void encode() { m_encoder->predict(m_features, m_encoded); }
    void attach() { m_decoder->attach(m_embeddings); }

    void step(int position) {
        m_inputs.cacheLength = position;
        m_stepper->step(50 + position, m_logits);
    }

private:
    const fs::path m_folder;
    const ModelComputeOptions m_options;
    std::unique_ptr<MelSpectrogramModel> m_mel;
    std::unique_ptr<AudioEncoderModel> m_encoder;
    std::unique_ptr<TextDecoderModel> m_decoder;
    AudioEmbeddings m_encoded;    // by encode() alone: a new embedding loses what was attached
    AudioEmbeddings m_embeddings; // attached
    DecodingInputs m_inputs;
    std::optional<CacheStepper> m_stepper;
    std::vector<float> m_audio, m_features, m_logits;
};

/// The benchmarks come in order, so that one model at a time is enough.
class Models {
public:
    Model& get(const std::string& name, const Size& size, ComputeUnit unit) {
        if (m_name != name) {
            m_model.reset(); // first: the disk and the memory hold one
            m_model = std::make_unique<Model>(size, unit);
            m_name = name;
        }
        return *m_model;
    }

private:
    std::string m_name;
    std::unique_ptr<Model> m_model;
};

using Work = std::function<void(Model&, int round)>;

void add(const std::string& name, int rounds, const std::function<Model&()>& model, const Work& work) {
    const auto measure = [=](benchmark::State& state) {
        Model& measured = model();
        int round = 0;
        for (auto _ : state)
            work(measured, round++);
    };
    benchmark::RegisterBenchmark(name.c_str(), measure)
        ->Iterations(rounds)
        ->Unit(benchmark::kMillisecond)
        ->MeasureProcessCPUTime()
        ->UseRealTime();
}

void addAll(Models& models, const Size& size, ComputeUnit unit) {
    const std::string name = std::string(size.name) + (unit == ComputeUnit::automatic ? "/8bit" : "/float32");
    const auto raw = [=, &models]() -> Model& { return models.get(name, size, unit); };
    const auto ready = [=]() -> Model& {
        raw().prepare();
        return raw();
    };
    add(name + "/compile", 1, raw, [](Model& model, int) { model.compile(); });
    add(name + "/load", 1, raw, [](Model& model, int) { model.load(); });
    add(name + "/mel", 5, ready, [](Model& model, int) { model.computeMel(); });
    add(name + "/encode", 5, ready, [](Model& model, int) { model.encode(); });
    add(name + "/attach", 5, ready, [](Model& model, int) { model.attach(); });
    add(name + "/step", 100, ready, [](Model& model, int round) { model.step(round); });
}

} // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    Models models;
    for (const Size& size : sizes)
        for (const ComputeUnit unit : {ComputeUnit::automatic, ComputeUnit::float32})
            addAll(models, size, unit);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
