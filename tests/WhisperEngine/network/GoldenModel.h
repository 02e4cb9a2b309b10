#pragma once

#include "WhisperEngine/TextDecoder/CacheStepper.h"
#include "WhisperEngine/TextDecoder/DecodingInputs.h"
#include "WhisperEngine/network/ModelFiles.h"

#include <memory>
#include <nlohmann/json.hpp>
#include <span>
#include <vector>

namespace fenlo::test {

/// The small trained model, compiled beside links to its checkpoint; loaded once for each precision and number of
/// threads.
struct Networks {
    std::unique_ptr<whisper::MelSpectrogramModel> mel;
    std::unique_ptr<whisper::AudioEncoderModel> encoder;
    std::unique_ptr<whisper::TextDecoderModel> decoder;
};
const Networks& networks(whisper::ComputeUnit unit, int threads = 2);

/// What an independent implementation made of twelve clips with the same model.
std::vector<nlohmann::json> goldenSamples();
/// An array of floats that belongs to a sample.
std::vector<float> readDump(const nlohmann::json& dump);

std::vector<float> melOf(const Networks& nets, const nlohmann::json& sample);
whisper::AudioEmbeddings embeddingsOf(const Networks& nets, const nlohmann::json& sample); // attached

/// A decoder with its cache, and the scores of its last step.
struct Decoding {
    Decoding(const whisper::TextDecoderModel& model, const whisper::AudioEmbeddings& embeddings);

    void step(int token) { stepper.step(token, logits); }

    whisper::DecodingInputs inputs;
    whisper::CacheStepper stepper;
    std::vector<float> logits;
};

} // namespace fenlo::test
