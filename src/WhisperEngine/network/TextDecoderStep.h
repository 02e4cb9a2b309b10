#pragma once

#include "WhisperEngine/network/TextDecoderNetwork.h"
#include "WhisperEngine/runtime/Kernels.h"
#include "WhisperEngine/runtime/LargeMemory.h"

#include <algorithm>
#include <cstdint>
#include <span>
#include <vector>

namespace fenlo::whisper {

/// Keys and values that the decoder makes of the audio: constant for all steps of a window.
struct TextDecoderNetwork::CrossCache final : AudioEmbeddings::Derived {
    CrossCache(const TextDecoderNetwork& network, bool inBytes);

    const TextDecoderNetwork* owner;
    LargeMemory<std::int8_t> numbers; // of all heads in 8 bits, unless the decoder is the reference
    LargeMemory<float> scales;        // of the same
    LargeMemory<float> keys, values;  // [layers, heads, audioPositions, head width] of the reference

    bool isInBytes() const { return numbers.data() != nullptr; }
    /// Writable only in the making.
    kernels::ByteHead head(std::size_t layer, int head) const;
};

/// The memory of one decoding.
struct TextDecoderNetwork::Workspace final : TextDecoderModel::Scratch {
    explicit Workspace(const ModelArchitecture& net);

    ModelArchitecture architecture;
    std::vector<float> state, normed, query, attended, product; // [width]
    std::vector<float> inner;                                   // [feed-forward]
    std::vector<std::int8_t> bytes;                             // a layer's input in 8 bits, without
    kernels::WideChannels wide;                                 // what is added in floats
    std::vector<float> mask;                                    // [textPositions]
    std::vector<float> keys, values;                            // [heads, textPositions, head width] of a copied cache
    std::vector<float> scores;                                  // [heads, the longer of the two sequences]
};

/// A decoding in a step.
struct TextDecoderNetwork::Row {
    const TextDecoderInputs& inputs;
    const TextDecoderOutputs& outputs;
    const CrossCache& cross;
    Workspace& work;
    const float* values = nullptr; // what the next product takes, or
    float scale = 0;               // the scale of work.bytes where the weights have 8 bits
    float common = 0;              // the product with the mean of the tokens' rows
};

/// One step of several decodings, at most `mostRows`. Each weight is read once for all; beyond that a decoding meets
/// none of the others, and its numbers are those that it has alone.
///
/// Threads: the heads of an attention, and blocks of a product's rows, go to the pool where that is worth the
/// hand-over;
///          a layer has six such points.
class TextDecoderNetwork::Step {
public:
    static constexpr int mostRows = 8;

    Step(const TextDecoderNetwork& network, std::span<Row> rows);

    void run();

private:
    void embed(const Row& row) const;
    void addShares(int first, int last) const;
    void attendSelf(std::size_t index);
    void attendAudio(std::size_t index);
    void feedForward(const Layer& layer);
    void addProduct(const PackedLinear& linear, std::vector<float> Workspace::*src);

    void attendSelf(const Row& row, std::size_t index, int head) const;
    void attendAudio(const Row& row, std::size_t index, int head) const;
    void addAlignment(const Row& row, const Layer& layer) const;
    /// Keys and values of one head, this position's behind those before it.
    struct Cached {
        float *keys, *values;
        float *key, *value;
        std::size_t stride; // between two positions
    };
    Cached cached(const Row& row, std::size_t index, int head) const;
    bool isInPlace(const Row& row) const;
    float* scores(const Row& row, int head) const;

    void normalize(const PackedNorm& norm);
    /// What the next products of `linear` multiply with.
    void take(const PackedLinear& linear, std::vector<float> Workspace::*src);
    /// `place(row)` is where a row's product begins; null for a row that needs none.
    template <class Place>
    void multiply(const PackedLinear& linear, int first, int last, const Place& place) const;
    std::size_t mostTasks() const;
    template <class Work>
    void forHeads(std::size_t bytesPerHead, const Work& work) const;
    template <class Work>
    void forRows(const PackedLinear& linear, const Work& work) const;

    const TextDecoderNetwork& m_network;
    const ModelArchitecture& m_net;
    const int m_headWidth;
    const std::span<Row> m_rows;
};

} // namespace fenlo::whisper
