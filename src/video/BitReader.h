// Reading the headers of NAL units bit by bit.
#pragma once

#include <qlx/video/nal.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace qlx::video {

/// Bits from the highest on; behind the end they are 0 and hasFailed() says so.
class BitReader {
public:
    /// Takes the emulation prevention bytes out. No header that is read here is longer; what is longer is damaged.
    explicit BitReader(std::span<const std::uint8_t> unit) noexcept
        : _bytes(withoutEmulationPrevention(unit.first(std::min(unit.size(), kLongestHeader)), _room)) {}
    BitReader(const BitReader&) = delete;
    BitReader& operator=(const BitReader&) = delete;
    ~BitReader() = default;

    [[nodiscard]] std::uint32_t bits(unsigned count) noexcept {
        std::uint32_t value = 0;
        for (unsigned index = 0; index < count; ++index) {
            value = value << 1U | bit();
        }
        return value;
    }

    void skip(unsigned count) noexcept { (void)bits(count); }

    /// An Exp-Golomb code, without sign.
    [[nodiscard]] std::uint32_t number() noexcept {
        constexpr unsigned kLongestCode = 31;
        unsigned zeros = 0;
        while (bit() == 0) {
            if (++zeros > kLongestCode || _hasFailed) {
                _hasFailed = true;
                return 0;
            }
        }
        return static_cast<std::uint32_t>((std::uint64_t{1} << zeros) - 1 + bits(zeros));
    }

    void skipNumber() noexcept { (void)number(); }

    /// An Exp-Golomb code with sign.
    [[nodiscard]] std::int64_t signedNumber() noexcept {
        const std::int64_t code = number();
        return code % 2 == 0 ? -code / 2 : (code + 1) / 2;
    }

    [[nodiscard]] bool hasFailed() const noexcept { return _hasFailed; }

private:
    static constexpr std::size_t kLongestHeader = 1024;

    std::uint32_t bit() noexcept {
        if (_position >= _bytes.size() * 8) {
            _hasFailed = true;
            return 0;
        }
        const std::uint32_t value = _bytes[_position / 8] >> (7 - _position % 8) & 1U;
        ++_position;
        return value;
    }

    std::array<std::uint8_t, kLongestHeader> _room{};
    std::span<const std::uint8_t> _bytes;
    std::size_t _position = 0;
    bool _hasFailed = false;
};

}  // namespace qlx::video
