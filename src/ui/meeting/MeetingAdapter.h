#pragma once

#include "meeting/MeetingTab.h"
#include "ui/meeting/OutletAdapter.h"
#include "ui/meeting/PastMeetingAdapter.h"
#include "ui/meeting/PastMeetingList.h"
#include "ui/meeting/TranscriptList.h"

#include <QObject>
#include <QVariantList>
#include <QtQml/qqmlregistration.h>

namespace fenlo {

/// The meeting tab's faces.
class MeetingAdapter final : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("given to the home window")
    Q_PROPERTY(Face face READ face NOTIFY changed)
    Q_PROPERTY(bool isTranscription READ isTranscription WRITE setTranscription NOTIFY changed)
    Q_PROPERTY(bool isTranscriptionSession READ isTranscriptionSession NOTIFY changed)
    Q_PROPERTY(QString subject READ subject WRITE setSubject NOTIFY changed)
    Q_PROPERTY(QVariantList templates READ templates CONSTANT)
    Q_PROPERTY(QString meetingTemplate READ meetingTemplate WRITE setMeetingTemplate NOTIFY changed)
    Q_PROPERTY(bool captureSystemAudio READ captureSystemAudio WRITE setCaptureSystemAudio NOTIFY changed)
    Q_PROPERTY(QString startCaption READ startCaption NOTIFY changed)
    Q_PROPERTY(QString stopCaption READ stopCaption NOTIFY changed)
    Q_PROPERTY(QVariantList setUpHint READ setUpHint NOTIFY listed)

    Q_PROPERTY(fenlo::PastMeetingList* recent READ recent CONSTANT)
    Q_PROPERTY(fenlo::PastMeetingList* history READ history CONSTANT)
    Q_PROPERTY(fenlo::PastMeetingAdapter* past READ past CONSTANT)
    Q_PROPERTY(bool showMeetingHistory READ showMeetingHistory WRITE setShowMeetingHistory NOTIFY changed)
    Q_PROPERTY(QString searchQuery READ searchQuery WRITE setSearchQuery NOTIFY changed)
    Q_PROPERTY(QString historyTitle READ historyTitle NOTIFY changed)
    Q_PROPERTY(QString historyText READ historyText NOTIFY changed)

    Q_PROPERTY(fenlo::TranscriptList* transcript READ transcript CONSTANT)
    Q_PROPERTY(QString activeTitle READ activeTitle NOTIFY changed)
    Q_PROPERTY(QString elapsed READ elapsed NOTIFY ticked)
    Q_PROPERTY(double audioLevel READ audioLevel NOTIFY ticked)
    Q_PROPERTY(QString countText READ countText NOTIFY changed)
    Q_PROPERTY(QString hint READ hint NOTIFY changed)
    Q_PROPERTY(QString notesPrompt READ notesPrompt NOTIFY changed)
    Q_PROPERTY(bool hasTranscript READ hasTranscript NOTIFY changed)
    Q_PROPERTY(QVariantList notices READ notices NOTIFY listed)
    Q_PROPERTY(QString userNotes READ userNotes WRITE setUserNotes NOTIFY changed)
    Q_PROPERTY(bool hasCopiedTranscript READ hasCopiedTranscript NOTIFY changed)
    Q_PROPERTY(bool hasCopiedFormatted READ hasCopiedFormatted NOTIFY changed)
    Q_PROPERTY(bool hasSavedRecipients READ hasSavedRecipients NOTIFY changed)

    Q_PROPERTY(QString endedTitle READ endedTitle NOTIFY changed)
    Q_PROPERTY(bool isEnhancing READ isEnhancing NOTIFY changed)
    Q_PROPERTY(QVariantList missingNotes READ missingNotes NOTIFY listed)
    Q_PROPERTY(QString notesTitle READ notesTitle NOTIFY changed)
    Q_PROPERTY(bool hasNotes READ hasNotes NOTIFY changed)
    Q_PROPERTY(QVariantList notes READ notes NOTIFY listed)
    Q_PROPERTY(bool showTranscript READ showTranscript WRITE setShowTranscript NOTIFY changed)
    Q_PROPERTY(QString transcriptTitle READ transcriptTitle NOTIFY changed)
    Q_PROPERTY(QString refinePrompt READ refinePrompt WRITE setRefinePrompt NOTIFY changed)
    Q_PROPERTY(QString autoSendText READ autoSendText NOTIFY changed)
    Q_PROPERTY(bool autoSendCompleted READ autoSendCompleted NOTIFY changed)
    Q_PROPERTY(fenlo::OutletAdapter* outlet READ outlet CONSTANT)

    // Where the list of the history stood when it was left for one of its meetings.
    Q_PROPERTY(QString historyRow MEMBER m_historyRow)
    Q_PROPERTY(double historyOffset MEMBER m_historyOffset)

public:
    enum class Face { SetUp, History, Active, Ended, PastMeeting };
    Q_ENUM(Face)

    explicit MeetingAdapter(MeetingTab& tab);

