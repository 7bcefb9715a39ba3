// A host that changes records, live record and properties in any order between frames at any time.
#include <QLXClosedCaptionsUtilities/QLXSubtitleRecord.h>
#include <QLXClosedCaptionsUtilities/QLXSubtitleTextLine.h>
#include <QLXClosedCaptionsUtilities/QLXSubtitlesPacketizer.h>
#include <QLXClosedCaptionsUtilities/QLXVANCPacket.h>

#include "FuzzSupport.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <numeric>
#include <span>
#include <vector>

namespace {

using qlxfuzz::Input;
using qlxfuzz::require;

template <class T>
T take(Input& input) {
    std::uint8_t bytes[sizeof(T)];
    for (std::uint8_t& byte : bytes) {
        byte = input.takeByte();
    }
    T value;
    std::memcpy(&value, bytes, sizeof(T));
    return value;
}

/// Mostly small times on a raster, sometimes any double at all.
double takeTime(Input& input) {
    const std::uint8_t raster = input.takeByte();
    return raster == 255 ? take<double>(input) : raster * 0.02;
}

std::shared_ptr<QLXSubtitleRecord> takeRecord(Input& input) {
    const auto shape = input.takeByte();
    if (shape == 255) {
        return nullptr;
    }
    auto record = std::make_shared<QLXSubtitleRecord>();
    record->setStartTimeInSeconds(takeTime(input));
    record->setEndTimeInSeconds(takeTime(input));
    std::vector<std::shared_ptr<QLXSubtitleTextLine>> lines(shape % 6);
    for (std::size_t index = shape / 6 % 2; index < lines.size(); ++index) {
        lines[index] = std::make_shared<QLXSubtitleTextLine>();
        lines[index]->setTextString("Text");
        lines[index]->setVerticalPosition(shape);
    }
    record->setSubtitleLines(std::move(lines));
    return record;
}

std::vector<std::shared_ptr<QLXSubtitleRecord>> takeRecords(Input& input) {
    std::vector<std::shared_ptr<QLXSubtitleRecord>> records;
    for (auto count = input.takeByte() % 40; count > 0; --count) {
        records.push_back(takeRecord(input));
    }
    return records;
}

void checkOrder(const QLXSubtitlesPacketizer& packetizer) {
    const auto records = packetizer.subtitleRecords();
    for (std::size_t index = 0; index < records.size(); ++index) {
        require(records[index] != nullptr && records[index] == packetizer.subtitleAtIndex(index));
        if (index != 0) {
            const double left = records[index - 1]->startTimeInSeconds();
            const double right = records[index]->startTimeInSeconds();
            require(std::isnan(right) || left <= right);
        }
    }
    require(packetizer.subtitleAtIndex(records.size()) == nullptr);
}

std::uint8_t sumOf(std::span<const std::uint8_t> bytes) {
    return static_cast<std::uint8_t>(std::accumulate(bytes.begin(), bytes.end(), 0U));
}

/// At 25 frames a second: an atom header and a CDP of 24 triplets, of which the first is the frame's pair.
void checkCaption(const qlx::SampleBuffer& sample) {
    const std::span<const std::uint8_t> bytes(sample.dataBuffer->data(), sample.dataBuffer->size());
    require(bytes.size() == 8 + 101 && bytes[3] == bytes.size() && bytes[10] == 101);
    require(bytes[17] == 0xFC && bytes[20] == 0xF9 && bytes[23] == 0xFA);
    require(sumOf(bytes.subspan(8)) == 0);
}

void checkFrame(QLXSubtitlesPacketizer& packetizer, const qlx::MediaTime& pts) {
    const auto sample = packetizer.copyNextSubtitleSampleBufferAtPTS_frameDuration(pts, {1, 25, 1, 0});
    if (packetizer.subtitleMode() != 2) {
        require(packetizer.subtitleMode() == 1 || sample == nullptr);
        if (sample) {
            checkCaption(*sample);
        }
        return;
    }
    require(sample && sample->timingInfo && sample->timingInfo->presentationTimeStamp == pts);
    const auto packets = QLXVANCPacket::VANCPacketsWithCMSampleBuffer(sample);
    require(packets.size() == 2);
    require(packets[0]->lineNumber() == (packetizer.isHD() ? 12 : 21));
    require(packets[1]->lineNumber() == (packetizer.isHD() ? 575 : 334));
    for (std::size_t field = 0; field < 2; ++field) {
        const qlx::Data block = packets[field]->packetData();
        require(block.size() == 148);
        require(sumOf(block) == 0);
        require((block[4] & 0x80) == (field == 0 ? 0x80 : 0));
    }
    require(packetizer.isSubtitleDisplayed());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Input input(data, size);
    const auto packetizer = QLXSubtitlesPacketizer::initWithSubtitleMode_isHD(2, true);
    while (!input.empty()) {
        switch (input.takeByte() % 12) {
        case 0:
            packetizer->setSubtitleRecords(takeRecords(input));
            checkOrder(*packetizer);
            break;
        case 1:
            packetizer->addSubtitleRecords(takeRecords(input));
            checkOrder(*packetizer);
            break;
        case 2:
            packetizer->deleteSubtitleRecords();
            require(packetizer->subtitleRecords().empty());
            break;
        case 3:
            packetizer->setLiveSubtitleRecordToDisplay(takeRecord(input));
            break;
        case 4:
            packetizer->setSubtitleMode(input.takeByte() % 4);
            break;
        case 5:
            packetizer->setIsHD(!packetizer->isHD());
            break;
        case 6:
            packetizer->setLastSubtitleRecord(takeRecord(input));
            packetizer->setIsSubtitleDisplayed(false);
            break;
        case 7:
            (void)packetizer->subtitleForTime(takeTime(input));
            break;
        case 8:
            checkFrame(*packetizer, take<qlx::MediaTime>(input));
            break;
        default:
            checkFrame(*packetizer, qlx::MediaTime::make(input.takeByte(), 25));
            break;
        }
    }
    return 0;
}
