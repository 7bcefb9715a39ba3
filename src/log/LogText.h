// What stands in the log's files, and what the files are called.
#pragma once

#include <QLXClosedCaptionsUtilities/platform/TimeZone.h>

#include <cstdint>
#include <string>
#include <string_view>

namespace qlx::log {

/// The stamp of a technical line: "2026-11-15<TAB>00:49:42<TAB>Sunday".
[[nodiscard]] std::string technicalStamp(const LocalTime& time, std::string_view weekdayName);

/// The stamp of a simple line: "2026-11-15<TAB>00:49:42<TAB>".
[[nodiscard]] std::string simpleStamp(const LocalTime& time);

/// A message; a problem is marked with "!" in front.
[[nodiscard]] std::string messageLine(bool isProblem, std::string_view stamp, std::string_view message);

/// How often the message before was repeated.
[[nodiscard]] std::string repeatLine(std::string_view stamp, std::uint64_t count);

/// The host's header line of a newly started file.
[[nodiscard]] std::string initialLine(std::string_view stamp, std::string_view message);

/// A line of a simple log.
[[nodiscard]] std::string simpleLine(std::string_view stamp, std::string_view message);

/// The technical log of a day: "/logs/Player 2026-11-15.log" for the folder "/logs" and the prefix "Player ".
[[nodiscard]] std::string technicalPath(std::string_view folder, std::string_view prefix, const LocalTime& time);

/// A simple log of a day: "/logs/Player 2026-11-15_asrun.log" for the name "asrun".
[[nodiscard]] std::string simplePath(std::string_view folder, std::string_view prefix, const LocalTime& time,
                                     std::string_view name);

/// `name` in `folder`, with one slash between them.
[[nodiscard]] std::string pathInFolder(std::string_view folder, std::string_view name);

}  // namespace qlx::log
