#include "ui/meeting/PastMeetingAdapter.h"

#include <tuple>

namespace fenlo {

namespace {

QString pastText(const std::string& text) {
    return QString::fromStdString(text);
}

QStringList shownItems(const std::vector<std::string>& items) {
    QStringList all;
    for (const std::string& item : items)
        all.append(pastText(item));
    return all;
}

} // namespace

QVariantList shownSections(const std::vector<NotesSection>& sections) {
    QVariantList all;
    for (const NotesSection& section : sections) {
        all.append(QVariantMap{{"heading", pastText(section.heading)},
                               {"text", pastText(section.text)},
                               {"items", shownItems(section.items)},
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
                                   {"action", pastText(notice.action)},
                                   {"section", pastText(notice.section)},
                                   {"canClose", notice.canClose}});
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
    m_outlet.follow(m_detail ? &m_detail->outlet() : nullptr);
    const QVariantList notices = m_detail ? shownNotices({m_detail->outlet().notice()}) : QVariantList();
    const QVariantList hint = shownNotices({m_tab.selectedHint()});
    const QVariantList notes = m_detail ? shownSections(m_detail->notes()) : QVariantList();
    if (std::tie(notices, hint, notes) != std::tie(m_notices, m_hint, m_notes)) {
        m_notices = notices;
        m_notes = notes;
        m_hint = hint;
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

void PastMeetingAdapter::summarize() {
    if (m_detail)
        m_detail->summarize();
}

void PastMeetingAdapter::closeNotice() {
    if (m_detail)
        m_detail->outlet().tell({});
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
