// What spoken commands and the learning of terms add to the wait after the key is released.

#include "text/VocabularyLearning.h"
#include "text/VoiceCommands.h"

#include <benchmark/benchmark.h>

using namespace fenlo;

namespace {

/// Twenty words to the sentence, with one command and two spoken marks.
std::string dictation(std::int64_t words) {
    std::string text;
    for (std::int64_t i = 0; i < words; i += 20)
        text += "the patient was seen again today comma number " + std::to_string(i) +
                " has slept well and the plan is to go on period ";
    return text;
}

/// What a language model makes of it: capitals, and now and then a name.
std::string rewritten(std::int64_t words) {
    std::string text;
    for (std::int64_t i = 0; i < words; i += 20)
        text += "The patient was seen again today, number " + std::to_string(i) + ", takes Rosuvas" +
                std::to_string(i) + " and has slept well. The Plan is to go on. ";
    return text;
}

Settings settingsOf(const char* profession) {
    Settings settings;
    settings.profession = profession;
    for (int i = 0; i < 200; ++i)
        settings.professionVocabulary.push_back("Learned term " + std::to_string(i));
    return settings;
}

void voiceCommands(benchmark::State& state, const char* profession) {
    const std::string text = dictation(state.range(0));
    const Settings settings = settingsOf(profession);
    for (auto _ : state)
        benchmark::DoNotOptimize(processVoiceCommands(text, "org.mozilla.firefox", settings));
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}
BENCHMARK_CAPTURE(voiceCommands, plain, "")->Arg(60)->Arg(2000);
BENCHMARK_CAPTURE(voiceCommands, doctor, "doctor")->Arg(60)->Arg(2000);

void longRun(benchmark::State& state, const std::string& piece) {
    std::string text = "a";
    while (text.size() < 100'000)
        text += piece;
    text += "b";
    const Settings settings = settingsOf("doctor");
    for (auto _ : state)
        benchmark::DoNotOptimize(processVoiceCommands(text, "", settings));
}
BENCHMARK_CAPTURE(longRun, blanks, " ")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(longRun, newlines, "\n")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(longRun, commas, ",")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(longRun, emoji, "👍")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(longRun, commands, "comma ")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(longRun, accents, "\u0301")->Unit(benchmark::kMillisecond);

void learnedTerms(benchmark::State& state) {
    const std::string before = dictation(state.range(0));
    const std::string after = rewritten(state.range(0));
    const Settings settings = settingsOf("doctor");
    for (auto _ : state)
        benchmark::DoNotOptimize(restoredTerms(before, after, settings));
}
BENCHMARK(learnedTerms)->Arg(60)->Arg(2000);

} // namespace
