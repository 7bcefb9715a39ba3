#include "streams/ContainerInput.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace qlx::tool {

std::optional<std::size_t> ContainerInput::read(std::span<std::uint8_t> to) noexcept {
    try {
        const std::uint64_t place = _source.offset();
        const std::size_t got = _source.read(to);
        keepLast(to.first(got));
        _check.take(place, to.first(got));
        return got;
    } catch (...) {
        _error = std::current_exception();
        return std::nullopt;
    }
}

bool ContainerInput::seek(std::uint64_t offset) noexcept {
    _lastBytes.clear();
    try {
        return _source.seek(offset);
    } catch (...) {
        _error = std::current_exception();
        return false;
    }
}

void ContainerInput::keepLast(std::span<const std::uint8_t> bytes) {
    bytes = bytes.last(std::min(bytes.size(), kKeptBytes));
    const std::size_t kept = std::min(_lastBytes.size(), kKeptBytes - bytes.size());
    _lastBytes.erase(_lastBytes.begin(), _lastBytes.end() - static_cast<std::ptrdiff_t>(kept));
    _lastBytes.insert(_lastBytes.end(), bytes.begin(), bytes.end());
}

void ContainerInput::rethrow() {
    if (_error) {
        std::rethrow_exception(std::exchange(_error, nullptr));
    }
}

}  // namespace qlx::tool
