#include "WhisperEngine/TranscriptionTimings.h"

#include "WhisperEngine/Logging.h"
#include "base/Text.h"

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
        logging.info(name + text::fixed(seconds * 1000, 2) + " ms");
    logging.info("Model Load Time:     " + text::fixed(t.modelLoading, 2) + " seconds");
    logging.info("Inference Duration:  " + text::fixed(t.fullPipeline, 2) + " seconds");
    logging.info("- Decoding Loop:     " + text::fixed(t.decodingLoop, 2) + " seconds");
    if (t.fullPipeline > 0 && t.inputAudioSeconds > 0) {
        logging.info("Real Time Factor:    " + text::fixed(t.fullPipeline / t.inputAudioSeconds, 3));
        logging.info("Tokens per second:   " + text::fixed(t.totalDecodingLoops / t.fullPipeline, 1));
    }
    logging.info("Fallbacks:           " + text::fixed(t.totalDecodingFallbacks, 0));
}

} // namespace fenlo::whisper
