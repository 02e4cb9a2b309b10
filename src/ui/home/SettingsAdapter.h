#pragma once

#include "base/Changes.h"
#include "shell/home/HomeViewModel.h"
#include "ui/home/GlossaryDialog.h"

#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariantList>
#include <QtQml/qqmlregistration.h>

namespace fenlo {

class HotkeyTest;

/// The settings for the screens: HomeViewModel's mirrors, with their choices and hints.
///
/// Threads: main thread. Both models outlive it.
class SettingsAdapter final : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("given by the home window")
    Q_PROPERTY(bool continuousMode READ continuousMode WRITE setContinuousMode NOTIFY changed)
    Q_PROPERTY(bool voiceCommands READ voiceCommands WRITE setVoiceCommands NOTIFY changed)
    Q_PROPERTY(bool showOverlay READ showOverlay WRITE setShowOverlay NOTIFY changed)
    Q_PROPERTY(bool playSounds READ playSounds WRITE setPlaySounds NOTIFY changed)
    Q_PROPERTY(bool silenceNotification READ silenceNotification WRITE setSilenceNotification NOTIFY changed)
    Q_PROPERTY(bool smartRewrite READ smartRewrite WRITE setSmartRewrite NOTIFY changed)
    Q_PROPERTY(bool autoCapitalize READ autoCapitalize WRITE setAutoCapitalize NOTIFY changed)
    Q_PROPERTY(bool showAppInPill READ showAppInPill WRITE setShowAppInPill NOTIFY changed)
    Q_PROPERTY(bool showWordsInPill READ showWordsInPill WRITE setShowWordsInPill NOTIFY changed)
    Q_PROPERTY(bool uploadWhileSpeaking READ uploadWhileSpeaking WRITE setUploadWhileSpeaking NOTIFY changed)
    Q_PROPERTY(bool typeShortTexts READ typeShortTexts WRITE setTypeShortTexts NOTIFY changed)
    Q_PROPERTY(bool typeAllTexts READ typeAllTexts WRITE setTypeAllTexts NOTIFY changed)
    Q_PROPERTY(bool keepFailedTakes READ keepFailedTakes WRITE setKeepFailedTakes NOTIFY changed)
    Q_PROPERTY(bool offersUpdates READ offersUpdates CONSTANT)
    Q_PROPERTY(bool checkForUpdates READ checkForUpdates WRITE setCheckForUpdates NOTIFY changed)
    Q_PROPERTY(bool opensAtLogin READ opensAtLogin WRITE setOpensAtLogin NOTIFY changed)
    Q_PROPERTY(QString loginFault READ loginFault NOTIFY changed)
    Q_PROPERTY(QString storageLine READ storageLine NOTIFY changed)
    Q_PROPERTY(bool canSaveAgain READ canSaveAgain NOTIFY changed)

    Q_PROPERTY(QString language READ language WRITE setLanguage NOTIFY changed)
    Q_PROPERTY(QString languageHint READ languageHint NOTIFY changed)
    Q_PROPERTY(QVariantList languages READ languages NOTIFY languagesChanged)
    Q_PROPERTY(QString outputMode READ outputMode WRITE setOutputMode NOTIFY changed)
    Q_PROPERTY(QVariantList outputModes READ outputModes CONSTANT)
    Q_PROPERTY(QString smartRewriteStyle READ smartRewriteStyle WRITE setSmartRewriteStyle NOTIFY changed)
    Q_PROPERTY(QVariantList smartRewriteStyles READ smartRewriteStyles CONSTANT)
    Q_PROPERTY(QString smartRewriteModel READ smartRewriteModel WRITE setSmartRewriteModel NOTIFY changed)
    Q_PROPERTY(QVariantList smartRewriteModels READ smartRewriteModels CONSTANT)
    Q_PROPERTY(QString sttEngine READ sttEngine WRITE setSttEngine NOTIFY changed)
    Q_PROPERTY(QVariantList sttEngines READ sttEngines CONSTANT)
    Q_PROPERTY(QString dictationMode READ dictationMode WRITE setDictationMode NOTIFY changed)
    Q_PROPERTY(QVariantList dictationModes READ dictationModes CONSTANT)
    Q_PROPERTY(bool offlineMode READ offlineMode NOTIFY changed)

