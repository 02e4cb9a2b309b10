#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace fenlo {

/// Texts that the user calls up by saying their trigger. They are kept in a JSON file, an array of objects with
/// "trigger" and "text", which the user edits in the settings or by hand.
///
/// Threads: any; each call reads the file.
/// Errors:  none; a file that cannot be used holds no snippets.
class Snippets {
public:
    explicit Snippets(std::filesystem::path file);

    /// The text of the first snippet whose trigger equals the transcript, with or without "insert" or "type" before it.
    std::optional<std::string> matchSnippet(const std::string& transcript) const;

    /// `~/.fenlo/snippets.json`.
    static std::filesystem::path defaultFile();

private:
    const std::filesystem::path m_file;
};

} // namespace fenlo
