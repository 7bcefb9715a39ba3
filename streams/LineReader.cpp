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
        if (_isBehindReturn && _begin < _buffer.size()) {
            _begin += _buffer[_begin] == '\n' ? 1 : 0;
            _isBehindReturn = false;
        }
        const auto begin = _buffer.begin() + static_cast<std::ptrdiff_t>(_begin);
        const auto end = std::find_if(begin, _buffer.end(), [this](std::uint8_t byte) {
            return byte == '\n' || (byte == '\r' && _ends == LineEnds::Any);
        });
        line.append(begin, end);
        if (line.size() > kLongestLine) {
            ++_number;
            return error(FindingCode::TextLineTooLong, kMostMebibytesOfALine);
        }
        if (end != _buffer.end()) {
            _begin = static_cast<std::size_t>(end - _buffer.begin()) + 1;
            _isBehindReturn = *end == '\r';
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
