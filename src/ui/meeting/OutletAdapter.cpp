#include "ui/meeting/OutletAdapter.h"

#include "ui/parts/SaveDialog.h"

namespace fenlo {

void OutletAdapter::follow(MeetingOutlet* outlet) {
    m_outlet = outlet;
    QStringList recipients;
    if (outlet)
        for (const std::string& address : outlet->additionalRecipients())
            recipients.append(QString::fromStdString(address));
    if (recipients != m_recipients) {
        m_recipients = recipients;
        Q_EMIT listed();
    }
    Q_EMIT changed();
}

QString OutletAdapter::emailStatus() const {
    return m_outlet ? QString::fromStdString(emailStatusText(m_outlet->emailStatus())) : QString();
}

QString OutletAdapter::primaryRecipient() const {
    return m_outlet ? QString::fromStdString(m_outlet->primaryRecipient()) : QString();
}

QString OutletAdapter::recipientsText() const {
    return m_outlet ? QString::fromStdString(m_outlet->recipientsText()) : QString();
}

void OutletAdapter::setShowRecipients(bool show) {
    if (m_outlet)
        m_outlet->setShowRecipients(show);
}

QString OutletAdapter::newRecipient() const {
    return m_outlet ? QString::fromStdString(m_outlet->newRecipient()) : QString();
}

void OutletAdapter::setNewRecipient(const QString& typed) {
    if (m_outlet)
        m_outlet->setNewRecipient(typed.toStdString());
}

void OutletAdapter::email() {
    if (m_outlet)
        m_outlet->email();
}

void OutletAdapter::addRecipient() {
    if (m_outlet)
        m_outlet->addRecipient();
}

void OutletAdapter::removeRecipient(const QString& address) {
    if (m_outlet)
        m_outlet->removeRecipient(address.toStdString());
}

void OutletAdapter::exportMeeting(QWindow* above) {
    if (m_outlet)
        askWhereToSave({"Export the Meeting", "Markdown (*.md)", "md", "meeting_notes.md"}, above, this,
                       m_outlet->exporter());
}

} // namespace fenlo
