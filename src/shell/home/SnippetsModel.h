#pragma once

#include "base/Changes.h"
#include "text/SnippetFile.h"

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace fenlo {

/// The table of snippets. Each change is written at once; a row without a trigger waits for one and is not in the file
/// yet. Triggers are kept as a take compares them: in lower case, without a full stop at the end.
///
/// Threads: main thread only; the file is small and read and written there.
/// Errors:  a row that is not there is ignored; others are told by state() and faultLine(); what the user typed stays
/// in its row.
class SnippetsModel {
public:
    enum class State {
        empty,
        ready,
        damaged,    // the file is not used; it is set aside before the first change
        unreadable, // the file may not be read, so nothing can be changed
    };

    struct Row {
        std::string trigger;
        std::string text;
        std::string problem; // why it calls up nothing, or not what it says; empty when all is well
    };

    SnippetsModel(std::filesystem::path file, const Clock& clock);

    /// Reads the file anew, for one that was changed outside. What is typed and not in the file stays.
    void reload();

    State state() const;
    const std::vector<Row>& rows() const { return m_rows; }
    /// What is wrong with the file, in a sentence; empty when all is well.
    std::string faultLine() const;

    /// Adds an empty row at the end, unless there is one already. Returns its place.
    std::size_t addRow();
    /// An empty trigger is refused: the row keeps the one it had.
    void setTrigger(std::size_t row, const std::string& trigger);
    void setText(std::size_t row, const std::string& text);
    void removeRow(std::size_t row);
    /// What removeRow() removed last, as a sentence; empty when there is nothing to bring back.
    std::string removedLine() const;
    void undoRemove();

    [[nodiscard]] Changes::Watch watch(std::function<void()> handler) { return m_changes.watch(std::move(handler)); }

private:
    struct Entry {
        Snippet shown;                 // as the user has typed it
        std::optional<Snippet> stored; // as the file has it
    };

    void save(std::size_t row);
    bool replaceStored(const Entry& entry, const Snippet* now);
    std::string problemOf(std::size_t row) const;
    void tell();

    const std::filesystem::path m_file;
    const Clock& m_clock;
    std::vector<Entry> m_entries;
    StoredSnippets::Fault m_fault = StoredSnippets::Fault::none;
    bool m_isWritten = true;
    std::optional<Snippet> m_removed;
    std::vector<Row> m_rows;
    Changes m_changes;
};

} // namespace fenlo
