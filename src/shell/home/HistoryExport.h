#pragma once

#include "shell/Statistics.h"

#include <filesystem>
#include <string>
#include <vector>

namespace fenlo {

using EntryList = std::vector<const HistoryEntry*>;

enum class ExportFormat { text, csv, json };

/// By the ending of the name; a name without a known one means text.
ExportFormat exportFormatOf(const std::filesystem::path& file);

/// The entries as a file of this kind holds them, in their order. What a spreadsheet would take for a formula stays
/// text.
std::string exportedText(const EntryList& entries, ExportFormat format);

/// Writes them to the file, which is replaced whole or not at all. The fault, for a person; empty when it is written.
///
/// Threads: any; blocks.
std::string exportEntries(const EntryList& entries, const std::filesystem::path& file);

} // namespace fenlo
