#pragma once

#include "WhisperEngine/DecodingOptions.h"
#include "WhisperEngine/WhisperEngine.h"
#include "base/Clock.h"
#include "base/Files.h"
#include "base/Json.h"
#include "base/Text.h"
#include "support/FakeHttpClient.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <numeric>
#include <utility>

/// Shared by the tests that compare the engine with references made by an independent implementation.
namespace fenlo::whisper::test {

inline nlohmann::json golden(const std::filesystem::path& file) {
    return parseJson(files::read(file).value());
}

/// An engine with a copy of the demonstration model, since compiling writes beside the checkpoint; with other weights
/// if they are given.
inline std::unique_ptr<WhisperEngine> goldenEngine(ComputeUnit unit, const std::filesystem::path& weights = {}) {
    static SystemClock clock;
    static fenlo::test::FakeHttpClient noNetwork;
    const std::filesystem::path folder = files::temporaryFile("model_", "");
    std::filesystem::copy(DEMO_MODEL_FOLDER, folder);
    if (!weights.empty())
        std::filesystem::copy(weights, folder / "model.safetensors", std::filesystem::copy_options::overwrite_existing);
    WhisperEngineConfig config;
    config.modelFolder = folder;
    config.computeOptions = ModelComputeOptions::all(unit);
    auto engine = WhisperEngine::create(std::move(config), noNetwork, clock, {});
    std::filesystem::remove_all(folder); // the mapped models no longer need their names
    return engine;
}

/// How the references were made: greedily, in one pass, with the published suppression lists.
inline DecodingOptions referenceOptions(bool withoutTimestamps) {
    DecodingOptions options;
    options.withoutTimestamps = withoutTimestamps;
    options.temperatureFallbackCount = 0;
    options.firstTokenLogProbThreshold.reset();
    options.noSpeechThreshold.reset();
    options.maxInitialTimestamp = 1.0f;
    options.suppressBlank = true;
    options.skipSpecialTokens = true;
    options.supressTokens =
        golden(std::filesystem::path(DEMO_MODEL_FOLDER) / "config.json")["suppress_tokens"].get<std::vector<int>>();
    return options;
}

inline std::vector<std::string> wordsOf(const std::string& text) {
    std::vector<std::string> words;
    for (const std::string& word : text::words(text::lower(text)))
        words.push_back(text::trimPunctuation(word));
    return words;
}

struct Alignment {
    int errors = 0;          // substitutions, insertions and deletions (Levenshtein)
    std::vector<bool> found; // for each word of the reference
};

inline Alignment align(const std::vector<std::string>& reference, const std::vector<std::string>& heard) {
    std::vector<std::vector<int>> cost(reference.size() + 1, std::vector<int>(heard.size() + 1));
    std::iota(cost[0].begin(), cost[0].end(), 0);
    for (std::size_t i = 1; i <= reference.size(); ++i) {
        cost[i][0] = static_cast<int>(i);
        for (std::size_t j = 1; j <= heard.size(); ++j)
            cost[i][j] = std::min({cost[i][j - 1] + 1, cost[i - 1][j] + 1,
                                   cost[i - 1][j - 1] + (reference[i - 1] != heard[j - 1] ? 1 : 0)});
    }
    Alignment alignment{.errors = cost.back().back(), .found = std::vector<bool>(reference.size())};
    for (std::size_t i = reference.size(), j = heard.size(); i > 0 && j > 0;) {
        const bool same = reference[i - 1] == heard[j - 1];
        if (cost[i][j] == cost[i - 1][j - 1] + (same ? 0 : 1)) {
            alignment.found[--i] = same;
            --j;
        } else if (cost[i][j] == cost[i - 1][j] + 1) {
            --i;
        } else {
            --j;
        }
    }
    return alignment;
}

/// How many of the words that were spoken we hear wrongly, and how many the reference does.
struct WordErrors {
    int words = 0, ours = 0, reference = 0;

    void add(const std::string& spoken, const std::string& heard, const std::string& heardByReference) {
        const auto truth = wordsOf(spoken);
        words += static_cast<int>(truth.size());
        ours += align(truth, wordsOf(heard)).errors;
        reference += align(truth, wordsOf(heardByReference)).errors;
    }
};

inline void expectAsWell(const WordErrors& errors, double points) {
    ASSERT_GT(errors.words, 0);
    EXPECT_LE(100.0 * errors.ours / errors.words, 100.0 * errors.reference / errors.words + points)
        << errors.ours << " and " << errors.reference << " errors in " << errors.words << " words";
}

} // namespace fenlo::whisper::test
