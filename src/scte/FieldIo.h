// Fields of messages and sections, big-endian. The layout of a thing is one function, which walks its fields in their
// order with a FieldReader, a FieldMeasure or a FieldWriter:
//
//     template <class Io, Is<TimeSignalRequest> Value>
//     void walk(Io& io, Value& value) {
//         io.number(value.preRollMilliseconds);
//     }
//
// Io::kReads tells which way; Value is const unless it is read.
#pragma once

#include <qlx/base/finding.h>

#include "base/Bytes.h"

#include <algorithm>
#include <array>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <span>
#include <type_traits>
#include <vector>

namespace qlx::scte::detail {

template <class Value, class Plain>
concept Is = std::same_as<std::remove_const_t<Value>, Plain>;

/// Where findings go, and what is added to their offsets.
struct Report {
    FindingSink* sink = nullptr;
    std::uint64_t base = 0;

    // Never inlined: what is read is right, as a rule, and what reads it stays small.
    [[gnu::noinline]] void add(FindingCode code, Severity severity, std::uint64_t offset, std::uint64_t first = 0,
                               std::uint64_t second = 0) const {
        if (sink != nullptr) {
            sink->add(
                {code, severity, base + offset, static_cast<std::int64_t>(first), static_cast<std::int64_t>(second)});
        }
    }

    [[nodiscard]] Report behind(std::uint64_t offset) const noexcept { return {sink, base + offset}; }
};

/// A field of some bits.
template <class Value>
struct BitField {
    Value& value;
    unsigned width;
    bool isReserved;
};

template <class Value>
[[nodiscard]] constexpr BitField<Value> bits(Value& value, unsigned width) noexcept {
    return {value, width, false};
}

template <class Value>
[[nodiscard]] constexpr BitField<Value> flag(Value& value) noexcept {
    return {value, 1, false};
}

/// Bits that are all ones by the standard, and are kept as they are.
template <class Value>
[[nodiscard]] constexpr BitField<Value> reserved(Value& value, unsigned width) noexcept {
    return {value, width, true};
}

[[nodiscard]] constexpr std::uint64_t greatestOf(unsigned width) noexcept {
    return width >= 64 ? std::numeric_limits<std::uint64_t>::max() : (std::uint64_t{1} << width) - 1;
}

/// Takes fields from bytes. Past their end it gives zeros and nothing, and says so ever after.
class FieldReader {
public:
    static constexpr bool kReads = true;

    FieldReader(std::span<const std::uint8_t> bytes, const Report& report) noexcept : _bytes(bytes), _report(report) {}

    template <std::size_t Bytes, class... Value>
    void pack(BitField<Value>... parts) {
        std::uint64_t word = 0;
        if (remaining() < Bytes) {
            fail();
        } else {
            for (std::size_t index = 0; index < Bytes; ++index) {
                word = word << 8U | _bytes[_at + index];
            }
            unsigned shift = 8 * Bytes;
            ((shift -= parts.width, checkReserved(parts.isReserved, word >> shift, parts.width)), ...);
            _at += Bytes;
        }
        unsigned shift = 8 * Bytes;
        ((shift -= parts.width, parts.value = static_cast<Value>(word >> shift & greatestOf(parts.width))), ...);
    }

    template <class Value>
    void number(Value& value) {
        pack<sizeof(Value)>(bits(value, 8 * sizeof(Value)));
    }

    /// Fills all of them.
    void bytes(std::span<std::uint8_t> value) {
        const auto taken = take(value.size());
        std::copy(taken.begin(), taken.end(), value.begin());
    }

    void bytes(std::vector<std::uint8_t>& value, std::size_t count) {
        const auto taken = take(count);
        value.assign(taken.begin(), taken.end());
    }

    /// All that is left.
    void rest(std::vector<std::uint8_t>& value) { bytes(value, remaining()); }

    /// As many items as a number of `width` bits in front of them says; `item(one)` walks one.
    template <class Count, class Items, class Item>
    void list(Items& items, Item item) {
        Count count = 0;
        number(count);
        this->items(items, count, item);
    }

    template <class Items, class Item>
    void items(Items& items, std::size_t count, Item item) {
        for (std::size_t index = 0; index < count && !_hasFailed; ++index) {
            items.emplace_back();
            item(items.back());
        }
    }

    /// As many items of `itemBytes` bytes as there are whole ones.
    template <class Items, class Item>
    void itemsToEnd(Items& items, std::size_t itemBytes, Item item) {
        this->items(items, remaining() / itemBytes, item);
    }

    /// Something that is there when `bytes` bytes are left; `item(one)` walks it.
    template <class Optional, class Item>
    void ifLeft(Optional& value, std::size_t bytes, Item item) {
        if (remaining() >= bytes) {
            item(value.emplace());
        }
    }

    /// Bit `index`, from the highest on, of the byte that is next; it is not taken. False at the end.
    [[nodiscard]] bool nextBit(unsigned index = 0) const noexcept {
        return remaining() > 0 && (_bytes[_at] & 0x80U >> index) != 0;
    }

    [[nodiscard]] std::size_t remaining() const noexcept { return _bytes.size() - _at; }
    [[nodiscard]] std::size_t consumed() const noexcept { return _at; }
    [[nodiscard]] bool hasFailed() const noexcept { return _hasFailed; }
    [[nodiscard]] const Report& report() const noexcept { return _report; }

private:
    void fail() noexcept {
        _hasFailed = true;
        _at = _bytes.size();
    }

