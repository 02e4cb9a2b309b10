#pragma once

#include "WhisperEngine/ModelCalls.h"
#include "WhisperEngine/network/CompiledFile.h"
#include "WhisperEngine/network/FrameConvolution.h"
#include "WhisperEngine/network/PackedLinear.h"

namespace fenlo::whisper {

class ThreadPool;

/// Whisper's audio encoder: two convolutions over time, then layers of self-attention and a feed-forward network, each
/// behind a layer norm.
class AudioEncoderNetwork final : public AudioEncoderModel {
public:
    AudioEncoderNetwork(CompiledFile file, ThreadPool& pool);

    int melBands() const override { return m_net.melBands; }
    int melFrames() const override { return m_net.melFrames(); }
    int audioFrames() const override { return m_net.audioPositions; }
    int width() const override { return m_net.width; }
    void predict(std::span<const float> melspectrogram_features, AudioEmbeddings& output) const override;
    void predictUntil(std::span<const float> melspectrogram_features, AudioEmbeddings& output,
                      const std::stop_token& stop) const override;

private:
    struct Layer {
        bool isInt8;
        PackedNorm selfNorm;
        MatMul query, key, value, selfOut;
        PackedNorm feedNorm;
        MatMul feedIn, feedOut;
    };
    struct Buffers;

    static Layer loadLayer(const CompiledFile& file, const std::string& prefix);
    void convolve(std::span<const float> features, Buffers& buffers) const;
    void attend(const Layer& layer, Buffers& buffers) const;
    void feedForward(const Layer& layer, Buffers& buffers) const;
    void normalize(const PackedNorm& norm, const float* src, float* dst) const;

    CompiledFile m_file;
    ModelArchitecture m_net;
    ThreadPool& m_pool;
    FrameConvolution m_conv1, m_conv2;
    const float* m_positions; // [audioPositions, width]
    std::vector<Layer> m_layers;
    PackedNorm m_norm;
};

} // namespace fenlo::whisper
