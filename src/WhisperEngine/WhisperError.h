#pragma once

#include <stdexcept>
#include <string>

namespace fenlo::whisper {

/// Every failure of the engine. what() is one line for the user.
struct WhisperError : std::runtime_error {
    enum class Kind {
        tokenizerUnavailable,
        modelsUnavailable,
        prefillFailed,
        audioProcessingFailed,
        decodingLogitsFailed,
        segmentingFailed,
        loadAudioFailed,
        prepareDecoderInputsFailed,
        transcriptionFailed,
        decodingFailed,
        microphoneUnavailable,
        initializationError,
        cancelled, // a stop request, not a fault
    };
    WhisperError(Kind reason, const std::string& message) : std::runtime_error(message), kind(reason) {}
    Kind kind;
};

} // namespace fenlo::whisper
