// Where the technical log's lines go, and what they begin with.
#pragma once

#include <QLXClosedCaptionsUtilities/platform/TimeZone.h>

#include <optional>
#include <string>
#include <string_view>

namespace qlx::log {

/// The path and the stamp of a line. Those of the line before are kept: in a burst the next one has the same. Used by one
/// thread at a time.
class Headings {
public:
    /// The log's folder, where an empty one is none, and what the names of its files begin with. Nothing but a copy.
    void setPlace(const std::optional<std::string>& folder, const std::string& prefix);

    /// The folder, if there is one.
    [[nodiscard]] const std::optional<std::string>& folder() const noexcept { return _folder; }

    /// technicalPath() of the day in the folder; none without one. Valid until the next call.
    [[nodiscard]] const std::optional<std::string>& path(const LocalTime& time);

    /// technicalStamp(). Valid until the next call.
    [[nodiscard]] const std::string& stamp(const LocalTime& time, std::string_view weekdayName);

private:
    std::optional<std::string> _folder;
    std::string _prefix;
    LocalTime _pathTime;
    std::optional<std::string> _path;  ///< None: to be made.
    LocalTime _stampTime;
    std::string _weekdayName;
    std::string _stamp;  ///< Empty: to be made.
};

}  // namespace qlx::log
