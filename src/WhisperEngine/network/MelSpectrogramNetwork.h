#pragma once

#include "WhisperEngine/ModelCalls.h"
#include "WhisperEngine/network/CompiledFile.h"

namespace fenlo::whisper {

class ThreadPool;

/// Whisper's published log-mel features: power spectra of windows of 25 ms every 10 ms, the signal reflected at its
/// ends; mel bands; decimal logarithm, from 1e-10 up; at most 8 below the maximum; then (x + 4) / 4.
class MelSpectrogramNetwork final : public MelSpectrogramModel {
public:
    MelSpectrogramNetwork(CompiledFile file, ThreadPool& pool);

    int windowSamples() const override;
    int melBands() const override;
    int melFrames() const override;
    void predict(std::span<const float> audio, std::span<float> melspectrogram_features) const override;

private:
    /// One row of the filters without the zeros around it.
    struct Band {
        int firstBin = 0;
        std::span<const float> weights;
    };
    class Worker;

    CompiledFile m_file;
    std::span<const float> m_window;
    std::vector<Band> m_bands;
    ThreadPool& m_pool;
};

} // namespace fenlo::whisper
