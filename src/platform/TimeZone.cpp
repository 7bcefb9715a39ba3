#include <QLXClosedCaptionsUtilities/platform/TimeZone.h>

#include "platform/Process.h"

#include <QLXClosedCaptionsUtilities/platform/Text.h>

#include <array>
#include <atomic>
#include <clocale>
#include <ctime>

#include <langinfo.h>
#ifdef __APPLE__
#include <xlocale.h>
#endif

namespace qlx {

namespace {

constexpr std::array<const char*, 7> kEnglishNames{"Sunday",   "Monday", "Tuesday", "Wednesday",
                                                   "Thursday", "Friday", "Saturday"};
constexpr std::array<nl_item, 7> kNameItems{DAY_1, DAY_2, DAY_3, DAY_4, DAY_5, DAY_6, DAY_7};

using Names = std::array<std::string, 7>;

/// The names in the locale of the environment, which need not be the locale that the process has set.
Names environmentNames() {
    Names names;
    const locale_t locale = newlocale(LC_TIME_MASK | LC_CTYPE_MASK, "", nullptr);
    for (std::size_t day = 0; day < names.size(); ++day) {
        if (locale) {
            names[day] = nl_langinfo_l(kNameItems[day], locale);
        }
        if (names[day].empty() || firstInvalidUTF8Byte(names[day])) {
            names[day] = kEnglishNames[day];
        }
    }
    if (locale) {
        freelocale(locale);
    }
    return names;
}

}  // namespace

TimeZone::~TimeZone() = default;

TimeZone& TimeZone::defaultInstance() {
    static auto* const instance = new TimeZone;
    return *instance;
}

LocalTime TimeZone::localTime(std::chrono::system_clock::time_point time) {
    const std::time_t seconds = std::chrono::system_clock::to_time_t(std::chrono::floor<std::chrono::seconds>(time));
    std::tm fields{};
    {
        const SystemCallLock lock;
        if (!localtime_r(&seconds, &fields)) {
            return {};
        }
    }
    const auto number = [](int field) { return static_cast<std::uint32_t>(field); };
    return {fields.tm_year + 1900, number(fields.tm_mon + 1), number(fields.tm_mday), number(fields.tm_hour),
            number(fields.tm_min), number(fields.tm_sec),     number(fields.tm_wday)};
}

WeekdayNames::~WeekdayNames() = default;

WeekdayNames& WeekdayNames::defaultInstance() {
    static auto* const instance = new WeekdayNames;
    return *instance;
}

std::string WeekdayNames::name(std::uint32_t weekday) {
    // Not made where it is declared: a child that is forked meanwhile would wait for that for ever.
    static constinit std::atomic<const Names*> made{nullptr};
    const Names* names = made.load(std::memory_order_acquire);
    if (names == nullptr) {
        const SystemCallLock lock;
        names = made.load(std::memory_order_relaxed);
        if (names == nullptr) {
            names = new Names(environmentNames());
            made.store(names, std::memory_order_release);
        }
    }
    return weekday < names->size() ? (*names)[weekday] : std::string();
}

}  // namespace qlx
