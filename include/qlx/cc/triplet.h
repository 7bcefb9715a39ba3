// The cc_data construct of CTA-708: three bytes that carry a CEA-608 pair or two bytes of a DTVCC packet.
#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <span>

namespace qlx::cc {

/// cc_type: what the two bytes of a triplet are.
enum class CcType : std::uint8_t {
    Field1 = 0,      ///< CEA-608 pair of field 1.
    Field2 = 1,      ///< CEA-608 pair of field 2.
    DtvccData = 2,   ///< DTVCC packet data.
    DtvccStart = 3,  ///< DTVCC packet start.
};

/// One triplet. A default-made one is the padding of a packet: DTVCC data that is not valid.
///
///     const auto pair = qlx::cc::Triplet::make(qlx::cc::CcType::Field1, 0x94, 0x2C);   // fc 94 2c
struct Triplet {
    static constexpr std::uint8_t kMarkerBits = 0xF8;  ///< Five marker bits, all ones.
    static constexpr std::uint8_t kValidBit = 0x04;    ///< cc_valid.
    static constexpr std::uint8_t kTypeBits = 0x03;    ///< cc_type.

    std::uint8_t header = 0xFA;  ///< Marker bits, cc_valid and cc_type.
    std::uint8_t first = 0;      ///< cc_data_1
    std::uint8_t second = 0;     ///< cc_data_2

    /// A triplet with its marker bits.
    [[nodiscard]] static constexpr Triplet make(CcType type, std::uint8_t first, std::uint8_t second,
                                                bool valid = true) noexcept {
        const unsigned header = unsigned{kMarkerBits} | (valid ? kValidBit : 0U) | static_cast<unsigned>(type);
        return {static_cast<std::uint8_t>(header), first, second};
    }

    /// cc_valid
    [[nodiscard]] constexpr bool valid() const noexcept { return (header & kValidBit) != 0; }
    /// cc_type
    [[nodiscard]] constexpr CcType type() const noexcept { return static_cast<CcType>(header & kTypeBits); }
    /// Whether it is for CEA-608, whatever its field.
    [[nodiscard]] constexpr bool is608() const noexcept { return (header & 0x02U) == 0; }
    /// Whether it is for DTVCC.
    [[nodiscard]] constexpr bool isDtvcc() const noexcept { return !is608(); }
    /// Whether the five marker bits are ones.
    [[nodiscard]] constexpr bool hasMarkerBits() const noexcept { return (header & kMarkerBits) == kMarkerBits; }

    /// True when both bytes are null, with their parity bit (80h) or without: no content of CEA-608.
    [[nodiscard]] constexpr bool isNullPair() const noexcept { return ((first | second) & 0x7FU) == 0; }

    /// Whether all fields are equal.
    friend constexpr bool operator==(const Triplet&, const Triplet&) noexcept = default;
};

static_assert(sizeof(Triplet) == 3, "triplets are read and written as they stand in memory");

/// Some triplets of a span, walked without a copy: those whose header has, under a mask, a value.
class TripletFilterView {
public:
    /// Walks the triplets that are not left out.
    class iterator {
    public:
        /// As every iterator has it.
        using iterator_category = std::forward_iterator_tag;
        /// The same.
        using value_type = Triplet;
        /// The same.
        using difference_type = std::ptrdiff_t;
        /// The same.
        using pointer = const Triplet*;
        /// The same.
        using reference = const Triplet&;

        constexpr iterator() noexcept = default;

        /// The triplet.
        [[nodiscard]] constexpr reference operator*() const noexcept { return *_next; }
        /// The same.
        [[nodiscard]] constexpr pointer operator->() const noexcept { return _next; }
        /// Goes to the next one.
        constexpr iterator& operator++() noexcept {
            ++_next;
            skip();
            return *this;
        }
        /// The same.
        constexpr iterator operator++(int) noexcept {
            const iterator before = *this;
            ++*this;
            return before;
        }
        /// Whether both are at the same place.
        [[nodiscard]] friend constexpr bool operator==(const iterator& left, const iterator& right) noexcept {
            return left._next == right._next;
        }

    private:
        friend class TripletFilterView;

        constexpr iterator(const Triplet* next, const Triplet* end, std::uint8_t mask, std::uint8_t value) noexcept
            : _next(next), _end(end), _mask(mask), _value(value) {
            skip();
        }

        constexpr void skip() noexcept {
            while (_next != _end && (_next->header & _mask) != _value) {
                ++_next;
            }
        }

        const Triplet* _next = nullptr;
        const Triplet* _end = nullptr;
        std::uint8_t _mask = 0;
        std::uint8_t _value = 0;
    };

    /// What the functions below make.
    constexpr TripletFilterView(std::span<const Triplet> triplets, std::uint8_t mask, std::uint8_t value) noexcept
        : _triplets(triplets), _mask(mask), _value(value) {}

    /// The first one.
    [[nodiscard]] constexpr iterator begin() const noexcept {
        return {_triplets.data(), _triplets.data() + _triplets.size(), _mask, _value};
    }
    /// Behind the last one.
    [[nodiscard]] constexpr iterator end() const noexcept {
        const Triplet* const last = _triplets.data() + _triplets.size();
        return {last, last, _mask, _value};
    }
    /// Whether there is none.
    [[nodiscard]] constexpr bool empty() const noexcept { return begin() == end(); }

private:
    std::span<const Triplet> _triplets;
    std::uint8_t _mask;
    std::uint8_t _value;
};

/// The valid pairs of a field, in their order (also null pairs).
///
///     for (const qlx::cc::Triplet& pair : qlx::cc::fieldPairs(cdp.triplets(), qlx::cc::CcType::Field1)) {
///         receiver.receive(pair.first, pair.second);
///     }
[[nodiscard]] constexpr TripletFilterView fieldPairs(std::span<const Triplet> triplets, CcType field) noexcept {
    return {triplets, Triplet::kValidBit | Triplet::kTypeBits,
            static_cast<std::uint8_t>(Triplet::kValidBit | static_cast<unsigned>(field))};
}

/// The valid DTVCC triplets, packet starts and packet data, in their order.
[[nodiscard]] constexpr TripletFilterView dtvccTriplets(std::span<const Triplet> triplets) noexcept {
    constexpr std::uint8_t kValidDtvcc = Triplet::kValidBit | 0x02;
    return {triplets, kValidDtvcc, kValidDtvcc};
}

}  // namespace qlx::cc
