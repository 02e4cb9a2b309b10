#include "shell/home/DashboardModel.h"

#include "base/Background.h"
#include "base/Clock.h"
#include "base/Dates.h"
#include "base/Text.h"
#include "shell/StatisticsStore.h"
#include "shell/home/ActivityCharts.h"

#include <utility>

namespace fenlo {

namespace {

constexpr double dayPeriod = 20; // seconds between looks at the date
constexpr double secondsPerMinute = 60;

DashboardModel::Card card(const std::string& value, const std::string& label) {
    return {value, label, value + " " + label};
}

/// "days active" of one day would read badly.
std::string plural(std::int64_t count, const char* one, const char* many) {
    return count == 1 ? one : many;
}

} // namespace

std::string shortCount(std::int64_t count) {
    return count > 1000 ? text::fixed(static_cast<double>(count) / 1000, 1) + "k" : std::to_string(count);
}

DashboardModel::DashboardModel(DashboardServices services) : m_services(services) {
    m_statisticsChanged =
        m_services.notifications.observe(notification::statisticsChanged, [this](const auto&) { refresh(); });
}

void DashboardModel::open() {
    if (std::exchange(m_isOpen, true))
        return;
    m_dayTimer = m_services.queue.every(dayPeriod, [this] { showAnotherDay(); });
    refresh();
}

void DashboardModel::close() {
    m_isOpen = false;
    m_dayTimer.cancel();
}

void DashboardModel::showAnotherDay() {
    if (dates::localDay(m_services.clock.wallTime()) != m_day)
        refresh();
}

void DashboardModel::refresh() {
    if (!m_isOpen || std::exchange(m_isLoading, true)) {
        m_isStale = m_isOpen;
        return;
    }
    m_services.background.run([&store = m_services.store, &queue = m_services.queue,
                               finish = m_lifetime.bind([this](const Numbers& numbers) { install(numbers); })](auto) {
        const Numbers numbers{store.shownTodayStats(), store.shownAllTimeStats(), store.activity()};
        queue.post([finish, numbers]() mutable { finish(numbers); });
    });
}

void DashboardModel::install(const Numbers& numbers) {
    m_isLoading = false;
    const auto now = m_services.clock.wallTime();
    m_day = dates::localDay(now);
    const TodayStats& today = numbers.today;
    const AllTimeStats& all = numbers.allTime;
    m_today = {card(shortCount(today.words), plural(today.words, "word", "words")),
               card(std::to_string(today.sessions), plural(today.sessions, "session", "sessions")),
               card(std::to_string(today.avgWPM), "WPM"), card(savedTimeText(today.words, today.duration), "saved")};
    m_allTime = {card(shortCount(all.totalWords), plural(all.totalWords, "word", "words")),
                 card(std::to_string(all.totalSessions), plural(all.totalSessions, "session", "sessions")),
                 card(std::to_string(all.avgWPM), "WPM"),
                 card(std::to_string(all.daysActive), plural(all.daysActive, "day active", "days active")),
                 card(allTimeSavedTimeText(all.totalWords, all.totalMinutes * secondsPerMinute), "saved")};
    m_days = daysChart(numbers.activity, now);
    m_hours = hoursChart(numbers.activity);
    m_state = all.totalSessions == 0 ? State::empty : State::ready;
    m_changes.tell();
    if (std::exchange(m_isStale, false))
        refresh();
}

} // namespace fenlo
