#include <qlx/streams/byte_source.h>

#include <algorithm>

namespace qlx::streams {

std::size_t MemorySource::read(std::span<std::uint8_t> to) {
    const std::span<const std::uint8_t> bytes = peek(to.size());
    std::ranges::copy(bytes, to.begin());
    _offset += bytes.size();
    return bytes.size();
}

std::span<const std::uint8_t> MemorySource::peek(std::size_t count) {
    return _bytes.subspan(_offset, std::min(count, _bytes.size() - _offset));
}

std::uint64_t MemorySource::skip(std::uint64_t count) {
    const auto skipped = static_cast<std::size_t>(std::min<std::uint64_t>(count, _bytes.size() - _offset));
    _offset += skipped;
    return skipped;
}

bool MemorySource::seek(std::uint64_t offset) {
    if (offset > _bytes.size()) {
        return false;
    }
    _offset = static_cast<std::size_t>(offset);
    return true;
}

}  // namespace qlx::streams
