#pragma once

#include "WhisperEngine/network/ModelFiles.h"
#include "WhisperEngine/support/RandomCheckpoint.h"

#include <filesystem>
#include <vector>

namespace fenlo::test {

/// A model folder with random weights, for as long as a test runs.
class ModelFolder {
public:
    explicit ModelFolder(const RandomCheckpoint& checkpoint);
    ~ModelFolder();
    ModelFolder(const ModelFolder&) = delete;
    ModelFolder& operator=(const ModelFolder&) = delete;

    const std::filesystem::path path;
};

/// What a model makes of a sweep over a little noise, then silence, and of some tokens.
struct Outputs {
    std::vector<float> mel, encoder;
    std::vector<std::vector<float>> logits; // of each token
};
Outputs outputsOf(const ModelFolder& folder, whisper::ComputeUnit unit, const std::vector<int>& tokens,
                  whisper::ThreadPool& pool);

double correlation(const std::vector<float>& a, const std::vector<float>& b);

} // namespace fenlo::test
