#include "meeting/MeetingOutlet.h"

#include "meeting/MeetingExport.h"
#include "meeting/Recipients.h"

#include <utility>

namespace fenlo {

void MeetingOutlet::reset() {
    m_emailStatus = EmailStatus::idle;
    m_showRecipients = false;
    m_newRecipient.clear();
    m_notice = {};
    m_shown = std::make_shared<const bool>(true);
}

void MeetingOutlet::email() {
    if (m_emailStatus == EmailStatus::sending)
        return;
    m_emailStatus = EmailStatus::sending;
    tell({});
    m_services.sendMail([this, shown = std::weak_ptr(m_shown)](const MailOutcome& outcome) {
        if (!shown.expired())
            finishEmail(outcome);
    });
}

void MeetingOutlet::finishEmail(const MailOutcome& outcome) {
    m_emailStatus = statusOf(outcome);
    tell(noticeOf(outcome));
}

std::string MeetingOutlet::recipientsText() const {
    return fenlo::recipientsText(primaryRecipient(), additionalRecipients().size());
}

void MeetingOutlet::setShowRecipients(bool show) {
    m_showRecipients = show;
    m_services.changed();
}

void MeetingOutlet::addRecipient() {
    const auto address = addressToAdd(m_newRecipient, additionalRecipients(), primaryRecipient());
    if (!address)
        return;
    m_services.additionalRecipients.push_back(*address);
    m_newRecipient.clear();
    m_emailStatus = m_emailStatus == EmailStatus::sending ? EmailStatus::sending : EmailStatus::idle;
    m_services.changed();
}

void MeetingOutlet::removeRecipient(const std::string& address) {
    std::erase(m_services.additionalRecipients, address);
    m_services.changed();
}

MeetingOutlet::Exporter MeetingOutlet::exporter() {
    return [this, shown = std::weak_ptr(m_shown), before = m_services.text(), &background = m_services.background,
            &mainQueue = m_services.mainQueue](const std::filesystem::path& file) {
        const std::string text = shown.expired() ? before : m_services.text();
        exportMeeting(text, file, background, mainQueue, [this, shown](MeetingNotice outcome) {
            if (!shown.expired())
                tell(std::move(outcome));
        });
    };
}

void MeetingOutlet::tell(MeetingNotice notice) {
    m_notice = std::move(notice);
    m_services.changed();
}

} // namespace fenlo
