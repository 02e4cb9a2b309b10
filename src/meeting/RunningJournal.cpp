#include "meeting/RunningJournal.h"

#include "base/Files.h"
#include "base/Json.h"
#include "base/Text.h"

#include <cmath>
#include <nlohmann/json.hpp>

namespace fenlo::runningJournal {

using Json = nlohmann::json;

namespace {

constexpr double longest = 1e7; // seconds; no meeting lasts months
constexpr int mostChunks = 10'000'000;
constexpr int mostSpeakers = 100'000;

std::string textAt(const Json& values, const char* key) {
    const auto found = values.find(key);
    return found != values.end() && found->is_string() ? found->get<std::string>() : "";
}

/// Nothing for what is no number from 0 to the limit.
std::optional<double> numberAt(const Json& values, const char* key, double limit) {
    const auto found = values.find(key);
    if (found == values.end() || !found->is_number())
        return {};
    const double number = found->get<double>();
    return number >= 0 && number <= limit ? std::optional(number) : std::nullopt;
}

std::optional<int> countAt(const Json& values, const char* key, int limit) {
    const auto number = numberAt(values, key, limit);
    return number ? std::optional(static_cast<int>(*number)) : std::nullopt;
}

const char* wordOf(Notes event) {
    switch (event) {
    case Notes::due:
        return "due";
    case Notes::asked:
        return "asked";
    case Notes::settled:
        break;
    }
    return "settled";
}

void readSegment(const Json& line, int number, const Chunk& chunk, Events& events) {
    if (line.contains("text"))
        events.segments.push_back(
            {files::makeUuid(), number, chunk.timestamp, textAt(line, "text"), speakerAt(chunk.speaker)});
}

void readNotes(const std::string& event, Events& events) {
    events.areNotesDue = events.areNotesDue || event == wordOf(Notes::due);
    events.areNotesSettled = events.areNotesSettled || event == wordOf(Notes::settled);
    events.notesAsked += event == wordOf(Notes::asked);
}

void readLine(const Json& line, Events& events) {
    if (line.contains("notes"))
        return readNotes(textAt(line, "notes"), events);
    events.isFiled = line.contains("filed") || (events.isFiled && !line.contains("finished"));
    if (line.contains("saved")) {
        events.savedAs = textAt(line, "saved");
        events.elapsedFormatted = textAt(line, "duration");
        return;
    }
    const auto number = countAt(line, "chunk", mostChunks);
    if (!number)
        return;
    Chunk& chunk = events.chunks[*number];
    chunk.timestamp = numberAt(line, "timestamp", longest).value_or(chunk.timestamp);
    chunk.speaker = countAt(line, "speaker", mostSpeakers).value_or(chunk.speaker);
    if (line.contains("failed"))
        ++chunk.failures;
    if (line.contains("keptAs"))
        events.unrecognised.push_back(textAt(line, "keptAs"));
    if (line.contains("finished") && !std::exchange(chunk.isFinished, true))
        readSegment(line, *number, chunk, events);
}

} // namespace

std::string chunkLine(int number, double timestamp, int speaker) {
    return writeJson(Json{{"chunk", number}, {"timestamp", timestamp}, {"speaker", speaker}});
}

std::string segmentLine(const TranscriptSegment& segment) {
    return writeJson(Json{{"chunk", segment.index},
                          {"timestamp", segment.timestamp},
                          {"speaker", segment.speaker.id},
                          {"text", segment.text},
                          {"finished", true}});
}

std::string withoutWordsLine(int number) {
    return writeJson(Json{{"chunk", number}, {"finished", true}});
}

std::string failedLine(int number) {
    return writeJson(Json{{"chunk", number}, {"failed", true}});
}

std::string lostLine(int number, const std::string& keptAs) {
    return writeJson(Json{{"chunk", number}, {"keptAs", keptAs}, {"finished", true}});
}

std::string notesLine(Notes event) {
    return writeJson(Json{{"notes", wordOf(event)}});
}

std::string filedLine() {
    return writeJson(Json{{"filed", true}});
}

std::string savedLine(const std::string& id, const std::string& elapsedFormatted) {
    return writeJson(Json{{"saved", id}, {"duration", elapsedFormatted}});
}

Events eventsIn(std::string_view journal) {
    Events events;
    for (const std::string& line : text::split(journal, '\n'))
        if (const Json values = parseJson(line); values.is_object())
            readLine(values, events);
    return events;
}

std::string stateOf(const MeetingRecord& record) {
    Json names = Json::object();
    for (const auto& [id, name] : record.speakerNames)
        names[std::to_string(id)] = name;
    return writeJson(Json{{"start", std::chrono::system_clock::to_time_t(record.date)},
                          {"subject", record.subject},
                          {"template", rawValue(record.kind)},
                          {"mode", rawValue(record.mode)},
                          {"speakerNames", names},
                          {"bookmarks", record.bookmarks},
                          {"userNotes", record.userNotes}},
                     2);
}

void readState(std::string_view state, MeetingRecord& record) {
    const Json values = parseJson(state);
    if (!values.is_object())
        return;
    constexpr double latest = 9e9; // the year 2255, which the clock's nanoseconds still reach
    if (const auto start = numberAt(values, "start", latest))
        record.date = std::chrono::system_clock::from_time_t(static_cast<std::time_t>(*start));
    record.subject = textAt(values, "subject");
    record.userNotes = textAt(values, "userNotes");
    record.kind = meetingTemplateOf(textAt(values, "template")).value_or(record.kind);
    record.mode = meetingModeOf(textAt(values, "mode")).value_or(record.mode);
    if (const auto names = values.find("speakerNames"); names != values.end() && names->is_object())
        for (const auto& [id, name] : names->items())
            if (const Json number = parseJson(id); number.is_number_unsigned() && name.is_string())
                if (number.get<std::uint64_t>() <= mostSpeakers)
                    record.speakerNames[number.get<int>()] = name.get<std::string>();
    if (const auto bookmarks = values.find("bookmarks"); bookmarks != values.end() && bookmarks->is_array())
        for (const Json& index : *bookmarks)
            if (index.is_number_unsigned() && index.get<std::uint64_t>() <= mostChunks)
                record.bookmarks.insert(index.get<int>());
}

} // namespace fenlo::runningJournal
