#pragma once

#include "WhisperEngine/DecodingOptions.h"
#include "WhisperEngine/TranscriptionResult.h"

#include <functional>
#include <span>

namespace fenlo::whisper {

/// One decoding of a window: all that its result depends on, beside the model.
struct WindowQuestion {
    std::span<const float> samples; // as they are encoded, with the silence before and behind them
    std::span<const int> prompt;    // the forced start of the sequence; empty when only the language is asked for
    const DecodingOptions& options;
};

/// Gives the result of a decoding: that of an equal question which was answered before, or else what `decode` gives.
/// Throws what `decode` throws.
using WindowAnswer =
    std::function<DecodingResult(const WindowQuestion&, const std::function<DecodingResult()>& decode)>;

} // namespace fenlo::whisper
