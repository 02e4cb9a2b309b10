#include "shell/home/GlossaryImport.h"

#include "base/Files.h"
#include "base/Json.h"
#include "base/Text.h"
#include "settings/Config.h"

#include <nlohmann/json.hpp>
#include <set>
#include <system_error>
#include <utility>

namespace fenlo {

namespace {

using Terms = std::vector<std::string>;

void addTerm(Terms& terms, std::string_view piece) {
    if (std::string term = text::trimWhitespaceAndNewlines(piece); !term.empty())
        terms.push_back(std::move(term));
}

Terms jsonTerms(std::string_view text) {
    const nlohmann::json value = parseJson(text);
    const nlohmann::json* list = &value;
    if (value.is_object()) {
        const auto member = value.find("terms");
        if (member == value.end())
            return {};
        list = &*member;
    }
    if (!list->is_array())
        return {};
    Terms terms;
    for (const nlohmann::json& item : *list) {
        if (!item.is_string())
            return {};
        addTerm(terms, item.get_ref<const std::string&>());
    }
    return terms;
}

} // namespace

std::string glossaryText(GlossaryCounts counts) {
    return "Added " + std::to_string(counts.added) + " new terms (" + std::to_string(counts.duplicates) +
           " duplicates skipped).";
}

std::string unreadGlossaryText(const std::filesystem::path& file) {
    return text::repairUtf8(file.filename().string()) +
           " could not be read as text of at most 1 MB. Nothing was added.";
}

Terms glossaryTerms(std::string_view text, std::string_view extension) {
    constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
    if (text.starts_with(byteOrderMark))
        text.remove_prefix(byteOrderMark.size());
    const std::string form = text::lower(extension);
    if (form == "json")
        return jsonTerms(text);
    Terms terms;
    for (const std::string& line : text::split(text::replaceAll(text, "\r", "\n"), '\n')) {
        if (form != "csv")
            addTerm(terms, line);
        else
            for (const std::string& field : text::split(line, ','))
                addTerm(terms, field);
    }
    return terms;
}

GlossaryCounts importGlossary(Config& config, std::string_view text, std::string_view extension) {
    const Terms terms = glossaryTerms(text, extension);
    GlossaryCounts counts;
    if (terms.empty())
        return counts;
    config.update([&](Settings& settings) {
        std::set<std::string> known;
        for (const std::string& term : settings.customVocabulary)
            known.insert(text::lower(term));
        for (const std::string& term : terms)
            if (known.insert(text::lower(term)).second) {
                settings.customVocabulary.push_back(term);
                ++counts.added;
            }
        counts.duplicates = terms.size() - counts.added;
    });
    return counts;
}

std::optional<GlossaryCounts> importGlossaryFile(Config& config, const std::filesystem::path& file) {
    std::error_code error;
    // A size is what only a plain file has: a pipe or a device would never end.
    const std::uintmax_t size = std::filesystem::file_size(file, error);
    if (error || size > largestGlossary)
        return {};
    const auto content = files::read(file);
    if (!content || content->size() > largestGlossary || text::repairUtf8(*content) != *content)
        return {};
    const std::string extension = file.extension().string();
    return importGlossary(config, *content, extension.empty() ? "" : extension.substr(1));
}

} // namespace fenlo
