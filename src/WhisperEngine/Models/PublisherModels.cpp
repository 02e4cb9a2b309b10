#include "WhisperEngine/Models/PublisherModels.h"

#include "WhisperEngine/Models/LocalModels.h"
#include "WhisperEngine/Models/ModelSupport.h"
#include "WhisperEngine/WhisperError.h"
#include "base/Text.h"

#include <algorithm>
#include <set>

namespace fenlo::whisper {

namespace {

// The large checkpoint of September 2024: by its date, and under its publisher's name.
constexpr const char* datedTurbo = "whisper-large-v3-v20240930";
constexpr const char* publishedTurbo = "whisper-large-v3-turbo";

// Checkpoints that the table of devices leaves out, and another name of one that it has.
constexpr const char* furtherModels[] = {"openai_whisper-medium", "openai_whisper-medium.en",
                                         "openai_whisper-large-v3-turbo"};

struct VariantName {
    std::string publisher;
    std::string checkpoint; // as the publisher calls it
};

VariantName parse(const std::string& variant) {
    const auto parts = text::split(variant, '_');
    if (!isModelName(variant) || parts.size() < 2 || parts[0].empty() || parts[1].empty())
        throw WhisperError(WhisperError::Kind::modelsUnavailable,
                           "\"" + variant + "\" is no name of a model; \"openai_whisper-small\" is one");
    return {parts[0], parts[1] == datedTurbo ? publishedTurbo : parts[1]};
}

} // namespace

std::string publisherRepository(const std::string& variant) {
    const VariantName name = parse(variant);
    return name.publisher + "/" + name.checkpoint;
}

std::string plainVariant(const std::string& variant) {
    const VariantName name = parse(variant);
    return name.publisher + "_" + (name.checkpoint == publishedTurbo ? datedTurbo : name.checkpoint);
}

std::vector<std::string> publisherModels() {
    std::set<std::string> all(std::begin(furtherModels), std::end(furtherModels));
    const auto& known = ModelSupportConfig::fallback().knownModels;
    all.insert(known.begin(), known.end());
    std::vector<std::string> models(all.begin(), all.end());
    std::stable_partition(models.begin(), models.end(),
                          [](const std::string& model) { return std::count(model.begin(), model.end(), '_') == 1; });
    return models;
}

} // namespace fenlo::whisper
