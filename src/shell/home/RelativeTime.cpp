#include "shell/home/RelativeTime.h"

namespace fenlo {

namespace {

using namespace std::chrono;

std::string ago(std::int64_t count, const char* unit) {
    return std::to_string(count) + " " + unit + (count == 1 ? "" : "s") + " ago";
}

} // namespace

std::string relativeTime(dates::Moment then, dates::Moment now) {
    const auto passed = now - then;
    if (passed < -minutes(1)) // a clock was wrong
        return dates::mediumText(then);
    if (passed < minutes(1))
        return "Just now";
    if (passed < hours(1))
        return ago(duration_cast<minutes>(passed).count(), "minute");
    if (then >= dates::startOfDay(now))
        return ago(duration_cast<hours>(passed).count(), "hour");
    for (int days = 1; days < 7; ++days)
        if (then >= dates::startOfDay(now, days))
            return days == 1 ? "Yesterday" : ago(days, "day");
    return dates::mediumText(then);
}

std::string relativeTime(std::string_view timestamp, dates::Moment now) {
    const auto then = dates::parseIso(timestamp);
    return then ? relativeTime(*then, now) : std::string(timestamp);
}

} // namespace fenlo
