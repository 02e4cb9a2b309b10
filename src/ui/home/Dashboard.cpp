#include "ui/home/Dashboard.h"

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

Dashboard::Dashboard(DashboardModel& model) : m_model(model), m_watch(model.watch([this] { Q_EMIT changed(); })) {}

Dashboard::~Dashboard() {
    m_model.close();
}

QVariantList Dashboard::today() const {
    return listOf(m_model.today());
}

QVariantList Dashboard::allTime() const {
    return listOf(m_model.allTime());
}

QVariantList Dashboard::days() const {
    return listOf(m_model.days());
}

QString Dashboard::daysSentence() const {
    return QString::fromStdString(m_model.days().sentence);
}

QString Dashboard::daysHighest() const {
    return QString::fromStdString(m_model.days().highest);
}

QVariantList Dashboard::hours() const {
    return listOf(m_model.hours());
}

QString Dashboard::hoursSentence() const {
    return QString::fromStdString(m_model.hours().sentence);
}

QString Dashboard::hoursHighest() const {
    return QString::fromStdString(m_model.hours().highest);
}

} // namespace fenlo
