// The caption searches in coded pictures once more, one byte after the other and statement by statement: what the fast
// ones must equal for every input, and the plain baseline of their benchmark.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace qlxtest {

/// Triplets, or none.
using LiteralTriplets = std::optional<std::vector<std::uint8_t>>;

/// A buffer whose reads behind the end are noticed: they give -1, which equals no byte and is below every flag.
class LiteralBytes {
public:
    explicit LiteralBytes(std::span<const std::uint8_t> bytes) : _bytes(bytes) {}

    [[nodiscard]] std::uint64_t size() const { return _bytes.size(); }

    [[nodiscard]] int at(std::uint64_t index) const { return index < _bytes.size() ? _bytes[index] : -1; }

    [[nodiscard]] bool identifierAt(std::uint64_t index) const {
        return at(index) == 'G' && at(index + 1) == 'A' && at(index + 2) == '9' && at(index + 3) == '4';
    }

    [[nodiscard]] std::uint64_t lengthAt(std::uint64_t index) const {
        std::uint64_t length = 0;
        for (std::uint64_t byte = index; byte < index + 4; ++byte) {
            length = length * 256 + static_cast<std::uint64_t>(at(byte));
        }
        return length;
    }

    /// None when one of the bytes is behind the end.
    [[nodiscard]] LiteralTriplets copy(std::uint64_t begin, std::uint64_t count) const {
        std::vector<std::uint8_t> result;
        for (std::uint64_t index = begin; index < begin + count; ++index) {
            if (at(index) < 0) {
                return std::nullopt;
            }
            result.push_back(static_cast<std::uint8_t>(at(index)));
        }
        return result;
    }

private:
    std::span<const std::uint8_t> _bytes;
};

/// One NAL unit of `unitSize` bytes from `unit` on.
inline LiteralTriplets literalUnitSearch(const LiteralBytes& bytes, std::uint64_t unit, std::uint64_t unitSize) {
    for (std::uint64_t k = 12; k < unitSize && unit + k - 7 < bytes.size(); ++k) {
        const int flags = bytes.at(unit + k - 2);
        if (bytes.identifierAt(unit + k - 7) && bytes.at(unit + k - 3) == 0x03 && flags >= 0x40) {
            const auto size = static_cast<std::uint64_t>(3 * (flags & 0x1F));
            if (unitSize > k + size) {
                if (LiteralTriplets triplets = bytes.copy(unit + k, size)) {
                    return triplets;
                }
            }
        }
    }
    return std::nullopt;
}

/// An access unit of more than 5 bytes that begins 00 00 00 01.
inline LiteralTriplets literalStartCodes(std::span<const std::uint8_t> bytes) {
    const std::uint8_t* const b = bytes.data();
    const std::size_t size = bytes.size();
    std::size_t i = 0;
    while (i < size - 5) {
        if (b[i] != 0x00 || b[i + 1] != 0x00 || b[i + 2] != 0x01) {
            i += 1;
        } else if ((b[i + 3] & 0x1F) != 6) {
            i += 4;
        } else {
            const std::size_t unit = i + 3;
            std::size_t j = unit;
            while (j < size && !(j + 2 < size && b[j] == 0x00 && b[j + 1] == 0x00 && b[j + 2] == 0x01)) {
                j += 1;
            }
            const std::size_t unitSize = j - unit;
            if (unitSize >= 13) {
                if (LiteralTriplets triplets = literalUnitSearch(LiteralBytes(bytes), unit, unitSize)) {
                    return triplets;
                }
            }
            i = unit + unitSize;
        }
    }
    return std::nullopt;
}

inline LiteralTriplets literalAnnexB(std::span<const std::uint8_t> data) {
    const LiteralBytes bytes(data);
    const std::uint64_t size = bytes.size();
    if (size <= 5) {
        return std::nullopt;
    }
    if (bytes.at(0) == 0x00 && bytes.at(1) == 0x00 && bytes.at(2) == 0x00 && bytes.at(3) == 0x01) {
        return literalStartCodes(data);
    }
    for (std::uint64_t i = 0; i < size - 5;) {
        const std::uint64_t unitSize = bytes.lengthAt(i) + 4;
        if ((bytes.at(i) & 0x1F) == 6 && unitSize >= 13) {
            if (LiteralTriplets triplets = literalUnitSearch(bytes, i, unitSize)) {
                return triplets;
            }
        }
        i += unitSize;
    }
    return std::nullopt;
}

inline LiteralTriplets literalLengthPrefixed(std::span<const std::uint8_t> data) {
    const LiteralBytes bytes(data);
    const std::uint64_t size = bytes.size();
    if (size < 5) {
        return std::nullopt;
    }
    for (std::uint64_t i = 0;;) {
        const std::uint64_t unitSize = bytes.lengthAt(i) + 4;
        if (unitSize >= 21 && size - i > unitSize && bytes.at(i + 4) == 6) {
            bool seen = false;
            for (std::uint64_t k = 12; k < unitSize; ++k) {
                if (!bytes.identifierAt(i + k - 7)) {
                    continue;
                }
                seen = true;
                const int flags = bytes.at(i + k - 2);
                const auto count = static_cast<std::uint64_t>(3 * (flags & 0x1F));
                if (bytes.at(i + k - 3) == 0x03 && flags >= 0x40 && k + count < unitSize) {
                    return bytes.copy(i + k, count);
                }
            }
            if (seen) {
                return std::nullopt;
            }
        }
        if (i + unitSize + 4 >= size) {
            return std::nullopt;
        }
        i += unitSize;
    }
}

inline LiteralTriplets literalH264(std::span<const std::uint8_t> data) {
    const LiteralBytes bytes(data);
    const bool startCode =
        bytes.size() >= 5 && bytes.at(0) == 0x00 && bytes.at(1) == 0x00 && bytes.at(2) == 0x00 && bytes.at(3) == 0x01;
    return startCode ? literalAnnexB(data) : literalLengthPrefixed(data);
}

inline LiteralTriplets literalMPEG2(std::span<const std::uint8_t> data) {
    const LiteralBytes bytes(data);
    for (std::uint64_t p = 0; p + 3 < bytes.size(); ++p) {
        if (bytes.identifierAt(p)) {
            const int flags = bytes.at(p + 5);
            if (flags < 0 || (flags & 0x40) == 0) {
                return std::nullopt;
            }
            return bytes.copy(p + 7, static_cast<std::uint64_t>(3 * (flags & 0x1F)));
        }
    }
    return std::nullopt;
}

}  // namespace qlxtest
