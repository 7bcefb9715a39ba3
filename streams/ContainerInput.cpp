#include "ContainerInput.h"

#include <algorithm>

namespace qlx::streams::detail {

std::optional<std::size_t> ContainerInput::read(std::span<std::uint8_t> to) {
    const std::uint64_t place = _source.offset();
    const std::size_t got = _source.read(to);
    keepLast(to.first(got));
    _check.take(place, to.first(got));
    // What was read in front of a failure is handed on.
    return got == 0 && _source.error() ? std::nullopt : std::optional(got);
}

bool ContainerInput::seek(std::uint64_t offset) {
    _lastBytes.clear();
    return _source.seek(offset);
}

void ContainerInput::keepLast(std::span<const std::uint8_t> bytes) {
    bytes = bytes.last(std::min(bytes.size(), kKeptBytes));
    const std::size_t kept = std::min(_lastBytes.size(), kKeptBytes - bytes.size());
    _lastBytes.erase(_lastBytes.begin(), _lastBytes.end() - static_cast<std::ptrdiff_t>(kept));
    _lastBytes.insert(_lastBytes.end(), bytes.begin(), bytes.end());
}

}  // namespace qlx::streams::detail
