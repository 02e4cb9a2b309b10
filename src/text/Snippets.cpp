#include "text/Snippets.h"

#include "base/Files.h"
#include "text/SnippetFile.h"
#include "text/SpokenKey.h"

namespace fenlo {

Snippets::Snippets(std::filesystem::path file) : m_file(std::move(file)) {}

std::filesystem::path Snippets::defaultFile() {
    return files::dataDirectory() / "snippets.json";
}

std::optional<std::string> Snippets::matchSnippet(const std::string& transcript) const {
    const std::string key = spokenKey(transcript);
    for (const Snippet& snippet : readSnippets(m_file).snippets) {
        if (!snippet.trigger || !snippet.text)
            continue;
        // Triggers are compared as they are written: one with a capital letter never matches.
        const std::string& trigger = *snippet.trigger;
        if (key == trigger || key == "insert " + trigger || key == "type " + trigger)
            return snippet.text;
    }
    return {};
}

} // namespace fenlo
