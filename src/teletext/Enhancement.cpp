// Packs placements into packets X/26, and designations into X/28/0 and M/29/0.
#include <qlx/teletext/enhancement.h>

#include <algorithm>

namespace qlx::teletext {

namespace {

constexpr std::size_t kRows = std::size_t{kLastRow} + 1;
constexpr std::uint8_t kLastCode = 0x7F;
constexpr unsigned kCodeBits = 8;

/// Row r has the address 40 + r, row 24 has 40.
constexpr unsigned kRowAddresses = 40;
/// Of row 0 and of terminators.
constexpr unsigned kLastAddress = 63;
/// All bits: no objects follow.
constexpr Triplet kTerminator = Triplet::make(kLastAddress, modeOf(RowMode::Termination), 0x7F);

bool isPlacement(const Placement& placement) {
    const bool isCharacter =
        placement.mode == modeOf(ColumnMode::G3Character) ||
        (placement.mode >= modeOf(ColumnMode::G2Character) && placement.mode <= modeOf(ColumnMode::LastMark));
    return isCharacter && placement.row < kRows && placement.column < kDataBytes &&
           placement.code >= kFirstCharacterCode && placement.code <= kLastCode;
}

void leaveOut(const Placement& placement, FindingSink* findings) {
    if (findings != nullptr) {
        findings->add({FindingCode::TeletextPlacementLeftOut, Severity::Error, 0, placement.row, placement.column});
    }
}

/// Fills packets one triplet after the other.
class TripletWriter {
public:
    TripletWriter(std::uint8_t magazine, std::span<Packet> packets) : _packets(packets) { _next.magazine = magazine; }

    /// How many more triplets there is room for.
    [[nodiscard]] std::size_t room() const {
        return std::min(_packets.size(), kEnhancementPackets) * TripletPacket::kTriplets - _written;
    }

    void add(Triplet triplet) {
        _next.triplets[_written++ % TripletPacket::kTriplets] = triplet;
        if (_written % TripletPacket::kTriplets == 0) {
            flush();
        }
    }

    /// Ends the last packet; gives how many there are.
    std::size_t finish() {
        while (_written % TripletPacket::kTriplets != 0) {
            add(kTerminator);
        }
        return _count;
    }

private:
    void flush() {
        _next.designation = static_cast<std::uint8_t>(_count);
        // The magazine has been looked at, the rest is in range.
        _packets[_count++] = *packetOf(_next);
    }

    std::span<Packet> _packets;
    TripletPacket _next;
    std::size_t _written = 0;
    std::size_t _count = 0;
};

Triplet rowTriplet(std::uint8_t row) {
    if (row == 0) {
        return Triplet::make(kLastAddress, modeOf(RowMode::AddressRowZero), 0);
    }
    return Triplet::make(row == kLastRow ? kRowAddresses : kRowAddresses + row, modeOf(RowMode::SetActivePosition), 0);
}

/// Colours 16 to 31 that receivers have: four bits each of red, green and blue, red highest (EN 300 706, clause 12.4).
constexpr std::array<std::uint16_t, 16> kColours{0xF05, 0xF70, 0x0F7, 0xFFB, 0x0CA, 0x500, 0x652, 0xC77,
                                                 0x333, 0xF77, 0x7F7, 0xFF7, 0x77F, 0xF7F, 0x7FF, 0xDDD};

/// The bits of thirteen triplets one after the other, lowest first.
class BitWriter {
public:
    explicit BitWriter(TripletPacket& packet) : _packet(packet) {}

