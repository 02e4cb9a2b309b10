#pragma once

#include "WhisperEngine/WhisperError.h"

#include <string>

namespace fenlo::whisper {

/// A model folder that cannot be used: what, where and, where there is one, the remedy.
inline WhisperError modelFault(const std::string& message) {
    return {WhisperError::Kind::modelsUnavailable, message};
}

} // namespace fenlo::whisper
