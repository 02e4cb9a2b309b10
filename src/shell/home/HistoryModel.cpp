#include "shell/home/HistoryModel.h"

#include "base/Background.h"
#include "base/Clock.h"
#include "base/Log.h"
#include "base/Text.h"
#include "shell/home/HistoryExport.h"
#include "shell/home/HistorySearch.h"
#include "shell/home/RelativeTime.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace fenlo {

namespace {

constexpr double slowAfter = 0.3;     // seconds until a person is told of the loading
constexpr double copiedFor = 2.0;     // seconds
constexpr double noticeFor = 8.0;     // seconds; long enough to read it and to press Undo
constexpr double agingPeriod = 30;    // seconds
constexpr std::size_t longText = 240; // characters
constexpr std::size_t shortened = 200;
constexpr int mostLines = 4;

std::string entriesText(std::size_t count) {
    return std::to_string(count) + (count == 1 ? " entry" : " entries");
}

bool isLong(const std::string& text) {
    return std::ranges::count(text, '\n') >= mostLines || text::characterCount(text) > longText;
}

std::string shortForm(const std::string& text) {
    std::size_t end = 0;
    for (int line = 0; line < mostLines && end != std::string::npos; ++line)
        end = text.find('\n', line == 0 ? 0 : end + 1);
    return text::trimWhitespaceAndNewlines(text::firstCharacters(text.substr(0, end), shortened)) + "…";
}

} // namespace

HistoryModel::HistoryModel(HistoryServices services) : m_services(std::move(services)) {
    m_statisticsChanged =
        m_services.notifications.observe(notification::statisticsChanged, [this](const auto&) { refresh(); });
}

HistoryModel::~HistoryModel() {
    if (m_abandon)
        *m_abandon = true;
}

/// Runs `work` on a worker and `finish` with its result on the main thread, unless the model is gone by then.
template <typename Work, typename Finish>
void HistoryModel::inBackground(Work work, Finish finish) {
    m_services.background.run([work = std::move(work), finish = m_lifetime.bind(std::move(finish)),
                               &queue = m_services.queue](std::stop_token) mutable {
        auto result = std::make_shared<decltype(work())>(work());
        queue.post([finish = std::move(finish), result]() mutable { finish(std::move(*result)); });
    });
}

void HistoryModel::open() {
    if (std::exchange(m_isOpen, true))
        return;
    ++m_opening;
    m_state = State::loading;
    m_slowTimer = m_services.queue.postAfter(slowAfter, [this] {
        m_isSlow = true;
        m_changes.tell();
    });
    m_agingTimer = m_services.queue.every(agingPeriod, [this] {
        if (m_onRows && rowCount() > 0)
            m_onRows({RowEdit::Kind::updated, 0, rowCount()});
    });
    refresh();
}

void HistoryModel::close() {
    if (!std::exchange(m_isOpen, false))
        return;
    ++m_opening;
    if (m_abandon)
        *m_abandon = true;
    m_isLoading = m_isStale = m_isSlow = false;
    for (Timer* timer : {&m_slowTimer, &m_copiedTimer, &m_noticeTimer, &m_agingTimer})
        timer->cancel();
    m_entries.reset();
    m_rows = HistoryRows();
    m_whole.clear();
    m_query.clear();
    m_copied.clear();
    m_undo.reset();
    m_notice = {};
    m_state = State::loading;
    if (m_onRows)
        m_onRows({RowEdit::Kind::reset, 0, 0});
    m_changes.tell();
}

void HistoryModel::refresh() {
    if (!m_isOpen || std::exchange(m_isLoading, true)) {
        m_isStale = m_isOpen;
        return;
    }
    inBackground([&store = m_services.store] { return store.past(); },
                 [this, opening = m_opening, gone = m_rows.gone()](StatisticsStore::Past past) {
                     if (opening != m_opening)
                         return;
                     m_rows.forget(gone);
                     install(std::move(past));
                 });
}

void HistoryModel::install(StatisticsStore::Past past) {
    m_isLoading = false;
    m_isReadable = past.isReadable;
    m_entries = std::make_shared<const std::vector<HistoryEntry>>(std::move(past.entries));
    find();
    if (std::exchange(m_isStale, false))
        refresh();
}

void HistoryModel::search(const std::string& query) {
    if (std::exchange(m_query, query) == query)
        return;
    m_changes.tell();
    if (m_entries)
        find();
}

