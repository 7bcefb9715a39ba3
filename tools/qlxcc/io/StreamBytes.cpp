#include "io/StreamBytes.h"

namespace qlx::tool {

template <class Result, class Call>
Result InputBytes::guarded(Result otherwise, const Call& call) {
    if (_error) {
        return otherwise;
    }
    try {
        return call();
    } catch (...) {
        _error = std::current_exception();
        return otherwise;
    }
}

std::size_t InputBytes::read(std::span<std::uint8_t> to) {
    return guarded(std::size_t{0}, [&] { return _file.read(to); });
}

std::span<const std::uint8_t> InputBytes::peek(std::size_t count) {
    return guarded(std::span<const std::uint8_t>(), [&] { return _file.peek(count); });
}

std::uint64_t InputBytes::skip(std::uint64_t count) {
    return guarded(std::uint64_t{0}, [&] { return _file.skip(count); });
}

bool InputBytes::seek(std::uint64_t offset) {
    return guarded(false, [&] { return _file.seek(offset); });
}

std::optional<Finding> InputBytes::error() const {
    if (!_error) {
        return std::nullopt;
    }
    return Finding{FindingCode::StreamReadFailed, Severity::Error, _file.offset(), 0, 0};
}

std::optional<Finding> OutputBytes::write(std::span<const std::uint8_t> bytes) {
    if (!_error) {
        try {
            _file.write(bytes);
            return std::nullopt;
        } catch (...) {
            _error = std::current_exception();
        }
    }
    return Finding{FindingCode::StreamWriteFailed, Severity::Error, 0, 0, 0};
}

}  // namespace qlx::tool
