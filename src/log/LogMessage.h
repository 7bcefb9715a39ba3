// A message on its way through the log, and the dictionary that the host sees.
#pragma once

#include <QLXClosedCaptionsUtilities/platform/Value.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace qlx::log {

/// What is printed for a message that is missing.
inline constexpr std::string_view kNoMessage = "(null)";

/// Levels below this one are problems.
inline constexpr std::int64_t kFirstHarmlessLevel = 2;

struct Message {
    std::optional<std::string> text;
    std::int64_t level = 0;
    bool show = false;
    std::optional<std::string> notificationTitle;
    std::optional<std::string> notificationCategory;

    /// The dictionary as which the host handed it over; null when it is made from the fields above. Not owned.
    const Dictionary* info = nullptr;

    [[nodiscard]] bool isProblem() const noexcept { return level < kFirstHarmlessLevel; }
    [[nodiscard]] bool isCritical() const noexcept { return level == 0 && show; }
};

/// The fields of a dictionary; what is missing in it counts as none, 0 or false.
[[nodiscard]] Message messageWithInfo(const Dictionary& info);

/// The dictionary of a message.
[[nodiscard]] Dictionary infoOf(const Message& message);

/// The report of a file that cannot be opened. It names its source under another key than a message does: hosts read
/// both, so each is kept where it is.
[[nodiscard]] Dictionary failureInfo(std::string text, bool show);

}  // namespace qlx::log
