// The caption channel packets of DTVCC (CTA-708) and their service blocks: read out of triplets, and written.
//
//     qlx::cea708::PacketReader reader;
//     for (const qlx::cc::Triplet& triplet : qlx::cc::dtvccTriplets(cdp.triplets())) {
//         for (const qlx::cea708::ReceivedPacket& received : reader.receive(triplet, &findings)) {
//             for (const qlx::cea708::ServiceBlockView block : received.packet.blocks()) {
//                 use(block.service, block.data);
//             }
//         }
//     }
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>
#include <QLXClosedCaptionsUtilities/platform/Data.h>
#include <qlx/base/bounded_list.h>
#include <qlx/base/result.h>
#include <qlx/cc/triplet.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <optional>
#include <span>

namespace qlx::cea708 {

namespace detail {
class BlockReader;
}  // namespace detail

inline constexpr std::size_t kGreatestPacketBytes = 128;  ///< With the header.
inline constexpr std::size_t kGreatestPacketData = 127;   ///< Without the header.
inline constexpr std::size_t kGreatestBlockData = 31;     ///< block_size has 5 bits.
inline constexpr std::uint8_t kGreatestService = 63;      ///< extended_service_number has 6 bits.
/// Services from this one on have an extended header.
inline constexpr std::uint8_t kFirstExtendedService = 7;

/// Bytes of packet data that a packet_size_code stands for: 127 for 0, otherwise one less than twice the code.
[[nodiscard]] constexpr std::size_t packetDataSize(std::uint8_t sizeCode) noexcept {
    return sizeCode == 0 ? kGreatestPacketData : 2 * std::size_t{sizeCode} - 1U;
}

/// A service block of a packet: a view into it.
struct ServiceBlockView {
    std::uint8_t service = 0;            ///< 1 to 63.
    std::span<const std::uint8_t> data;  ///< block_data, at most 31 bytes.
    std::size_t offset = 0;              ///< Of the block's header, counted from the packet's header.
};

/// The service blocks of a packet, walked without a copy.
class BlocksView {
public:
    /// Walks the blocks.
    class iterator {
    public:
        /// As every iterator has it.
        using iterator_category = std::input_iterator_tag;
        /// The same.
        using value_type = ServiceBlockView;
        /// The same.
        using difference_type = std::ptrdiff_t;
        /// The same.
        using pointer = void;
        /// The same.
        using reference = ServiceBlockView;

        iterator() noexcept = default;
        /// Stands on the first of these blocks, or behind them.
        iterator(std::span<const std::uint8_t> blocks, std::size_t offset) noexcept
            : _blocks(blocks), _offset(offset) {}

        /// The block.
        [[nodiscard]] QLX_EXPORT ServiceBlockView operator*() const noexcept;
        /// Goes to the next one.
        QLX_EXPORT iterator& operator++() noexcept;
        /// The same.
        iterator operator++(int) noexcept {
            const iterator before = *this;
            ++*this;
            return before;
        }
        /// Whether both are at the same place of one packet.
        [[nodiscard]] friend bool operator==(const iterator& left, const iterator& right) noexcept {
            return left._offset == right._offset;
        }

    private:
        std::span<const std::uint8_t> _blocks;
        std::size_t _offset = 0;
    };

    /// What Packet::blocks() gives.
    explicit BlocksView(std::span<const std::uint8_t> blocks) noexcept : _blocks(blocks) {}

    /// The first one.
    [[nodiscard]] iterator begin() const noexcept { return {_blocks, 0}; }
    /// Behind the last one.
    [[nodiscard]] iterator end() const noexcept { return {_blocks, _blocks.size()}; }
    /// Whether there is none.
    [[nodiscard]] bool empty() const noexcept { return _blocks.empty(); }

private:
    std::span<const std::uint8_t> _blocks;
};

/// A caption channel packet as a value: its sequence number, its service blocks, and how long it is. Allocates nothing.
/// A default-made one has no block and the least size, a header and one byte.
///
///     qlx::cea708::Packet packet;
///     packet.setSequenceNumber(number++);
///     if (const auto size = packet.addBlock(1, text); !size) report(size.error().text());
class Packet {
public:
    /// sequence_number, 0 to 3.
    [[nodiscard]] std::uint8_t sequenceNumber() const noexcept { return _sequenceNumber; }
    /// Low 2 bits.
    void setSequenceNumber(unsigned number) noexcept { _sequenceNumber = static_cast<std::uint8_t>(number & 3U); }

