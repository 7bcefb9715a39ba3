#include "log/Headings.h"

#include "log/LogText.h"

namespace qlx::log {

namespace {

bool isSameDay(const LocalTime& one, const LocalTime& other) {
    return one.day == other.day && one.month == other.month && one.year == other.year;
}

}  // namespace

void Headings::setPlace(const std::optional<std::string>& folder, const std::string& prefix) {
    const bool isUsable = folder && !folder->empty();
    if (isUsable ? _folder == folder && _prefix == prefix : !_folder) {
        return;
    }
    _folder = isUsable ? folder : std::nullopt;
    _prefix = prefix;
    _path.reset();
}

const std::optional<std::string>& Headings::path(const LocalTime& time) {
    if (_folder && !(_path && isSameDay(_pathTime, time))) {
        _path = technicalPath(*_folder, _prefix, time);
        _pathTime = time;
    }
    return _path;
}

const std::string& Headings::stamp(const LocalTime& time, std::string_view weekdayName) {
    if (_stamp.empty() || _stampTime != time || _weekdayName != weekdayName) {
        _stamp = technicalStamp(time, weekdayName);
        _stampTime = time;
        _weekdayName = weekdayName;
    }
    return _stamp;
}

}  // namespace qlx::log
