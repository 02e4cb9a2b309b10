#include "shell/home/HistoryExport.h"

#include "base/Dates.h"
#include "base/Files.h"
#include "base/Json.h"
#include "base/SearchKey.h"
#include "base/Text.h"
#include "base/WriteFault.h"

#include <cerrno>
#include <nlohmann/json.hpp>

namespace fenlo {

namespace {

std::string shownMoment(const std::string& timestamp) {
    const auto moment = dates::parseIso(timestamp);
    return moment ? dates::localMinute(*moment) : timestamp;
}

std::string asText(const EntryList& entries) {
    std::string out;
    for (const HistoryEntry* entry : entries)
        out += shownMoment(entry->ts) + "\n" + entry->fullText + "\n\n";
    return out;
}

/// A field in quotation marks. Spreadsheets run what begins like a formula even there; an apostrophe makes it text.
std::string field(std::string_view value) {
    const std::string start = text::searchKey(text::firstCharacters(text::trimWhitespaceAndNewlines(value), 1));
    const bool looksLikeFormula = start == "=" || start == "+" || start == "-" || start == "@";
    return (looksLikeFormula ? "\"'" : "\"") + text::replaceAll(value, "\"", "\"\"") + "\"";
}

std::string asCsv(const EntryList& entries) {
    std::string out = "\xEF\xBB\xBF"; // without it some spreadsheets do not read UTF-8
    out += "Date,Words,WPM,Seconds,Text\r\n";
    for (const HistoryEntry* entry : entries)
        out += field(shownMoment(entry->ts)) + "," + std::to_string(entry->words) + "," + text::fixed(entry->wpm, 1) +
               "," + text::fixed(entry->duration, 2) + "," + field(entry->fullText) + "\r\n";
    return out;
}

std::string asJson(const EntryList& entries) {
    auto list = nlohmann::ordered_json::array();
    for (const HistoryEntry* entry : entries)
        list.push_back({{"ts", entry->ts},
                        {"words", entry->words},
                        {"wpm", entry->wpm},
                        {"duration", entry->duration},
                        {"text", entry->fullText}});
    return writeJson(list, 2) + "\n";
}

} // namespace

ExportFormat exportFormatOf(const std::filesystem::path& file) {
    const std::string ending = text::lower(file.extension().string());
    return ending == ".csv" ? ExportFormat::csv : ending == ".json" ? ExportFormat::json : ExportFormat::text;
}

std::string exportedText(const EntryList& entries, ExportFormat format) {
    switch (format) {
    case ExportFormat::csv:
        return asCsv(entries);
    case ExportFormat::json:
        return asJson(entries);
    case ExportFormat::text:
        break;
    }
    return asText(entries);
}

std::string exportEntries(const EntryList& entries, const std::filesystem::path& file) {
    const std::string content = exportedText(entries, exportFormatOf(file));
    return files::writeAtomically(file, content) ? "" : files::writeFault(errno);
}

} // namespace fenlo
