#pragma once

#include "shell/home/DashboardModel.h"

#include <QObject>
#include <QString>
#include <QVariantList>
#include <QtQml/qqmlregistration.h>

namespace fenlo {

/// The numbers and pictures of the dashboard.
class DashboardAdapter final : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("given to the home window")
    Q_PROPERTY(bool loading READ loading NOTIFY changed)
    Q_PROPERTY(bool empty READ empty NOTIFY changed)
    Q_PROPERTY(QVariantList today READ today NOTIFY changed)     // of value, label, spoken
    Q_PROPERTY(QVariantList allTime READ allTime NOTIFY changed) // the same
    Q_PROPERTY(QVariantList days READ days NOTIFY changed)       // of height, label, detail, isToday
    Q_PROPERTY(QString daysSentence READ daysSentence NOTIFY changed)
    Q_PROPERTY(QString daysHighest READ daysHighest NOTIFY changed)
    Q_PROPERTY(QVariantList hours READ hours NOTIFY changed)
    Q_PROPERTY(QString hoursSentence READ hoursSentence NOTIFY changed)
    Q_PROPERTY(QString hoursHighest READ hoursHighest NOTIFY changed)

public:
    explicit DashboardAdapter(DashboardModel& model);
    ~DashboardAdapter() override;

    bool loading() const { return m_model.state() == DashboardModel::State::loading; }
    bool empty() const { return m_model.state() == DashboardModel::State::empty; }
    QVariantList today() const;
    QVariantList allTime() const;
    QVariantList days() const;
    QString daysSentence() const;
    QString daysHighest() const;
    QVariantList hours() const;
    QString hoursSentence() const;
    QString hoursHighest() const;

    Q_INVOKABLE void open() { m_model.open(); }
    Q_INVOKABLE void close() { m_model.close(); }

Q_SIGNALS:
    void changed();

private:
    DashboardModel& m_model;
    Changes::Watch m_watch;
};

} // namespace fenlo