    void checkReserved(bool isReserved, std::uint64_t value, unsigned width) const {
        if (isReserved && (value & greatestOf(width)) != greatestOf(width)) {
            _report.add(FindingCode::ScteReservedBitsWrong, Severity::Remark, _at, value & greatestOf(width),
                        greatestOf(width));
        }
    }

    std::span<const std::uint8_t> take(std::size_t count) noexcept {
        if (remaining() < count) {
            fail();
            return {};
        }
        _at += count;
        return _bytes.subspan(_at - count, count);
    }

    std::span<const std::uint8_t> _bytes;
    std::size_t _at = 0;
    Report _report;
    bool _hasFailed = false;
};

/// What is written of a value's parts: all that it has.
class FieldParts {
public:
    template <class Items, class Item>
    void items(const Items& items, std::size_t, Item item) {
        for (const auto& one : items) {
            item(one);
        }
    }

    template <class Items, class Item>
    void itemsToEnd(const Items& items, std::size_t, Item item) {
        this->items(items, items.size(), item);
    }

    template <class Optional, class Item>
    void ifLeft(const Optional& value, std::size_t, Item item) {
        if (value) {
            item(*value);
        }
    }

protected:
    FieldParts() = default;
};

/// Counts the bytes that a FieldWriter writes, and finds what does not fit into its field.
class FieldMeasure : public FieldParts {
public:
    static constexpr bool kReads = false;

    template <std::size_t Bytes, class... Value>
    void pack(BitField<Value>... parts) {
        (check(static_cast<std::uint64_t>(parts.value), greatestOf(parts.width)), ...);
        _size += Bytes;
    }

    template <class Value>
    void number(const Value&) noexcept {
        _size += sizeof(Value);
    }

    void bytes(std::span<const std::uint8_t> value) noexcept { _size += value.size(); }
    void bytes(std::span<const std::uint8_t> value, std::size_t) noexcept { _size += value.size(); }
    void rest(std::span<const std::uint8_t> value) noexcept { _size += value.size(); }

    template <class Count, class Items, class Item>
    void list(const Items& items, Item item) {
        check(items.size(), std::numeric_limits<Count>::max());
        _size += sizeof(Count);
        this->items(items, items.size(), item);
    }

    void check(std::uint64_t value, std::uint64_t greatest) noexcept {
        if (value > greatest && _wrong.code == FindingCode::None) {
            _wrong = {FindingCode::ScteValueTooLarge, Severity::Error, _size, static_cast<std::int64_t>(value),
                      static_cast<std::int64_t>(greatest)};
        }
    }

    [[nodiscard]] std::size_t size() const noexcept { return _size; }
    /// What does not fit first; its code is None when all does.
    [[nodiscard]] const Finding& wrong() const noexcept { return _wrong; }

private:
    std::size_t _size = 0;
    Finding _wrong;
};

/// Writes fields into a room that is large enough.
class FieldWriter : public FieldParts {
public:
    static constexpr bool kReads = false;

    explicit FieldWriter(std::uint8_t* bytes) noexcept : _next(bytes) {}

    template <std::size_t Bytes, class... Value>
    void pack(BitField<Value>... parts) {
        std::uint64_t word = 0;
        // From the first field down: a field of 64 bits is shifted by 0, and not past the word.
        unsigned shift = 8 * Bytes;
        ((shift -= parts.width, word |= (static_cast<std::uint64_t>(parts.value) & greatestOf(parts.width)) << shift),
         ...);
        // The bytes could be those of the place itself, for all that the compiler knows.
        std::uint8_t* const place = _next;
        _next = place + Bytes;
        for (std::size_t index = 0; index < Bytes; ++index) {
            place[index] = static_cast<std::uint8_t>(word >> 8U * (Bytes - 1 - index));
        }
    }

    template <class Value>
    void number(const Value& value) {
        pack<sizeof(Value)>(bits(value, 8 * sizeof(Value)));
    }

    void bytes(std::span<const std::uint8_t> value) noexcept { _next = std::copy(value.begin(), value.end(), _next); }
    void bytes(std::span<const std::uint8_t> value, std::size_t) noexcept { bytes(value); }
    void rest(std::span<const std::uint8_t> value) noexcept { bytes(value); }

    template <class Count, class Items, class Item>
    void list(const Items& items, Item item) {
        const auto count = static_cast<Count>(items.size());
        number(count);
        this->items(items, count, item);
    }

    [[nodiscard]] std::uint8_t* next() const noexcept { return _next; }

private:
    std::uint8_t* _next;
};

/// Bytes with their number, in `Count`, in front of them.
template <class Count, class Io, class Bytes>
void countedBytes(Io& io, Bytes& bytes) {
    if constexpr (Io::kReads) {
        Count count = 0;
        io.number(count);
        io.bytes(bytes, count);
    } else {
        io.template list<Count>(bytes, [&io](const std::uint8_t& byte) { io.number(byte); });
    }
}

// What has no fields.
template <class Value>
concept IsEmpty = std::is_empty_v<Value>;

template <class Io, IsEmpty Value>
void walk(Io&, Value&) {}

}  // namespace qlx::scte::detail
