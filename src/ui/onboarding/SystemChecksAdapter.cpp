#include "ui/onboarding/SystemChecksAdapter.h"

#include <QString>
#include <QVariantMap>

namespace fenlo {

namespace {

/// The kind of Badge and Notice.
const char* kindOf(SystemChecks::State state) {
    switch (state) {
    case SystemChecks::State::works:
        return "good";
    case SystemChecks::State::limited:
        return "warning";
    case SystemChecks::State::broken:
        return "error";
    case SystemChecks::State::checking:
        break;
    }
    return "info";
}

} // namespace

SystemChecksAdapter::SystemChecksAdapter(SystemChecks& checks)
    : m_checks(checks), m_watch(checks.watch([this] { Q_EMIT changed(); })) {}

QVariantList SystemChecksAdapter::rows() const {
    QVariantList list;
    for (const auto& row : m_checks.rows())
        list << QVariantMap{{"title", QString::fromStdString(row.title)},
                            {"detail", QString::fromStdString(row.detail)},
                            {"stateLabel", QString::fromUtf8(SystemChecks::labelOf(row.state))},
                            {"kind", QString::fromLatin1(kindOf(row.state))},
                            {"action", QString::fromStdString(row.action)},
                            {"command", QString::fromStdString(row.command)}};
    return list;
}

void SystemChecksAdapter::act(int row) {
    if (row >= 0 && static_cast<std::size_t>(row) < m_checks.rows().size())
        m_checks.act(m_checks.rows()[static_cast<std::size_t>(row)].subject);
}

} // namespace fenlo