    Q_PROPERTY(QString hotkey READ hotkey WRITE setHotkey NOTIFY changed)
    Q_PROPERTY(QString hotkeyLabel READ hotkeyLabel NOTIFY changed)
    Q_PROPERTY(QString hotkeyHint READ hotkeyHint NOTIFY changed)
    Q_PROPERTY(QVariantList hotkeys READ hotkeys CONSTANT)
    Q_PROPERTY(bool hotkeyIsHeld READ hotkeyIsHeld NOTIFY hotkeyTestChanged)
    Q_PROPERTY(bool hotkeyIsTested READ hotkeyIsTested NOTIFY hotkeyTestChanged)
    Q_PROPERTY(QString hotkeyTestLine READ hotkeyTestLine NOTIFY hotkeyTestChanged)
    Q_PROPERTY(QString hotkeyTestKind READ hotkeyTestKind NOTIFY hotkeyTestChanged) // of a Notice

    Q_PROPERTY(QString profession READ profession WRITE setProfession NOTIFY changed)
    Q_PROPERTY(QVariantList professions READ professions CONSTANT)
    Q_PROPERTY(QVariantList questions READ questions NOTIFY professionChanged)
    Q_PROPERTY(QStringList answers READ answers NOTIFY changed) // the ids of the chosen options

    Q_PROPERTY(QString customVocabularyText READ customVocabularyText NOTIFY changed)
    Q_PROPERTY(QString professionVocabularyText READ professionVocabularyText NOTIFY changed)
    Q_PROPERTY(QString glossaryTitle READ glossaryTitle NOTIFY changed)
    Q_PROPERTY(QString glossaryText READ glossaryText NOTIFY changed)
    Q_PROPERTY(bool glossaryFailed READ glossaryFailed NOTIFY changed)

    Q_PROPERTY(QString soundScheme READ soundScheme WRITE setSoundScheme NOTIFY changed)
    Q_PROPERTY(QString soundSchemeDescription READ soundSchemeDescription NOTIFY changed)
    Q_PROPERTY(QVariantList soundSchemes READ soundSchemes CONSTANT)

public:
    SettingsAdapter(HomeViewModel& model, HotkeyTest& hotkeyTest);
    ~SettingsAdapter() override;

    /// The line below a setting.
    Q_INVOKABLE static QString hint(const QString& setting);
    Q_INVOKABLE void saveAgain() { m_model.saveAgain(); }
    Q_INVOKABLE void testHotkey();
    Q_INVOKABLE void endHotkeyTest();
    Q_INVOKABLE void chooseAnswer(int topic, const QString& key, bool isChosen);
    Q_INVOKABLE void editCustomVocabulary(const QString& text, const QString& given);
    Q_INVOKABLE void editProfessionVocabulary(const QString& text, const QString& given);
    Q_INVOKABLE void importGlossary();
    Q_INVOKABLE void dismissGlossary() { m_model.dismissGlossary(); }
    Q_INVOKABLE void playSoundScheme() { m_model.playSoundScheme(); }

    bool continuousMode() const { return m_model.continuousMode; }
    void setContinuousMode(bool on) { set(m_model.continuousMode, on); }
    bool voiceCommands() const { return m_model.voiceCommands; }
    void setVoiceCommands(bool on) { set(m_model.voiceCommands, on); }
    bool showOverlay() const { return m_model.showOverlay; }
    void setShowOverlay(bool on) { set(m_model.showOverlay, on); }
    bool playSounds() const { return m_model.playSounds; }
    void setPlaySounds(bool on) { set(m_model.playSounds, on); }
    bool silenceNotification() const { return m_model.silenceNotification; }
    void setSilenceNotification(bool on) { set(m_model.silenceNotification, on); }
    bool smartRewrite() const { return m_model.smartRewrite; }
    void setSmartRewrite(bool on) { set(m_model.smartRewrite, on); }
    bool autoCapitalize() const { return m_model.autoCapitalize; }
    void setAutoCapitalize(bool on) { set(m_model.autoCapitalize, on); }
    bool showAppInPill() const { return m_model.showAppInPill; }
    void setShowAppInPill(bool on) { set(m_model.showAppInPill, on); }
    bool showWordsInPill() const { return m_model.showWordsInPill; }
    void setShowWordsInPill(bool on) { set(m_model.showWordsInPill, on); }
    bool uploadWhileSpeaking() const { return m_model.uploadWhileSpeaking; }
    void setUploadWhileSpeaking(bool on) { set(m_model.uploadWhileSpeaking, on); }
    bool typeShortTexts() const { return m_model.typeShortTexts; }
    void setTypeShortTexts(bool on) { set(m_model.typeShortTexts, on); }
    bool typeAllTexts() const { return m_model.typeAllTexts; }
    void setTypeAllTexts(bool on) { set(m_model.typeAllTexts, on); }
    bool keepFailedTakes() const { return m_model.keepFailedTakes; }
    void setKeepFailedTakes(bool on) { set(m_model.keepFailedTakes, on); }
    bool offersUpdates() const { return m_model.offersUpdates; }
    bool checkForUpdates() const { return m_model.checkForUpdates; }
    void setCheckForUpdates(bool on) { set(m_model.checkForUpdates, on); }
    bool opensAtLogin() const { return m_model.opensAtLogin(); }
    void setOpensAtLogin(bool opens) { m_model.setOpensAtLogin(opens); }
    QString loginFault() const { return QString::fromStdString(m_model.loginFault); }
    QString storageLine() const { return QString::fromStdString(m_model.storageLine()); }
    bool canSaveAgain() const { return m_model.canSaveAgain(); }