    void put(unsigned value, unsigned bits) {
        constexpr std::size_t kBits = 18;
        for (unsigned bit = 0; bit < bits; ++bit, ++_place) {
            Triplet& triplet = _packet.triplets[_place / kBits];
            triplet = Triplet(triplet.bits() | (value >> bit & 1U) << _place % kBits);
        }
    }

private:
    TripletPacket& _packet;
    std::size_t _place = 0;
};

constexpr unsigned kDesignationBits = 7;
/// Page function and page coding stand in front of it.
constexpr unsigned kFunctionBits = 4;
constexpr unsigned kCodingBits = 3;

Result<Packet> designation(std::uint8_t magazine, std::uint8_t number, std::uint8_t designation) {
    if (designation >= kDesignations) {
        return Finding{FindingCode::TeletextFieldTooGreat, Severity::Error, 0, designation, kDesignations - 1};
    }
    TripletPacket packet{.magazine = magazine, .number = number};
    BitWriter writer(packet);
    // A page of level 1 whose bytes have odd parity.
    writer.put(0, kFunctionBits + kCodingBits);
    writer.put(designation, kDesignationBits);
    // No second set.
    writer.put((1U << kDesignationBits) - 1, kDesignationBits);
    constexpr unsigned kSidePanelBits = 7;
    writer.put(0, kSidePanelBits);
    for (const std::uint16_t colour : kColours) {
        constexpr unsigned kPartBits = 4;
        for (const unsigned shift : {2 * kPartBits, kPartBits, 0U}) {
            writer.put(static_cast<unsigned>(colour) >> shift, kPartBits);
        }
    }
    return packetOf(packet);
}

}  // namespace

std::size_t enhancementPackets(std::span<const Placement> placements, std::uint8_t magazine, std::span<Packet> packets,
                               FindingSink* findings) {
    // Mode and code of what stands at each place of the page.
    std::array<std::array<std::uint16_t, kDataBytes>, kRows> page{};
    std::array<std::uint64_t, kRows> columns{};
    const bool isMagazine = magazine > 0 && magazine <= kGreatestMagazine;
    for (const Placement& placement : placements) {
        if (!isMagazine || !isPlacement(placement)) {
            leaveOut(placement, findings);
            continue;
        }
        page[placement.row][placement.column] =
            static_cast<std::uint16_t>(placement.mode << kCodeBits | placement.code);
        columns[placement.row] |= std::uint64_t{1} << placement.column;
    }
    TripletWriter writer(magazine, packets);
    for (std::uint8_t row = 0; row < kRows; ++row) {
        bool isAddressed = false;
        for (std::size_t column = 0; columns[row] >> column != 0; ++column) {
            if ((columns[row] >> column & 1U) == 0) {
                continue;
            }
            const std::uint16_t what = page[row][column];
            const Placement placement{row, static_cast<std::uint8_t>(column),
                                      static_cast<std::uint8_t>(what >> kCodeBits),
                                      static_cast<std::uint8_t>(what & kLastCode)};
            if (writer.room() < (isAddressed ? 1U : 2U)) {
                leaveOut(placement, findings);
                continue;
            }
            if (!isAddressed) {
                writer.add(rowTriplet(row));
                isAddressed = true;
            }
            writer.add(Triplet::make(placement.column, placement.mode, placement.code));
        }
    }
    return writer.finish();
}

Result<Packet> designationPacket(std::uint8_t magazine, std::uint8_t value) {
    return designation(magazine, kPageDesignation, value);
}

Result<Packet> magazineDesignationPacket(std::uint8_t magazine, std::uint8_t value) {
    return designation(magazine, kMagazineDesignation, value);
}

std::optional<std::uint8_t> designationIn(const TripletPacket& packet) noexcept {
    const bool isNumber = packet.number == kPageDesignation || packet.number == kMagazineDesignation;
    if (!isNumber || packet.designation != 0 || !packet.isSound(0)) {
        return std::nullopt;
    }
    const std::uint32_t bits = packet.triplets[0].bits();
    // Of a magazine these bits mean nothing.
    constexpr std::uint32_t kFunctionMask = (1U << kFunctionBits) - 1;
    if (packet.number == kPageDesignation && (bits & kFunctionMask) != 0) {
        return std::nullopt;
    }
    return static_cast<std::uint8_t>(bits >> (kFunctionBits + kCodingBits) & (kDesignations - 1));
}

}  // namespace qlx::teletext