    /// The service blocks in their order; valid until the next change.
    [[nodiscard]] BlocksView blocks() const noexcept { return BlocksView(_blocks.items()); }
    /// Adds a service block and gives the bytes that are free behind it in the greatest packet. A service of 0 or above
    /// 63, or one above 7 without data, which no header can carry: Cea708ServiceWrong; too many data:
    /// Cea708BlockTooLong; no room: Cea708PacketFull; nothing is changed then. The packet grows as it needs to.
    QLX_EXPORT Result<std::size_t> addBlock(std::uint8_t service, std::span<const std::uint8_t> data);
    /// Takes all blocks away; the packet has the least size again.
    void removeBlocks() noexcept {
        _blocks.clear();
        _dataSize = 1;
    }

    /// Bytes of the packet behind its header: odd. Behind the blocks stand zeros, the first of which is a null block.
    [[nodiscard]] std::size_t dataSize() const noexcept { return _dataSize; }
    /// Makes the packet at least so long; the next greater size that there is, at most 127.
    QLX_EXPORT void growTo(std::size_t dataSize) noexcept;
    /// Bytes of the packet with its header: even.
    [[nodiscard]] std::size_t size() const noexcept { return _dataSize + 1; }
    /// packet_size_code
    [[nodiscard]] std::uint8_t sizeCode() const noexcept { return static_cast<std::uint8_t>(size() / 2 % 64); }

    /// True when both are written as the same bytes.
    friend bool operator==(const Packet&, const Packet&) noexcept = default;

private:
    friend class detail::BlockReader;
    friend QLX_EXPORT Result<std::size_t> writePacket(const Packet& packet, std::span<std::uint8_t> room);

    std::uint8_t _sequenceNumber = 0;
    std::size_t _dataSize = 1;
    BoundedList<std::uint8_t, kGreatestPacketData> _blocks;
};

/// Reads a packet that begins with its header. Of one that is cut, the service blocks that are whole are used. What is
/// wrong with it is given to `findings` with its byte offset: an Error for what is left out. Fails with Cea708PacketCut
/// when there is no byte at all. What is read without a finding is written as the same bytes by writePacket().
[[nodiscard]] QLX_EXPORT Result<Packet> parsePacket(std::span<const std::uint8_t> bytes,
                                                    FindingSink* findings = nullptr);

/// Writes the packet, always an even number of bytes, and gives their number. OutputTooSmall for a room that is smaller;
/// nothing is written then. Allocates nothing.
[[nodiscard]] QLX_EXPORT Result<std::size_t> writePacket(const Packet& packet, std::span<std::uint8_t> room);
/// The same as a buffer of its own.
[[nodiscard]] QLX_EXPORT Data writePacket(const Packet& packet);

/// Writes the packet as triplets, the first of which is a packet start, and gives their number: at most 64.
/// OutputTooSmall for a room that is smaller; nothing is written then.
[[nodiscard]] QLX_EXPORT Result<std::size_t> writeTriplets(const Packet& packet, std::span<cc::Triplet> room);

/// A packet that was received, and what was around it.
struct ReceivedPacket {
    Packet packet;              ///< Its whole service blocks.
    bool isBehindLoss = false;  ///< Lost are packets in front of it, or the end of the last one or of its last block.
    bool isCut = false;         ///< Its end is lost: its header announces more than has come.

    /// Whether all fields are equal.
    friend bool operator==(const ReceivedPacket&, const ReceivedPacket&) noexcept = default;
};

/// Makes packets out of triplets. A packet is given when its last byte has come, or when another one begins before
/// that. Triplets that are not valid, and those of CEA-608, carry nothing and are passed over.
class PacketReader {
public:
    /// Takes the next triplet.
    /// @param triplet Of whatever type.
    /// @param findings Gets what is wrong with the packet, a jump of its number, data outside of packets; may be null.
    /// @param offset The place of all these findings.
    /// @return The packets that have ended with it, none to two; valid until the next call.
    [[nodiscard]] QLX_EXPORT std::span<const ReceivedPacket> receive(const cc::Triplet& triplet,
                                                                     FindingSink* findings = nullptr,
                                                                     std::uint64_t offset = 0);

    /// Ends the packet that is not complete, as another packet's start does.
    /// @return That packet, or none.
    [[nodiscard]] QLX_EXPORT std::span<const ReceivedPacket> finish(FindingSink* findings = nullptr,
                                                                    std::uint64_t offset = 0);

    /// Whether a packet has begun and not ended.
    [[nodiscard]] bool isInPacket() const noexcept { return _size != 0; }

private:
    void end(FindingSink* findings, std::uint64_t offset);

    std::array<std::uint8_t, kGreatestPacketBytes> _bytes{};
    std::size_t _size = 0;    ///< Bytes that are there; 0 outside of a packet.
    std::size_t _needed = 0;  ///< Bytes that its header announces.
    bool _wasToldOutside = false;
    bool _isBehindLoss = false;
    std::optional<std::uint8_t> _expected;  ///< The next sequence number.
    std::array<ReceivedPacket, 2> _ended;
    std::size_t _endedCount = 0;
};

}  // namespace qlx::cea708
