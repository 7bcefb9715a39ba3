// The commands of SCTE-35 sections as elements of XML.
#pragma once

#include "streams/SCTEXmlFields.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

// Functions are found by the namespace of what calls them.
namespace qlx::tool::scte_xml {

using namespace scte;

// utc_splice_time can be made a date without an offset of leap seconds (ANSI/SCTE 35, 9.7.2.1): it counts the seconds of
// the calendar.
inline constexpr std::chrono::sys_seconds kEpoch{std::chrono::sys_days{std::chrono::January / 6 / 1980}};

/// `2012-09-18T10:14:34Z`
inline std::string dateText(std::uint32_t seconds) {
    const std::chrono::sys_seconds time = kEpoch + std::chrono::seconds(seconds);
    const auto day = std::chrono::floor<std::chrono::days>(time);
    const std::chrono::year_month_day date(day);
    const std::chrono::hh_mm_ss clock(time - day);
    std::array<char, 48> text{};
    (void)std::snprintf(text.data(), text.size(), "%04d-%02u-%02uT%02d:%02d:%02dZ", static_cast<int>(date.year()),
                        static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                        static_cast<int>(clock.hours().count()), static_cast<int>(clock.minutes().count()),
                        static_cast<int>(clock.seconds().count()));
    return text.data();
}

/// The two or four digits at the beginning, and the character behind them if there must be one.
inline std::optional<int> takeDigits(std::string_view& text, std::size_t count, char end) {
    const auto number = decimalOf(text.substr(0, count), 9999);
    if (!number || text.size() < count + (end == 0 ? 0 : 1) || (end != 0 && text[count] != end)) {
        return std::nullopt;
    }
    text.remove_prefix(count + (end == 0 ? 0 : 1));
    return static_cast<int>(*number);
}

/// The seconds by which a zone such as `+02:00` is ahead; none for what is no zone. Without one it is UTC.
inline std::optional<int> zoneOf(std::string_view text) {
    const bool isUtc = text.empty() || text == "Z";
    if (isUtc) {
        return 0;
    }
    const int sign = text.starts_with('+') ? 1 : text.starts_with('-') ? -1 : 0;
    text.remove_prefix(1);
    const auto hours = takeDigits(text, 2, ':');
    const auto minutes = takeDigits(text, 2, 0);
    if (sign == 0 || !hours || !minutes || !text.empty() || *hours > 14 || *minutes > 59) {
        return std::nullopt;
    }
    return sign * (*hours * 3600 + *minutes * 60);
}

/// The seconds of a date of whole seconds; none for what is no such date, or is out of range. A day may end with 24:00:00,
/// the first moment of the next one (XML Schema 1.1, part 2, 3.3.7).
inline std::optional<std::uint32_t> secondsOfDate(std::string_view text) {
    const auto year = takeDigits(text, 4, '-');
    const auto month = takeDigits(text, 2, '-');
    const auto day = takeDigits(text, 2, 'T');
    const auto hours = takeDigits(text, 2, ':');
    const auto minutes = takeDigits(text, 2, ':');
    const auto seconds = takeDigits(text, 2, 0);
    constexpr int kDay = 86400;
    if (!year || !month || !day || !hours || !minutes || !seconds || *minutes > 59 || *seconds > 59 ||
        *hours * 3600 + *minutes * 60 + *seconds > kDay) {
        return std::nullopt;
    }
    if (text.starts_with('.')) {
        const std::size_t end = std::min(text.size(), text.find_first_not_of('0', 1));
        text.remove_prefix(end > 1 ? end : 0);
    }
    const auto zone = zoneOf(text);
    const std::chrono::year_month_day date(std::chrono::year(*year), std::chrono::month(static_cast<unsigned>(*month)),
                                           std::chrono::day(static_cast<unsigned>(*day)));
    if (!zone || !date.ok()) {
        return std::nullopt;
    }
    const std::chrono::sys_seconds time = std::chrono::sys_days(date) + std::chrono::hours(*hours) +
                                          std::chrono::minutes(*minutes) + std::chrono::seconds(*seconds - *zone);
    const std::int64_t count = (time - kEpoch).count();
    const bool fits = count >= 0 && count <= std::int64_t{0xFFFFFFFF};
    return fits ? std::optional(static_cast<std::uint32_t>(count)) : std::nullopt;
}

template <class Io, class Number>
void describeDate(Io& io, Number& seconds) {
    constexpr const char* kName = "utcSpliceTime";
    if constexpr (Io::kReads) {
        const auto read = secondsOfDate(trimmed(io.text(kName)));
        seconds = read ? *read
                       : io.template refuse<std::uint32_t>(
                             kName, "must be a date and time of whole seconds from 1980-01-06 to 2116-02-12");
    } else {
        io.text(kName, dateText(seconds));
    }
}

template <class Io, class Value>
requires std::is_empty_v<Value>
void describe(Io& /*io*/, Value& /*value*/) {}

template <class Io, class Value>
requires IsA<Value, SpliceTime>
void describe(Io& io, Value& value) {
    io.optionalNumber("ptsTime", value.ticks90k, kGreatestTicks);
}

template <class Io, class Value>
requires IsA<Value, BreakDuration>
void describe(Io& io, Value& value) {
    io.flag("autoReturn", value.autoReturn);
    io.number("duration", value.ticks90k, kGreatestTicks);
}

template <class Io, class Value>
requires IsA<Value, ScheduledComponent>
void describe(Io& io, Value& value) {
    io.requiredNumber("componentTag", value.componentTag);
    describeDate(io, value.gpsSeconds);
}

/// The Program of an event.
struct EventProgram {
    std::uint32_t seconds = 0;
};

template <class Io, class Value>
requires IsA<Value, EventProgram>
void describe(Io& io, Value& value) {
    describeDate(io, value.seconds);
}

template <class Io, class Value>
requires IsA<Value, ScheduledSplice>
void describe(Io& io, Value& value) {
    io.number("spliceEventId", value.eventId);
    io.flag("eventIdComplianceFlag", value.eventIdCompliance);
    io.flag("spliceEventCancelIndicator", value.cancel);
    if (value.cancel) {
        return;
    }
    io.flag("outOfNetworkIndicator", value.outOfNetwork);
    io.number("uniqueProgramId", value.uniqueProgramId);
    io.number("availNum", value.availNum);
    io.number("availsExpected", value.availsExpected);
    EventProgram program{value.gpsSeconds};
    if constexpr (Io::kReads) {
        value.programSplice = !io.hasElement("Component");
        if (value.programSplice && !io.hasElement("Program")) {
            io.template refuse<void>("Program", "or a Component must say when");
        }
    } else if (!value.programSplice && value.components.empty()) {
        throw ScteXmlError("a schedule of components that has none has no XML");
    }
    if (value.programSplice) {
        io.element("Program", program);
    } else {
        io.list("Component", value.components);
    }
    if constexpr (Io::kReads) {
        value.gpsSeconds = program.seconds;
    }
    io.optionalElement("BreakDuration", value.breakDuration);
}

template <class Io, class Value>
requires IsA<Value, SpliceSchedule>
void describe(Io& io, Value& value) {
    io.list("Event", value.events);
}

/// The Program of a splice.
struct InsertProgram {
    std::optional<SpliceTime> time;
};

template <class Io, class Value>
requires IsA<Value, InsertProgram>
void describe(Io& io, Value& value) {
    io.optionalElement("SpliceTime", value.time);
}

/// One of its components.
struct InsertComponent {
    std::uint8_t componentTag = 0;
    std::optional<SpliceTime> time;
};

template <class Io, class Value>
requires IsA<Value, InsertComponent>
void describe(Io& io, Value& value) {
    io.requiredNumber("componentTag", value.componentTag);
    io.optionalElement("SpliceTime", value.time);
}

template <class Value>
void describePlaces(XmlFieldWriter& io, Value& value) {
    if (value.programSplice) {
        io.element("Program", InsertProgram{value.immediate ? std::nullopt : std::optional(value.time)});
        return;
    }
    for (const SpliceComponent& component : value.components) {
        const auto time = value.immediate ? std::nullopt : std::optional(component.time);
        io.element("Component", InsertComponent{component.componentTag, time});
    }
}

inline void describePlaces(XmlFieldReader& io, SpliceInsert& value) {
    std::optional<InsertProgram> program;
    std::vector<InsertComponent> components;
    io.optionalElement("Program", program);
    io.list("Component", components);
    value.programSplice = components.empty();
    if (program && !components.empty()) {
        io.refuse<void>("Component", "stands beside a Program");
    }
    const auto hasTime = [](const auto& place) { return place.time && place.time->ticks90k; };
    if (value.immediate &&
        ((program && hasTime(*program)) || std::any_of(components.begin(), components.end(), hasTime))) {
        io.note("the time of an immediate splice is left out");
    }
    if (program && !value.immediate) {
        value.time = program->time.value_or(SpliceTime{});
    }
    for (const InsertComponent& place : components) {
        const SpliceTime time = value.immediate ? SpliceTime{} : place.time.value_or(SpliceTime{});
        value.components.push_back({place.componentTag, time});
    }
}

template <class Io, class Value>
requires IsA<Value, SpliceInsert>
void describe(Io& io, Value& value) {
    io.number("spliceEventId", value.eventId);
    io.flag("spliceEventCancelIndicator", value.cancel);
    if (value.cancel) {
        return;
    }
    io.flag("outOfNetworkIndicator", value.outOfNetwork);
    io.flag("spliceImmediateFlag", value.immediate);
    io.flag("eventIdComplianceFlag", value.eventIdCompliance);
    io.number("uniqueProgramId", value.uniqueProgramId);
    io.number("availNum", value.availNum);
    io.number("availsExpected", value.availsExpected);
    describePlaces(io, value);
    io.optionalElement("BreakDuration", value.breakDuration);
}

template <class Io, class Value>
requires IsA<Value, TimeSignal>
void describe(Io& io, Value& value) {
    io.element("SpliceTime", value.time);
}

template <class Io, class Value>
requires IsA<Value, PrivateCommand>
void describe(Io& io, Value& value) {
    io.number("identifier", value.identifier);
    io.bytes("PrivateBytes", value.data);
}

}  // namespace qlx::tool::scte_xml
