#pragma once

#include "shell/onboarding/ProfessionForm.h"

#include <QObject>
#include <QString>
#include <QVariantList>
#include <QtQml/qqmlregistration.h>

namespace fenlo {

/// ProfessionForm for its screens.
class ProfessionAdapter final : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("given to the window")
    Q_PROPERTY(QVariantList professions READ professions NOTIFY changed) // key, label, isChosen
    Q_PROPERTY(bool isChosen READ isChosen NOTIFY changed)
    Q_PROPERTY(QVariantList questions READ questions NOTIFY changed) // topic, text, takesSeveral, options as above
    Q_PROPERTY(bool isPersonal READ isPersonal NOTIFY changed)

public:
    explicit ProfessionAdapter(ProfessionForm& form);

    QVariantList professions() const;
    bool isChosen() const { return m_form.isChosen(); }
    QVariantList questions() const;
    bool isPersonal() const { return m_form.mode() == DictationMode::personal; }

    Q_INVOKABLE void choose(const QString& key) { m_form.choose(key.toStdString()); }
    Q_INVOKABLE void skip() { m_form.skip(); }
    Q_INVOKABLE void toggle(int topic, const QString& key);
    Q_INVOKABLE void setPersonal(bool isPersonal);

Q_SIGNALS:
    void changed();

private:
    ProfessionForm& m_form;
    Changes::Watch m_watch;
};

} // namespace fenlo
