#pragma once

#include "shell/home/HistoryModel.h"

#include <QAbstractListModel>
#include <QString>
#include <QWindow>
#include <QtQml/qqmlregistration.h>

namespace fenlo {

/// The history's rows for a list, and what stands around it.
class HistoryList final : public QAbstractListModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("given to the home window")
    Q_PROPERTY(State state READ state NOTIFY changed)
    Q_PROPERTY(int arrivals READ arrivals NOTIFY arrived) // how often rows came above all others
    Q_PROPERTY(bool slow READ slow NOTIFY changed)
    Q_PROPERTY(QString countText READ countText NOTIFY changed)
    Q_PROPERTY(QString emptyTitle READ emptyTitle NOTIFY changed)
    Q_PROPERTY(QString emptyText READ emptyText NOTIFY changed)
    Q_PROPERTY(QString query READ query WRITE setQuery NOTIFY changed)
    Q_PROPERTY(bool exporting READ exporting NOTIFY changed)
    Q_PROPERTY(QString noticeKind READ noticeKind NOTIFY changed)
    Q_PROPERTY(QString noticeText READ noticeText NOTIFY changed)
    Q_PROPERTY(QString noticeAction READ noticeAction NOTIFY changed)
    Q_PROPERTY(QString deleteAllTitle READ deleteAllTitle NOTIFY changed)
    Q_PROPERTY(QString deleteAllText READ deleteAllText NOTIFY changed)
    Q_PROPERTY(QString deleteAllVerb READ deleteAllVerb NOTIFY changed)

public:
    enum class State { Loading, Empty, NoMatch, Failed, Ready };
    Q_ENUM(State)

    explicit HistoryList(HistoryModel& model);
    ~HistoryList() override;

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    State state() const;
    int arrivals() const { return m_arrivals; }
    bool slow() const { return m_model.isSlow(); }
    QString countText() const;
    QString emptyTitle() const;
    QString emptyText() const;
    QString query() const;
    void setQuery(const QString& query);
    bool exporting() const { return m_model.isExporting(); }
    QString noticeKind() const;
    QString noticeText() const;
    QString noticeAction() const;
    QString deleteAllTitle() const;
    QString deleteAllText() const;
    QString deleteAllVerb() const;

    Q_INVOKABLE void open() { m_model.open(); }
    Q_INVOKABLE void close() { m_model.close(); }
    Q_INVOKABLE void copy(int row);
    Q_INVOKABLE void toggle(int row);
    Q_INVOKABLE void remove(int row);
    Q_INVOKABLE void removeAll() { m_model.removeAll(); }
    /// What the notice's button does: undo, or go away.
    Q_INVOKABLE void answerNotice();
    /// Asks for a file of this ending ("csv"), and writes it.
    Q_INVOKABLE void exportAs(const QString& ending, QWindow* above);

Q_SIGNALS:
    void changed();
    void arrived();

private:
    void follow(const HistoryModel::RowEdit& edit);
    bool has(int row) const { return row >= 0 && row < m_count; }

    HistoryModel& m_model;
    int m_count = 0; // rows that the list knows of
    int m_arrivals = 0;
    Changes::Watch m_watch;
};

} // namespace fenlo
