#pragma once

#include "speech/LocalTranscriber.h"

#include <memory>

namespace fenlo {

namespace whisper {
class WhisperEngine;
}

/// A loaded engine as LocalTranscriber calls it.
LocalTranscriber::Engine clipEngine(std::shared_ptr<const whisper::WhisperEngine> engine);

} // namespace fenlo
