// Arbitrary text, row, colour and alignment as teletext rows and as whole subtitling data packets.
#include <QLXClosedCaptionsUtilities/QLXSubtitleTextLine.h>
#include <QLXClosedCaptionsUtilities/QLXSubtitlesPacketizer.h>

#include "FuzzSupport.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

using qlxfuzz::require;

namespace {

std::uint8_t sumOf(const qlx::Data& data) {
    std::uint8_t sum = 0;
    for (const std::uint8_t byte : data) {
        sum = static_cast<std::uint8_t>(sum + byte);
    }
    return sum;
}

void checkRow(const qlx::Data& row) {
    require(row.size() == 42);
    // Everything behind the address has odd parity.
    require(std::all_of(row.begin() + 2, row.end(), [](std::uint8_t byte) { return std::popcount(byte) % 2 == 1; }));
    // Both end-box codes are there, so the text never runs over its place.
    require(std::count(row.begin() + 2, row.end(), 0x8A) >= 2);
}

}  // namespace

// Each line: how many bytes of text, row, colour, alignment, then the text.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::size_t kFixed = 4;
    const auto packetizer = QLXSubtitlesPacketizer::initWithSubtitleMode_isHD(2, true);
    std::vector<std::shared_ptr<QLXSubtitleTextLine>> lines;
    std::vector<qlx::Data> rows;
    while (size >= kFixed) {
        const std::size_t length = std::min<std::size_t>(data[0], size - kFixed);
        auto line = std::make_shared<QLXSubtitleTextLine>();
        line->setVerticalPosition(data[1]);
        line->setTextColor(static_cast<std::int8_t>(data[2]));
        line->setAlignment(static_cast<std::int8_t>(data[3]));
        line->setTextString(std::string(data + kFixed, data + kFixed + length));
        rows.push_back(packetizer->teletextLineDataWithSubtitleLine(line));
        checkRow(rows.back());
        lines.push_back(std::move(line));
        data += kFixed + length;
        size -= kFixed + length;
    }
    const bool oddField = lines.size() % 2 == 1;
    const qlx::Data block = packetizer->linesPacketWithLines_oddField(lines, oddField);
    require(block.size() == 148 && sumOf(block) == 0);
    for (std::size_t index = 0; index < std::min<std::size_t>(rows.size(), 3); ++index) {
        require(std::equal(rows[index].begin(), rows[index].end(), block.begin() + 9 + 45 * index + 3));
    }
    return 0;
}
