#pragma once

#include "shell/home/VoiceProfileModel.h"

#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>

namespace fenlo {

/// VoiceProfileModel for the settings.
class VoiceProfileAdapter final : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("given to the window")
    Q_PROPERTY(bool isReady READ isReady NOTIFY changed)
    Q_PROPERTY(bool canRemove READ canRemove NOTIFY changed)
    Q_PROPERTY(QString description READ description NOTIFY changed)
    Q_PROPERTY(QString made READ made NOTIFY changed)
    Q_PROPERTY(QString limits READ limits NOTIFY changed)
    Q_PROPERTY(QString makeCaption READ makeCaption NOTIFY changed)
    Q_PROPERTY(QString message READ message NOTIFY changed)
    Q_PROPERTY(bool isolation READ isolation WRITE setIsolation NOTIFY changed)
    Q_PROPERTY(QString removalTitle READ removalTitle CONSTANT)
    Q_PROPERTY(QString removalText READ removalText CONSTANT)
    Q_PROPERTY(QString removalVerb READ removalVerb CONSTANT)
    Q_PROPERTY(bool isListening READ isListening NOTIFY changed)
    Q_PROPERTY(bool isComparing READ isComparing NOTIFY changed)
    Q_PROPERTY(double trialProgress READ trialProgress NOTIFY changed)
    Q_PROPERTY(double level READ level NOTIFY changed)
    Q_PROPERTY(QString trialText READ trialText NOTIFY changed)

public:
    /// `readPassage` opens the reading.
    VoiceProfileAdapter(VoiceProfileModel& model, std::function<void()> readPassage);

    bool isReady() const { return m_model.state() == VoiceProfileModel::State::ready; }
    bool canRemove() const { return m_model.state() != VoiceProfileModel::State::none; }
    QString description() const { return QString::fromStdString(m_model.description()); }
    QString made() const { return QString::fromStdString(m_model.made()); }
    QString limits() const { return QString::fromStdString(m_model.limits()); }
    QString makeCaption() const { return QString::fromStdString(m_model.makeCaption()); }
    QString message() const { return QString::fromStdString(m_model.message()); }
    bool isolation() const { return m_model.isolation(); }
    void setIsolation(bool on) { m_model.setIsolation(on); }
    static QString removalTitle() { return QString::fromStdString(VoiceProfileModel::removalQuestion().title); }
    static QString removalText() { return QString::fromStdString(VoiceProfileModel::removalQuestion().text); }
    static QString removalVerb() { return QString::fromStdString(VoiceProfileModel::removalQuestion().verb); }
    bool isListening() const { return m_model.trial() == VoiceProfileModel::Trial::listening; }
    bool isComparing() const { return m_model.trial() == VoiceProfileModel::Trial::comparing; }
    double trialProgress() const { return m_model.trialProgress(); }
    double level() const { return static_cast<double>(m_model.level()); }
    QString trialText() const { return QString::fromStdString(m_model.trialText()); }

    Q_INVOKABLE void readPassage() { m_readPassage(); }
    Q_INVOKABLE void remove() { m_model.remove(); }
    Q_INVOKABLE void startTrial() { m_model.startTrial(); }
    Q_INVOKABLE void cancelTrial() { m_model.cancelTrial(); }

Q_SIGNALS:
    void changed();

private:
    VoiceProfileModel& m_model;
    const std::function<void()> m_readPassage;
    Changes::Watch m_watch;
};

} // namespace fenlo