void HistoryModel::find() {
    if (m_abandon)
        *m_abandon = true;
    HistorySearch wanted(m_query);
    if (wanted.isEmpty()) {
        HistoryRows::Numbers all(m_entries->size());
        std::iota(all.begin(), all.end(), 0u);
        show(m_entries, std::move(all));
        return;
    }
    m_abandon = std::make_shared<std::atomic<bool>>(false);
    inBackground([wanted = std::move(wanted), entries = m_entries,
                  abandon = m_abandon] { return wanted.find(*entries, [&abandon] { return abandon->load(); }); },
                 [this, entries = m_entries, abandon = m_abandon](HistoryRows::Numbers found) {
                     if (!*abandon)
                         show(entries, std::move(found));
                 });
}

void HistoryModel::show(HistoryRows::Entries entries, HistoryRows::Numbers found) {
    m_slowTimer.cancel();
    m_isSlow = false;
    settle(m_rows.show(std::move(entries), std::move(found)));
}

/// After the rows have changed.
void HistoryModel::settle(const RowEdit& edit) {
    if (rowCount() > 0)
        m_state = State::ready;
    else if (entryCount() > 0)
        m_state = State::noMatch;
    else
        m_state = m_isReadable ? State::empty : State::failed;
    if (m_onRows && edit.kind != RowEdit::Kind::none)
        m_onRows(edit);
    m_changes.tell();
}

HistoryModel::Row HistoryModel::row(std::size_t index) const {
    const HistoryEntry& entry = m_rows.entry(index);
    Row row{.key = m_rows.key(index),
            .when = relativeTime(entry.ts, m_services.clock.wallTime()),
            .words = std::to_string(entry.words) + " words",
            .speed = text::fixed(entry.wpm, 0) + " WPM",
            .length = text::fixed(entry.duration, 1) + "s",
            .text = entry.fullText,
            .more = {}};
    if (entry.fullText.empty() && entry.words > 0)
        row.text = "Its words stayed on the computer that heard them.";
    row.isCopied = row.key == m_copied;
    if (isLong(entry.fullText)) {
        const bool isWhole = m_whole.contains(row.key);
        row.more = isWhole ? "Show less" : "Show more...";
        if (!isWhole)
            row.text = shortForm(entry.fullText);
    }
    return row;
}

std::size_t HistoryModel::entryCount() const {
    const std::size_t read = m_entries ? m_entries->size() : 0;
    return read - std::min(read, m_rows.hiddenCount());
}

std::string HistoryModel::countText() const {
    if (HistorySearch(m_query).isEmpty())
        return entriesText(entryCount());
    return std::to_string(rowCount()) + " of " + entriesText(entryCount());
}

std::string HistoryModel::emptyTitle() const {
    switch (m_state) {
    case State::empty:
        return "No transcriptions yet";
    case State::noMatch:
        return "Nothing found for “" + text::trimWhitespaceAndNewlines(m_query) + "”";
    case State::failed:
        return "The history cannot be read";
    case State::loading:
        return "Loading your history…";
    case State::ready:
        break;
    }
    return {};
}

std::string HistoryModel::emptyText() const {
    switch (m_state) {
    case State::empty:
        return "Your dictation history will appear here.";
    case State::noMatch:
        return "Every word that you type must occur, in any order.";
    case State::failed:
        return "Its file is damaged or may not be read. It is kept beside the new one when you dictate next.";
    default:
        return {};
    }
}

void HistoryModel::tellRow(const std::string& key) {
    if (const std::size_t row = m_rows.rowOf(key); m_onRows && row < rowCount())
        m_onRows({RowEdit::Kind::updated, row, 1});
}

void HistoryModel::copy(std::size_t index) {
    m_services.copyToClipboard(m_rows.entry(index).fullText);
    const std::string before = std::exchange(m_copied, m_rows.key(index));
    tellRow(before);
    tellRow(m_copied);
    m_copiedTimer = m_services.queue.postAfter(copiedFor, [this] { tellRow(std::exchange(m_copied, {})); });
}

void HistoryModel::toggle(std::size_t index) {
    const std::string key = m_rows.key(index);
    if (m_whole.erase(key) == 0)
        m_whole.insert(key);
    tellRow(key);
}

void HistoryModel::remove(std::size_t index) {
    const HistoryEntry entry = m_rows.entry(index);
    const std::string key = m_rows.key(index);
    settle(m_rows.hide(index));
    inBackground([&store = m_services.store, entry] { return store.removeEntry(entry); },
                 [this, key](const StatisticsStore::Removal& removal) { finishRemoval(key, removal); });
}

