#include "WhisperEngine/TemperatureFallback.h"

#include "WhisperEngine/TextDecoder/TextMeasures.h"
#include "WhisperEngine/TokenSampler/TokenSampler.h"
#include "WhisperEngine/Tokenizer/WhisperTokenizer.h"
#include "base/Clock.h"

#include <algorithm>
#include <fmt/ranges.h>
#include <vector>

namespace fenlo::whisper {

namespace {

std::vector<float> temperaturesOf(const DecodingOptions& options) {
    std::vector<float> temperatures;
    for (int i = 0; i <= std::max(0, options.temperatureFallbackCount); ++i)
        temperatures.push_back(
            throughHalf(options.temperature + static_cast<float>(i) * options.temperatureIncrementOnFallback));
    return temperatures;
}

/// What to make of a finished window, the first test that holds.
std::optional<DecodingFallback> verdict(const DecodingResult& result, const DecodingOptions& options) {
    if (result.fallback && result.fallback->needsFallback)
        return result.fallback; // the first token failed, and the loop has said so
    if (options.noSpeechThreshold && *options.noSpeechThreshold < result.noSpeechProb)
        return DecodingFallback{.needsFallback = false, .fallbackReason = "silence"};
    if (options.compressionRatioThreshold && *options.compressionRatioThreshold < result.compressionRatio)
        return DecodingFallback{.needsFallback = true, .fallbackReason = "compressionRatioThreshold"};
    if (options.logProbThreshold && *options.logProbThreshold > result.avgLogProb)
        return DecodingFallback{.needsFallback = true, .fallbackReason = "logProbThreshold"};
    return std::nullopt;
}

} // namespace

DecodingResult decodeWithFallback(const TaskComponents& components, const AudioEmbeddings& embeddings,
                                  DecodingInputs& inputs, const DecodingOptions& wanted, const WindowContext& window) {
    const Logging& logging = components.logging;
    const std::vector<float> temperatures = temperaturesOf(wanted);
    logging.debug("Decoding with temperatures [{:.4f}]", fmt::join(temperatures, ", "));
    DecodingResult result;
    for (std::size_t pass = 0; pass < temperatures.size(); ++pass) {
        const double begin = components.clock.now();
        logging.debug("Decoding Temperature: {:.4f}", temperatures[pass]);
        DecodingOptions options = wanted;
        // The first token's odds are the same in every pass, and the first pass takes the best: a window that fails the
        // test once would fail it always.
        if (wanted.losesNoSpeech)
            options.firstTokenLogProbThreshold.reset();
        options.seed += static_cast<unsigned>(pass);
        GreedyTokenSampler sampler(temperatures[pass], components.tokenizer.specialTokens().endToken, options);
        result = components.textDecoder.decodeText(embeddings, inputs, sampler, options, window);
        result.temperature = temperatures[pass];
        result.fallback = verdict(result, wanted);
        if (pass > 0)
            window.timings.decodingFallback += components.clock.now() - begin;
        if (!result.fallback || !result.fallback->needsFallback)
            break;
        if (pass + 1 < temperatures.size()) {
            ++window.timings.totalDecodingFallbacks;
            logging.info("Fallback #{} ({})", pass + 1, result.fallback->fallbackReason);
        }
    }
    return result;
}

} // namespace fenlo::whisper
