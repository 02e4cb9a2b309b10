#pragma once

#include "WhisperEngine/ModelCalls.h"
#include "WhisperEngine/network/CompiledFile.h"
#include "WhisperEngine/network/PackedLinear.h"

namespace fenlo::whisper {

class ThreadPool;

/// Whisper's text decoder, one token of each decoding a call: layers of self-attention over the cached positions,
/// attention to the audio and a feed-forward network, each behind a layer norm; the scores are products with the token
/// embedding.
class TextDecoderNetwork final : public TextDecoderModel {
public:
    TextDecoderNetwork(CompiledFile file, ThreadPool& pool);

    std::optional<int> kvCacheEmbedDim() const override { return m_net.decoderLayers * m_net.width; }
    std::optional<int> kvCacheMaxSequenceLength() const override;
    std::optional<int> encoderOutputDim() const override { return m_net.width; }
    std::optional<int> logitsSize() const override { return m_net.vocabularySize; }
    int audioFrames() const override { return m_net.audioPositions; }

    void attach(AudioEmbeddings& embeddings) const override { attachUntil(embeddings, {}); }
    void attachUntil(AudioEmbeddings& embeddings, const std::stop_token& stop) const override;
    std::unique_ptr<Scratch> makeScratch() const override;
    void predict(const TextDecoderInputs& inputs, const TextDecoderOutputs& outputs, Scratch& scratch) const override;
    void predict(std::span<const Call> calls) const override;
    /// Eight, or fewer where their memory would be more than an eighth of the machine's.
    int windowsAtOnce() const override;

private:
    struct Layer {
        PackedNorm selfNorm;
        PackedLinear selfQkv, selfOut;
        PackedNorm crossNorm;
        PackedLinear crossQuery, crossOut;
        MatMul crossKeysValues;
        PackedNorm feedNorm;
        PackedLinear feedIn, feedOut;
        std::vector<int> alignmentHeads;
    };
    struct CrossCache;
    struct Workspace;
    class Step;
    struct Row;

    /// The call with what it brings. Throws where that does not fit the model.
    Row rowOf(const TextDecoderInputs& inputs, const TextDecoderOutputs& outputs, Scratch& scratch) const;
    static Layer loadLayer(const CompiledFile& file, const std::string& prefix);
    void loadAlignmentHeads();
    std::size_t cachedWidth() const; // of a position, in all layers

    CompiledFile m_file;
    ModelArchitecture m_net;
    ThreadPool& m_pool;
    PackedLinear m_tokens;    // [vocabulary, width]
    const float* m_positions; // [textPositions, width]
    std::vector<Layer> m_layers;
    PackedNorm m_norm;
    int m_alignmentHeadCount = 0;
};

} // namespace fenlo::whisper
