#pragma once

#include "WhisperEngine/AudioProcessor/AudioProcessor.h"
#include "WhisperEngine/Logging.h"
#include "WhisperEngine/TokenSampler/LogitsFilter.h"
#include "WhisperEngine/network/ModelComputeOptions.h"
#include "WhisperEngine/runtime/InstructionSet.h"
#include "hub/HubClient.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace fenlo::whisper {

class AudioEncoderModel;
class MelSpectrogramModel;
class SegmentSeeker;
class TextDecoderContextPrefillModel;
class TextDecoderModel;
class VoiceActivityDetector;

enum class ModelState { unloading, unloaded, loading, loaded, prewarming, prewarmed, downloading, downloaded };

/// What an engine is made of. All is optional: what is missing is the stock implementation or default.
struct WhisperEngineConfig {
    std::optional<std::string> model; // a name such as "small", or a glob; by default one for this machine
    std::optional<std::filesystem::path> downloadBase; // by default ~/.fenlo/models
    std::optional<std::string> modelRepo; // one repository with variants as folders; by default the publishers' own
    std::optional<std::string> modelToken;
    std::optional<std::string> modelEndpoint;
    std::optional<std::filesystem::path> modelFolder; // a model on the disk: nothing is downloaded
    std::optional<std::filesystem::path> tokenizerFolder;
    std::string repairCommand;                          // named when a model is damaged: a model's name follows it
    std::optional<std::filesystem::path> bundledModels; // a read-only folder of models that come with the program
    ModelComputeOptions computeOptions;
    AudioInputConfig audioInputConfig;
    std::shared_ptr<const AudioProcessor> audioProcessor;
    std::shared_ptr<const MelSpectrogramModel> featureExtractor;
    std::shared_ptr<const AudioEncoderModel> audioEncoder;
    std::shared_ptr<const TextDecoderModel> textDecoder;
    std::shared_ptr<const TextDecoderContextPrefillModel> textDecoderContextPrefill; // the stock models have none
    LogitsFilters logitsFilters;                                                     // applied before the stock ones
    std::shared_ptr<const SegmentSeeker> segmentSeeker;
    std::shared_ptr<const VoiceActivityDetector> voiceActivityDetector;
    bool verbose = false; // false: no messages at all
    LogLevel logLevel = LogLevel::info;
    Logging::Sink logSink; // by default the program's log
    bool prewarm = true;
    bool load = true;
    bool download = true;
    int threads = 0; // of the neural runtime; 0 takes one for each core
    InstructionTrial
        instructionTrial; // used by the first engine of a process; without one, what the processor announces counts
    std::function<void(ModelState before, ModelState after)> modelStateCallback;
    std::function<void(hub::DownloadProgress)> downloadProgress; // on any thread, one call at a time
    std::function<void(double fraction)> compileProgress;        // in [0, 1]
};

} // namespace fenlo::whisper
