#include "log/LogText.h"

#include <QLXClosedCaptionsUtilities/platform/Format.h>

#include <initializer_list>

namespace qlx::log {

namespace {

std::string joined(std::initializer_list<std::string_view> parts) {
    std::size_t size = 0;
    for (const std::string_view part : parts) {
        size += part.size();
    }
    std::string result;
    result.reserve(size);
    for (const std::string_view part : parts) {
        result += part;
    }
    return result;
}

/// Two digits; every line has several of them, so the general formatter stays out of it.
void appendTwoDigits(std::string& text, std::uint32_t number) {
    text += static_cast<char>('0' + number / 10 % 10);
    text += static_cast<char>('0' + number % 10);
}

std::string clockText(const LocalTime& time) {
    std::string text;
    appendTwoDigits(text, time.hour);
    text += ':';
    appendTwoDigits(text, time.minute);
    text += ':';
    appendTwoDigits(text, time.second);
    return text;
}

}  // namespace

std::string dateText(const LocalTime& time) {
    std::string text = std::to_string(time.year);
    text += '-';
    appendTwoDigits(text, time.month);
    text += '-';
    appendTwoDigits(text, time.day);
    return text;
}

std::string technicalStamp(const LocalTime& time, std::string_view weekdayName) {
    return joined({dateText(time), "\t", clockText(time), "\t", weekdayName});
}

std::string simpleStamp(const LocalTime& time) {
    return joined({dateText(time), "\t", clockText(time), "\t"});
}

std::string messageLine(bool isProblem, std::string_view stamp, std::string_view message) {
    return joined({isProblem ? "!" : "", "\t", stamp, "\t", "\t", message, "\r\n"});
}

std::string repeatLine(std::string_view stamp, std::uint64_t count) {
    return formatted("\t%@\t\t--- last message repeated %lu time%s ---\r\n", stamp, count, count >= 2 ? "s" : "");
}

std::string initialLine(std::string_view stamp, std::string_view message) {
    return joined({"\t", stamp, "\t\t", message, "\r\n"});
}

std::string simpleLine(std::string_view stamp, std::string_view message) {
    return joined({stamp, "\t", message, "\n"});
}

std::string technicalFileName(std::string_view prefix, const LocalTime& time) {
    return joined({prefix, dateText(time), ".log"});
}

std::string simpleFileName(std::string_view prefix, const LocalTime& time, std::string_view name) {
    return joined({prefix, dateText(time), "_", name, ".log"});
}

std::string pathInFolder(std::string_view folder, std::string_view name) {
    while (folder.ends_with('/')) {
        folder.remove_suffix(1);
    }
    return joined({folder, "/", name});
}

}  // namespace qlx::log
