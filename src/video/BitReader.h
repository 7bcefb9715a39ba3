// Reading the headers of NAL units bit by bit.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace qlx::video {

/// Bits from the highest on, without the emulation prevention bytes; behind the end they are 0 and hasFailed() says so.
class BitReader {
public:
    /// `unit` must outlive this.
    explicit BitReader(std::span<const std::uint8_t> unit) noexcept : _unit(unit) {}

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
    std::uint32_t bit() noexcept {
        if (_left == 0 && !takeByte()) {
            _hasFailed = true;
            return 0;
        }
        --_left;
        return static_cast<std::uint32_t>(_byte >> _left) & 1U;
    }

    /// False at the end.
    bool takeByte() noexcept {
        constexpr std::uint8_t kPrevention = 3;
        if (_zeros >= 2 && _next < _unit.size() && _unit[_next] == kPrevention) {
            ++_next;
            _zeros = 0;
        }
        if (_next == _unit.size()) {
            return false;
        }
        _byte = _unit[_next++];
        _zeros = _byte == 0 ? _zeros + 1 : 0;
        _left = 8;
        return true;
    }

    std::span<const std::uint8_t> _unit;
    std::size_t _next = 0;
    std::size_t _zeros = 0;  ///< Bytes of 0 in front of the next one.
    std::uint8_t _byte = 0;  ///< The last one that was taken.
    unsigned _left = 0;      ///< Bits of it.
    bool _hasFailed = false;
};

}  // namespace qlx::video
