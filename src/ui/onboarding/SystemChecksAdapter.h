#pragma once

#include "shell/onboarding/SystemChecks.h"

#include <QObject>
#include <QVariantList>
#include <QtQml/qqmlregistration.h>

namespace fenlo {

/// SystemChecks for its screen.
class SystemChecksAdapter final : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("given to the window")
    /// title, detail, stateLabel, kind of a badge, action, command
    Q_PROPERTY(QVariantList rows READ rows NOTIFY changed)

public:
    explicit SystemChecksAdapter(SystemChecks& checks);

    QVariantList rows() const;
    Q_INVOKABLE void act(int row);

Q_SIGNALS:
    void changed();

private:
    SystemChecks& m_checks;
    Changes::Watch m_watch;
};

} // namespace fenlo
