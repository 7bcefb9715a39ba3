// A playout loop: reads an SRT file and puts every frame's teletext into two v210 rows.
#include <QLXClosedCaptionsUtilities/QLXClosedCaptionsUtilities.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <utility>
#include <vector>

namespace {

constexpr std::size_t kBytesPerRow = 5120;        // v210, 1920 samples
constexpr std::array<int, 2> kLines = {12, 575};  // where OP-47 packets of field 1 and 2 go in HD
constexpr std::int32_t kTeletext = 2;

/// A row of blanking: chroma 0x200 and luma 0x040 in turn, three components in every 32-bit word.
void blank(std::vector<std::uint8_t>& row) {
    constexpr std::array<std::uint8_t, 8> kTwoWords = {0x00, 0x02, 0x01, 0x20, 0x40, 0x00, 0x08, 0x04};
    for (std::size_t index = 0; index < row.size(); ++index) {
        row[index] = kTwoWords[index % kTwoWords.size()];
    }
}

}  // namespace

int main(int argumentCount, char** arguments) {
    if (argumentCount != 2) {
        std::cerr << "usage: playout SUBTITLES\n";
        return 2;
    }
    auto records = QLXSRTFileReader::subtitleRecordsFromSRTFileAtPath_subtitleMode_frameDuration(arguments[1],
                                                                                                 kTeletext, 1.0 / 25.0);
    if (records.empty()) {
        std::cerr << arguments[1] << ": no subtitles\n";
        return 1;
    }
    double end = 0.0;
    for (const auto& record : records) {
        end = std::max(end, record->endTimeInSeconds());
    }

    // The first record is due from the beginning. One without lines in front keeps the first subtitle off air until
    // then.
    auto front = QLXSubtitleRecord::initWithSubtitleMode(kTeletext);
    front->setEndTimeInSeconds(records.front()->startTimeInSeconds());
    records.insert(records.begin(), std::move(front));

    const auto packetizer = QLXSubtitlesPacketizer::initWithSubtitleMode_isHD(kTeletext, true);
    packetizer->setSubtitleRecords(records);

    const qlx::MediaTime frameDuration = qlx::MediaTime::make(1, 25);
    const auto frames = static_cast<std::int64_t>(end * 25.0) + 25;
    std::array<std::vector<std::uint8_t>, 2> rows = {std::vector<std::uint8_t>(kBytesPerRow),
                                                     std::vector<std::uint8_t>(kBytesPerRow)};
    std::size_t packetCount = 0;
    for (std::int64_t frame = 0; frame < frames; ++frame) {
        const auto sample =
            packetizer->copyNextSubtitleSampleBufferAtPTS_frameDuration(qlx::MediaTime::make(frame, 25), frameDuration);
        const auto packets = QLXVANCPacket::VANCPacketsWithCMSampleBuffer(sample);
        packetCount += packets.size();
        for (std::size_t field = 0; field < rows.size(); ++field) {
            blank(rows[field]);
            QLXCCUtilities::fillYComponentIn10BitBuffer_withVANCPackets_destinationBufferSize_lineNumber(
                rows[field].data(), packets, kBytesPerRow, kLines[field]);
        }
        // Here a host hands both rows to its board, together with the picture.
    }
    std::cout << frames << " frames, " << packetCount << " packets\n";
    return EXIT_SUCCESS;
}
