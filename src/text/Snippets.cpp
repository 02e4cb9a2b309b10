#include "text/Snippets.h"

#include "base/Files.h"
#include "base/Json.h"
#include "base/Text.h"
#include "text/SpokenKey.h"

#include <map>
#include <nlohmann/json.hpp>
#include <vector>

namespace fenlo {

using Json = nlohmann::json;

namespace {

using Entry = std::map<std::string, std::string>;

/// The entries of the file; empty when any part of it has another form.
std::vector<Entry> readEntries(const std::filesystem::path& file) {
    const auto content = files::read(file);
    if (!content)
        return {};
    try {
        return parseJson(text::repairUtf8(*content)).get<std::vector<Entry>>();
    } catch (const Json::exception&) {
        return {};
    }
}

} // namespace

Snippets::Snippets(std::filesystem::path file) : m_file(std::move(file)) {}

std::filesystem::path Snippets::defaultFile() {
    return files::dataDirectory() / "snippets.json";
}

std::optional<std::string> Snippets::matchSnippet(const std::string& transcript) const {
    const std::string key = spokenKey(transcript);
    for (const Entry& entry : readEntries(m_file)) {
        const auto trigger = entry.find("trigger");
        const auto text = entry.find("text");
        if (trigger == entry.end() || text == entry.end())
            continue;
        // Triggers are compared as they are written: one with a capital letter never matches.
        if (key == trigger->second || key == "insert " + trigger->second || key == "type " + trigger->second)
            return text->second;
    }
    return {};
}

} // namespace fenlo
