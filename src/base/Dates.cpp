#include "base/Dates.h"

#include "base/Environment.h"

#include <array>
#include <charconv>
#include <cstdio>
#include <ctime>
#include <memory>
#include <mutex>
#include <unicode/datefmt.h>
#include <unicode/gregocal.h>
#include <unicode/timezone.h>
#include <utility>

namespace fenlo::dates {

namespace {

using namespace std::chrono;

UDate toIcu(Moment moment) {
    return static_cast<UDate>(floor<milliseconds>(moment.time_since_epoch()).count());
}

Moment fromIcu(UDate date) {
    return Moment(milliseconds(static_cast<std::int64_t>(date)));
}

/// Asked each time, since the program runs for weeks and a laptop travels. ICU leaves the locking to its caller.
std::unique_ptr<icu::TimeZone> currentZone() {
    static std::mutex detecting;
    std::lock_guard lock(detecting);
    return std::unique_ptr<icu::TimeZone>(icu::TimeZone::detectHostTimeZone());
}

/// The calendar of files, whatever calendar the user's locale has.
class LocalCalendar {
public:
    explicit LocalCalendar(Moment moment) : m_calendar(currentZone().release(), icu::Locale::getRoot(), m_status) {
        // A time of day that clocks skip is the moment of the change; one that comes twice is the first of the two.
        m_calendar.setSkippedWallTimeOption(UCAL_WALLTIME_NEXT_VALID);
        m_calendar.setRepeatedWallTimeOption(UCAL_WALLTIME_FIRST);
        m_calendar.setTime(toIcu(moment), m_status);
    }

