#include "LineReader.h"

#include <algorithm>

namespace qlx::streams::detail {

/// Reads what comes next in place of what has been taken.
bool LineReader::fill() {
    constexpr std::size_t kChunk = std::size_t{64} * 1024;
    _begin = 0;
    _buffer.resize(_isAtEnd ? 0 : kChunk);
    _buffer.resize(_source.read(_buffer));
    _isAtEnd = _buffer.size() < kChunk;
    return !_buffer.empty();
}

Result<bool> LineReader::next(std::string& line) {
    line.clear();
    for (;;) {
        const auto begin = _buffer.begin() + static_cast<std::ptrdiff_t>(_begin);
        const auto end = std::find(begin, _buffer.end(), std::uint8_t{'\n'});
        line.append(begin, end);
        if (line.size() > kLongestLine) {
            ++_number;
            return error(FindingCode::TextLineTooLong, kMostMebibytesOfALine);
        }
        if (end != _buffer.end()) {
            _begin = static_cast<std::size_t>(end - _buffer.begin()) + 1;
            break;
        }
        if (!fill()) {
            // A line that reading has cut is none.
            if (const std::optional<Finding> failure = _source.error()) {
                return error(failure->code, static_cast<std::uint64_t>(failure->first));
            }
            if (line.empty()) {
                return false;
            }
            break;
        }
    }
    ++_number;
    if (line.ends_with('\r')) {
        line.pop_back();
    }
    return true;
}

}  // namespace qlx::streams::detail
