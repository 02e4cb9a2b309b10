#include "WhisperEngine/TranscriptionTimings.h"

#include "WhisperEngine/Logging.h"

#include <utility>

namespace fenlo::whisper {

void logTimings(const TranscriptionTimings& t, const Logging& logging) {
    const std::pair<const char*, double> stages[]{
        {"Audio Load:          ", t.audioLoading},
        {"Audio Processing:    ", t.audioProcessing},
        {"Mels:                ", t.logmels},
        {"Encoding:            ", t.encoding},
        {"Decoder Prefill:     ", t.prefill},
        {"Decoder Init:        ", t.decodingInit},
        {"Predictions:         ", t.decodingPredictions},
        {"Filtering:           ", t.decodingFiltering},
        {"Sampling:            ", t.decodingSampling},
        {"Fallbacks:           ", t.decodingFallback},
        {"Windowing:           ", t.decodingWindowing},
        {"Word Timestamps:     ", t.decodingWordTimestamps},
        {"Decoding Full Loop:  ", t.decodingLoop},
    };
    logging.info("---- Transcription Timings ----");
    for (const auto& [name, seconds] : stages)
        logging.info("{}{:.2f} ms", name, seconds * 1000);
    logging.info("Model Load Time:     {:.2f} seconds", t.modelLoading);
    logging.info("Inference Duration:  {:.2f} seconds", t.fullPipeline);
    logging.info("- Decoding Loop:     {:.2f} seconds", t.decodingLoop);
    if (t.fullPipeline > 0 && t.inputAudioSeconds > 0) {
        logging.info("Real Time Factor:    {:.3f}", t.fullPipeline / t.inputAudioSeconds);
        logging.info("Tokens per second:   {:.1f}", t.totalDecodingLoops / t.fullPipeline);
    }
    logging.info("Fallbacks:           {:.0f}", t.totalDecodingFallbacks);
}

} // namespace fenlo::whisper
