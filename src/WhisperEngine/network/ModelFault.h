#pragma once

#include "WhisperEngine/WhisperError.h"

#include <string>

namespace fenlo::whisper {

/// A model folder that cannot be used: what, where and, where there is one, the remedy.
inline WhisperError modelFault(const std::string& message) {
    return {WhisperError::Kind::modelsUnavailable, message};
}

/// A file of the model is damaged or missing; fetching or compiling the model again repairs it. `fault` is the message
/// without the remedy, for callers that know a better one.
struct ModelDamage : WhisperError {
    explicit ModelDamage(const std::string& message, const std::string& remedy = ". Download the model again.",
                         Kind reason = Kind::modelsUnavailable)
        : WhisperError(reason, message + remedy), fault(message) {}
    std::string fault;
};

} // namespace fenlo::whisper
