#include "base/Dates.h"
#include "support/EnvironmentVariable.h"

#include <gtest/gtest.h>
#include <string>

using namespace fenlo;
using dates::Moment;
using dates::parseIso;
using test::EnvironmentVariable;

namespace {

Moment at(const char* timestamp) {
    return parseIso(timestamp).value();
}

} // namespace

TEST(Dates, ReadIsoTimestamps) {
    const struct {
        const char* timestamp;
        const char* utc; // null when the text is no timestamp
        int milliseconds = 0;
    } cases[] = {
        {"2026-11-15T09:30:00Z", "2026-11-15T09:30:00Z"},
        {"2026-11-15T09:30:00.250Z", "2026-11-15T09:30:00Z", 250},
        {"2026-11-15T09:30:00.2509999999999999Z", "2026-11-15T09:30:00Z", 250},
        {"2026-11-15T00:30:00+05:30", "2026-11-14T19:00:00Z"},
        {"2026-12-31T20:00:00-0800", "2027-01-01T04:00:00Z"},
        {"2024-02-29T00:00:00Z", "2024-02-29T00:00:00Z"},
        {"1969-12-31T23:59:59.5Z", "1969-12-31T23:59:59Z", 500},
        {"2023-02-29T00:00:00Z", nullptr},
        {"2026-11-15", nullptr},
        {"2026-11-15T09:30:00", nullptr},
        {"2026-11-15 09:30:00Z", nullptr},
        {"2026-11-15T24:00:00Z", nullptr},
        {"2026-11-15T09:30:00.Z", nullptr},
        {"2026-11-15T09:30:00Zulu", nullptr},
        {"2026-11-15T09:30:00+5:30", nullptr},
        {"2026-1-015T09:30:00Z", nullptr},
        {"-026-11-15T09:30:00Z", nullptr},
        {"9999-12-31T23:59:59Z", nullptr},
        {"", nullptr},
        {"yesterday", nullptr},
    };
    for (const auto& [timestamp, utc, milliseconds] : cases) {
        const auto moment = parseIso(timestamp);
        ASSERT_EQ(moment.has_value(), utc != nullptr) << timestamp;
        if (!moment)
            continue;
        EXPECT_EQ(dates::isoTimestamp(*moment), utc);
        const auto fraction = *moment - std::chrono::floor<std::chrono::seconds>(*moment);
        EXPECT_EQ(std::chrono::floor<std::chrono::milliseconds>(fraction).count(), milliseconds) << timestamp;
    }
}

TEST(Dates, DaysAreThoseOfTheLocalCalendar) {
    const struct {
        const char* zone;
        const char* moment;
        int daysBefore;
        const char* day; // of the moment
        const char* start;
    } cases[] = {
        {"UTC", "2026-11-15T00:00:00Z", 0, "2026-11-15", "2026-11-15T00:00:00Z"},
        {"Asia/Kolkata", "2026-11-14T18:29:59Z", 0, "2026-11-14", "2026-11-13T18:30:00Z"},
        {"Asia/Kolkata", "2026-11-14T18:30:00Z", 0, "2026-11-15", "2026-11-14T18:30:00Z"},
        {"Pacific/Kiritimati", "2026-12-31T10:00:00Z", 1, "2027-01-01", "2026-12-30T10:00:00Z"},
        {"UTC", "2024-03-01T12:00:00Z", 1, "2024-03-01", "2024-02-29T00:00:00Z"},
        {"UTC", "2026-03-01T12:00:00Z", 1, "2026-03-01", "2026-02-28T00:00:00Z"},
        // A day of 23 hours, and one of 25.
        {"Europe/Berlin", "2026-03-29T21:59:00Z", 0, "2026-03-29", "2026-03-28T23:00:00Z"},
        {"Europe/Berlin", "2026-03-30T10:00:00Z", 1, "2026-03-30", "2026-03-28T23:00:00Z"},
        {"America/New_York", "2026-11-02T04:30:00Z", 0, "2026-11-01", "2026-11-01T04:00:00Z"},
        {"America/New_York", "2026-11-02T05:30:00Z", 1, "2026-11-02", "2026-11-01T04:00:00Z"},
        // A day that begins at one o'clock, also as seen from the next, and one that has midnight twice.
        {"America/Sao_Paulo", "2018-11-04T12:00:00Z", 0, "2018-11-04", "2018-11-04T03:00:00Z"},
        {"America/Sao_Paulo", "2018-11-05T02:30:00Z", 1, "2018-11-05", "2018-11-04T03:00:00Z"},
        {"America/Sao_Paulo", "2018-11-04T12:00:00Z", 1, "2018-11-04", "2018-11-03T03:00:00Z"},
        {"America/Havana", "2026-11-01T12:00:00Z", 0, "2026-11-01", "2026-11-01T04:00:00Z"},
    };
    for (const auto& [zone, moment, daysBefore, day, start] : cases) {
        const EnvironmentVariable variable("TZ", zone);
        EXPECT_EQ(dates::localDay(at(moment)), day) << zone << ' ' << moment;
        EXPECT_EQ(dates::isoTimestamp(dates::startOfDay(at(moment), daysBefore)), start) << zone << ' ' << moment;
    }
}

