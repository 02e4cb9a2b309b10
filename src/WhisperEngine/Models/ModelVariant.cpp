#include "WhisperEngine/Models/ModelVariant.h"

#include <array>

namespace fenlo::whisper {

namespace {

constexpr int englishVocabulary = 51864;
constexpr int multilingualVocabulary = 51865;
constexpr int largeV3Vocabulary = 51866; // with one more language

struct Row {
    ModelVariant variant;
    const char* text;
    int vocabulary;
    int width; // of the encoder
};

constexpr std::array<Row, 11> rows{{
    {ModelVariant::tiny, "tiny", multilingualVocabulary, 384},
    {ModelVariant::tinyEn, "tiny.en", englishVocabulary, 384},
    {ModelVariant::base, "base", multilingualVocabulary, 512},
    {ModelVariant::baseEn, "base.en", englishVocabulary, 512},
    {ModelVariant::small, "small", multilingualVocabulary, 768},
    {ModelVariant::smallEn, "small.en", englishVocabulary, 768},
    {ModelVariant::medium, "medium", multilingualVocabulary, 1024},
    {ModelVariant::mediumEn, "medium.en", englishVocabulary, 1024},
    {ModelVariant::large, "large", multilingualVocabulary, 1280},
    {ModelVariant::largev2, "large-v2", multilingualVocabulary, 1280},
    {ModelVariant::largev3, "large-v3", largeV3Vocabulary, 1280},
}};

const Row* rowOfName(std::string_view name) {
    const Row* longest = nullptr; // "large-v3" also contains "large"
    for (const Row& row : rows)
        if (name.find(row.text) != name.npos &&
            (!longest || std::string_view(row.text).size() > std::string_view(longest->text).size()))
            longest = &row;
    return longest;
}

} // namespace

std::string textOf(ModelVariant variant) {
    return rows[static_cast<std::size_t>(variant)].text;
}

std::optional<ModelVariant> variantOfName(std::string_view modelName) {
    if (const Row* row = rowOfName(modelName))
        return row->variant;
    return {};
}

std::string tokenizerRepository(ModelVariant variant) {
    return "openai/whisper-" + textOf(variant);
}

bool isMultilingual(int logitsSize) {
    return logitsSize != englishVocabulary;
}

ModelVariant detectVariant(int logitsSize, std::optional<int> encoderWidth, std::string_view modelName,
                           const Logging& log) {
    if (logitsSize < englishVocabulary || logitsSize > largeV3Vocabulary) {
        log.error("Unrecognized vocabulary size: {}, defaulting to base variant", logitsSize);
        return ModelVariant::base;
    }
    // Two variants differ only in their training.
    const Row* named = rowOfName(modelName);
    if (named && named->vocabulary == logitsSize && named->width == encoderWidth.value_or(named->width))
        return named->variant;
    const Row* match = nullptr;
    for (const Row& row : rows)
        if (row.vocabulary == logitsSize && row.width == encoderWidth)
            match = &row;
    if (match)
        return match->variant;
    switch (logitsSize) {
    case englishVocabulary:
        return ModelVariant::baseEn;
    case largeV3Vocabulary:
        return ModelVariant::largev3;
    default:
        return ModelVariant::base;
    }
}

} // namespace fenlo::whisper
