#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// Terms out of a file into the user's vocabulary.
///
/// Threads: any; the settings are changed and saved on the caller's thread.
namespace fenlo {

class Config;

struct GlossaryCounts {
    std::size_t added = 0;
    std::size_t duplicates = 0; // of terms known before or of each other, whatever their capitals

    bool operator==(const GlossaryCounts&) const = default;
};

/// Larger files are no glossaries: the settings are copied often, and each term goes to the language model.
inline constexpr std::uintmax_t largestGlossary = std::uintmax_t{1024} * 1024; // bytes

inline constexpr char glossaryDialogMessage[] = "Select a glossary file (.txt, .csv, or .json)";
inline constexpr char glossaryTitle[] = "Glossary Imported";
/// "Added 2 new terms (1 duplicates skipped)."
std::string glossaryText(GlossaryCounts counts);

/// What a screen says when importGlossaryFile() gives nothing.
std::string unreadGlossaryText(const std::filesystem::path& file);

/// The terms of a text in the form that the extension names ("json", "csv", "txt", in any case); anything else is read
/// as one term a line. JSON of another form has none.
std::vector<std::string> glossaryTerms(std::string_view text, std::string_view extension);

/// Adds the terms that are not known yet to the custom vocabulary.
GlossaryCounts importGlossary(Config& config, std::string_view text, std::string_view extension);

/// The same with a file. Nothing when it cannot be read, is too large or is not UTF-8; the settings are then unchanged.
std::optional<GlossaryCounts> importGlossaryFile(Config& config, const std::filesystem::path& file);

} // namespace fenlo
