// Local time and the names of the weekdays.
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>

#include <chrono>
#include <cstdint>
#include <string>

namespace qlx {

/// A point in time as a calendar and a clock on the wall show it (Gregorian calendar).
struct LocalTime {
    std::int32_t year = 1970;   ///< Such as 1970.
    std::uint32_t month = 1;    ///< 1 to 12
    std::uint32_t day = 1;      ///< 1 to 31
    std::uint32_t hour = 0;     ///< 0 to 23
    std::uint32_t minute = 0;   ///< 0 to 59
    std::uint32_t second = 0;   ///< 0 to 60
    std::uint32_t weekday = 4;  ///< 0 (Sunday) to 6

    /// Field by field.
    friend bool operator==(const LocalTime&, const LocalTime&) = default;
};

/// The local time zone. The default is the system's. Any thread may call it.
class QLX_EXPORT TimeZone {
public:
    TimeZone() = default;
    TimeZone(const TimeZone&) = delete;
    TimeZone& operator=(const TimeZone&) = delete;
    virtual ~TimeZone();

    /// The portable default.
    [[nodiscard]] static TimeZone& defaultInstance();

    /// What a clock on the wall shows at `time`.
    [[nodiscard]] virtual LocalTime localTime(std::chrono::system_clock::time_point time);
};

/// The names of the weekdays in the language of the user. Any thread may call it.
class QLX_EXPORT WeekdayNames {
public:
    WeekdayNames() = default;
    WeekdayNames(const WeekdayNames&) = delete;
    WeekdayNames& operator=(const WeekdayNames&) = delete;
    virtual ~WeekdayNames();

    /// The portable default.
    [[nodiscard]] static WeekdayNames& defaultInstance();

    /// The full name (UTF-8) of `weekday`, 0 (Sunday) to 6; empty for any other number. The default takes the locale of
    /// the environment (LC_ALL, LC_TIME, LANG) and English where that has no names in UTF-8.
    [[nodiscard]] virtual std::string name(std::uint32_t weekday);
};

}  // namespace qlx