void HistoryModel::finishRemoval(const std::string& key, const StatisticsStore::Removal& removal) {
    if (removal.fault.empty()) {
        m_rows.setGone(key);
        if (m_isOpen && removal.entry) {
            m_undo = removal.entry;
            tell({Notice::Kind::deleted, "Entry deleted"});
        }
        m_services.notifications.post(notification::statisticsChanged);
        return;
    }
    m_rows.forget({key});
    tell({Notice::Kind::error, "The entry could not be deleted, because " + removal.fault + "; it is still there."});
    if (m_entries)
        find();
}

void HistoryModel::undo() {
    if (!m_undo)
        return;
    const auto entry = *std::exchange(m_undo, std::nullopt);
    tell({});
    inBackground([&store = m_services.store, entry] { return store.restoreEntry(entry); },
                 [this, entry](const std::string& fault) { finishUndo(entry, fault); });
}

void HistoryModel::finishUndo(const StatisticsStore::RemovedEntry& entry, const std::string& fault) {
    if (fault.empty()) {
        m_services.notifications.post(notification::statisticsChanged);
        return;
    }
    m_undo = entry;
    tell({Notice::Kind::deleted, "The entry could not be put back, because " + fault + "; Undo tries again."});
    m_noticeTimer.cancel(); // the entry is nowhere else
}

std::string HistoryModel::removeAllTitle() const {
    return removeAllVerb() + "?";
}

std::string HistoryModel::removeAllText() const {
    const std::string text = "Their texts are removed from this computer for good. The numbers of your dashboard stay.";
    return m_services.store.hasServerView()
               ? text + " So does the beginning of each text that your account's service was told of."
               : text;
}

std::string HistoryModel::removeAllVerb() const {
    return "Delete " + std::to_string(entryCount()) + (entryCount() == 1 ? " Entry" : " Entries");
}

void HistoryModel::removeAll() {
    inBackground([&store = m_services.store] { return store.removeAllEntries(); },
                 [this, count = entryCount()](const std::string& fault) { finishRemovingAll(count, fault); });
}

void HistoryModel::finishRemovingAll(std::size_t count, const std::string& fault) {
    if (!fault.empty()) {
        tell({Notice::Kind::error, "Nothing was deleted, because " + fault + "."});
        return;
    }
    m_undo.reset();
    tell({Notice::Kind::good, entriesText(count) + " deleted"});
    m_services.notifications.post(notification::statisticsChanged);
}

std::string HistoryModel::exportName(const std::string& ending) const {
    return "fenlo-history-" + dates::localDay(m_services.clock.wallTime()) + "." + ending;
}

void HistoryModel::exportTo(const std::filesystem::path& file) {
    if (!m_entries || std::exchange(m_isExporting, true))
        return;
    m_changes.tell();
    // The rows hold pointers into the entries, which the worker keeps.
    EntryList chosen;
    for (std::size_t i = 0; i < rowCount(); ++i)
        chosen.push_back(&m_rows.entry(i));
    const std::size_t count = chosen.size();
    inBackground([entries = m_rows.entries(), chosen = std::move(chosen), file] { return exportEntries(chosen, file); },
                 [this, file, count](const std::string& fault) { finishExport(file, count, fault); });
}

void HistoryModel::finishExport(const std::filesystem::path& file, std::size_t count, const std::string& fault) {
    m_isExporting = false;
    const std::string name = file.filename().string();
    if (!fault.empty())
        logError("{} could not be written: {}", file.string(), fault);
    if (fault.empty())
        tell({Notice::Kind::good, entriesText(count) + " exported to " + name});
    else
        tell({Notice::Kind::error, name + " could not be written, because " + fault + "; your history is as it was."});
}

std::string HistoryModel::noticeAction() const {
    if (m_notice.kind == Notice::Kind::deleted)
        return "Undo";
    return m_notice.kind == Notice::Kind::error ? "Close" : "";
}

void HistoryModel::answerNotice() {
    if (m_notice.kind == Notice::Kind::deleted)
        undo();
    else
        tell({});
}

void HistoryModel::tell(Notice notice) {
    if (!m_isOpen)
        return;
    if (notice.kind != Notice::Kind::deleted)
        m_undo.reset();
    m_notice = std::move(notice);
    const bool isPassing = m_notice.kind == Notice::Kind::good || m_notice.kind == Notice::Kind::deleted;
    m_noticeTimer = isPassing ? m_services.queue.postAfter(noticeFor, [this] { tell({}); }) : Timer();
    m_changes.tell();
}

} // namespace fenlo
