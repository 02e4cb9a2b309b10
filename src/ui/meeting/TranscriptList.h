#pragma once

#include "meeting/TranscriptRows.h"

#include <QAbstractListModel>
#include <QtQml/qqmlregistration.h>

namespace fenlo {

/// A transcript's rows for a list.
class TranscriptList : public QAbstractListModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("given to the home window")
    Q_PROPERTY(int count READ count NOTIFY counted)

public:
    TranscriptList() = default;
    ~TranscriptList() override;

    /// Shows these rows, which outlive the list or are taken from it before; null for none.
    void show(TranscriptRows* rows);

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;
    int count() const { return m_count; }

Q_SIGNALS:
    void counted();

private:
    void follow(const TranscriptRows::Edit& edit);

    TranscriptRows* m_rows = nullptr;
    int m_count = 0; // rows that the list knows of
};

} // namespace fenlo
