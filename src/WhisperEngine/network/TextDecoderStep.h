#pragma once

#include "WhisperEngine/network/TextDecoderNetwork.h"

#include <algorithm>
#include <cstdint>
#include <vector>

namespace fenlo::whisper {

/// Keys and values that the decoder makes of the audio: constant for all steps of a window.
struct TextDecoderNetwork::CrossCache final : AudioEmbeddings::Derived {
    const TextDecoderNetwork* owner = nullptr;
    // [layers, heads, audioPositions, head width], in half precision unless the decoder is the reference.
    std::vector<std::uint16_t> halfKeys, halfValues;
    std::vector<float> keys, values;
};

/// The memory of one decoding.
struct TextDecoderNetwork::Workspace final : TextDecoderModel::Scratch {
    explicit Workspace(const ModelArchitecture& net);

    ModelArchitecture architecture;
    std::vector<float> state, normed, query, attended, product; // [width]
    std::vector<float> inner;                                   // [feed-forward]
    std::vector<std::int8_t> bytes;                             // a layer's input in 8 bits
    std::vector<float> mask;                                    // [textPositions]
    std::vector<float> keys, values;                            // [heads, textPositions, head width]
    std::vector<float> scores;                                  // [heads, the longer of the two sequences]
};

/// One call of the decoder.
///
/// Threads: the heads of an attention, and blocks of a product's rows, go to the pool where that is worth the
/// hand-over;
///          a layer has six such points.
class TextDecoderNetwork::Step {
public:
    Step(const TextDecoderNetwork& network, const TextDecoderInputs& inputs, const TextDecoderOutputs& outputs,
         const CrossCache& cross, Workspace& work);

    void run();

private:
    /// A vector as a product takes it: in 8 bits where the weights are.
    struct Input {
        const float* values = nullptr;
        const std::int8_t* bytes = nullptr;
        float scale = 0;
    };

    void embed();
    void attendSelf(std::size_t index);
    void attendAudio(std::size_t index);
    void feedForward(const Layer& layer);
    void addProduct(const PackedLinear& linear, const float* src);

    void attendSelf(std::size_t index, int head, const Input& input);
    void attendAudio(std::size_t index, int head, const Input& input);

    Input inputFor(const PackedLinear& linear, const float* src);
    static void product(const PackedLinear& linear, const Input& input, float* dst, int firstRow, int lastRow);
    template <class Work>
    void forHeads(std::size_t bytesPerHead, const Work& work);
    template <class Work>
    void forRows(const PackedLinear& linear, const Work& work);

    const TextDecoderNetwork& m_network;
    const ModelArchitecture& m_net;
    const int m_headWidth;
    const TextDecoderInputs& m_inputs;
    const TextDecoderOutputs& m_outputs;
    const CrossCache& m_cross;
    Workspace& m_work;
};

} // namespace fenlo::whisper
