// Byte buffers for tests.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace qlxtest {

/// A byte vector from a list: `bytes({0x61, 0x01})`.
inline std::vector<std::uint8_t> bytes(std::initializer_list<std::uint8_t> values) {
    return values;
}

/// A heap allocation of exactly the given size, so that the address sanitizer sees one byte too far on either side.
class ExactBuffer {
public:
    /// A copy of bytes (also from a vector or an array).
    explicit ExactBuffer(std::span<const std::uint8_t> source)
        : _bytes(new std::uint8_t[source.size()]), _size(source.size()) {
        std::copy(source.begin(), source.end(), _bytes.get());
    }

    ExactBuffer(std::initializer_list<std::uint8_t> values)
        : ExactBuffer(std::span<const std::uint8_t>(values.begin(), values.size())) {}

    /// `size` bytes of one value.
    static ExactBuffer filled(std::size_t size, std::uint8_t value) {
        return ExactBuffer(std::vector<std::uint8_t>(size, value));
    }

    std::uint8_t* data() { return _bytes.get(); }
    const std::uint8_t* data() const { return _bytes.get(); }
    std::size_t size() const { return _size; }
    std::uint8_t& operator[](std::size_t index) { return _bytes[index]; }
    const std::uint8_t& operator[](std::size_t index) const { return _bytes[index]; }

    std::span<std::uint8_t> span() { return {_bytes.get(), _size}; }
    std::span<const std::uint8_t> span() const { return {_bytes.get(), _size}; }
    std::vector<std::uint8_t> vector() const { return {_bytes.get(), _bytes.get() + _size}; }

private:
    std::unique_ptr<std::uint8_t[]> _bytes;
    std::size_t _size;
};

/// Calls `check(const ExactBuffer&)` with the first n bytes of a valid input, for every n below its length.
template <typename Check>
void forEachTruncation(std::span<const std::uint8_t> whole, Check check) {
    for (std::size_t length = 0; length < whole.size(); ++length) {
        check(ExactBuffer(whole.first(length)));
    }
}

/// Bytes from hexadecimal digits; white space between them is skipped: `fromHex("fc 94")`.
/// Throws std::invalid_argument when the text is anything else, which fails the test.
inline std::vector<std::uint8_t> fromHex(std::string_view text) {
    std::vector<std::uint8_t> result;
    unsigned value = 0;
    bool high = true;
    for (const char character : text) {
        constexpr std::string_view kDigits = "0123456789abcdefABCDEF";
        if (character == ' ' || character == '\n' || character == '\t') {
            continue;
        }
        const std::size_t digit = kDigits.find(character);
        if (digit == std::string_view::npos) {
            throw std::invalid_argument("fromHex: not a hexadecimal digit in: " + std::string(text));
        }
        value = value * 16 + static_cast<unsigned>(digit < 16 ? digit : digit - 6);
        if (!high) {
            result.push_back(static_cast<std::uint8_t>(value));
            value = 0;
        }
        high = !high;
    }
    if (!high) {
        throw std::invalid_argument("fromHex: odd number of digits in: " + std::string(text));
    }
    return result;
}

/// Lower-case hexadecimal digits without spaces: readable in a failed assertion, and a diff shows the byte.
inline std::string toHex(std::span<const std::uint8_t> data) {
    constexpr std::string_view kDigits = "0123456789abcdef";
    std::string result;
    result.reserve(data.size() * 2);
    for (const std::uint8_t byte : data) {
        result.push_back(kDigits[byte >> 4]);
        result.push_back(kDigits[byte & 0x0F]);
    }
    return result;
}

}  // namespace qlxtest
