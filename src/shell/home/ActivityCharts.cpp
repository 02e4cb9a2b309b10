#include "shell/home/ActivityCharts.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>

namespace fenlo {

namespace {

using Chart = DashboardModel::Chart;
using Bar = DashboardModel::Bar;

constexpr int shownDays = 28;
constexpr int daysPerWeek = 7;
constexpr int hoursPerLabel = 6;

constexpr std::array weekdays{"Sunday", "Monday", "Tuesday", "Wednesday", "Thursday", "Friday", "Saturday"};
constexpr std::array months{"January", "February", "March",     "April",   "May",      "June",
                            "July",    "August",   "September", "October", "November", "December"};

std::string counted(std::int64_t words) {
    return std::to_string(words) + (words == 1 ? " word" : " words");
}

/// Of a local day as files write it.
std::chrono::year_month_day dateOf(const std::string& day) {
    int year = 0;
    unsigned month = 0;
    unsigned number = 0;
    std::sscanf(day.c_str(), "%d-%u-%u", &year, &month, &number);
    return {std::chrono::year(year), std::chrono::month(month), std::chrono::day(number)};
}

/// "12 May"
std::string dayText(const std::chrono::year_month_day& date) {
    return std::to_string(static_cast<unsigned>(date.day())) + " " +
           months.at((static_cast<unsigned>(date.month()) - 1) % months.size());
}

/// "Tuesday 12 May"
std::string fullDayText(const std::chrono::year_month_day& date) {
    return std::string(weekdays.at(std::chrono::weekday(std::chrono::sys_days(date)).c_encoding())) + " " +
           dayText(date);
}

std::string hourText(std::size_t hour) {
    return (hour < 10 ? "0" : "") + std::to_string(hour) + ":00";
}

void setHeights(Chart& chart, const std::vector<std::int64_t>& words) {
    const std::int64_t most = std::max<std::int64_t>(1, std::ranges::max(words));
    for (std::size_t i = 0; i < words.size(); ++i)
        chart.bars[i].height = static_cast<double>(std::max<std::int64_t>(0, words[i])) / static_cast<double>(most);
    chart.highest = shortCount(std::ranges::max(words));
}

} // namespace

Chart daysChart(const Activity& activity, dates::Moment now) {
    Chart chart;
    std::vector<std::int64_t> words;
    std::int64_t total = 0;
    std::size_t best = 0;
    std::string bestDay;
    const std::chrono::sys_days today(dateOf(dates::localDay(now)));
    for (int ago = shownDays - 1; ago >= 0; --ago) {
        const std::chrono::year_month_day date(today - std::chrono::days(ago));
        std::array<char, 16> key{};
        std::snprintf(key.data(), key.size(), "%04d-%02u-%02u", static_cast<int>(date.year()),
                      static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()));
        const auto found = activity.wordsByDay.find(key.data());
        words.push_back(found == activity.wordsByDay.end() ? 0 : found->second);
        total += words.back();
        if (words.back() >= words[best]) {
            best = words.size() - 1;
            bestDay = fullDayText(date);
        }
        const std::string label = ago == 0 ? "Today" : ago % daysPerWeek == 0 ? dayText(date) : "";
        chart.bars.push_back({0, label, fullDayText(date) + ": " + counted(words.back()), ago == 0});
    }
    setHeights(chart, words);
    chart.sentence = total == 0 ? "No words in the last four weeks."
                                : counted(total) + " in the last four weeks, most of them on " + bestDay + ": " +
                                      std::to_string(words[best]) + ".";
    return chart;
}

Chart hoursChart(const Activity& activity) {
    Chart chart;
    const std::vector<std::int64_t> words(activity.wordsByHour.begin(), activity.wordsByHour.end());
    for (std::size_t hour = 0; hour < words.size(); ++hour)
        chart.bars.push_back({0, hour % hoursPerLabel == 0 ? hourText(hour) : "",
                              hourText(hour) + " to " + hourText(hour + 1) + ": " + counted(words[hour])});
    setHeights(chart, words);
    const auto best = static_cast<std::size_t>(std::ranges::max_element(words) - words.begin());
    chart.sentence = words[best] == 0 ? "No words in the history."
                                      : "You dictate most between " + hourText(best) + " and " + hourText(best + 1) +
                                            ": " + counted(words[best]) + " of those in your history.";
    return chart;
}

} // namespace fenlo
