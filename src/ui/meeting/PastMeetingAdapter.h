#pragma once

#include "meeting/MeetingTab.h"
#include "ui/meeting/OutletAdapter.h"
#include "ui/meeting/TranscriptList.h"

#include <QObject>
#include <QStringList>
#include <QVariantList>
#include <QtQml/qqmlregistration.h>

namespace fenlo {

/// The sections of a meeting's notes, as NotesView wants them.
QVariantList shownSections(const std::vector<NotesSection>& sections);
/// Those that have a text, as Notices wants them.
QVariantList shownNotices(const std::vector<MeetingNotice>& notices);

/// The meeting of the archive that is looked at.
class PastMeetingAdapter final : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("given to the home window")
    Q_PROPERTY(QString meetingId READ meetingId NOTIFY changed)
    Q_PROPERTY(QString title READ title NOTIFY changed)
    Q_PROPERTY(QString details READ details NOTIFY changed)
    Q_PROPERTY(QString notesTitle READ notesTitle NOTIFY changed)
    Q_PROPERTY(QVariantList notes READ notes NOTIFY listed)
    Q_PROPERTY(QString userNotes READ userNotes NOTIFY changed)
    Q_PROPERTY(fenlo::TranscriptList* transcript READ transcript CONSTANT)
    Q_PROPERTY(QString transcriptTitle READ transcriptTitle NOTIFY changed)
    Q_PROPERTY(bool showTranscript READ showTranscript WRITE setShowTranscript NOTIFY changed)
    Q_PROPERTY(bool isGenerating READ isGenerating NOTIFY changed)
    Q_PROPERTY(bool canSummarize READ canSummarize NOTIFY changed)
    Q_PROPERTY(bool showSummarizePrompt READ showSummarizePrompt WRITE setShowSummarizePrompt NOTIFY changed)
    Q_PROPERTY(QString focusInstruction READ focusInstruction WRITE setFocusInstruction NOTIFY changed)
    Q_PROPERTY(QString summarizeCaption READ summarizeCaption NOTIFY changed)
    Q_PROPERTY(fenlo::OutletAdapter* outlet READ outlet CONSTANT)
    Q_PROPERTY(QVariantList notices READ notices NOTIFY listed)
    Q_PROPERTY(QVariantList hint READ hint NOTIFY listed)

public:
    explicit PastMeetingAdapter(MeetingTab& tab);

    QString meetingId() const;
    QString title() const;
    QString details() const;
    QString notesTitle() const;
    QVariantList notes() const { return m_notes; }
    QString userNotes() const;
    TranscriptList* transcript() { return &m_transcript; }
    QString transcriptTitle() const;
    bool showTranscript() const;
    void setShowTranscript(bool show);
    bool isGenerating() const;
    bool canSummarize() const;
    bool showSummarizePrompt() const;
    void setShowSummarizePrompt(bool show);
    QString focusInstruction() const;
    void setFocusInstruction(const QString& instruction);
    QString summarizeCaption() const;
    OutletAdapter* outlet() { return &m_outlet; }
    QVariantList notices() const { return m_notices; }
    QVariantList hint() const { return m_hint; }

    Q_INVOKABLE void summarize();
    Q_INVOKABLE void closeNotice();
    Q_INVOKABLE void back();
    Q_INVOKABLE void remove();

Q_SIGNALS:
    void changed();
    void listed(); // what repeaters make rows of

private:
    void follow();
    void followLists();

    MeetingTab& m_tab;
    PastMeetingDetail* m_detail = nullptr; // the tab's, while a meeting is looked at
    TranscriptList m_transcript;
    OutletAdapter m_outlet{nullptr};
    QVariantList m_notices;
    QVariantList m_hint;
    QVariantList m_notes;
    Changes::Watch m_tabChanged;
    Changes::Watch m_detailChanged;
};

} // namespace fenlo
