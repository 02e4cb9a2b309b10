#pragma once

namespace fenlo::whisper {

/// Stage times in seconds, and how often each stage ran. Stages that this runtime does not have stay 0: specialization
/// (a model is compiled once and for all) and KV caching (a step writes its place in the cache).
struct TranscriptionTimings {
    double pipelineStart = 0;
    double firstTokenTime = 0;
    double inputAudioSeconds = 0;
    double modelLoading = 0;
    double prewarmLoadTime = 0;
    double encoderLoadTime = 0;
    double decoderLoadTime = 0;
    double encoderSpecializationTime = 0;
    double decoderSpecializationTime = 0;
    double tokenizerLoadTime = 0;
    double audioLoading = 0;
    double audioProcessing = 0;
    double logmels = 0;
    double encoding = 0;
    double prefill = 0;
    double decodingInit = 0;
    double decodingLoop = 0;
    double decodingPredictions = 0;
    double decodingFiltering = 0;
    double decodingSampling = 0;
    double decodingFallback = 0;
    double decodingWindowing = 0;
    double decodingKvCaching = 0;
    double decodingWordTimestamps = 0;
    double decodingNonPrediction = 0;
    double totalAudioProcessingRuns = 0;
    double totalLogmelRuns = 0;
    double totalEncodingRuns = 0;
    double totalDecodingLoops = 0;
    double totalKVUpdateRuns = 0;
    double totalTimestampAlignmentRuns = 0;
    double totalDecodingFallbacks = 0;
    double totalDecodingWindows = 0;
    double fullPipeline = 0;
};

class Logging;

/// The block of lines at the end of a verbose transcription.
void logTimings(const TranscriptionTimings& timings, const Logging& logging);

} // namespace fenlo::whisper
