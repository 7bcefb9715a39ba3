#include <QLXClosedCaptionsUtilities/platform/Data.h>

#include "base/Hex.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>

namespace qlx {

Data::Data(std::span<const std::uint8_t> bytes) : _storage(allocate(bytes.size())) {
    if (!bytes.empty()) {
        std::memcpy(bytesOf(_storage), bytes.data(), bytes.size());
    }
}

Data Data::zeros(std::size_t size) {
    return make(size, [size](std::uint8_t* bytes) { std::memset(bytes, 0, size); });
}

Data::Storage* Data::allocate(std::size_t size) {
    if (size > std::numeric_limits<std::size_t>::max() - sizeof(Storage)) {
        throw std::bad_alloc();
    }
    return ::new (::operator new(sizeof(Storage) + size)) Storage{{1}, size};
}

void Data::destroy(Storage* storage) noexcept {
    storage->~Storage();
    ::operator delete(storage);
}

bool operator==(const Data& left, const Data& right) noexcept {
    if (left._storage == right._storage) {
        return true;
    }
    return left._storage && right._storage && std::equal(left.begin(), left.end(), right.begin(), right.end());
}

std::string Data::description() const {
    if (!_storage) {
        return "(null)";
    }
    std::string text = "<";
    text.reserve(size() * 2 + size() / 4 + 2);
    for (std::size_t index = 0; index < size(); ++index) {
        if (index != 0 && index % 4 == 0) {
            text += ' ';
        }
        appendHexByte(text, (*this)[index]);
    }
    text += '>';
    return text;
}

}  // namespace qlx
