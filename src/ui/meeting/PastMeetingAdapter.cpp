#include "ui/meeting/PastMeetingAdapter.h"

#include "ui/meeting/MarkdownDialog.h"

#include <tuple>

namespace fenlo {

namespace {

QString pastText(const std::string& text) {
    return QString::fromStdString(text);
}

} // namespace

QStringList shownTexts(const std::vector<std::string>& texts) {
    QStringList all;
    for (const std::string& text : texts)
        all.append(pastText(text));
    return all;
}

QVariantList shownSections(const std::vector<NotesSection>& sections) {
    QVariantList all;
    for (const NotesSection& section : sections) {
        all.append(QVariantMap{{"heading", pastText(section.heading)},
                               {"text", pastText(section.text)},
                               {"items", shownTexts(section.items)},
                               {"isToDo", section.isToDo}});
    }
    return all;
}

QVariantList shownNotices(const std::vector<MeetingNotice>& notices) {
    static const char* const kinds[] = {"info", "good", "warning", "error"};
    QVariantList all;
    for (const MeetingNotice& notice : notices)
        if (!notice.text.empty())
            all.append(QVariantMap{{"kind", kinds[static_cast<std::size_t>(notice.kind)]},
                                   {"text", pastText(notice.text)},
                                   {"action", pastText(notice.action)}});
    return all;
}

PastMeetingAdapter::PastMeetingAdapter(MeetingTab& tab) : m_tab(tab), m_tabChanged(tab.watch([this] { follow(); })) {
    follow();
}

void PastMeetingAdapter::follow() {
    PastMeetingDetail* const detail = m_tab.selectedPastMeeting();
    if (detail != m_detail) {
        m_detail = detail;
        m_detailChanged = detail ? detail->watch([this] { followLists(); }) : nullptr;
        m_transcript.show(detail ? &detail->transcript() : nullptr);
    }
    followLists();
}

void PastMeetingAdapter::followLists() {
    const QVariantList notices = m_detail ? shownNotices({m_detail->notice()}) : QVariantList();
    const QVariantList notes = m_detail ? shownSections(m_detail->notes()) : QVariantList();
    const QStringList recipients = m_detail ? shownTexts(m_detail->extraRecipients()) : QStringList();
    if (std::tie(notices, notes, recipients) != std::tie(m_notices, m_notes, m_recipients)) {
        m_notices = notices;
        m_notes = notes;
        m_recipients = recipients;
        Q_EMIT listed();
    }
    Q_EMIT changed();
}

QString PastMeetingAdapter::meetingId() const {
    return m_detail ? pastText(m_detail->meeting().id) : QString();
}

QString PastMeetingAdapter::title() const {
    return m_detail ? pastText(m_detail->title()) : QString();
}

QString PastMeetingAdapter::details() const {
    return m_detail ? pastText(m_detail->details()) : QString();
}

QString PastMeetingAdapter::notesTitle() const {
    if (!m_detail || !m_detail->effectiveNotes() || pastText(m_detail->effectiveNotes()->title) == title())
        return {};
    return pastText(m_detail->effectiveNotes()->title);
}

QString PastMeetingAdapter::userNotes() const {
    return m_detail ? pastText(m_detail->meeting().userNotes) : QString();
}

QString PastMeetingAdapter::transcriptTitle() const {
    return m_detail ? pastText(m_detail->transcriptTitle()) : QString();
}

bool PastMeetingAdapter::showTranscript() const {
    return m_detail && m_detail->showTranscript();
}

void PastMeetingAdapter::setShowTranscript(bool show) {
    if (m_detail)
        m_detail->setShowTranscript(show);
}

bool PastMeetingAdapter::isGenerating() const {
    return m_detail && m_detail->isGenerating();
}

bool PastMeetingAdapter::canSummarize() const {
    return m_detail && m_detail->canSummarize();
}

bool PastMeetingAdapter::showSummarizePrompt() const {
    return m_detail && m_detail->showSummarizePrompt();
}

void PastMeetingAdapter::setShowSummarizePrompt(bool show) {
    if (m_detail)
        m_detail->setShowSummarizePrompt(show);
}

QString PastMeetingAdapter::focusInstruction() const {
    return m_detail ? pastText(m_detail->focusInstruction()) : QString();
}

void PastMeetingAdapter::setFocusInstruction(const QString& instruction) {
    if (m_detail)
        m_detail->setFocusInstruction(instruction.toStdString());
}

QString PastMeetingAdapter::summarizeCaption() const {
    return m_detail ? pastText(m_detail->summarizeCaption()) : QString();
}

QString PastMeetingAdapter::emailCaption() const {
    return m_detail ? pastText(fenlo::emailCaption(m_detail->emailStatus(), "Email")) : QString();
}

bool PastMeetingAdapter::isSending() const {
    return m_detail && m_detail->emailStatus() == EmailStatus::sending;
}

QString PastMeetingAdapter::recipientsText() const {
    return m_detail ? pastText(fenlo::recipientsText(m_tab.controller().primaryRecipient(),
                                                     m_detail->extraRecipients().size()))
                    : QString();
}

bool PastMeetingAdapter::showRecipients() const {
    return m_detail && m_detail->showRecipients();
}

void PastMeetingAdapter::setShowRecipients(bool show) {
    if (m_detail)
        m_detail->setShowRecipients(show);
}

QString PastMeetingAdapter::newRecipient() const {
    return m_detail ? pastText(m_detail->newRecipient()) : QString();
}

void PastMeetingAdapter::setNewRecipient(const QString& typed) {
    if (m_detail)
        m_detail->setNewRecipient(typed.toStdString());
}

void PastMeetingAdapter::summarize() {
    if (m_detail)
        m_detail->summarize();
}

void PastMeetingAdapter::email() {
    if (m_detail)
        m_detail->email();
}

void PastMeetingAdapter::addRecipient() {
    if (m_detail)
        m_detail->addRecipient();
}

void PastMeetingAdapter::removeRecipient(const QString& address) {
    if (m_detail)
        m_detail->removeRecipient(address.toStdString());
}

void PastMeetingAdapter::exportTo(QWindow* above) {
    askForMarkdown(above, this, [this](const std::string& file) {
        if (m_detail)
            m_detail->exportTo(file);
    });
}

void PastMeetingAdapter::back() {
    if (m_detail)
        m_detail->back();
}

void PastMeetingAdapter::remove() {
    if (m_detail)
        m_detail->remove();
}

} // namespace fenlo
