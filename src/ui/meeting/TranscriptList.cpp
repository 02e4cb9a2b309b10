#include "ui/meeting/TranscriptList.h"

#include <QString>
#include <utility>

namespace fenlo {

namespace {

enum SegmentRole { initial = Qt::UserRole + 1, hue, speaker, time, words, isStarred, isFault, isEditing };

} // namespace

TranscriptList::~TranscriptList() {
    if (m_rows)
        m_rows->setOnEdit({});
}

void TranscriptList::show(TranscriptRows* rows) {
    if (rows == m_rows)
        return;
    if (m_rows)
        m_rows->setOnEdit({});
    beginResetModel();
    m_rows = rows;
    m_count = rows ? static_cast<int>(rows->rows().size()) : 0;
    endResetModel();
    if (rows)
        rows->setOnEdit([this](const TranscriptRows::Edit& edit) { follow(edit); });
    Q_EMIT counted();
}

/// The rows are as they are after the edit; the list learns of them one edit at a time.
void TranscriptList::follow(const TranscriptRows::Edit& edit) {
    const auto first = static_cast<int>(edit.first);
    const auto count = static_cast<int>(edit.count);
    switch (edit.kind) {
    case TranscriptRows::Edit::Kind::inserted:
        beginInsertRows({}, first, first + count - 1);
        m_count += count;
        endInsertRows();
        break;
    case TranscriptRows::Edit::Kind::updated:
        Q_EMIT dataChanged(index(first), index(first + count - 1), {speaker, isStarred, isEditing});
        return;
    case TranscriptRows::Edit::Kind::reset:
        beginResetModel();
        m_count = count;
        endResetModel();
        break;
    }
    Q_EMIT counted();
}

int TranscriptList::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : m_count;
}

QVariant TranscriptList::data(const QModelIndex& index, int role) const {
    if (!checkIndex(index, CheckIndexOption::IndexIsValid))
        return {};
    const TranscriptRows::Row& row = m_rows->rows()[static_cast<std::size_t>(index.row())];
    switch (role) {
    case initial:
        return QString::fromStdString(row.initial);
    case hue:
        return row.hue;
    case speaker:
        return QString::fromStdString(row.speaker);
    case time:
        return QString::fromStdString(row.time);
    case words:
        return QString::fromStdString(row.text);
    case isStarred:
        return row.isStarred;
    case isFault:
        return row.isFault;
    case isEditing:
        return row.isEditing;
    default:
        return {};
    }
}

QHash<int, QByteArray> TranscriptList::roleNames() const {
    return {{initial, "initial"},     {hue, "hue"},         {speaker, "speaker"},    {time, "time"}, {words, "words"},
            {isStarred, "isStarred"}, {isFault, "isFault"}, {isEditing, "isEditing"}};
}

} // namespace fenlo
