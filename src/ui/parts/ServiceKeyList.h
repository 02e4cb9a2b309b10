#pragma once

#include "shell/home/ServiceKeysModel.h"

#include <QAbstractListModel>
#include <QtQml/qqmlregistration.h>

namespace fenlo {

/// The services with their keys for a screen. Keys go in and never come out.
///
/// Threads: main thread. The model outlives it.
class ServiceKeyList final : public QAbstractListModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("given to the window")

public:
    explicit ServiceKeyList(ServiceKeysModel& model);

    Q_INVOKABLE void refresh() { m_model.refresh(); }
    /// False when it was not taken; the field then keeps it.
    Q_INVOKABLE bool enter(int row, const QString& typed);
    Q_INVOKABLE void test(int row);
    Q_INVOKABLE void remove(int row);

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

private:
    enum Role { label = Qt::UserRole + 1, hint, status, hasKey, canRemove, isBusy, note, noteKind };

    ServiceKeysModel& m_model;
    Changes::Watch m_watch;
};

} // namespace fenlo
