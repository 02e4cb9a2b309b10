#pragma once

#include "shell/home/AccountModel.h"

#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>

namespace fenlo {

/// The page "Account".
class AccountAdapter final : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("given to the home window")
    Q_PROPERTY(bool isOffered READ isOffered CONSTANT)
    Q_PROPERTY(QString title READ title NOTIFY changed)
    Q_PROPERTY(QString hint READ hint NOTIFY changed)
    Q_PROPERTY(bool canSignIn READ canSignIn NOTIFY changed)
    Q_PROPERTY(bool canSignOut READ canSignOut NOTIFY changed)
    Q_PROPERTY(bool isSigningOut READ isSigningOut NOTIFY changed)
    Q_PROPERTY(bool canLookAgain READ canLookAgain NOTIFY changed)
    Q_PROPERTY(QString questionTitle READ questionTitle CONSTANT)
    Q_PROPERTY(QString questionText READ questionText CONSTANT)

public:
    explicit AccountAdapter(AccountModel& model);

    bool isOffered() const { return m_model.isOffered(); }
    QString title() const { return QString::fromStdString(m_model.title()); }
    QString hint() const { return QString::fromStdString(m_model.hint()); }
    bool canSignIn() const { return m_model.state() == AccountModel::State::nobody || canLookAgain(); }
    bool canSignOut() const { return m_model.state() == AccountModel::State::user; }
    bool isSigningOut() const { return m_model.isSigningOut(); }
    bool canLookAgain() const { return m_model.state() == AccountModel::State::keyringSilent; }
    static QString questionTitle() { return QString::fromStdString(AccountModel::questionTitle()); }
    static QString questionText() { return QString::fromStdString(AccountModel::questionText()); }

    Q_INVOKABLE void refresh() { m_model.refresh(); }
    Q_INVOKABLE void lookAgain() { m_model.lookAgain(); }
    Q_INVOKABLE void signIn() { m_model.signIn(); }
    Q_INVOKABLE void signOut() { m_model.signOut(); }

Q_SIGNALS:
    void changed();

private:
    AccountModel& m_model;
    Changes::Watch m_watch;
};

} // namespace fenlo
