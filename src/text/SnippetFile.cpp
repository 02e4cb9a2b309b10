#include "text/SnippetFile.h"

#include "base/Clock.h"
#include "base/Files.h"
#include "base/Json.h"
#include "base/Log.h"
#include "base/Text.h"

#include <nlohmann/json.hpp>

namespace fenlo {

using Json = nlohmann::ordered_json;

namespace {

constexpr char triggerKey[] = "trigger";
constexpr char textKey[] = "text";

/// Nothing unless all values are strings.
std::optional<Snippet> fromJson(const Json& entry) {
    if (!entry.is_object())
        return {};
    Snippet snippet;
    for (const auto& [key, value] : entry.items()) {
        if (!value.is_string())
            return {};
        const std::string& string = value.get_ref<const std::string&>();
        if (key == triggerKey)
            snippet.trigger = string;
        else if (key == textKey)
            snippet.text = string;
        else
            snippet.others.emplace_back(key, string);
    }
    return snippet;
}

Json toJson(const Snippet& snippet) {
    Json entry = Json::object();
    if (snippet.trigger)
        entry[triggerKey] = *snippet.trigger;
    if (snippet.text)
        entry[textKey] = *snippet.text;
    for (const auto& [key, value] : snippet.others)
        entry[key] = value;
    return entry;
}

/// Nothing when any part of it has another form.
std::optional<std::vector<Snippet>> parsed(const std::string& content) {
    const Json entries = parseOrderedJson(text::repairUtf8(content));
    if (!entries.is_array())
        return {};
    std::vector<Snippet> snippets;
    for (const Json& entry : entries) {
        auto snippet = fromJson(entry);
        if (!snippet)
            return {};
        snippets.push_back(*std::move(snippet));
    }
    return snippets;
}

} // namespace

StoredSnippets readSnippets(const std::filesystem::path& file) {
    using Fault = StoredSnippets::Fault;
    const auto content = files::read(file);
    if (!content) {
        std::error_code error;
        const bool isMissing = std::filesystem::status(file, error).type() == std::filesystem::file_type::not_found;
        return {{}, isMissing ? Fault::none : Fault::unreadable};
    }
    auto snippets = parsed(*content);
    return snippets ? StoredSnippets{*std::move(snippets)} : StoredSnippets{{}, Fault::damaged};
}

bool changeSnippets(const std::filesystem::path& file, const Clock& clock,
                    const std::function<void(std::vector<Snippet>&)>& change) {
    StoredSnippets stored = readSnippets(file);
    if (stored.fault == StoredSnippets::Fault::unreadable)
        return false;
    change(stored.snippets);
    Json entries = Json::array();
    for (const Snippet& snippet : stored.snippets)
        entries.push_back(toJson(snippet));
    files::makePrivateDirectory(file.parent_path());
    if (stored.fault == StoredSnippets::Fault::damaged) {
        const auto kept = files::setAside(file, clock.wallTime());
        if (!kept)
            return false;
        logInfo("The damaged snippets are kept as {}", kept->string());
    }
    return files::writeAtomically(file, writeJson(entries, 2) + "\n");
}

} // namespace fenlo
