#pragma once

#include "shell/Statistics.h"

#include <memory>
#include <optional>
#include <string_view>

namespace fenlo {

/// Reads the entries of a history, each from its JSON text.
///
/// Threads: one at a time.
/// Errors:  a text in any other form gives nothing; a field of the wrong type counts as missing.
class HistoryReader {
public:
    struct SyncState {
        std::optional<std::string> entryId;
        bool isSynced = false;
    };

    HistoryReader();
    ~HistoryReader();

    std::optional<HistoryEntry> readEntry(std::string_view text);
    std::optional<SyncState> readSyncState(std::string_view text);

private:
    struct Parser;
    std::unique_ptr<Parser> m_parser; // its memory is used again for each entry
};

} // namespace fenlo
