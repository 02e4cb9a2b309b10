#include "shell/HistoryReader.h"

#include "base/Files.h"
#include "shell/JsonMembers.h"

namespace fenlo {

namespace {

using Value = simdjson::ondemand::value;

bool take(Value value, std::string& field) {
    std::string_view text;
    if (value.get_string().get(text))
        return false;
    field = text;
    return true;
}

void take(Value value, std::int64_t& field) {
    if (value.get_int64().get(field))
        field = 0;
}

void take(Value value, double& field) {
    if (value.get_double().get(field))
        field = 0;
}

} // namespace

struct HistoryReader::Parser {
    template <typename Use>
    bool forEachField(std::string_view text, Use use) {
        padded.assign(text);
        padded.append(simdjson::SIMDJSON_PADDING, ' ');
        simdjson::ondemand::document document;
        const simdjson::padded_string_view view(padded.data(), text.size(), padded.size());
        return !parser.iterate(view).get(document) && forEachMember(document, [&](const std::string& key, Value value) {
            use(key, value);
            return true;
        });
    }

    simdjson::ondemand::parser parser;
    std::string padded;
};

HistoryReader::HistoryReader() : m_parser(std::make_unique<Parser>()) {}
HistoryReader::~HistoryReader() = default;

std::optional<HistoryEntry> HistoryReader::readEntry(std::string_view text) {
    HistoryEntry entry;
    bool hasTs = false;
    bool hasFullText = false;
    const bool isObject = m_parser->forEachField(text, [&](const std::string& key, Value value) {
        if (key == "ts")
            hasTs = take(value, entry.ts);
        else if (key == "words")
            take(value, entry.words);
        else if (key == "wpm")
            take(value, entry.wpm);
        else if (key == "duration")
            take(value, entry.duration);
        else if (key == "text_preview")
            take(value, entry.textPreview);
        else if (key == "entry_id")
            take(value, entry.entryId);
        else if (key == "full_text")
            hasFullText = take(value, entry.fullText);
    });
    if (!isObject || !hasTs)
        return {};
    if (!hasFullText)
        entry.fullText = entry.textPreview;
    entry.id = files::makeUuid();
    return entry;
}

std::optional<HistoryReader::SyncState> HistoryReader::readSyncState(std::string_view text) {
    SyncState state;
    const bool isObject = m_parser->forEachField(text, [&](const std::string& key, Value value) {
        if (std::string id; key == "entry_id" && take(value, id))
            state.entryId = id;
        else if (key == "synced" && value.get_bool().get(state.isSynced))
            state.isSynced = false;
    });
    return isObject ? std::optional(state) : std::nullopt;
}

} // namespace fenlo
