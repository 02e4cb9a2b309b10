#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

/// Dates as people and files write them, by ICU, in the current time zone (`TZ`, or the system's).
///
/// Threads: any.
namespace fenlo::dates {

using Moment = std::chrono::system_clock::time_point;

/// "2026-11-15", the local calendar day.
std::string localDay(Moment moment);

// Cheap enough for thousands of moments:
/// 0 to 23, the hour of the local day.
int localHour(Moment moment);
/// "2026-11-15 09:30", the local time, as spreadsheets read it.
std::string localMinute(Moment moment);

/// "2026-11-15_09-30-05", the local time in names of files, and its moment; nothing for other texts. A time that came
/// twice, when the clocks were set back, is read as the first of the two.
std::string localStamp(Moment moment);
std::optional<Moment> parseLocalStamp(std::string_view stamp);

/// "2026-11-15T09:30:00Z".
std::string isoTimestamp(Moment moment);

/// Reads an ISO 8601 date and time, with or without fractional seconds, with "Z" or an offset; nothing for other texts.
std::optional<Moment> parseIso(std::string_view timestamp);

/// The start of the local calendar day so many days before that of `moment`; 0 is its own day.
Moment startOfDay(Moment moment, int daysBefore = 0);

/// The same time of day, calendar days or months earlier.
Moment daysBefore(Moment moment, int days);
Moment monthsBefore(Moment moment, int months);

/// The date in the medium style and the time in the short style of the user's locale (`LC_ALL`, `LC_TIME`, `LANG`):
/// "Nov 15, 2026, 9:30 AM".
std::string mediumText(Moment moment);

/// The same for many moments; what is slow is done once.
///
/// Threads: one at a time.
class MediumTexts {
public:
    MediumTexts();
    ~MediumTexts();
    MediumTexts(const MediumTexts&) = delete;
    MediumTexts& operator=(const MediumTexts&) = delete;

    std::string of(Moment moment) const;

private:
    struct Format;
    const std::unique_ptr<Format> m_format;
};

} // namespace fenlo::dates
