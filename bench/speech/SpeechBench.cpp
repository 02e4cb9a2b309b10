// What recognition itself adds to the wait after the key is released.

#include "speech/GroqProvider.h"
#include "speech/MultipartForm.h"
#include "speech/TranscriptGuards.h"

#include <benchmark/benchmark.h>

using namespace fenlo;

namespace {

constexpr std::size_t fiveSeconds = 5 * 16000 * 2; // bytes of 16-bit samples

std::string sentences(int count) {
    std::string text;
    for (int i = 0; i < count; ++i)
        text += "the quick brown fox number " + std::to_string(i) + " jumps over the lazy dog, and so on. ";
    return text;
}

std::string replyOf(int segments) {
    std::string reply = R"({"task": "transcribe", "text": "", "segments": [)";
    for (int i = 0; i < segments; ++i)
        reply += std::string(i ? "," : "") + R"({"id": 1, "text": " the quick brown fox jumps over the lazy dog",
            "tokens": [50364, 264, 1702, 3699, 9218, 19087, 670, 264, 11200, 3000], "avg_logprob": -0.25,
            "compression_ratio": 1.2, "no_speech_prob": 0.02})";
    return reply + "]}";
}

void composeBody(benchmark::State& state) {
    const std::string clip(fiveSeconds, 'x');
    const std::string prompt = sentences(8);
    for (auto _ : state) {
        MultipartForm form;
        form.addFile("file", "fenlo_pre_1.wav", "audio/wav", clip);
        form.addField("prompt", prompt);
        benchmark::DoNotOptimize(form.finish());
    }
}
BENCHMARK(composeBody);

void parseReply(benchmark::State& state) {
    const std::string reply = replyOf(static_cast<int>(state.range(0)));
    for (auto _ : state)
        benchmark::DoNotOptimize(groq::parseReply(reply, 5));
}
BENCHMARK(parseReply)->Arg(2)->Arg(100);

void tidy(benchmark::State& state) {
    const std::string text = sentences(static_cast<int>(state.range(0)));
    for (auto _ : state)
        benchmark::DoNotOptimize(postProcess(text, {.isDevTool = state.range(1) != 0}));
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}
BENCHMARK(tidy)->Args({1, 0})->Args({1, 1})->Args({1000, 0})->Args({1000, 1});

void guard(benchmark::State& state) {
    const HallucinationGuard hallucinations("site.example");
    const std::string text = sentences(1000);
    for (auto _ : state)
        benchmark::DoNotOptimize(hallucinations.isHallucination(text, 0.1F));
}
BENCHMARK(guard);

} // namespace
