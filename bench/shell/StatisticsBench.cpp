// What the history costs when it is long: a record at the end of each dictation, on the main thread. `syncOfTheDisk`
// and `writeOfTheFile` are the part of it that no reading or composing can save.

#include "base/Clock.h"
#include "base/Dates.h"
#include "base/Files.h"
#include "base/Json.h"
#include "shell/StatisticsStore.h"

#include <benchmark/benchmark.h>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <unistd.h>

using namespace fenlo;
using Json = nlohmann::ordered_json;
namespace fs = std::filesystem;

namespace {

constexpr int entriesPerDay = 15;

std::string fortyWords(int seed) {
    std::string text;
    for (int i = 0; i < 40; ++i)
        text += (i ? " " : "") + std::string(i % 7 ? "word" : "größer") + std::to_string((seed + i) % 97);
    return text;
}

Json entryOf(int number, std::chrono::system_clock::time_point when) {
    const std::string text = fortyWords(number);
    return {{"entry_id", files::makeUuid()},
            {"ts", dates::isoTimestamp(when)},
            {"words", 40},
            {"wpm", 120.5},
            {"duration", 19.92},
            {"text_preview", text.substr(0, 80)},
            {"full_text", text},
            {"synced", true}};
}

/// A file of so many entries, in a folder of its own.
class LongHistory {
public:
    explicit LongHistory(std::int64_t entries, int indentation = 2) {
        Json file = {{"total_words", 40 * entries},
                     {"total_sessions", entries},
                     {"total_duration_secs", 19.9 * static_cast<double>(entries)}};
        const auto end = std::chrono::floor<std::chrono::days>(std::chrono::system_clock::now());
        nlohmann::json daily = nlohmann::json::object();
        Json history = Json::array();
        for (int i = 0; i < entries; ++i) {
            const auto day = end - std::chrono::days((entries - i) / entriesPerDay);
            daily[dates::isoTimestamp(day).substr(0, 10)] = {{"words", 600}, {"sessions", 15}, {"duration", 300.0}};
            history.push_back(entryOf(i, day));
        }
        file["daily"] = std::move(daily);
        file["history"] = std::move(history);
        fs::create_directories(path.parent_path());
        std::ofstream(path) << writeJson(file, indentation);
    }
    ~LongHistory() { fs::remove_all(path.parent_path()); }

    const fs::path path = files::temporaryFile("stats", "") / "stats.json";
    SystemClock clock;
    StatisticsStore store{path, clock};
};

void report(benchmark::State& state, const LongHistory& history) {
    state.counters["MB"] = static_cast<double>(fs::file_size(history.path)) / 1e6;
}

/// Reading all, changing it, writing all again: what the store would do without care.
void recordByDocument(benchmark::State& state) {
    const LongHistory history(state.range(0));
    for (auto _ : state) {
        Json file = parseOrderedJson(*files::read(history.path));
        file["total_words"] = file["total_words"].get<std::int64_t>() + 40;
        file["history"].push_back(entryOf(1, history.clock.wallTime()));
        files::writeAtomically(history.path, writeJson(file, 2));
    }
    report(state, history);
}

void record(benchmark::State& state, int indentation) {
    LongHistory history(state.range(0), indentation);
    const std::string text = fortyWords(1);
    for (auto _ : state)
        history.store.recordDictation(text, 19.92);
    report(state, history);
}

void recordDictation(benchmark::State& state) {
    record(state, 2);
}

void recordIntoOneLine(benchmark::State& state) {
    record(state, -1);
}

void writeOfTheFile(benchmark::State& state) {
    const LongHistory history(state.range(0));
    const std::string content = *files::read(history.path);
    for (auto _ : state)
        files::writeAtomically(history.path, content);
    report(state, history);
}

void syncOfTheDisk(benchmark::State& state) {
    const LongHistory history(state.range(0));
    const std::string content = *files::read(history.path);
    const int descriptor = ::open(history.path.c_str(), O_WRONLY | O_CLOEXEC);
    for (auto _ : state) {
        state.PauseTiming();
        benchmark::DoNotOptimize(::pwrite(descriptor, content.data(), content.size(), 0));
        state.ResumeTiming();
        ::fsync(descriptor);
    }
    ::close(descriptor);
    report(state, history);
}

void numbers(benchmark::State& state) {
    LongHistory history(state.range(0));
    history.store.recordDictation("hello there", 1); // from here on the file is as the store writes it
    for (auto _ : state) {
        benchmark::DoNotOptimize(history.store.todayStats());
        benchmark::DoNotOptimize(history.store.allTimeStats());
    }
}

void historyEntries(benchmark::State& state) {
    const LongHistory history(state.range(0));
    for (auto _ : state)
        benchmark::DoNotOptimize(history.store.historyEntries());
}

void recallContext(benchmark::State& state) {
    const LongHistory history(state.range(0));
    for (auto _ : state)
        benchmark::DoNotOptimize(history.store.recallContext("what did i say last week", 30));
}

void unsyncedEntries(benchmark::State& state) {
    LongHistory history(state.range(0));
    history.store.recordDictation("hello there", 1);
    for (auto _ : state)
        benchmark::DoNotOptimize(history.store.unsyncedEntries());
}

#define OVER_LENGTHS(function) BENCHMARK(function)->Arg(1000)->Arg(20000)->Unit(benchmark::kMillisecond)->UseRealTime()
OVER_LENGTHS(recordByDocument);
OVER_LENGTHS(recordDictation);
OVER_LENGTHS(recordIntoOneLine);
OVER_LENGTHS(writeOfTheFile);
OVER_LENGTHS(syncOfTheDisk);
OVER_LENGTHS(numbers);
OVER_LENGTHS(historyEntries);
OVER_LENGTHS(recallContext);
OVER_LENGTHS(unsyncedEntries);

} // namespace
