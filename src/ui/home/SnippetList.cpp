#include "ui/home/SnippetList.h"

#include <algorithm>
#include <utility>

namespace fenlo {

SnippetList::SnippetList(SnippetsModel& model) : m_model(model), m_watch(model.watch([this] { follow(); })) {
    m_model.reload(); // users edit the file by hand too
}

int SnippetList::add() {
    return int(m_model.addRow());
}

void SnippetList::setTrigger(int row, const QString& words) {
    m_model.setTrigger(std::size_t(row), words.toStdString());
    const QModelIndex place = index(row);
    Q_EMIT dataChanged(place, place, {trigger}); // the field may show other capitals than the row has
}

void SnippetList::setText(int row, const QString& text) {
    m_model.setText(std::size_t(row), text.toStdString());
}

void SnippetList::remove(int row) {
    m_model.removeRow(std::size_t(row));
}

int SnippetList::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : int(m_rows.size());
}

QVariant SnippetList::data(const QModelIndex& index, int role) const {
    if (!checkIndex(index, CheckIndexOption::IndexIsValid))
        return {};
    const SnippetsModel::Row& row = m_rows[std::size_t(index.row())];
    switch (role) {
    case trigger:
        return QString::fromStdString(row.trigger);
    case entryText:
        return QString::fromStdString(row.text);
    case problem:
        return QString::fromStdString(row.problem);
    default:
        return {};
    }
}

QHash<int, QByteArray> SnippetList::roleNames() const {
    return {{trigger, "trigger"}, {entryText, "entryText"}, {problem, "problem"}};
}

void SnippetList::follow() {
    follow(m_model.rows());
    Q_EMIT changed();
}

/// What lies between the rows that are equal at both ends is what came or went.
void SnippetList::follow(Rows rows) {
    const auto most = std::min(rows.size(), m_rows.size());
    const auto isSame = [](const auto& one, const auto& other) {
        return one.trigger == other.trigger && one.text == other.text;
    };
    std::size_t head = 0;
    while (head < most && isSame(rows[head], m_rows[head]))
        ++head;
    if (rows.size() < m_rows.size()) {
        const auto gone = m_rows.size() - rows.size();
        beginRemoveRows({}, int(head), int(head + gone) - 1);
        m_rows.erase(m_rows.begin() + std::ptrdiff_t(head), m_rows.begin() + std::ptrdiff_t(head + gone));
        endRemoveRows();
    } else if (rows.size() > m_rows.size()) {
        const auto came = rows.size() - m_rows.size();
        beginInsertRows({}, int(head), int(head + came) - 1);
        m_rows.insert(m_rows.begin() + std::ptrdiff_t(head), came, {});
        endInsertRows();
    }
    m_rows = std::move(rows);
    if (!m_rows.empty())
        Q_EMIT dataChanged(index(0), index(int(m_rows.size()) - 1));
}

} // namespace fenlo
