#include "shell/home/HistoryExport.h"
#include "base/Files.h"
#include "base/Json.h"
#include "shell/home/RelativeTime.h"
#include "support/EnvironmentVariable.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

using namespace fenlo;

namespace {

HistoryEntry entryOf(const char* text) {
    HistoryEntry entry;
    entry.ts = "2026-11-15T09:30:00Z";
    entry.words = 3;
    entry.wpm = 97.25;
    entry.duration = 1.5;
    entry.fullText = text;
    return entry;
}

} // namespace

TEST(HistoryExport, ASpreadsheetTakesNothingForAFormula) {
    const test::EnvironmentVariable zone("TZ", "Asia/Kolkata");
    const std::pair<const char*, const char*> fields[] = {
        {"plain, with a comma", "\"plain, with a comma\""},
        {"she said \"no\"\nand left", "\"she said \"\"no\"\"\nand left\""},
        {"=HYPERLINK(\"http://x\")", "\"'=HYPERLINK(\"\"http://x\"\")\""},
        {"+1 for that", "\"'+1 for that\""},
        {"-2", "\"'-2\""},
        {"@SUM(A1)", "\"'@SUM(A1)\""},
        {"\t=1+1", "\"'\t=1+1\""},
        {" \r\n=1+1", "\"' \r\n=1+1\""},
        {"＝1+1", "\"'＝1+1\""},
        {"a=b", "\"a=b\""},
        {"", "\"\""},
        {"शुभ − שלום", "\"शुभ − שלום\""},
    };
    for (const auto& [text, field] : fields) {
        const HistoryEntry entry = entryOf(text);
        EXPECT_EQ(exportedText({&entry}, ExportFormat::csv),
                  "\xEF\xBB\xBF"
                  "Date,Words,WPM,Seconds,Text\r\n\"2026-11-15 15:00\",3,97.2,1.50," +
                      std::string(field) + "\r\n");
    }
}

TEST(HistoryExport, EachFormatHoldsTheTextsAsTheyAre) {
    const test::EnvironmentVariable zone("TZ", "Asia/Kolkata");
    const test::TemporaryFolder folder;
    HistoryEntry strange = entryOf("line one\nline two \"quoted\" 👍");
    strange.ts = "once upon a time";
    const HistoryEntry plain = entryOf("plain");
    EXPECT_EQ(exportEntries({&strange, &plain}, folder / "history"), "");
    EXPECT_EQ(files::read(folder / "history"), "once upon a time\nline one\nline two \"quoted\" 👍\n\n"
                                               "2026-11-15 15:00\nplain\n\n");
    EXPECT_EQ(exportEntries({&strange, &plain}, folder / "history.json"), "");
    const auto list = parseJson(files::read(folder / "history.json").value());
    EXPECT_EQ(list[0]["text"], strange.fullText);
    EXPECT_EQ(list[1]["ts"], plain.ts);
    EXPECT_EQ(list[1]["words"], 3);
    EXPECT_EQ(exportEntries({}, folder / "none.json"), "");
    EXPECT_EQ(files::read(folder / "none.json"), "[]\n");
    EXPECT_EQ(exportEntries({&plain}, folder / "no folder" / "a.csv"), "the folder does not exist");
    EXPECT_EQ(exportEntries({&plain}, folder.path), "a folder has this name");
}

TEST(RelativeTime, IsAsPeopleSayIt) {
    const test::EnvironmentVariable zone("TZ", "Europe/Berlin");
    const test::EnvironmentVariable locale("LC_ALL", "C");
    const auto now = dates::parseIso("2026-03-30T08:00:00Z").value(); // ten o'clock, the day after the clocks changed
    const std::pair<const char*, const char*> cases[] = {
        {"2026-03-30T08:00:30Z", "Just now"},
        {"2026-03-30T07:59:01Z", "Just now"},
        {"2026-03-30T07:59:00Z", "1 minute ago"},
        {"2026-03-30T07:00:01Z", "59 minutes ago"},
        {"2026-03-30T07:00:00Z", "1 hour ago"},
        {"2026-03-29T22:00:00Z", "10 hours ago"},
        {"2026-03-29T21:59:59Z", "Yesterday"},
        {"2026-03-28T23:00:00Z", "Yesterday"},
        {"2026-03-28T22:59:59Z", "2 days ago"},
        {"2026-03-24T00:00:00Z", "6 days ago"},
        {"2026-03-23T12:00:00Z", "Mar 23, 2026, 1:00 PM"},
        {"2027-01-01T00:00:00Z", "Jan 1, 2027, 1:00 AM"},
        {"one day", "one day"},
    };
    for (const auto& [then, text] : cases)
        EXPECT_EQ(relativeTime(then, now), text) << then;
}
