#pragma once

#include <memory>
#include <optional>
#include <span>
#include <stop_token>
#include <vector>

/// The neural models as the engine sees them: calls with named features, on views of the caller's memory. The stock
/// models are `network/`; a caller may bring others.
///
/// Threads: a model is constant once it is made and may be called from several threads at once.
/// Errors:  WhisperError of the kind modelsUnavailable or decodingFailed.
/// Shapes:  arrays are dense and row-major, 32-bit floats.
namespace fenlo::whisper {

class MelSpectrogramModel {
public:
    virtual ~MelSpectrogramModel() = default;
    virtual int windowSamples() const = 0; // 480,000: thirty seconds at 16 kHz
    virtual int melBands() const = 0;      // 80 or 128
    virtual int melFrames() const = 0;     // 3000
    /// `audio` [windowSamples], `melspectrogram_features` [melBands, melFrames].
    virtual void predict(std::span<const float> audio, std::span<float> melspectrogram_features) const = 0;
};

/// The encoder's output for one window, and what a decoder made of it once for all of its steps.
struct AudioEmbeddings {
    std::vector<float> encoder_output_embeds; // [audio frames, width]

    /// Whatever a TextDecoder implementation derives from the embeddings, such as cross-attention keys and values. It
    /// is made by TextDecoderModel::attach() and only read afterwards.
    struct Derived {
        virtual ~Derived() = default;
    };
    std::shared_ptr<const Derived> derived;
};

class AudioEncoderModel {
public:
    virtual ~AudioEncoderModel() = default;
    virtual int melBands() const = 0;
    virtual int melFrames() const = 0;
    virtual int audioFrames() const = 0; // 1500
    virtual int width() const = 0;
    /// `melspectrogram_features` [melBands, melFrames]; fills `encoder_output_embeds`.
    virtual void predict(std::span<const float> melspectrogram_features, AudioEmbeddings& output) const = 0;
    /// The same, but a model that takes long ends soon after a stop request, with an output that counts for nothing.
    virtual void predictUntil(std::span<const float> melspectrogram_features, AudioEmbeddings& output,
                              const std::stop_token& /*stop*/) const {
        predict(melspectrogram_features, output);
    }
};

struct TextDecoderInputs {
    int input_ids = 0;                               // the current token
    int cache_length = 0;                            // cached positions, which is the position of this token
    std::span<const float> key_cache;                // [positions, kvCacheEmbedDim]
    std::span<const float> value_cache;              // [positions, kvCacheEmbedDim]
    std::span<const float> kv_cache_update_mask;     // [positions], one at the position to be written; ours ignores it
    std::span<const float> decoder_key_padding_mask; // [positions], zero where a position counts, else very negative
    const AudioEmbeddings* encoder_output_embeds = nullptr;
    bool wantsLogits = true; // false inside a prompt, where only the cache matters
    bool wantsAlignment = false;
};

struct TextDecoderOutputs {
    std::span<float> logits;                  // [logitsSize]
    std::span<float> key_cache_updates;       // [kvCacheEmbedDim]
    std::span<float> value_cache_updates;     // [kvCacheEmbedDim]
    std::span<float> alignment_heads_weights; // [audioFrames], the mean over the alignment heads
};

class TextDecoderModel {
public:
    virtual ~TextDecoderModel() = default;

    // Read from the model's description; no value where the description lacks it.
    virtual std::optional<int> kvCacheEmbedDim() const = 0; // layers times width
    virtual std::optional<int> kvCacheMaxSequenceLength() const = 0;
    virtual std::optional<int> encoderOutputDim() const = 0;
    virtual std::optional<int> logitsSize() const = 0;
    virtual int audioFrames() const = 0;

    /// Computes once what all steps of the window share. predict() throws without it.
    virtual void attach(AudioEmbeddings& embeddings) const = 0;
    /// The same, but a model that takes long ends soon after a stop request; then it attaches nothing.
    virtual void attachUntil(AudioEmbeddings& embeddings, const std::stop_token& /*stop*/) const { attach(embeddings); }

    /// One step. Allocates nothing: `scratch` is made by makeScratch() and serves one decoding at a time.
    struct Scratch {
        virtual ~Scratch() = default;
    };
    virtual std::unique_ptr<Scratch> makeScratch() const = 0;
    virtual void predict(const TextDecoderInputs& inputs, const TextDecoderOutputs& outputs,
                         Scratch& scratch) const = 0;

    /// One step of each of several decodings, with the bits that each would have alone. A model that reads its weights
    /// once for all of them replaces this.
    struct Call {
        const TextDecoderInputs& inputs;
        const TextDecoderOutputs& outputs;
        Scratch& scratch;
    };
    virtual void predict(std::span<const Call> calls) const {
        for (const Call& call : calls)
            predict(call.inputs, call.outputs, call.scratch);
    }
    /// How many windows are worth decoding at once, by what a step gains and what their memory is.
    virtual int windowsAtOnce() const { return 1; }
};

/// Optional: a stored cache for the fixed start of the sequence.
class TextDecoderContextPrefillModel {
public:
    virtual ~TextDecoderContextPrefillModel() = default;
    virtual int positions() const = 0; // how many positions the stored cache covers
    /// `task` and `language` are indexes into the model's tables; the outputs [positions, kvCacheEmbedDim].
    virtual void predict(int task, int language, std::span<float> key_cache_prefill,
                         std::span<float> value_cache_prefill) const = 0;
};

} // namespace fenlo::whisper
