#include "shell/home/SnippetsModel.h"

#include "text/SpokenKey.h"

#include <algorithm>
#include <utility>

namespace fenlo {

SnippetsModel::SnippetsModel(std::filesystem::path file, const Clock& clock) : m_file(std::move(file)), m_clock(clock) {
    reload();
}

void SnippetsModel::reload() {
    StoredSnippets stored = readSnippets(m_file);
    m_fault = stored.fault;
    std::vector<Entry> typed;
    for (Entry& entry : m_entries)
        if (entry.stored != entry.shown)
            typed.push_back(std::move(entry));
    m_entries.clear();
    for (Snippet& snippet : stored.snippets)
        m_entries.push_back({snippet, snippet});
    for (Entry& entry : typed) {
        const auto inFile = std::ranges::find(m_entries, entry.stored, &Entry::stored);
        if (entry.stored && inFile != m_entries.end())
            inFile->shown = std::move(entry.shown);
        else
            m_entries.push_back({std::move(entry.shown), {}});
    }
    tell();
}

SnippetsModel::State SnippetsModel::state() const {
    switch (m_fault) {
    case StoredSnippets::Fault::damaged:
        return State::damaged;
    case StoredSnippets::Fault::unreadable:
        return State::unreadable;
    case StoredSnippets::Fault::none:
        break;
    }
    return m_rows.empty() ? State::empty : State::ready;
}

std::string SnippetsModel::faultLine() const {
    const std::string file = m_file.string();
    if (m_fault == StoredSnippets::Fault::damaged)
        return file + " does not have the form of snippets, so none of them work. It is kept under another name before "
                      "anything is written.";
    if (m_fault == StoredSnippets::Fault::unreadable)
        return file + " may not be read. Nothing in it is changed, and nothing new can be kept.";
    return m_isWritten
               ? ""
               : "The snippets could not be written to " + file + ". What you typed stays here until Fenlo ends.";
}

std::size_t SnippetsModel::addRow() {
    const auto isBlank = [](const Row& row) { return row.trigger.empty() && row.text.empty(); };
    if (const auto blank = std::ranges::find_if(m_rows, isBlank); blank != m_rows.end())
        return std::size_t(blank - m_rows.begin());
    m_entries.push_back({Snippet{"", "", {}}, {}});
    tell();
    return m_entries.size() - 1;
}

void SnippetsModel::setTrigger(std::size_t row, const std::string& trigger) {
    if (row >= m_entries.size())
        return;
    Entry& entry = m_entries[row];
    const std::string key = spokenKey(trigger);
    if (!key.empty() && entry.shown.trigger != key) {
        entry.shown.trigger = key;
        save(row);
    } else {
        tell(); // what the user sees may differ in capitals and blanks
    }
}

void SnippetsModel::setText(std::size_t row, const std::string& text) {
    if (row >= m_entries.size() || m_entries[row].shown.text == text)
        return;
    m_entries[row].shown.text = text;
    save(row);
}

void SnippetsModel::removeRow(std::size_t row) {
    if (row >= m_entries.size())
        return;
    const Entry entry = m_entries[row];
    if (entry.stored)
        m_isWritten = replaceStored(entry, nullptr);
    if (m_isWritten || !entry.stored) {
        m_entries.erase(m_entries.begin() + std::ptrdiff_t(row));
        const bool isBlank = entry.shown.trigger.value_or("").empty() && entry.shown.text.value_or("").empty();
        m_removed = isBlank ? std::nullopt : std::optional(entry.shown);
    }
    reload();
}

std::string SnippetsModel::removedLine() const {
    if (!m_removed)
        return {};
    const std::string trigger = m_removed->trigger.value_or("");
    return trigger.empty() ? "The snippet was removed." : "“" + trigger + "” was removed.";
}

void SnippetsModel::undoRemove() {
    if (!m_removed)
        return;
    m_entries.push_back({*std::exchange(m_removed, std::nullopt), {}});
    save(m_entries.size() - 1);
}

void SnippetsModel::save(std::size_t row) {
    Entry& entry = m_entries[row];
    if (!entry.shown.trigger.value_or("").empty() && (m_isWritten = replaceStored(entry, &entry.shown)))
        entry.stored = entry.shown;
    reload();
}

/// In the file as it is now: where the entry is no longer in it, a new one is added.
bool SnippetsModel::replaceStored(const Entry& entry, const Snippet* now) {
    return changeSnippets(m_file, m_clock, [&](std::vector<Snippet>& snippets) {
        const auto found = entry.stored ? std::ranges::find(snippets, *entry.stored) : snippets.end();
        if (found == snippets.end()) {
            if (now)
                snippets.push_back(*now);
        } else if (now) {
            *found = *now;
        } else {
            snippets.erase(found);
        }
    });
}

std::string SnippetsModel::problemOf(std::size_t row) const {
    const Snippet& snippet = m_entries[row].shown;
    const std::string trigger = snippet.trigger.value_or("");
    if (trigger.empty())
        return snippet.text.value_or("").empty() ? "" : "Give it words to say. Until then it is not kept.";
    if (trigger != spokenKey(trigger))
        return "This is never heard: triggers are in lower case, without a full stop at the end.";
    const auto isSame = [&](const Entry& entry) { return entry.shown.trigger == trigger; };
    const auto here = m_entries.begin() + std::ptrdiff_t(row);
    if (std::find_if(m_entries.begin(), here, isSame) != here)
        return "The same words stand further up, and only that text is inserted.";
    return snippet.text.value_or("").empty() ? "There is no text to insert yet." : "";
}

void SnippetsModel::tell() {
    m_rows.clear();
    for (std::size_t row = 0; row < m_entries.size(); ++row) {
        const Snippet& snippet = m_entries[row].shown;
        m_rows.push_back({snippet.trigger.value_or(""), snippet.text.value_or(""), problemOf(row)});
    }
    m_changes.tell();
}

} // namespace fenlo
