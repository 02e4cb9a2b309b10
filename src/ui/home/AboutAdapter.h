#pragma once

#include "shell/home/AboutModel.h"

#include <QObject>
#include <QString>
#include <QVariantList>
#include <QtQml/qqmlregistration.h>

namespace fenlo {

/// The page "About".
class AboutAdapter final : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("given to the home window")
    Q_PROPERTY(QString version READ version CONSTANT)
    Q_PROPERTY(QString system READ system CONSTANT)
    Q_PROPERTY(QString logFile READ logFile CONSTANT)
    Q_PROPERTY(QString notices READ notices CONSTANT)          // a file; empty where there is none
    Q_PROPERTY(QVariantList libraries READ libraries CONSTANT) // of name, licence, purpose
    Q_PROPERTY(bool checking READ checking NOTIFY changed)
    Q_PROPERTY(QString summary READ summary NOTIFY changed)
    Q_PROPERTY(QVariantList findings READ findings NOTIFY changed) // of subject, state, kind, finding, remedy
    Q_PROPERTY(bool copied READ copied NOTIFY changed)

public:
    explicit AboutAdapter(AboutModel& model);

    QString version() const;
    QString system() const;
    QString logFile() const;
    QString notices() const;
    static QVariantList libraries();
    bool checking() const { return m_model.check() == AboutModel::Check::running; }
    QString summary() const;
    QVariantList findings() const;
    bool copied() const { return m_model.isCopied(); }

    Q_INVOKABLE void examine() { m_model.examine(); }
    Q_INVOKABLE void copyReport() { m_model.copyReport(); }
    Q_INVOKABLE void showLog() { m_model.showLog(); }
    Q_INVOKABLE void showNotices() { m_model.showNotices(); }

Q_SIGNALS:
    void changed();

private:
    AboutModel& m_model;
    Changes::Watch m_watch;
};

} // namespace fenlo
