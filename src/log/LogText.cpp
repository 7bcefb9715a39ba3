#include "log/LogText.h"

#include <QLXClosedCaptionsUtilities/platform/Format.h>

#include <array>
#include <cstddef>
#include <initializer_list>

namespace qlx::log {

namespace {

/// Room for a date and a time of day with what stands between them.
constexpr std::size_t kMostDigits = 32;

std::size_t sizeOf(std::initializer_list<std::string_view> parts) {
    std::size_t size = 0;
    for (const std::string_view part : parts) {
        size += part.size();
    }
    return size;
}

std::string joined(std::initializer_list<std::string_view> parts) {
    std::string result;
    result.reserve(sizeOf(parts));
    for (const std::string_view part : parts) {
        result += part;
    }
    return result;
}

/// Numbers of two digits, each with `mark` in front; every line has some of them, so the general formatter stays
/// out of it.
template <std::size_t count>
void appendNumbers(std::string& text, char mark, const std::array<std::uint32_t, count>& numbers) {
    std::array<char, 3 * count> digits{};
    for (std::size_t place = 0; place < count; ++place) {
        digits[3 * place] = mark;
        digits[3 * place + 1] = static_cast<char>('0' + numbers[place] / 10 % 10);
        digits[3 * place + 2] = static_cast<char>('0' + numbers[place] % 10);
    }
    text.append(digits.data(), digits.size());
}

/// "2026-11-15"
void appendDate(std::string& text, const LocalTime& time) {
    text += std::to_string(time.year);
    appendNumbers(text, '-', std::array{time.month, time.day});
}

/// "2026-11-15<TAB>00:49:42<TAB>", with room for `more` bytes behind it.
std::string stampWithRoom(const LocalTime& time, std::size_t more) {
    std::string stamp;
    stamp.reserve(kMostDigits + more);
    appendDate(stamp, time);
    appendNumbers(stamp, '\t', std::array{time.hour});
    appendNumbers(stamp, ':', std::array{time.minute, time.second});
    stamp += '\t';
    return stamp;
}

std::string_view withoutLastSlashes(std::string_view folder) {
    while (folder.ends_with('/')) {
        folder.remove_suffix(1);
    }
    return folder;
}

/// The path of the day's file whose name ends in `end`.
std::string pathOfDay(std::string_view folder, std::string_view prefix, const LocalTime& time,
                      std::initializer_list<std::string_view> end) {
    std::string path;
    path.reserve(folder.size() + prefix.size() + kMostDigits + sizeOf(end));
    path += withoutLastSlashes(folder);
    path += '/';
    path += prefix;
    appendDate(path, time);
    for (const std::string_view part : end) {
        path += part;
    }
    return path;
}

}  // namespace

std::string technicalStamp(const LocalTime& time, std::string_view weekdayName) {
    std::string stamp = stampWithRoom(time, weekdayName.size());
    stamp += weekdayName;
    return stamp;
}

std::string simpleStamp(const LocalTime& time) {
    return stampWithRoom(time, 0);
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

std::string technicalPath(std::string_view folder, std::string_view prefix, const LocalTime& time) {
    return pathOfDay(folder, prefix, time, {".log"});
}

std::string simplePath(std::string_view folder, std::string_view prefix, const LocalTime& time, std::string_view name) {
    return pathOfDay(folder, prefix, time, {"_", name, ".log"});
}

std::string pathInFolder(std::string_view folder, std::string_view name) {
    return joined({withoutLastSlashes(folder), "/", name});
}

}  // namespace qlx::log
