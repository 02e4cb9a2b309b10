#pragma once

#include "WhisperEngine/network/ModelFiles.h"

#include <memory>
#include <nlohmann/json.hpp>
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

/// A decoder with its cache, as the decoding loop keeps it.
class Decoding {
public:
    explicit Decoding(const whisper::TextDecoderModel& model);

    void step(int token, const whisper::AudioEmbeddings& embeddings);

    std::vector<float> logits, alignment; // of the last step

private:
    const whisper::TextDecoderModel& m_model;
    std::size_t m_width, m_positions;
    std::vector<float> m_keys, m_values, m_keyUpdate, m_valueUpdate, m_updateMask, m_paddingMask;
    std::unique_ptr<whisper::TextDecoderModel::Scratch> m_scratch;
    int m_length = 0;
};

} // namespace fenlo::test
