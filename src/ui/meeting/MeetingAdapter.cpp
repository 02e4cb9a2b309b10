#include "ui/meeting/MeetingAdapter.h"

#include <tuple>

namespace fenlo {

namespace {

QString meetingText(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

} // namespace

MeetingAdapter::MeetingAdapter(MeetingTab& tab)
    : m_tab(tab), m_outlet(&tab.outlet()), m_past(tab),
      m_recent(tab.controller(), [&tab] { return tab.recentMeetings(); }),
      m_history(tab.controller(), [&tab] { return tab.controller().filteredPastMeetings(); }),
      m_tabChanged(tab.watch([this] { follow(); })),
      m_levelChanged(tab.controller().watchLevel([this] { Q_EMIT ticked(); })) {
    m_transcript.show(&tab.transcript());
    follow();
}

/// Rows that are as they were keep their place and the keyboard.
void MeetingAdapter::follow() {
    m_outlet.follow(&m_tab.outlet());
    const QVariantList setUpHint = shownNotices({m_tab.setUpHint()});
    const QVariantList notices = shownNotices(m_tab.notices());
    const QVariantList missingNotes = shownNotices({m_tab.missingNotes()});
    const QVariantList notes = shownSections(m_tab.notes());
    if (std::tie(setUpHint, notices, missingNotes, notes) !=
        std::tie(m_setUpHint, m_notices, m_missingNotes, m_notes)) {
        m_setUpHint = setUpHint;
        m_notices = notices;
        m_missingNotes = missingNotes;
        m_notes = notes;
        Q_EMIT listed();
    }
    Q_EMIT changed();
}

MeetingAdapter::Face MeetingAdapter::face() const {
    switch (m_tab.face()) {
    case MeetingTab::Face::history:
        return Face::History;
    case MeetingTab::Face::active:
        return Face::Active;
    case MeetingTab::Face::ended:
        return Face::Ended;
    case MeetingTab::Face::pastMeeting:
        return Face::PastMeeting;
    case MeetingTab::Face::setUp:
        break;
    }
    return Face::SetUp;
}

void MeetingAdapter::setTranscription(bool on) {
    m_tab.controller().setMeetingMode(on ? MeetingMode::transcription : MeetingMode::meeting);
}

QString MeetingAdapter::subject() const {
    return meetingText(m_tab.controller().subject());
}

void MeetingAdapter::setSubject(const QString& subject) {
    m_tab.controller().setSubject(subject.toStdString());
}

QVariantList MeetingAdapter::templates() {
    QVariantList all;
    for (const MeetingTemplate kind : meetingTemplates)
        all.append(QVariantMap{{"value", meetingText(rawValue(kind))}, {"label", meetingText(displayName(kind))}});
    return all;
}

QString MeetingAdapter::meetingTemplate() const {
    return meetingText(rawValue(m_tab.controller().meetingTemplate()));
}

void MeetingAdapter::setMeetingTemplate(const QString& word) {
    if (const auto kind = meetingTemplateOf(word.toStdString()))
        m_tab.controller().setMeetingTemplate(*kind);
}

QString MeetingAdapter::startCaption() const {
    return meetingText(m_tab.startCaption());
}

QString MeetingAdapter::stopCaption() const {
    return meetingText(m_tab.stopCaption());
}

QString MeetingAdapter::searchQuery() const {
    return meetingText(m_tab.controller().searchQuery());
}

void MeetingAdapter::setSearchQuery(const QString& query) {
    m_tab.controller().setSearchQuery(query.toStdString());
}

QString MeetingAdapter::historyTitle() const {
    return meetingText(m_tab.historyTitle());
}

QString MeetingAdapter::historyText() const {
    return meetingText(m_tab.historyText());
}

QString MeetingAdapter::activeTitle() const {
    return meetingText(m_tab.activeTitle());
}

QString MeetingAdapter::elapsed() const {
    return meetingText(m_tab.controller().elapsedFormatted());
}

QString MeetingAdapter::countText() const {
    return meetingText(m_tab.countText());
}

QString MeetingAdapter::notesPrompt() const {
    return meetingText(m_tab.notesPrompt());
}

QString MeetingAdapter::hint() const {
    return meetingText(m_tab.hint());
}

QString MeetingAdapter::userNotes() const {
    return meetingText(m_tab.controller().userNotes());
}

void MeetingAdapter::setUserNotes(const QString& notes) {
    m_tab.controller().setUserNotes(notes.toStdString());
}

QString MeetingAdapter::endedTitle() const {
    return meetingText(m_tab.endedTitle());
}

QString MeetingAdapter::notesTitle() const {
    return meetingText(m_tab.notesTitle());
}

QString MeetingAdapter::transcriptTitle() const {
    return meetingText(m_tab.transcriptTitle());
}

QString MeetingAdapter::refinePrompt() const {
    return meetingText(m_tab.refinePrompt());
}

QString MeetingAdapter::autoSendText() const {
    return meetingText(m_tab.autoSendText());
}

QString MeetingAdapter::deletionText(const QString& id) const {
    return meetingText(m_tab.deletionText(id.toStdString()));
}

void MeetingAdapter::editSpeaker(int row) {
    if (row >= 0)
        m_tab.editSpeaker(static_cast<std::size_t>(row));
}

void MeetingAdapter::nameSpeaker(const QString& name) {
    m_tab.setEditingSpeakerName(name.toStdString());
    m_tab.commitSpeakerName();
}

void MeetingAdapter::toggleStar(int row) {
    if (row >= 0)
        m_tab.toggleStar(static_cast<std::size_t>(row));
}

} // namespace fenlo
