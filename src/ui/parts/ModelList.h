#pragma once

#include "shell/home/OfflineModels.h"

#include <QAbstractListModel>
#include <QtQml/qqmlregistration.h>
#include <vector>

namespace fenlo {

/// The on-device models for a screen.
///
/// Threads: main thread. The model outlives it.
class ModelList final : public QAbstractListModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("given to the window")
    Q_PROPERTY(bool isLoading READ isLoading NOTIFY changed)
    Q_PROPERTY(bool isBusy READ isBusy NOTIFY changed)
    Q_PROPERTY(QString note READ note NOTIFY changed)
    Q_PROPERTY(QString noteKind READ noteKind NOTIFY changed)

public:
    explicit ModelList(OfflineModels& model);

    bool isLoading() const { return m_model.state() == OfflineModels::State::loading; }
    bool isBusy() const { return m_model.isBusy(); }
    QString note() const;
    QString noteKind() const;

    Q_INVOKABLE void refresh() { m_model.refresh(); }
    Q_INVOKABLE void download(const QString& name) { m_model.download(name.toStdString()); }
    Q_INVOKABLE void measure(const QString& name) { m_model.measure(name.toStdString()); }
    Q_INVOKABLE void remove(const QString& name) { m_model.remove(name.toStdString()); }
    Q_INVOKABLE void cancel() { m_model.cancel(); }

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

Q_SIGNALS:
    void changed();

private:
    enum Role { name = Qt::UserRole + 1, label, status, verb, isInstalled, hasJob, fraction, rowNote, rowNoteKind };

    void follow();

    OfflineModels& m_model;
    std::vector<OfflineModelRow> m_rows; // as the screen knows them
    Changes::Watch m_watch;
};

} // namespace fenlo
