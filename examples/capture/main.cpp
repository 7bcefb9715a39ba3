// A capture loop: takes the ancillary rows of every frame, names the packets in them and forwards them as one timed
// sample.
//
// The frame is made here, so that the program runs without hardware; a host gets the same rows from its capture board.
#include <QLXClosedCaptionsUtilities/QLXClosedCaptionsUtilities.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace {

constexpr std::size_t kBytesPerRow = 5120;  // v210, 1920 samples: 40 groups of 48 pixels, 128 bytes each
constexpr std::size_t kRows = 8;

/// Rows of blanking: every 32-bit word holds three 10-bit components, chroma 0x200 and luma 0x040 in turn.
std::vector<std::uint8_t> blankRows() {
    constexpr std::uint32_t kChromaFirst = 0x200U | 0x040U << 10U | 0x200U << 20U;
    constexpr std::uint32_t kLumaFirst = 0x040U | 0x200U << 10U | 0x040U << 20U;
    std::vector<std::uint8_t> rows;
    rows.reserve(kRows * kBytesPerRow);
    for (std::size_t word = 0; word < kRows * kBytesPerRow / 4; ++word) {
        const std::uint32_t value = word % 2 == 0 ? kChromaFirst : kLumaFirst;
        for (unsigned shift = 0; shift < 32; shift += 8) {
            rows.push_back(static_cast<std::uint8_t>(value >> shift));
        }
    }
    return rows;
}

/// A frame's ancillary rows with a caption packet in row 3 and a teletext packet in row 5.
std::vector<std::uint8_t> capturedRows() {
    std::vector<std::uint8_t> rows = blankRows();
    const std::vector<std::shared_ptr<QLXVANCPacket>> packets = {
        QLXVANCPacket::CEA608VANCPacketWithData_lineNumber(qlx::Data({0x80, 0x94, 0x2C}), 3),
        QLXVANCPacket::OP47VANCPacketWithData_lineNumber(QLXSubtitlesPacketizer::runInAndFramingCode(), 5),
    };
    for (std::size_t row = 0; row < kRows; ++row) {
        QLXCCUtilities::fillYComponentIn10BitBuffer_withVANCPackets_destinationBufferSize_lineNumber(
            rows.data() + row * kBytesPerRow, packets, kBytesPerRow, static_cast<std::int32_t>(row));
    }
    return rows;
}

/// Here a host hands the sample to its recorder, or to the next machine; false when there is none.
bool forward(const std::shared_ptr<qlx::SampleBuffer>& sample) {
    if (!sample || !sample->dataBuffer || !sample->timingInfo) {
        return false;
    }
    std::cout << "  forwarded: " << sample->dataBuffer->size() << " bytes at "
              << qlx::secondsFrom(sample->timingInfo->presentationTimeStamp) << " s\n";
    return true;
}

}  // namespace

int main() {
    for (std::int64_t frame = 0; frame < 2; ++frame) {
        const std::vector<std::uint8_t> rows = capturedRows();
        std::optional<std::string> message;
        const auto packets = QLXVANCPacket::VANCPacketsWithMultilineSDIBuffer_size_bytesPerRow_bufferFormat_errorString(
            rows.data(), rows.size(), kBytesPerRow, qlx::kPixelFormatV210, &message);
        std::cout << "frame " << frame << '\n';
        for (const auto& packet : packets) {
            std::cout << "  row " << packet->lineNumber() << ": " << packet->description() << '\n';
        }
        if (message) {
            std::cerr << *message << '\n';
        }
        const qlx::SampleTimingInfo timing{qlx::MediaTime::make(1, 25), qlx::MediaTime::make(frame, 25), {}};
        if (!forward(QLXVANCPacket::createSampleBufferWithVANCPackets_timingInfo(packets, timing))) {
            return EXIT_FAILURE;
        }
    }
    return EXIT_SUCCESS;
}
