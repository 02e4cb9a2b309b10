#include "ui/meeting/PastMeetingList.h"

#include "meeting/MeetingWords.h"

#include <algorithm>
#include <utility>

namespace fenlo {

namespace {

enum MeetingRole { meetingId = Qt::UserRole + 1, title, details, snippet };

} // namespace

PastMeetingList::PastMeetingList(MeetingModeController& controller, Choice choice)
    : m_controller(controller), m_choice(std::move(choice)), m_rows(chosen()),
      m_watch(controller.watchArchive([this] { follow(); })) {}

std::vector<PastMeetingList::Row> PastMeetingList::chosen() const {
    std::vector<Row> rows;
    for (const PastMeeting* meeting : m_choice()) {
        rows.push_back({QString::fromStdString(meeting->id), QString::fromStdString(meetingTitle(*meeting)),
                        QString::fromStdString(meetingTime(*meeting)),
                        QString::fromStdString(m_controller.searchSnippet(*meeting).value_or(""))});
    }
    return rows;
}

/// What lies between the rows that are equal at both ends is what came and went.
void PastMeetingList::follow() {
    std::vector<Row> rows = chosen();
    const auto head = std::ranges::mismatch(rows, m_rows).in1 - rows.begin();
    const auto most = std::min(rows.size(), m_rows.size()) - static_cast<std::size_t>(head);
    std::size_t tail = 0;
    while (tail < most && rows[rows.size() - 1 - tail] == m_rows[m_rows.size() - 1 - tail])
        ++tail;
    const auto goneEnd = static_cast<int>(m_rows.size() - tail);
    const auto newEnd = static_cast<int>(rows.size() - tail);
    if (const auto first = static_cast<int>(head); goneEnd > first) {
        beginRemoveRows({}, first, goneEnd - 1);
        m_rows.erase(m_rows.begin() + head, m_rows.begin() + goneEnd);
        endRemoveRows();
    }
    if (const auto first = static_cast<int>(head); newEnd > first) {
        beginInsertRows({}, first, newEnd - 1);
        m_rows = std::move(rows);
        endInsertRows();
    }
    Q_EMIT counted();
}

int PastMeetingList::rowOf(const QString& id) const {
    const auto found = std::ranges::find(m_rows, id, &Row::id);
    return found == m_rows.end() ? -1 : static_cast<int>(found - m_rows.begin());
}

int PastMeetingList::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : count();
}

QVariant PastMeetingList::data(const QModelIndex& index, int role) const {
    if (!checkIndex(index, CheckIndexOption::IndexIsValid))
        return {};
    const Row& row = m_rows[static_cast<std::size_t>(index.row())];
    switch (role) {
    case meetingId:
        return row.id;
    case title:
        return row.title;
    case details:
        return row.details;
    case snippet:
        return row.snippet;
    default:
        return {};
    }
}

QHash<int, QByteArray> PastMeetingList::roleNames() const {
    return {{meetingId, "meetingId"}, {title, "title"}, {details, "details"}, {snippet, "snippet"}};
}

} // namespace fenlo
