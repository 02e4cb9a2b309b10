// Compiled files: the networks refuse any damaged file or compute within their own memory. The checksum is corrected
// first; otherwise nothing beyond it would be tested.

#include "WhisperEngine/TextDecoder/CacheStepper.h"
#include "WhisperEngine/TextDecoder/DecodingInputs.h"
#include "WhisperEngine/WhisperError.h"
#include "WhisperEngine/network/AudioEncoderNetwork.h"
#include "WhisperEngine/network/CompiledFormat.h"
#include "WhisperEngine/network/MelSpectrogramNetwork.h"
#include "WhisperEngine/network/TextDecoderNetwork.h"
#include "WhisperEngine/runtime/ThreadPool.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

using namespace fenlo::whisper;

namespace {

/// Corrects size and checksum. The checksum is the last field of the header.
void seal(std::span<std::byte> bytes) {
    compiled::Header header{};
    if (bytes.size() < sizeof header)
        return;
    std::memcpy(&header, bytes.data(), sizeof header);
    header.fileSize = bytes.size();
    std::memcpy(bytes.data(), &header, sizeof header);
    const std::size_t table = sizeof header + header.tensorCount * sizeof(compiled::Entry);
    if (header.tensorCount > compiled::mostTensors || table > bytes.size())
        return;
    std::ranges::copy(compiled::checksum(bytes.first(table)), header.checksum);
    std::memcpy(bytes.data(), &header, sizeof header);
}

void run(const MelSpectrogramModel& mel) {
    const std::vector<float> audio(static_cast<std::size_t>(mel.windowSamples()), 0.25f);
    std::vector<float> features(static_cast<std::size_t>(mel.melBands()) * static_cast<std::size_t>(mel.melFrames()));
    mel.predict(audio, features);
}

void run(const AudioEncoderModel& encoder) {
    const std::vector<float> mel(
        static_cast<std::size_t>(encoder.melBands()) * static_cast<std::size_t>(encoder.melFrames()), 0.5f);
    AudioEmbeddings embeddings;
    encoder.predict(mel, embeddings);
}

void run(const TextDecoderModel& decoder) {
    AudioEmbeddings embeddings;
    embeddings.encoder_output_embeds.assign(
        static_cast<std::size_t>(decoder.audioFrames()) * static_cast<std::size_t>(*decoder.encoderOutputDim()), 0.5f);
    decoder.attach(embeddings);
    auto inputs = DecodingInputs::forModel(decoder, *decoder.kvCacheMaxSequenceLength(), true);
    inputs.cacheLength = inputs.positions() - 1;
    std::vector<float> logits(static_cast<std::size_t>(*decoder.logitsSize()));
    CacheStepper(decoder, embeddings, inputs).step(1, logits);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static ThreadPool pool(1);
    const auto* first = reinterpret_cast<const std::byte*>(data);
    std::vector<std::byte> bytes(first, first + size);
    seal(bytes);
    try {
        CompiledFile file(bytes, "model");
        const CompiledKind kind = file.identity().kind;
        if (kind == CompiledKind::melSpectrogram)
            run(MelSpectrogramNetwork(std::move(file), pool));
        else if (kind == CompiledKind::audioEncoder)
            run(AudioEncoderNetwork(std::move(file), pool));
        else
            run(TextDecoderNetwork(std::move(file), pool));
    } catch (const WhisperError& error) {
        if (std::strchr(error.what(), '\n'))
            std::abort();
    }
    return 0;
}
