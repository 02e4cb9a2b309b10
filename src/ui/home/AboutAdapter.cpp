#include "ui/home/AboutAdapter.h"

#include "shell/home/Libraries.h"

namespace fenlo {

namespace {

/// Of a badge.
const char* kindOf(Diagnosis::State state) {
    switch (state) {
    case Diagnosis::State::works:
        return "good";
    case Diagnosis::State::limited:
        return "warning";
    case Diagnosis::State::broken:
        break;
    }
    return "error";
}

} // namespace

AboutAdapter::AboutAdapter(AboutModel& model) : m_model(model), m_watch(model.watch([this] { Q_EMIT changed(); })) {}

QString AboutAdapter::version() const {
    return QString::fromStdString(m_model.version());
}

QString AboutAdapter::system() const {
    return QString::fromStdString(m_model.system());
}

QString AboutAdapter::logFile() const {
    return QString::fromStdString(m_model.logFile());
}

QString AboutAdapter::notices() const {
    return QString::fromStdString(m_model.notices());
}

QVariantList AboutAdapter::libraries() {
    QVariantList list;
    for (const Library& library : fenlo::libraries())
        list.append(QVariantMap{{"name", library.name}, {"licence", library.licence}, {"purpose", library.purpose}});
    return list;
}

QString AboutAdapter::summary() const {
    return QString::fromStdString(m_model.summary());
}

QVariantList AboutAdapter::findings() const {
    QVariantList list;
    for (const Diagnosis& found : m_model.findings())
        list.append(QVariantMap{{"subject", QString::fromStdString(found.subject)},
                                {"state", stateText(found.state)},
                                {"kind", kindOf(found.state)},
                                {"finding", QString::fromStdString(found.finding)},
                                {"remedy", QString::fromStdString(found.remedy)}});
    return list;
}

} // namespace fenlo
