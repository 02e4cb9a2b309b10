#include "WhisperEngine/network/ModelConfig.h"

#include "WhisperEngine/network/ModelFault.h"
#include "WhisperEngine/network/ModelJson.h"

#include <nlohmann/json.hpp>

namespace fenlo::whisper {

using nlohmann::json;
namespace fs = std::filesystem;

namespace {

struct Field {
    const char* name;
    int ModelArchitecture::*member;
    int least;
    int most; // some times what the largest published model has, so that no product of sizes overflows
};

constexpr Field fields[] = {
    {"d_model", &ModelArchitecture::width, 4, 4096},
    {"encoder_layers", &ModelArchitecture::encoderLayers, 1, 64},
    {"encoder_attention_heads", &ModelArchitecture::encoderHeads, 1, 64},
    {"encoder_ffn_dim", &ModelArchitecture::encoderFeedForward, 1, 32768},
    {"decoder_layers", &ModelArchitecture::decoderLayers, 1, 64},
    {"decoder_attention_heads", &ModelArchitecture::decoderHeads, 1, 64},
    {"decoder_ffn_dim", &ModelArchitecture::decoderFeedForward, 1, 32768},
    {"num_mel_bins", &ModelArchitecture::melBands, 8, 256},
    {"vocab_size", &ModelArchitecture::vocabularySize, 8, 1'000'000},
    {"max_source_positions", &ModelArchitecture::audioPositions, 2, 6000},
    {"max_target_positions", &ModelArchitecture::textPositions, 2, 8192},
};
static_assert(std::size(fields) <= ModelArchitecture::Numbers{}.size());

constexpr int widestHead = 512;

void checkHeads(const ModelArchitecture& architecture, const std::string& source) {
    for (const int heads : {architecture.encoderHeads, architecture.decoderHeads})
        if (architecture.width % heads != 0 || architecture.width / heads > widestHead)
            throw modelFault(source + ": " + std::to_string(heads) + " heads do not fit a width of " +
                             std::to_string(architecture.width) + ". This model cannot be used.");
}

void checkRange(const Field& field, std::int64_t value, const std::string& source) {
    if (value < field.least || value > field.most)
        throw modelFault(source + ": \"" + field.name + "\" is " + std::to_string(value) + ", not between " +
                         std::to_string(field.least) + " and " + std::to_string(field.most) +
                         ". This model cannot be used.");
}

ModelArchitecture readArchitecture(const json& config, const std::string& source) {
    ModelArchitecture architecture;
    for (const Field& field : fields) {
        const auto found = config.find(field.name);
        if (found == config.end() || !found->is_number_integer())
            throw modelFault(source + ": \"" + field.name + "\" is missing or not an integer. Choose a Whisper model.");
        checkRange(field, found->get<std::int64_t>(), source);
        architecture.*field.member = found->get<int>();
    }
    checkHeads(architecture, source);
    return architecture;
}

/// The variants that no published checkpoint uses and this network does not compute.
void refuseVariants(const json& config, const std::string& source) {
    const auto differs = [&](const char* name, const json& expected) {
        const auto found = config.find(name);
        return found != config.end() && *found != expected;
    };
    if (differs("model_type", "whisper"))
        throw modelFault(source + ": \"model_type\" is not \"whisper\". Choose a Whisper model.");
    if (differs("activation_function", "gelu") || differs("scale_embedding", false) ||
        differs("tie_word_embeddings", true))
        throw modelFault(source + " asks for a variant of Whisper that is not supported. Choose another model.");
}

std::vector<AlignmentHead> readAlignmentHeads(const json& config, const ModelArchitecture& architecture,
                                              const std::string& source) {
    std::vector<AlignmentHead> heads;
    const auto found = config.find("alignment_heads");
    if (found == config.end() || !found->is_array() || found->empty())
        return heads;
    const auto limit = static_cast<std::size_t>(architecture.decoderLayers) * architecture.decoderHeads;
    for (const json& pair : *found) {
        const bool numbers =
            pair.is_array() && pair.size() == 2 && pair[0].is_number_integer() && pair[1].is_number_integer();
        const std::int64_t layer = numbers ? pair[0].get<std::int64_t>() : -1;
        const std::int64_t head = numbers ? pair[1].get<std::int64_t>() : -1;
        if (layer < 0 || layer >= architecture.decoderLayers || head < 0 || head >= architecture.decoderHeads ||
            heads.size() >= limit)
            throw ModelDamage(source + ": \"alignment_heads\" does not fit the model");
        heads.push_back({static_cast<int>(layer), static_cast<int>(head)});
    }
    return heads;
}

/// For models whose heads nobody has measured: all heads of the upper half of the layers, as in the published code.
std::vector<AlignmentHead> upperHalf(const ModelArchitecture& architecture) {
    std::vector<AlignmentHead> heads;
    for (int layer = architecture.decoderLayers / 2; layer < architecture.decoderLayers; ++layer)
        for (int head = 0; head < architecture.decoderHeads; ++head)
            heads.push_back({layer, head});
    return heads;
}

} // namespace

ModelArchitecture::Numbers ModelArchitecture::numbers() const {
    Numbers numbers{};
    for (std::size_t i = 0; i < std::size(fields); ++i)
        numbers[i] = static_cast<std::uint32_t>(this->*fields[i].member);
    return numbers;
}

ModelArchitecture ModelArchitecture::fromNumbers(const Numbers& numbers, const std::string& source) {
    ModelArchitecture architecture;
    for (std::size_t i = 0; i < std::size(fields); ++i) {
        checkRange(fields[i], numbers[i], source);
        architecture.*fields[i].member = static_cast<int>(numbers[i]);
    }
    checkHeads(architecture, source);
    return architecture;
}

ModelConfig readModelConfig(const fs::path& modelFolder) {
    const fs::path file = modelFolder / "config.json";
    const json config = readModelJson(file);
    refuseVariants(config, file.string());
    ModelConfig result;
    result.architecture = readArchitecture(config, file.string());

    // The heads stand in the second file; older checkpoints have them in the first, or nowhere.
    const fs::path generationFile = modelFolder / "generation_config.json";
    std::error_code error;
    const json generation = fs::exists(generationFile, error) ? readModelJson(generationFile) : json::object();
    const json& withHeads = generation.contains("alignment_heads") ? generation : config;
    result.alignmentHeads = readAlignmentHeads(withHeads, result.architecture, modelFolder.string());
    if (result.alignmentHeads.empty())
        result.alignmentHeads = upperHalf(result.architecture);
    return result;
}

} // namespace fenlo::whisper
