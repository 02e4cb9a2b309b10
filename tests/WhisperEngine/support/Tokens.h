#pragma once

#include "WhisperEngine/Tokenizer/WhisperTokenizer.h"

#include <memory>
#include <string>
#include <type_traits>
#include <vector>

namespace fenlo::whisper::test {

/// The tokenizer of the small trained model, read once.
inline const std::shared_ptr<const WhisperTokenizer>& sharedTokenizer() {
    static const auto tokenizer =
        std::make_shared<const WhisperTokenizer>(hub::Tokenizer::load(DEMO_MODEL_FOLDER "/tokenizer.json"));
    return tokenizer;
}
inline const WhisperTokenizer& tokenizer() {
    return *sharedTokenizer();
}

/// The time token of a second.
inline int at(double seconds) {
    return tokenizer().specialTokens().timeTokenBegin + static_cast<int>(seconds * 50 + 0.5);
}

/// A token list from texts and tokens.
template <typename... Parts>
std::vector<int> tokens(const Parts&... parts) {
    std::vector<int> all;
    const auto add = [&all](const auto& part) {
        if constexpr (std::is_same_v<std::decay_t<decltype(part)>, int>) {
            all.push_back(part);
        } else {
            const auto text = tokenizer().encode(part);
            all.insert(all.end(), text.begin(), text.end());
        }
    };
    (add(parts), ...);
    return all;
}

} // namespace fenlo::whisper::test
