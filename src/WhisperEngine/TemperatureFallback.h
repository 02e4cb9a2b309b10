#pragma once

#include "WhisperEngine/TaskComponents.h"
#include "WhisperEngine/TextDecoder/TextDecoder.h"

namespace fenlo::whisper {

/// Decodes a window, and again at each higher temperature of `wanted` while the result looks bad; the last result
/// stands in any case. `inputs` hold the prompt; the result's `fallback` says what was made of it.
///
/// Errors: WhisperError.
DecodingResult decodeWithFallback(const TaskComponents& components, const AudioEmbeddings& embeddings,
                                  DecodingInputs& inputs, const DecodingOptions& wanted, const WindowContext& window);

} // namespace fenlo::whisper
