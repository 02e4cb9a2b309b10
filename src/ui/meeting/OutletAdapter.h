#pragma once

#include "meeting/MeetingOutlet.h"

#include <QObject>
#include <QStringList>
#include <QWindow>
#include <QtQml/qqmlregistration.h>

namespace fenlo {

/// Mail and export of the meeting that is shown, if one is.
class OutletAdapter final : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("given to the home window")
    Q_PROPERTY(QString emailStatus READ emailStatus NOTIFY changed)
    Q_PROPERTY(bool isSending READ isSending NOTIFY changed)
    Q_PROPERTY(QString primaryRecipient READ primaryRecipient NOTIFY changed)
    Q_PROPERTY(QString recipientsText READ recipientsText NOTIFY changed)
    Q_PROPERTY(QStringList recipients READ recipients NOTIFY listed)
    Q_PROPERTY(bool showRecipients READ showRecipients WRITE setShowRecipients NOTIFY changed)
    Q_PROPERTY(QString newRecipient READ newRecipient WRITE setNewRecipient NOTIFY changed)

public:
    explicit OutletAdapter(MeetingOutlet* outlet) : m_outlet(outlet) {}

    /// The outlet has changed, or is another one; null for none.
    void follow(MeetingOutlet* outlet);

    QString emailStatus() const;
    bool isSending() const { return m_outlet && m_outlet->emailStatus() == EmailStatus::sending; }
    QString primaryRecipient() const;
    QString recipientsText() const;
    QStringList recipients() const { return m_recipients; }
    bool showRecipients() const { return m_outlet && m_outlet->showRecipients(); }
    void setShowRecipients(bool show);
    QString newRecipient() const;
    void setNewRecipient(const QString& typed);

    Q_INVOKABLE void email();
    Q_INVOKABLE void addRecipient();
    Q_INVOKABLE void removeRecipient(const QString& address);
    Q_INVOKABLE void exportMeeting(QWindow* above);

Q_SIGNALS:
    void changed();
    void listed(); // what repeaters make rows of

private:
    MeetingOutlet* m_outlet = nullptr;
    QStringList m_recipients;
};

} // namespace fenlo
