#include "subtitles/TextLines.h"

#include <qlx/base/utf8.h>

#include <algorithm>

namespace qlx::subtitles {

std::size_t TextLines::Finder::next(const std::string& text, std::size_t begin) {
    if (isFound && place >= begin) {
        return place;
    }
    const std::size_t found = text.find(character, std::max(begin, place));
    isFound = found != std::string::npos;
    place = std::min(found, text.size());
    return found;
}

void TextLines::push(std::span<const std::uint8_t> bytes) {
    // Bytes are moved at most as often as they were pushed: only when no more than half of the buffer stays.
    if (_begin > 0 && _begin >= _buffer.size() - _begin) {
        _buffer.erase(0, _begin);
        _feed.moveBack(_begin);
        _return.moveBack(_begin);
        _begin = 0;
    }
    bytes = _budget.take(bytes);
    _buffer.append(reinterpret_cast<const char*>(bytes.data()), bytes.size());
}

bool TextLines::next(std::string_view& line) {
    if (!skipEnd()) {
        return false;
    }
    if (_skipsLine) {
        skipCutLine();
        if (!skipEnd()) {
            return false;
        }
    }
    if (_skipsLine || _begin >= _buffer.size()) {
        return false;
    }
    const std::size_t end = std::min(_feed.next(_buffer, _begin), _return.next(_buffer, _begin));
    if (end == std::string::npos) {
        return takeRest(line);
    }
    line = std::string_view(_buffer).substr(_begin, end - _begin);
    _isCut = line.size() > _greatest;
    line = line.substr(0, _greatest);
    _begin = end + 1;
    _skipsFeed = _buffer[end] == '\r';
    if (++_number == 1) {
        line = withoutByteOrderMark(line);
    }
    return true;
}

/// Skips what belongs to a CR. Gives false when more bytes are needed to know.
bool TextLines::skipEnd() {
    if (!_skipsFeed || _begin >= _buffer.size()) {
        return true;
    }
    if (_joinsReturns && _buffer[_begin] == '\r') {
        if (_begin + 1 == _buffer.size() && (!_isFinished || _budget.isCut())) {
            return false;
        }
        _begin += _buffer.compare(_begin, 2, "\r\n") == 0 ? 2 : 0;
    } else {
        _begin += _buffer[_begin] == '\n' ? 1 : 0;
    }
    _skipsFeed = false;
    return true;
}

/// Gives what stands behind the last line end, if that is a line: what the limit has cut is none.
bool TextLines::takeRest(std::string_view& line) {
    const std::size_t size = _buffer.size() - _begin;
    if ((!_isFinished || _budget.isCut()) && size <= _greatest) {
        return false;
    }
    _isCut = size > _greatest;
    _skipsLine = _isCut;
    line = std::string_view(_buffer).substr(_begin, std::min(size, _greatest));
    _begin = _buffer.size();
    if (++_number == 1) {
        line = withoutByteOrderMark(line);
    }
    return true;
}

void TextLines::skipCutLine() {
    const std::size_t end = std::min(_feed.next(_buffer, _begin), _return.next(_buffer, _begin));
    if (end == std::string::npos) {
        _begin = _buffer.size();
        return;
    }
    _begin = end + 1;
    _skipsFeed = _buffer[end] == '\r';
    _skipsLine = false;
}

}  // namespace qlx::subtitles
