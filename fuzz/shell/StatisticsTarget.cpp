// The statistics file: any content can be read, and after a record the file parses, holds the new entry and gives every
// reader the same figures.

#include "base/Clock.h"
#include "base/Files.h"
#include "base/Json.h"
#include "fuzz/Require.h"
#include "shell/StatisticsStore.h"

#include <cstdint>
#include <fstream>
#include <nlohmann/json.hpp>

using namespace fenlo;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const std::filesystem::path folder = files::temporaryFile("statistics", "");
    static const SystemClock clock;
    const auto file = folder / "stats.json";
    std::filesystem::remove_all(folder);
    std::filesystem::create_directories(folder);
    std::ofstream(file, std::ios::binary)
        .write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));

    StatisticsStore store(file, clock);
    store.todayStats();
    const std::size_t before = store.historyEntries().size();
    store.recallContext("what did i say today", 30);

    store.recordDictation("three new words", 2);
    const auto entries = store.historyEntries();
    require(entries.size() == before + 1 && entries[0].fullText == "three new words");
    const auto content = parseJson(files::read(file).value());
    require(content.is_object());
    const AllTimeStats stats = store.allTimeStats();
    require(content["total_words"] == stats.totalWords && content["total_sessions"] == stats.totalSessions);
    require(store.unsyncedEntries().back()["full_text"] == "three new words");
    return 0;
}
