#include "ui/parts/ModelList.h"

#include "ui/parts/NoteText.h"

#include <algorithm>

namespace fenlo {

ModelList::ModelList(OfflineModels& model)
    : m_model(model), m_rows(model.rows()), m_watch(model.watch([this] { follow(); })) {}

/// Most changes are in the rows; only another list of models is a new one to the screen.
void ModelList::follow() {
    const auto& rows = m_model.rows();
    if (std::ranges::equal(rows, m_rows, {}, &OfflineModelRow::name, &OfflineModelRow::name)) {
        m_rows = rows;
        if (!m_rows.empty())
            Q_EMIT dataChanged(index(0), index(rowCount() - 1));
    } else {
        beginResetModel();
        m_rows = rows;
        endResetModel();
    }
    Q_EMIT changed();
}

QString ModelList::note() const {
    return textOf(m_model.note());
}

QString ModelList::noteKind() const {
    return kindOf(m_model.note());
}

int ModelList::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(m_rows.size());
}

QVariant ModelList::data(const QModelIndex& index, int role) const {
    if (!checkIndex(index, CheckIndexOption::IndexIsValid))
        return {};
    const OfflineModelRow& row = m_rows[static_cast<std::size_t>(index.row())];
    switch (role) {
    case name:
        return QString::fromStdString(row.name);
    case label:
        return QString::fromStdString(row.label);
    case status:
        return QString::fromStdString(row.status());
    case verb:
        return QString::fromStdString(row.downloadVerb());
    case isInstalled:
        return row.isInstalled;
    case hasJob:
        return row.job != OfflineModelRow::Job::none;
    case fraction:
        return row.fraction();
    case rowNote:
        return textOf(row.note);
    case rowNoteKind:
        return kindOf(row.note);
    default:
        return {};
    }
}

QHash<int, QByteArray> ModelList::roleNames() const {
    return {{name, "name"},
            {label, "label"},
            {status, "status"},
            {verb, "verb"},
            {isInstalled, "isInstalled"},
            {hasJob, "hasJob"},
            {fraction, "fraction"},
            {rowNote, "rowNote"},
            {rowNoteKind, "rowNoteKind"}};
}

} // namespace fenlo
