// How fast a megabyte of mixed text becomes tokens and text again in every family, and what the place of every token
// costs.

#include "Families.h"
#include "base/Text.h"
#include "support/MixedText.h"

#include <benchmark/benchmark.h>

using namespace fenlo;
using namespace fenlo::hub;

namespace {

const Tokenizer& byteLevel() {
    static const Tokenizer loaded = Tokenizer::load(DEMO_MODEL_FOLDER "/tokenizer.json");
    return loaded;
}

const std::string& megabyte() {
    static const std::string text = test::MixedText(1).make(1'000'000);
    return text;
}

const std::vector<std::string>& words() {
    static const auto found = bench::frequentWords(text::repairUtf8(test::MixedText(2).make(2'000'000)), 30'000);
    return found;
}

void setSpeed(benchmark::State& state) {
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(megabyte().size()));
}

void encodeBy(benchmark::State& state, const Tokenizer& tokenizer) {
    for (auto _ : state)
        benchmark::DoNotOptimize(tokenizer.encode(megabyte()));
    setSpeed(state);
}

void encodingBy(benchmark::State& state, const Tokenizer& tokenizer) {
    for (auto _ : state)
        benchmark::DoNotOptimize(tokenizer.encoding(megabyte()));
    setSpeed(state);
}

#define FAMILY(name, tokenizer)                                                                                        \
    void encode_##name(benchmark::State& state) {                                                                      \
        static const Tokenizer& it = tokenizer;                                                                        \
        encodeBy(state, it);                                                                                           \
    }                                                                                                                  \
    BENCHMARK(encode_##name)->Unit(benchmark::kMillisecond);                                                           \
    void encodingWithRanges_##name(benchmark::State& state) {                                                          \
        static const Tokenizer& it = tokenizer;                                                                        \
        encodingBy(state, it);                                                                                         \
    }                                                                                                                  \
    BENCHMARK(encodingWithRanges_##name)->Unit(benchmark::kMillisecond)

FAMILY(byteLevel, byteLevel());
FAMILY(wordPiece, bench::wordPiece(words()));
FAMILY(unigram, bench::unigram(words()));
FAMILY(wordLevel, bench::wordLevel(words()));
FAMILY(metaspacePairs, bench::metaspacePairs(words()));

/// As for a model with a context of 512 tokens: in parts of one length, with special tokens.
void encodingInParts(benchmark::State& state) {
    const EncodingOptions options{.truncation = Truncation{.maxLength = 512, .stride = 64}, .padding = Padding{}};
    for (auto _ : state)
        benchmark::DoNotOptimize(byteLevel().encoding({megabyte()}, options));
    setSpeed(state);
}
BENCHMARK(encodingInParts)->Unit(benchmark::kMillisecond);

void encodeSentence(benchmark::State& state) {
    const std::string sentence = megabyte().substr(0, 100);
    for (auto _ : state)
        benchmark::DoNotOptimize(byteLevel().encode(sentence));
}
BENCHMARK(encodeSentence)->Unit(benchmark::kMicrosecond);

void decode(benchmark::State& state) {
    const std::vector<int> tokens = byteLevel().encode(megabyte());
    for (auto _ : state)
        benchmark::DoNotOptimize(byteLevel().decode(tokens));
    setSpeed(state);
}
BENCHMARK(decode)->Unit(benchmark::kMillisecond);

void load(benchmark::State& state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(Tokenizer::load(DEMO_MODEL_FOLDER "/tokenizer.json"));
}
BENCHMARK(load)->Unit(benchmark::kMillisecond);

} // namespace
