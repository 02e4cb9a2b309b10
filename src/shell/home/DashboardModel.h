#pragma once

#include "base/Changes.h"
#include "base/Lifetime.h"
#include "base/MainQueue.h"
#include "base/NotificationCenter.h"
#include "shell/Statistics.h"

#include <functional>
#include <string>
#include <vector>

namespace fenlo {

class Background;
class Clock;
class StatisticsStore;

/// What the dashboard needs. All of it outlives the model.
struct DashboardServices {
    const StatisticsStore& store;
    const Clock& clock;
    MainQueue& queue;
    Background& background;
    NotificationCenter& notifications;
};

/// The numbers of what was dictated, today and of all time, and two pictures of when.
///
/// Threads: main thread; the file is read on a worker.
/// Errors:  none; what cannot be read counts as nothing.
class DashboardModel {
public:
    enum class State { loading, empty, ready };

    struct Card {
        std::string value;  // "12.4k"
        std::string label;  // "words"
        std::string spoken; // both, for the screen reader: "12.4k words"
    };

    struct Bar {
        double height = 0;  // 0 to 1, of the highest
        std::string label;  // below it; empty for most
        std::string detail; // "Tue 12 May: 310 words"
        bool isToday = false;
    };

    struct Chart {
        std::vector<Bar> bars;
        std::string sentence; // what one sees in it, for those who do not
        std::string highest;  // the number at the top, "310"
    };

    explicit DashboardModel(DashboardServices services);

    /// Begins to show the numbers, and follows them from then on.
    void open();
    void close();

    State state() const { return m_state; }
    const std::vector<Card>& today() const { return m_today; }
    const std::vector<Card>& allTime() const { return m_allTime; }
    /// Words a day over four weeks, the last bar is today.
    const Chart& days() const { return m_days; }
    /// Words in each hour of the day.
    const Chart& hours() const { return m_hours; }

    [[nodiscard]] Changes::Watch watch(std::function<void()> handler) { return m_changes.watch(std::move(handler)); }

private:
    struct Numbers {
        TodayStats today;
        AllTimeStats allTime;
        Activity activity;
    };

    void refresh();
    void install(const Numbers& numbers);
    void showAnotherDay();

    const DashboardServices m_services;
    State m_state = State::loading;
    bool m_isOpen = false;
    bool m_isLoading = false;
    bool m_isStale = false; // changed while it was loaded
    std::string m_day;      // that the numbers are of
    std::vector<Card> m_today;
    std::vector<Card> m_allTime;
    Chart m_days;
    Chart m_hours;
    Changes m_changes;
    NotificationCenter::Observation m_statisticsChanged;
    Timer m_dayTimer;
    Lifetime m_lifetime;
};

/// "950", and above a thousand "1.2k".
std::string shortCount(std::int64_t count);

} // namespace fenlo