    int get(UCalendarDateFields field) { return m_calendar.get(field, m_status); }
    void add(UCalendarDateFields field, int amount) { m_calendar.add(field, amount, m_status); }
    void toMidnight() {
        m_calendar.set(get(UCAL_YEAR), get(UCAL_MONTH), get(UCAL_DATE), 0, 0, 0);
        m_calendar.set(UCAL_MILLISECOND, 0);
    }
    Moment moment() { return fromIcu(m_calendar.getTime(m_status)); }

private:
    UErrorCode m_status = U_ZERO_ERROR;
    icu::GregorianCalendar m_calendar;
};

icu::Locale userLocale() {
    for (const char* variable : {"LC_ALL", "LC_TIME", "LANG"})
        if (const std::string value = environment(variable); !value.empty()) {
            const std::string name = value.substr(0, value.find('.'));
            const icu::Locale locale = icu::Locale::createCanonical(value.c_str());
            // An unknown name makes a bogus locale, which must not reach a formatter.
            return name == "C" || name == "POSIX" || locale.isBogus() ? icu::Locale::getUS() : locale;
        }
    return icu::Locale::getUS();
}

/// Takes exactly so many digits from the front of the text.
std::optional<int> takeDigits(std::string_view& text, std::size_t count) {
    int number = 0;
    if (text.size() < count || text.front() == '-')
        return {};
    const auto [end, error] = std::from_chars(text.data(), text.data() + count, number);
    if (error != std::errc() || end != text.data() + count)
        return {};
    text.remove_prefix(count);
    return number;
}

bool take(std::string_view& text, char c) {
    if (!text.starts_with(c))
        return false;
    text.remove_prefix(1);
    return true;
}

/// Of ".25"; as fine as the clock, further digits are dropped.
std::optional<nanoseconds> takeFraction(std::string_view& text) {
    nanoseconds fraction{0};
    if (!take(text, '.'))
        return fraction;
    std::int64_t unit = 100'000'000;
    const std::size_t before = text.size();
    for (; !text.empty() && text.front() >= '0' && text.front() <= '9'; text.remove_prefix(1), unit /= 10)
        fraction += nanoseconds((text.front() - '0') * unit);
    return text.size() == before ? std::nullopt : std::optional(fraction);
}

/// "Z", "+05:30" or "+0530", at the end of the text.
std::optional<minutes> takeOffset(std::string_view& text) {
    if (take(text, 'Z'))
        return minutes(0);
    const int sign = take(text, '-') ? -1 : 1;
    if (sign > 0 && !take(text, '+'))
        return {};
    const auto hour = takeDigits(text, 2);
    take(text, ':');
    const auto minute = takeDigits(text, 2);
    if (!hour || !minute || *hour > 23 || *minute > 59)
        return {};
    return sign * (hours(*hour) + minutes(*minute));
}

std::optional<sys_days> takeDate(std::string_view& text) {
    const auto year = takeDigits(text, 4);
    const bool first = take(text, '-');
    const auto month = takeDigits(text, 2);
    const bool second = take(text, '-');
    const auto day = takeDigits(text, 2);
    if (!year || !first || !month || !second || !day)
        return {};
    const year_month_day date{std::chrono::year(*year), std::chrono::month(static_cast<unsigned>(*month)),
                              std::chrono::day(static_cast<unsigned>(*day))};
    // The clock's nanoseconds reach no further.
    if (!date.ok() || *year < 1678 || *year > 2261)
        return {};
    return sys_days(date);
}

std::optional<seconds> takeTime(std::string_view& text, char separator = ':') {
    const auto hour = takeDigits(text, 2);
    const bool first = take(text, separator);
    const auto minute = takeDigits(text, 2);
    const bool second = take(text, separator);
    const auto second60 = takeDigits(text, 2);
    if (!hour || !first || !minute || !second || !second60 || *hour > 23 || *minute > 59 || *second60 > 59)
        return {};
    return hours(*hour) + minutes(*minute) + seconds(*second60);
}

std::tm localTime(Moment moment) {
    const std::time_t time = system_clock::to_time_t(moment);
    std::tm local{};
    ::tzset(); // the zone may have changed
    ::localtime_r(&time, &local);
    return local;
}

/// By the C library and not by ICU, whose data are megabytes to read: the start asks for the day.
std::string localText(Moment moment, const char* format) {
    const std::tm local = localTime(moment);
    std::array<char, 32> shown{};
    std::strftime(shown.data(), shown.size(), format, &local);
    return shown.data();
}

/// The moment at which local clocks show this time, the first where they show it twice, an hour apart.
Moment momentOf(sys_days day, seconds time) {
    const year_month_day date(day);
    std::tm shown{};
    shown.tm_year = static_cast<int>(date.year()) - 1900;
    shown.tm_mon = static_cast<int>(static_cast<unsigned>(date.month())) - 1;
    shown.tm_mday = static_cast<int>(static_cast<unsigned>(date.day()));
    shown.tm_hour = static_cast<int>(duration_cast<hours>(time).count());
    shown.tm_min = static_cast<int>(duration_cast<minutes>(time).count() % 60);
    shown.tm_sec = static_cast<int>(time.count() % 60);
    shown.tm_isdst = -1;
    const Moment found = system_clock::from_time_t(::mktime(&shown));
    const std::tm earlier = localTime(found - hours(1));
    return earlier.tm_hour == shown.tm_hour && earlier.tm_min == shown.tm_min ? found - hours(1) : found;
}

} // namespace

std::string localDay(Moment moment) {
    return localText(moment, "%Y-%m-%d");
}

int localHour(Moment moment) {
    return localTime(moment).tm_hour;
}

std::string localMinute(Moment moment) {
    return localText(moment, "%Y-%m-%d %H:%M");
}

std::string localStamp(Moment moment) {
    return localText(moment, "%Y-%m-%d_%H-%M-%S");
}

std::optional<Moment> parseLocalStamp(std::string_view stamp) {
    const auto day = takeDate(stamp);
    const bool separated = take(stamp, '_');
    const auto time = takeTime(stamp, '-');
    if (!day || !separated || !time || !stamp.empty())
        return {};
    return momentOf(*day, *time);
}

std::string isoTimestamp(Moment moment) {
    const auto day = floor<days>(moment);
    const year_month_day date(day);
    const hh_mm_ss time(floor<seconds>(moment - day));
    std::array<char, 80> stamp{};
    std::snprintf(stamp.data(), stamp.size(), "%04d-%02u-%02uT%02d:%02d:%02dZ", static_cast<int>(date.year()),
                  static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                  static_cast<int>(time.hours().count()), static_cast<int>(time.minutes().count()),
                  static_cast<int>(time.seconds().count()));
    return stamp.data();
}

std::optional<Moment> parseIso(std::string_view timestamp) {
    const auto day = takeDate(timestamp);
    const bool separated = take(timestamp, 'T');
    const auto time = takeTime(timestamp);
    const auto fraction = takeFraction(timestamp);
    const auto offset = takeOffset(timestamp);
    if (!day || !separated || !time || !fraction || !offset || !timestamp.empty())
        return {};
    return Moment(*day) + *time + *fraction - *offset;
}

Moment startOfDay(Moment moment, int daysBefore) {
    LocalCalendar calendar(moment);
    calendar.add(UCAL_DATE, -daysBefore);
    calendar.toMidnight();
    return calendar.moment();
}

Moment daysBefore(Moment moment, int days) {
    LocalCalendar calendar(moment);
    calendar.add(UCAL_DATE, -days);
    return calendar.moment();
}

Moment monthsBefore(Moment moment, int months) {
    LocalCalendar calendar(moment);
    calendar.add(UCAL_MONTH, -months);
    return calendar.moment();
}

struct MediumTexts::Format {
    /// Made with the first text: the data for it are megabytes, and often there is none to write. Null where it fails.
    const icu::DateFormat* get() {
        if (!std::exchange(m_isMade, true)) {
            m_format.reset(icu::DateFormat::createDateTimeInstance(icu::DateFormat::kMedium, icu::DateFormat::kShort,
                                                                   userLocale()));
            if (m_format)
                m_format->adoptTimeZone(currentZone().release());
        }
        return m_format.get();
    }

private:
    bool m_isMade = false;
    std::unique_ptr<icu::DateFormat> m_format;
};

MediumTexts::MediumTexts() : m_format(new Format) {}

MediumTexts::~MediumTexts() = default;

std::string MediumTexts::of(Moment moment) const {
    const icu::DateFormat* const format = m_format->get();
    if (!format)
        return isoTimestamp(moment);
    icu::UnicodeString shown;
    format->format(toIcu(moment), shown);
    // Newer locale data put a narrow no-break space before "AM"; programs read the text too.
    shown.findAndReplace(icu::UnicodeString(static_cast<UChar32>(0x202F)), icu::UnicodeString(u' '));
    std::string text;
    shown.toUTF8String(text);
    return text;
}

std::string mediumText(Moment moment) {
    return MediumTexts().of(moment);
}

} // namespace fenlo::dates
