#include "io/LineReader.h"

#include "io/Errors.h"

#include <algorithm>

namespace qlx::tool {

bool LineReader::next(std::string& line) {
    constexpr std::size_t kChunk = std::size_t{64} * 1024;
    line.clear();
    for (;;) {
        const auto begin = _buffer.begin() + static_cast<std::ptrdiff_t>(_begin);
        const auto end = std::find(begin, _buffer.end(), std::uint8_t{'\n'});
        line.append(begin, end);
        if (line.size() > kLongestLine) {
            throw failureAtLine(_source.name(), _number + 1, "the line is longer than 2 MiB");
        }
        if (end != _buffer.end()) {
            _begin = static_cast<std::size_t>(end - _buffer.begin()) + 1;
            break;
        }
        _begin = 0;
        _buffer.resize(_isAtEnd ? 0 : kChunk);
        _buffer.resize(_source.read(_buffer));
        _isAtEnd = _buffer.size() < kChunk;
        if (_buffer.empty()) {
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

}  // namespace qlx::tool
