// Caption and ancillary data utilities: SDI rows to luma bytes and back.
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>
#include <QLXClosedCaptionsUtilities/platform/Data.h>

#include <cstdint>
#include <memory>
#include <vector>

class QLXVANCPacket;

/// Class operations on rows of pixels. They keep no state and may be called from any thread.
class QLX_EXPORT QLXCCUtilities {
public:
    QLXCCUtilities() = delete;

    // Rows to luma bytes

    /// The bytes at even offsets of an 8-bit row: `size` / 2 bytes. These are the chroma positions of `2vuy`;
    /// deployed capture hosts look for packets there, and it is kept.
    [[nodiscard]] static qlx::Data lumaBufferFrom8BitYUVBuffer_size(const std::uint8_t* buffer, std::uint64_t size);

    /// The low 8 bits of every luma sample of a `v210` row: six bytes for each whole group of 16 bytes.
    [[nodiscard]] static qlx::Data YComponentBufferFrom10BitBuffer(const qlx::Data& buffer);

    // Packets into rows

    /// Writes one packet, given as a data buffer whose third byte is its own length (a caption distribution packet),
    /// into the luma of a `v210` row: flag, DID, SDID, byte 2 as data count, all `size` bytes, checksum. The chroma
    /// beside a written middle sample is exchanged, as deployed writers do. Fewer than 6 bytes write nothing.
    /// @param data The user data; null only with size 0.
    /// @param size Its bytes, all of which are written.
    /// @param did, sdid Identifiers without parity bits.
    /// @param destination The row, changed in place, at any address; the caller vouches that it is long enough: the
    ///   `size` + 7 luma samples, rounded up to a whole 32-bit word of the row.
    static void fillYComponentIn10BitBuffer_withVANCDataBuffer_size_did_sdid(std::uint8_t* destination,
                                                                             const std::uint8_t* data,
                                                                             std::uint64_t size, std::uint8_t did,
                                                                             std::uint8_t sdid);

    /// Writes the packets of `lineNumber`, in their order, into the luma of a `v210` row, each beginning at the word
    /// behind the last one's checksum (SMPTE ST 291-1 words with parity and checksum).
    /// @param destinationBufferSize Bytes of the row: no word behind them is written. 0: the caller vouches for the
    ///   row.
    /// @param lineNumber Widened with its sign and compared with each packet's line.
    static void fillYComponentIn10BitBuffer_withVANCPackets_destinationBufferSize_lineNumber(
        std::uint8_t* destination, const std::vector<std::shared_ptr<QLXVANCPacket>>& packets,
        std::uint64_t destinationBufferSize, std::int32_t lineNumber);

    /// Writes the packets of `lineNumber` into the luma (odd bytes) of a `2vuy` row: flag, DID, SDID, DC and data, no
    /// checksum. Every packet begins at byte 1, so the last one overwrites the others, as deployed readers expect.
    /// @param packets Those of another line, and null entries, are passed over.
    /// @param lineNumber Widened with its sign and compared with each packet's line.
    /// @param destinationBufferSize Data byte k is written while 11 + 2k is not greater; the last may therefore land at
    ///   offset `destinationBufferSize` + 2. The row needs that much slack, and at least 12 bytes in any case.
    static void fillYComponentIn8BitBuffer_withVANCPackets_destinationBufferSize_lineNumber(
        std::uint8_t* destination, const std::vector<std::shared_ptr<QLXVANCPacket>>& packets,
        std::uint64_t destinationBufferSize, std::int32_t lineNumber);
};
