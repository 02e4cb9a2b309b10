#include "ui/parts/ServiceKeyList.h"

#include "ui/parts/NoteText.h"

namespace fenlo {

ServiceKeyList::ServiceKeyList(ServiceKeysModel& model)
    : m_model(model), m_watch(model.watch([this] { Q_EMIT dataChanged(index(0), index(rowCount() - 1)); })) {}

bool ServiceKeyList::enter(int row, const QString& typed) {
    return checkIndex(index(row)) &&
           m_model.enter(m_model.rows()[static_cast<std::size_t>(row)].service, typed.toStdString());
}

void ServiceKeyList::test(int row) {
    if (checkIndex(index(row)))
        m_model.test(m_model.rows()[static_cast<std::size_t>(row)].service);
}

void ServiceKeyList::remove(int row) {
    if (checkIndex(index(row)))
        m_model.remove(m_model.rows()[static_cast<std::size_t>(row)].service);
}

int ServiceKeyList::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(m_model.rows().size());
}

QVariant ServiceKeyList::data(const QModelIndex& index, int role) const {
    if (!checkIndex(index, CheckIndexOption::IndexIsValid))
        return {};
    const ServiceKeyRow& row = m_model.rows()[static_cast<std::size_t>(index.row())];
    switch (role) {
    case label:
        return QString::fromStdString(row.label);
    case hint:
        return QString::fromStdString(row.hint());
    case status:
        return QString::fromStdString(row.status());
    case hasKey:
        return row.hasKey();
    case canRemove:
        return row.canRemove();
    case isBusy:
        return row.work != ServiceKeyRow::Work::none;
    case note:
        return textOf(row.note);
    case noteKind:
        return kindOf(row.note);
    default:
        return {};
    }
}

QHash<int, QByteArray> ServiceKeyList::roleNames() const {
    return {{label, "label"},         {hint, "hint"},     {status, "status"}, {hasKey, "hasKey"},
            {canRemove, "canRemove"}, {isBusy, "isBusy"}, {note, "note"},     {noteKind, "noteKind"}};
}

} // namespace fenlo
