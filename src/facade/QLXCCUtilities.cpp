#include <QLXClosedCaptionsUtilities/QLXCCUtilities.h>

#include <QLXClosedCaptionsUtilities/QLXVANCPacket.h>

#include "anc/AncWord.h"
#include "anc/RowKernels.h"
#include "v210/V210.h"

#include <algorithm>
#include <array>
#include <limits>
#include <span>

namespace {

constexpr std::size_t kNoBound = std::numeric_limits<std::size_t>::max();

/// User data words of the longest packet that SMPTE ST 291-1 allows; a longer one takes its samples from the heap.
constexpr std::size_t kMaxUserDataWords = 255;

/// Writes a whole packet (flag, DID, SDID, DC, data, checksum) from word `firstWord` on and gives the word behind it.
std::size_t writePacket(std::uint8_t* row, std::size_t firstWord, std::size_t wordCount, std::uint8_t did,
                        std::uint8_t sdid, std::uint8_t dataCount, std::span<const std::uint8_t> data) {
    using namespace qlx::anc;
    std::array<std::uint16_t, kMaxUserDataWords + kWordsAroundData> stack;  // Filled as far as it is used.
    std::vector<std::uint16_t> heap(data.size() > kMaxUserDataWords ? data.size() + kWordsAroundData : 0);
    std::uint16_t* const samples = heap.empty() ? stack.data() : heap.data();

    std::uint16_t* next = std::copy(kDataFlag.begin(), kDataFlag.end(), samples);
    std::uint32_t sum = 0;
    const auto put = [&next, &sum](std::uint8_t byte) {
        *next = word(byte);
        sum += *next++;
    };
    put(did);
    put(sdid);
    put(dataCount);
    std::for_each(data.begin(), data.end(), put);
    *next++ = checksumWord(sum);
    return qlx::v210::writeLuma(row, firstWord, wordCount, {samples, next});
}

/// Calls `write` with each packet of the line, in order.
template <class Write>
void forPacketsOfLine(const std::vector<std::shared_ptr<QLXVANCPacket>>& packets, std::int32_t lineNumber,
                      Write write) {
    const auto wanted = static_cast<std::uint64_t>(std::int64_t{lineNumber});
    for (const auto& packet : packets) {
        if (packet && packet->lineNumber() == wanted) {
            write(*packet);
        }
    }
}

}  // namespace

qlx::Data QLXCCUtilities::lumaBufferFrom8BitYUVBuffer_size(const std::uint8_t* buffer, std::uint64_t size) {
    const auto count = static_cast<std::size_t>(size / 2);
    return qlx::Data::make(count, [buffer, count](std::uint8_t* luma) {
        for (std::size_t index = 0; index < count; ++index) {
            luma[index] = buffer[2 * index];
        }
    });
}

qlx::Data QLXCCUtilities::YComponentBufferFrom10BitBuffer(const qlx::Data& buffer) {
    const std::size_t groups = buffer.size() / qlx::v210::kGroupBytes;
    return qlx::Data::make(groups * qlx::v210::kLumaOfGroup, [&buffer, groups](std::uint8_t* luma) {
        qlx::anc::rowKernels().reduceV210(buffer.data(), groups, luma);
    });
}

void QLXCCUtilities::fillYComponentIn10BitBuffer_withVANCDataBuffer_size_did_sdid(std::uint8_t* destination,
                                                                                  const std::uint8_t* data,
                                                                                  std::uint64_t size, std::uint8_t did,
                                                                                  std::uint8_t sdid) {
    constexpr std::uint64_t kMinBytes = 6;
    constexpr std::size_t kOwnLengthByte = 2;
    if (size < kMinBytes) {
        return;
    }
    writePacket(destination, 0, kNoBound, did, sdid, data[kOwnLengthByte], {data, static_cast<std::size_t>(size)});
}

void QLXCCUtilities::fillYComponentIn10BitBuffer_withVANCPackets_destinationBufferSize_lineNumber(
    std::uint8_t* destination, const std::vector<std::shared_ptr<QLXVANCPacket>>& packets,
    std::uint64_t destinationBufferSize, std::int32_t lineNumber) {
    const std::size_t wordCount =
        destinationBufferSize == 0 ? kNoBound : static_cast<std::size_t>(destinationBufferSize / qlx::v210::kWordBytes);
    std::size_t word = 0;
    forPacketsOfLine(packets, lineNumber, [&](const QLXVANCPacket& packet) {
        const qlx::Data data = packet.packetData();
        word =
            writePacket(destination, word, wordCount, static_cast<std::uint8_t>(packet.packetDID()),
                        static_cast<std::uint8_t>(packet.packetSDID()), static_cast<std::uint8_t>(data.size()), data);
    });
}

void QLXCCUtilities::fillYComponentIn8BitBuffer_withVANCPackets_destinationBufferSize_lineNumber(
    std::uint8_t* destination, const std::vector<std::shared_ptr<QLXVANCPacket>>& packets,
    std::uint64_t destinationBufferSize, std::int32_t lineNumber) {
    constexpr std::uint64_t kDataCountOffset = 11;
    constexpr std::uint64_t kDataOffset = 13;
    forPacketsOfLine(packets, lineNumber, [&](const QLXVANCPacket& packet) {
        const qlx::Data data = packet.packetData();
        destination[1] = 0x00;
        destination[3] = 0xFF;
        destination[5] = 0xFF;
        destination[7] = static_cast<std::uint8_t>(packet.packetDID());
        destination[9] = static_cast<std::uint8_t>(packet.packetSDID());
        destination[kDataCountOffset] = static_cast<std::uint8_t>(data.size());
        for (std::size_t index = 0; index < data.size() && kDataCountOffset + 2 * index <= destinationBufferSize;
             ++index) {
            destination[kDataOffset + 2 * index] = data[index];
        }
    });
}
