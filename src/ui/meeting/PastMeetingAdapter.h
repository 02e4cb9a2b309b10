#pragma once

#include "meeting/MeetingTab.h"
#include "ui/meeting/TranscriptList.h"

#include <QObject>
#include <QStringList>
#include <QVariantList>
#include <QWindow>
#include <QtQml/qqmlregistration.h>

namespace fenlo {

/// The sections of a meeting's notes, as NotesView wants them.
QVariantList shownSections(const std::vector<NotesSection>& sections);
QStringList shownTexts(const std::vector<std::string>& texts);
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
    Q_PROPERTY(QString emailCaption READ emailCaption NOTIFY changed)
    Q_PROPERTY(bool isSending READ isSending NOTIFY changed)
    Q_PROPERTY(QString recipientsText READ recipientsText NOTIFY changed)
    Q_PROPERTY(QStringList extraRecipients READ extraRecipients NOTIFY listed)
    Q_PROPERTY(bool showRecipients READ showRecipients WRITE setShowRecipients NOTIFY changed)
    Q_PROPERTY(QString newRecipient READ newRecipient WRITE setNewRecipient NOTIFY changed)
    Q_PROPERTY(QVariantList notices READ notices NOTIFY listed)

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
    QString emailCaption() const;
    bool isSending() const;
    QString recipientsText() const;
    QStringList extraRecipients() const { return m_recipients; }
    bool showRecipients() const;
    void setShowRecipients(bool show);
    QString newRecipient() const;
    void setNewRecipient(const QString& typed);
    QVariantList notices() const { return m_notices; }

    Q_INVOKABLE void summarize();
    Q_INVOKABLE void email();
    Q_INVOKABLE void addRecipient();
    Q_INVOKABLE void removeRecipient(const QString& address);
    Q_INVOKABLE void exportTo(QWindow* above);
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
    QVariantList m_notices;
    QVariantList m_notes;
    QStringList m_recipients;
    Changes::Watch m_tabChanged;
    Changes::Watch m_detailChanged;
};

} // namespace fenlo