    QString language() const { return QString::fromStdString(m_model.language); }
    void setLanguage(const QString& code) { set(m_model.language, code.toStdString()); }
    QString languageHint() const;
    QVariantList languages() const;
    QString outputMode() const { return word(m_model.outputMode); }
    void setOutputMode(const QString& mode) { choose(m_model.outputMode, mode); }
    QVariantList outputModes() const;
    QString smartRewriteStyle() const { return word(m_model.smartRewriteStyle); }
    void setSmartRewriteStyle(const QString& style) { choose(m_model.smartRewriteStyle, style); }
    QVariantList smartRewriteStyles() const;
    QString smartRewriteModel() const { return word(m_model.smartRewriteModel); }
    void setSmartRewriteModel(const QString& model) { choose(m_model.smartRewriteModel, model); }
    QVariantList smartRewriteModels() const;
    QString sttEngine() const { return word(m_model.sttEngine); }
    void setSttEngine(const QString& engine) { choose(m_model.sttEngine, engine); }
    QVariantList sttEngines() const;
    QString dictationMode() const { return word(m_model.dictationMode); }
    void setDictationMode(const QString& mode) { choose(m_model.dictationMode, mode); }
    QVariantList dictationModes() const;
    bool offlineMode() const { return m_model.offlineMode; }

    QString hotkey() const { return QString::fromStdString(m_model.hotkey); }
    void setHotkey(const QString& name);
    QString hotkeyLabel() const;
    QString hotkeyHint() const;
    QVariantList hotkeys() const;
    bool hotkeyIsHeld() const;
    bool hotkeyIsTested() const;
    QString hotkeyTestLine() const;
    QString hotkeyTestKind() const;

    QString profession() const { return QString::fromStdString(m_model.profession); }
    void setProfession(const QString& key) { m_model.selectProfession(key.toStdString()); }
    QVariantList professions() const;
    QVariantList questions() const;
    QStringList answers() const;

    QString customVocabularyText() const { return QString::fromStdString(m_model.customVocabularyText); }
    QString professionVocabularyText() const { return QString::fromStdString(m_model.professionVocabularyText); }
    QString glossaryTitle() const;
    QString glossaryText() const;
    bool glossaryFailed() const;

    QString soundScheme() const { return word(m_model.soundScheme); }
    void setSoundScheme(const QString& id) { m_model.chooseSoundScheme(id.toStdString()); }
    QString soundSchemeDescription() const;
    QVariantList soundSchemes() const;

Q_SIGNALS:
    void changed();
    void languagesChanged();
    void professionChanged();
    void hotkeyTestChanged();

private:
    template <typename Value>
    void set(Value& mirror, const Value& value) {
        mirror = value;
        m_model.applySettings();
    }
    template <typename Enum>
    void choose(Choice<Enum>& mirror, const QString& value) {
        set(mirror, Choice<Enum>(value.toStdString()));
    }
    template <typename Enum>
    static QString word(const Choice<Enum>& choice) {
        return QString::fromStdString(choice.word());
    }
    void follow();

    HomeViewModel& m_model;
    HotkeyTest& m_hotkeyTest;
    GlossaryDialog m_glossaryDialog;
    bool m_wasOffline;
    std::string m_lastProfession;
    Changes::Watch m_watch;
    Changes::Watch m_hotkeyWatch;
};

} // namespace fenlo
