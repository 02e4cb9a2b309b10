#pragma once

#include "WhisperEngine/WhisperEngine.h"

#include <functional>
#include <memory>
#include <string>

namespace fenlo {

struct CommandServices;
struct TranscribeOptions;

/// The engine that the options ask for, loaded; its own log lines go to `log` when the options want them.
std::unique_ptr<whisper::WhisperEngine> loadEngine(const TranscribeOptions& options, CommandServices& command,
                                                   const std::function<void(const std::string&)>& log);

/// What the options mean for this engine. Throws UsageError where its model cannot do it.
whisper::DecodingOptions decodingOptions(const TranscribeOptions& options, const whisper::WhisperEngine& engine);

/// All that bears on the words and times of a result, as text: the model and the options.
std::string describe(const whisper::DecodingOptions& decoding, const TranscribeOptions& options,
                     const whisper::WhisperEngine& engine);

} // namespace fenlo
