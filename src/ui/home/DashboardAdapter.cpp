#include "ui/home/DashboardAdapter.h"

namespace fenlo {

namespace {

QVariantList listOf(const std::vector<DashboardModel::Card>& cards) {
    QVariantList list;
    for (const auto& card : cards)
        list.append(QVariantMap{{"value", QString::fromStdString(card.value)},
                                {"label", QString::fromStdString(card.label)},
                                {"spoken", QString::fromStdString(card.spoken)}});
    return list;
}

QVariantList listOf(const DashboardModel::Chart& chart) {
    QVariantList list;
    for (const auto& bar : chart.bars)
        list.append(QVariantMap{{"height", bar.height},
                                {"label", QString::fromStdString(bar.label)},
                                {"detail", QString::fromStdString(bar.detail)},
                                {"isToday", bar.isToday}});
    return list;
}

} // namespace

DashboardAdapter::DashboardAdapter(DashboardModel& model)
    : m_model(model), m_watch(model.watch([this] { Q_EMIT changed(); })) {}

DashboardAdapter::~DashboardAdapter() {
    m_model.close();
}

QVariantList DashboardAdapter::today() const {
    return listOf(m_model.today());
}

QVariantList DashboardAdapter::allTime() const {
    return listOf(m_model.allTime());
}

QVariantList DashboardAdapter::days() const {
    return listOf(m_model.days());
}

QString DashboardAdapter::daysSentence() const {
    return QString::fromStdString(m_model.days().sentence);
}

QString DashboardAdapter::daysHighest() const {
    return QString::fromStdString(m_model.days().highest);
}

QVariantList DashboardAdapter::hours() const {
    return listOf(m_model.hours());
}

QString DashboardAdapter::hoursSentence() const {
    return QString::fromStdString(m_model.hours().sentence);
}

QString DashboardAdapter::hoursHighest() const {
    return QString::fromStdString(m_model.hours().highest);
}

} // namespace fenlo