    Face face() const;
    bool isTranscription() const { return m_tab.isTranscription(); }
    void setTranscription(bool on);
    bool isTranscriptionSession() const { return m_tab.isTranscriptionSession(); }
    QString subject() const;
    void setSubject(const QString& subject);
    static QVariantList templates();
    QString meetingTemplate() const;
    void setMeetingTemplate(const QString& word);
    bool captureSystemAudio() const { return m_tab.controller().captureSystemAudio(); }
    void setCaptureSystemAudio(bool capture) { m_tab.controller().setCaptureSystemAudio(capture); }
    QString startCaption() const;
    QString stopCaption() const;
    QVariantList setUpHint() const { return m_setUpHint; }

    PastMeetingList* recent() { return &m_recent; }
    PastMeetingList* history() { return &m_history; }
    PastMeetingAdapter* past() { return &m_past; }
    bool showMeetingHistory() const { return m_tab.showMeetingHistory(); }
    void setShowMeetingHistory(bool show) { m_tab.setShowMeetingHistory(show); }
    QString searchQuery() const;
    void setSearchQuery(const QString& query);
    QString historyTitle() const;
    QString historyText() const;

    TranscriptList* transcript() { return &m_transcript; }
    QString activeTitle() const;
    QString elapsed() const;
    double audioLevel() const { return double(m_tab.controller().audioLevel()); }
    QString countText() const;
    QString hint() const;
    QString notesPrompt() const;
    bool hasTranscript() const { return m_tab.hasTranscript(); }
    QVariantList notices() const { return m_notices; }
    QString userNotes() const;
    void setUserNotes(const QString& notes);
    bool hasCopiedTranscript() const { return m_tab.lastDone() == MeetingTab::Done::transcriptCopied; }
    bool hasCopiedFormatted() const { return m_tab.lastDone() == MeetingTab::Done::formattedCopied; }
    bool hasSavedRecipients() const { return m_tab.lastDone() == MeetingTab::Done::recipientsSaved; }

    QString endedTitle() const;
    bool isEnhancing() const { return m_tab.controller().isEnhancing(); }
    QVariantList missingNotes() const { return m_missingNotes; }
    QString notesTitle() const;
    bool hasNotes() const { return m_tab.controller().enhancedNotes().has_value(); }
    QVariantList notes() const { return m_notes; }
    bool showTranscript() const { return m_tab.showTranscript(); }
    void setShowTranscript(bool show) { m_tab.setShowTranscript(show); }
    QString transcriptTitle() const;
    QString refinePrompt() const;
    void setRefinePrompt(const QString& prompt) { m_tab.setRefinePrompt(prompt.toStdString()); }
    QString autoSendText() const;
    bool autoSendCompleted() const { return m_tab.controller().autoSendCompleted(); }
    OutletAdapter* outlet() { return &m_outlet; }

    Q_INVOKABLE void open() { m_tab.open(); }
    Q_INVOKABLE void start() { m_tab.start(); }
    Q_INVOKABLE void stop() { m_tab.stop(); }
    Q_INVOKABLE void select(const QString& id) { m_tab.select(id.toStdString()); }
    Q_INVOKABLE QString deletionText(const QString& id) const;
    Q_INVOKABLE void deletePastMeeting(const QString& id) { m_tab.deletePastMeeting(id.toStdString()); }
    Q_INVOKABLE void editSpeaker(int row);
    Q_INVOKABLE void typeSpeakerName(const QString& name) { m_tab.setEditingSpeakerName(name.toStdString()); }
    Q_INVOKABLE void nameSpeaker(const QString& name);
    Q_INVOKABLE void cancelEditing() { m_tab.cancelEditing(); }
    Q_INVOKABLE void toggleStar(int row);
    Q_INVOKABLE void copyAll() { m_tab.copyAll(); }
    Q_INVOKABLE void copyFormatted() { m_tab.copyFormatted(); }
    Q_INVOKABLE void refine() { m_tab.refine(); }
    Q_INVOKABLE void cancelAutoSend() { m_tab.controller().cancelAutoSend(); }
    Q_INVOKABLE void saveRecipientsAsDefaults() { m_tab.saveRecipientsAsDefaults(); }
    Q_INVOKABLE void newMeeting() { m_tab.newMeeting(); }
    Q_INVOKABLE void openSession() { m_tab.openSession(); }
    Q_INVOKABLE void closeNotice(const QString& text) { m_tab.closeNotice(text.toStdString()); }

Q_SIGNALS:
    void changed();
    void listed(); // what repeaters make rows of
    void ticked();

private:
    void follow();

    MeetingTab& m_tab;
    QVariantList m_setUpHint;
    QVariantList m_notices;
    QVariantList m_missingNotes;
    QVariantList m_notes;
    QString m_historyRow;
    double m_historyOffset = 0;
    OutletAdapter m_outlet;
    PastMeetingAdapter m_past;
    PastMeetingList m_recent;
    PastMeetingList m_history;
    TranscriptList m_transcript;
    Changes::Watch m_tabChanged;
    Changes::Watch m_levelChanged;
};

} // namespace fenlo
