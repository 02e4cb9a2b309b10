#pragma once

#include "base/Changes.h"
#include "base/Lifetime.h"
#include "base/MainQueue.h"
#include "base/NotificationCenter.h"
#include "shell/StatisticsStore.h"
#include "shell/home/HistoryRows.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>

namespace fenlo {

class Background;
class Clock;

/// What the history needs. All of it outlives the model.
struct HistoryServices {
    StatisticsStore& store;
    const Clock& clock;
    MainQueue& queue;
    Background& background;
    NotificationCenter& notifications;
    std::function<void(const std::string&)> copyToClipboard;
};

/// The past dictations as a person looks through them: newest first, searched, copied, deleted, exported.
///
/// Threads:  main thread. The file is read, searched and written on workers; the newest query wins.
/// Errors:   told in one sentence by notice(); nothing is lost.
/// Lifetime: holds the history in memory between open() and close(), about as much as the file is long.
class HistoryModel {
public:
    enum class State { loading, empty, noMatch, failed, ready };

    /// What a list shows of one entry.
    struct Row {
        std::string key;       // the same for this entry as long as it is there
        std::string when;      // "5 minutes ago"
        std::string words;     // "12 words"
        std::string speed;     // "95 WPM"
        std::string length;    // "7.1s"
        std::string text;      // shortened when it is long, unless it is to be shown whole
        std::string more;      // caption of the button below a long text; empty for a short one
        bool isCopied = false; // a moment ago
    };

    using RowEdit = HistoryRows::Edit;

    /// Something to tell beside the list.
    struct Notice {
        enum class Kind { none, good, error, deleted }; // deleted: it can be undone
        Kind kind = Kind::none;
        std::string text;
    };

    explicit HistoryModel(HistoryServices services);
    ~HistoryModel();

    /// Begins to show the history, and follows it from then on.
    void open();
    /// Forgets all that it holds, the search and the chance to undo.
    void close();

    State state() const { return m_state; }
    /// Loading takes so long that a person should see it.
    bool isSlow() const { return m_isSlow; }
    std::size_t rowCount() const { return m_rows.count(); }
    Row row(std::size_t index) const;
    /// All entries, those included that do not match.
    std::size_t entryCount() const;
    /// "214 entries", or "3 of 214 entries" in a search.
    std::string countText() const;
    /// The two lines in place of a list without rows; the second may be empty.
    std::string emptyTitle() const;
    std::string emptyText() const;

    const std::string& query() const { return m_query; }
    void search(const std::string& query);

    void copy(std::size_t index);
    /// Shows a long text whole, or short again.
    void toggle(std::size_t index);

    /// Takes the entry out at once. undo() brings the last one back, as long as the notice offers it.
    void remove(std::size_t index);
    void undo();
    std::string removeAllTitle() const;
    std::string removeAllText() const;
    std::string removeAllVerb() const;
    void removeAll();

    /// A name for the file, with the ending of the format ("csv").
    std::string exportName(const std::string& ending) const;
    /// Writes the rows: all entries, or those that match. The ending of the name decides on the format.
    void exportTo(const std::filesystem::path& file);
    bool isExporting() const { return m_isExporting; }

    const Notice& notice() const { return m_notice; }
    /// Caption of the notice's button; empty when it goes by itself.
    std::string noticeAction() const;
    /// What that button does: undo, or put the notice away.
    void answerNotice();

    [[nodiscard]] Changes::Watch watch(std::function<void()> handler) { return m_changes.watch(std::move(handler)); }
    /// One list at a time follows the rows.
    void setOnRows(std::function<void(const RowEdit&)> onRows) { m_onRows = std::move(onRows); }

private:
    void refresh();
    void install(StatisticsStore::Past past);
    void find();
    void show(HistoryRows::Entries entries, HistoryRows::Numbers found);
    void settle(const RowEdit& edit);
    void finishRemoval(const std::string& key, const StatisticsStore::Removal& removal);
    void finishUndo(const StatisticsStore::RemovedEntry& entry, const std::string& fault);
    void finishRemovingAll(std::size_t count, const std::string& fault);
    void finishExport(const std::filesystem::path& file, std::size_t count, const std::string& fault);
    void tell(Notice notice);
    void tellRow(const std::string& key);
    template <typename Work, typename Finish>
    void inBackground(Work work, Finish finish);

    const HistoryServices m_services;
    State m_state = State::loading;
    bool m_isOpen = false;
    bool m_isSlow = false;
    bool m_isLoading = false;
    bool m_isStale = false; // changed while it was loaded
    bool m_isReadable = true;
    bool m_isExporting = false;
    std::uint64_t m_opening = 0;    // counts the calls of open() and close()
    HistoryRows::Entries m_entries; // that were read last
    HistoryRows m_rows;
    std::string m_query;
    std::shared_ptr<std::atomic<bool>> m_abandon; // ends the search that is under way
    std::set<std::string> m_whole;                // long texts that are shown whole
    std::string m_copied;                         // the entry that was copied a moment ago
    std::optional<StatisticsStore::RemovedEntry> m_undo;
    Notice m_notice;
    Changes m_changes;
    std::function<void(const RowEdit&)> m_onRows;
    NotificationCenter::Observation m_statisticsChanged;
    Timer m_slowTimer;
    Timer m_copiedTimer;
    Timer m_noticeTimer;
    Timer m_agingTimer;
    Lifetime m_lifetime;
};

} // namespace fenlo
