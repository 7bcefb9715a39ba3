// An ad trigger: looks for SCTE-104 splice requests in the ancillary row of every frame, and turns each into the
// SCTE-35 section that a multiplexer inserts into the transport stream.
//
// The row is made here, so that the program runs without hardware; a host gets it from its capture board.
#include <QLXClosedCaptionsUtilities/QLXClosedCaptionsUtilities.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace {

constexpr std::size_t kBytesPerRow = 5120;            // v210, 1920 samples
constexpr std::uint64_t kLine = 13;                   // where ad insertion messages go (SMPTE ST 2010)
constexpr std::uint64_t kTicksPerMillisecond = 90;    // of the transport stream's 90 kHz clock
constexpr std::uint64_t kTicksPerFrame = 90000 / 25;  // 25 frames a second
constexpr std::uint64_t kFirstPTS = 10 * 90000;       // of the frame with number 0
constexpr std::uint64_t kFrames = 50;
constexpr std::uint64_t kRequestFrame = 25;

/// The row of a frame: blanking (chroma 0x200 and luma 0x040 in turn), in one of them with a request: start in 4 s,
/// 30 s long, and return by itself.
std::vector<std::uint8_t> capturedRow(std::uint64_t frame) {
    constexpr std::array<std::uint8_t, 8> kTwoWords = {0x00, 0x02, 0x01, 0x20, 0x40, 0x00, 0x08, 0x04};
    std::vector<std::uint8_t> row(kBytesPerRow);
    for (std::size_t index = 0; index < row.size(); ++index) {
        row[index] = kTwoWords[index % kTwoWords.size()];
    }
    if (frame == kRequestFrame) {
        constexpr std::int32_t kStart = 1;
        constexpr std::uint64_t kEventID = 1;
        constexpr std::uint64_t kProgramID = 7;
        const auto request = QLXVANCPacket::
            SCTE104VANCPacketWithSpliceType_asIndex_dpiPID_spliceEventID_programUniqueID_duration_autoReturn_preRoll_lineNumber(
                kStart, 0, 0, kEventID, kProgramID, 300, true, 4000, kLine);
        QLXCCUtilities::fillYComponentIn10BitBuffer_withVANCPackets_destinationBufferSize_lineNumber(
            row.data(), {request}, row.size(), static_cast<std::int32_t>(kLine));
    }
    return row;
}

/// A parameter of an operation; 0 when it is not there.
std::uint64_t number(const qlx::Dictionary& operation, std::string_view key) {
    const qlx::Value* const value = operation.find(key);
    return value ? value->unsignedValue() : 0;
}

}  // namespace

int main() {
    std::size_t sections = 0;
    for (std::uint64_t frame = 0; frame < kFrames; ++frame) {
        const std::vector<std::uint8_t> row = capturedRow(frame);
        std::optional<std::string> message;
        const auto packets = QLXVANCPacket::VANCPacketsWithSDIBuffer_size_bufferFormat_lineNumber_errorString(
            row.data(), row.size(), qlx::kPixelFormatV210, kLine, &message);
        if (message) {
            std::cerr << "frame " << frame << ": " << *message << '\n';
        }
        for (const auto& packet : packets) {
            const auto operations = QLXSCTEUtilities::operationsWithSCTEMessageData(packet->packetData());
            // The section is made of one splice request; other messages are for somebody else.
            if (packet->packetType() != QLXVANCPacketTypeSCTE104 || operations.size() != 1 ||
                operations.front().find("spliceEventID") == nullptr) {
                continue;
            }
            const std::uint64_t pts =
                kFirstPTS + frame * kTicksPerFrame + number(operations.front(), "preRollTime") * kTicksPerMillisecond;
            std::cout << "frame " << frame << ": event " << number(operations.front(), "spliceEventID") << " at " << pts
                      << '\n';
            const qlx::Data section = QLXVANCPacket::SCTE35PacketDataWithSCTE104VANCPacket_intendedPTS(packet, pts);
            if (section) {
                // Here a host hands the section to its multiplexer.
                std::cout << section.description() << '\n';
                ++sections;
            }
        }
    }
    return sections == 1 ? EXIT_SUCCESS : EXIT_FAILURE;
}