TEST(Dates, GoBackByDaysAndMonthsOfTheCalendar) {
    const EnvironmentVariable variable("TZ", "Europe/Berlin");
    EXPECT_EQ(dates::isoTimestamp(dates::daysBefore(at("2026-03-31T10:00:00Z"), 7)), "2026-03-24T11:00:00Z")
        << "the same time of day, though an hour was lost";
    EXPECT_EQ(dates::isoTimestamp(dates::monthsBefore(at("2026-03-31T10:00:00Z"), 1)), "2026-02-28T11:00:00Z");
    EXPECT_EQ(dates::isoTimestamp(dates::monthsBefore(at("2024-03-31T10:00:00Z"), 1)), "2024-02-29T11:00:00Z");
    EXPECT_EQ(dates::isoTimestamp(dates::monthsBefore(at("2026-01-15T10:00:00Z"), 1)), "2025-12-15T10:00:00Z");
}

TEST(Dates, NameFilesByTheLocalClock) {
    const struct {
        const char* zone;
        const char* moment;
        const char* stamp;
        const char* read = nullptr; // where it differs
    } cases[] = {
        {"UTC", "2026-11-15T09:30:05Z", "2026-11-15_09-30-05"},
        {"Asia/Kolkata", "2026-11-14T18:30:00Z", "2026-11-15_00-00-00"},
        {"Europe/Berlin", "2026-03-29T00:59:59Z", "2026-03-29_01-59-59"},
        {"Europe/Berlin", "2026-03-29T01:00:00Z", "2026-03-29_03-00-00"},
        {"Europe/Berlin", "2026-10-25T00:30:00Z", "2026-10-25_02-30-00"},
        {"Europe/Berlin", "2026-10-25T01:30:00Z", "2026-10-25_02-30-00", "2026-10-25T00:30:00Z"},
        {"America/New_York", "2026-07-04T04:00:00Z", "2026-07-04_00-00-00"},
    };
    for (const auto& [zone, moment, stamp, read] : cases) {
        const EnvironmentVariable variable("TZ", zone);
        EXPECT_EQ(dates::localStamp(at(moment)), stamp) << zone;
        EXPECT_EQ(dates::parseLocalStamp(stamp), at(read ? read : moment)) << zone << ' ' << stamp;
    }
    const EnvironmentVariable variable("TZ", "Europe/Berlin");
    EXPECT_TRUE(dates::parseLocalStamp("2026-03-29_02-30-00"))
        << "a time that clocks skipped, in a name from elsewhere";
    for (const char* other : {"", "2026-02-30_09-30-05", "2026-11-15_24-00-00", "2026-11-15_09-30-05x",
                              "2026-11-15_9-30-05", "2026-11-15_09:30:05", "2026-11-15"})
        EXPECT_FALSE(dates::parseLocalStamp(other)) << other;
}

TEST(Dates, AreShownInTheUsersLocale) {
    const EnvironmentVariable zone("TZ", "America/New_York");
    const char* english = "Nov 15, 2026, 9:30 AM";
    const struct {
        const char* all;
        const char* time;
        const char* lang;
        const char* shown;
    } cases[] = {
        {nullptr, nullptr, nullptr, english},
        {"", "", "C.UTF-8", english},
        {"POSIX", "de_DE.UTF-8", "de_DE.UTF-8", english},
        {nullptr, nullptr, "de_DE.UTF-8", "15.11.2026, 09:30"},
        {nullptr, "en_US.UTF-8", "de_DE.UTF-8", english},
        {"ja_JP.UTF-8", "en_US.UTF-8", "de_DE.UTF-8", "2026/11/15 9:30"},
        {"no such locale", nullptr, nullptr, english},
    };
    for (const auto& [all, time, lang, shown] : cases) {
        const EnvironmentVariable first("LC_ALL", all), second("LC_TIME", time), third("LANG", lang);
        EXPECT_EQ(dates::mediumText(at("2026-11-15T14:30:00Z")), shown);
    }
}
