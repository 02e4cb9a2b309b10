#pragma once

#include "base/Changes.h"
#include "shell/home/SnippetsModel.h"

#include <QAbstractListModel>
#include <QtQml/qqmlregistration.h>
#include <vector>

namespace fenlo {

/// The table of snippets for the screen. Rows that stay keep their place and the keyboard.
///
/// Threads: main thread. The model outlives it.
class SnippetList final : public QAbstractListModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("given by the home window")
    Q_PROPERTY(bool isEmpty READ isEmpty NOTIFY changed)
    Q_PROPERTY(QString faultLine READ faultLine NOTIFY changed)
    Q_PROPERTY(QString removedLine READ removedLine NOTIFY changed)

public:
    explicit SnippetList(SnippetsModel& model);

    Q_INVOKABLE int add();
    Q_INVOKABLE void setTrigger(int row, const QString& trigger);
    Q_INVOKABLE void setText(int row, const QString& text);
    Q_INVOKABLE void remove(int row);
    Q_INVOKABLE void undoRemove() { m_model.undoRemove(); }

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    bool isEmpty() const { return m_rows.empty(); }
    QString faultLine() const { return QString::fromStdString(m_model.faultLine()); }
    QString removedLine() const { return QString::fromStdString(m_model.removedLine()); }

Q_SIGNALS:
    void changed();

private:
    enum Role { trigger = Qt::UserRole + 1, entryText, problem };
    using Rows = std::vector<SnippetsModel::Row>;

    void follow();
    void follow(Rows rows);

    SnippetsModel& m_model;
    Rows m_rows; // as the screen knows them
    Changes::Watch m_watch;
};

} // namespace fenlo
