// OP-47 teletext: the blocks and the schedule of frames.
#include "base/Latin1.h"
#include "facade/FrenchTeletext.h"
#include "facade/SubtitlingDataPacket.h"
#include "facade/TeletextPacket.h"

#include <QLXClosedCaptionsUtilities/QLXSubtitleRecord.h>
#include <QLXClosedCaptionsUtilities/QLXSubtitleTextLine.h>
#include <QLXClosedCaptionsUtilities/QLXSubtitlesPacketizer.h>
#include <QLXClosedCaptionsUtilities/QLXVANCPacket.h>
#include <qlx/teletext/coding.h>
#include <qlx/teletext/sdp.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <span>
#include <utility>
#include <vector>

namespace facade = qlx::facade;
namespace sdp = qlx::facade::sdp;
namespace teletext = qlx::teletext;

namespace {

constexpr bool kOddField = true;
constexpr bool kEvenField = false;

/// The subtitle page 888 is tens 8, units 8; a header of units 15, which no receiver displays, closes it.
constexpr std::uint8_t kSubtitlePageTens = 8;
constexpr std::uint8_t kSubtitlePageUnits = 8;
constexpr std::uint8_t kClosingPageUnits = 15;

/// The lines that carry a field's packet.
struct FieldLines {
    std::uint64_t field1;
    std::uint64_t field2;
};
constexpr FieldLines kLinesHD = {12, 575};
constexpr FieldLines kLinesSD = {21, 334};

/// Bytes of a container, as the caller's buffer.
template <class Bytes>
qlx::Data dataOf(const Bytes& bytes) {
    return qlx::Data(bytes.data(), bytes.size());
}

void writeLine(std::span<std::uint8_t, teletext::kPacketBytes> target, const QLXSubtitleTextLine& line) {
    std::array<std::uint8_t, facade::kMaximumTextSize> text;
    std::size_t size = 0;
    if (const auto string = line.textString()) {
        size = qlx::latin1::convertLossy(*string, text);
    }
    facade::Row row;
    row.address = static_cast<std::uint8_t>(line.verticalPosition());
    row.color = static_cast<std::uint8_t>(line.textColor());
    row.alignment = line.alignment();
    row.latin1 = std::span(text).first(size);
    facade::writeRow(target, row);
}

/// Takes the first block of a queue, if there is one.
qlx::Data takeFirst(std::vector<qlx::Data>& queue) {
    if (queue.empty()) {
        return {};
    }
    qlx::Data block = std::move(queue.front());
    queue.erase(queue.begin());
    return block;
}

}  // namespace

// Frames

QLXSubtitlesPacketizer::FieldBlocks QLXSubtitlesPacketizer::takeQueuedBlocks() {
    const std::lock_guard lock(_queuesMutex);
    FieldBlocks blocks{takeFirst(_field1PacketsToSend), takeFirst(_field2PacketsToSend)};
    // Set before anything looks at it: hosts expect that a change to no subtitle always erases the page.
    setIsSubtitleDisplayed(true);
    return blocks;
}

/// Builds this frame's block of field 2 and queues those of the next frame: the page is erased first, and its rows and
/// the header that closes it follow. None when there is nothing to erase.
qlx::Data QLXSubtitlesPacketizer::startTeletextOutput(const std::shared_ptr<QLXSubtitleRecord>& subtitle) {
    if (!subtitle && !isSubtitleDisplayed()) {
        return {};
    }
    // Blocks take their counters as they are built, in this order.
    qlx::Data erasingHeader = pageHeaderPacketForPageTens_pageUnits_packetAddress_firstLineNumber_oddField_erasePage(
        kSubtitlePageTens, kSubtitlePageUnits, facade::kHeaderAddress, sdp::kFirstLine, kEvenField, true);
    qlx::Data rows = subtitle ? linesPacketWithLines_oddField(subtitle->subtitleLines(), kOddField)
                              : sdp::filling(kOddField, takePacketCounter());
    qlx::Data closingHeader =
        fillerAndPageHeaderPacketForPageTens_pageUnits_packetAddress_firstLineNumber_oddField_erasePage(
            kSubtitlePageTens, kClosingPageUnits, facade::kHeaderAddress, sdp::kFirstLine, kEvenField, false);
    const std::lock_guard lock(_queuesMutex);
    _field1PacketsToSend.push_back(std::move(rows));
    _field2PacketsToSend.push_back(std::move(closingHeader));
    return erasingHeader;
}

std::vector<std::shared_ptr<QLXVANCPacket>> QLXSubtitlesPacketizer::nextTeletextPackets(const qlx::MediaTime& pts) {
    const std::shared_ptr<QLXSubtitleRecord> subtitle = subtitleForTime(qlx::secondsFrom(pts));
    FieldBlocks blocks = takeQueuedBlocks();
    if (!blocks.field1 && !blocks.field2 && subtitle != lastSubtitleRecord()) {
        setLastSubtitleRecord(subtitle);
        blocks.field2 = startTeletextOutput(subtitle);
    }
    if (!blocks.field1) {
        blocks.field1 = sdp::filling(kOddField, takePacketCounter());
    }
    if (!blocks.field2) {
        blocks.field2 = sdp::filling(kEvenField, takePacketCounter());
    }
    const FieldLines& lines = isHD() ? kLinesHD : kLinesSD;
    return {QLXVANCPacket::OP47VANCPacketWithData_lineNumber(std::move(blocks.field1), lines.field1),
            QLXVANCPacket::OP47VANCPacketWithData_lineNumber(std::move(blocks.field2), lines.field2)};
}

std::shared_ptr<qlx::SampleBuffer> QLXSubtitlesPacketizer::copyNextTeletextSampleBufferAtPTS_frameDuration(
    const qlx::MediaTime& pts, const qlx::MediaTime& frameDuration) {
    return QLXVANCPacket::createSampleBufferWithVANCPackets_timingInfo(nextTeletextPackets(pts),
                                                                       {frameDuration, pts, {}});
}

// Subtitling data packets

std::uint16_t QLXSubtitlesPacketizer::takePacketCounter() noexcept {
    return _packetCounter.fetch_add(1, std::memory_order_relaxed);
}

qlx::Data
QLXSubtitlesPacketizer::pageHeaderPacketForPageTens_pageUnits_packetAddress_firstLineNumber_oddField_erasePage(
    std::uint8_t pageTens, std::uint8_t pageUnits, std::uint8_t packetAddress, std::uint8_t firstLineNumber,
    bool oddField, bool erasePage) {
    sdp::Builder block(firstLineNumber, oddField);
    facade::writePageHeader(block.packet(0), pageTens, pageUnits, packetAddress, erasePage);
    return block.finish(takePacketCounter());
}

qlx::Data
QLXSubtitlesPacketizer::fillerAndPageHeaderPacketForPageTens_pageUnits_packetAddress_firstLineNumber_oddField_erasePage(
    std::uint8_t pageTens, std::uint8_t pageUnits, std::uint8_t packetAddress, std::uint8_t /*firstLineNumber*/,
    bool oddField, bool erasePage) {
    sdp::Builder block(sdp::kFirstLine, oddField);
    facade::writePageHeader(block.packet(2), pageTens, pageUnits, packetAddress, erasePage);
    return block.finish(takePacketCounter());
}

qlx::Data QLXSubtitlesPacketizer::linesPacketWithLines_oddField(
    const std::vector<std::shared_ptr<QLXSubtitleTextLine>>& lines, bool oddField) {
    std::array<const QLXSubtitleTextLine*, sdp::kPacketCount> rows{};
    std::size_t count = 0;
    for (const std::shared_ptr<QLXSubtitleTextLine>& line : lines) {
        if (line && count < rows.size()) {
            rows[count++] = line.get();
        }
    }
    const std::uint64_t firstLine = count != 0 ? rows[0]->verticalPosition() : 0;
    sdp::Builder block(static_cast<std::uint8_t>(firstLine), oddField);
    for (std::size_t index = 0; index < count; ++index) {
        writeLine(block.packet(index).last<teletext::kPacketBytes>(), *rows[index]);
    }
    return block.finish(takePacketCounter());
}

qlx::Data QLXSubtitlesPacketizer::teletextFillingHeaderForOddField_beginWithPacketHeader_endWithPacketFooter(
    bool oddField, bool beginWithPacketHeader, bool endWithPacketFooter) {
    using Bytes = std::span<const std::uint8_t>;
    const Bytes start = Bytes(sdp::kFillingBlocks[oddField ? 1 : 0]).first<sdp::kHeaderSize + teletext::kLineBytes>();
    if (!endWithPacketFooter) {
        return beginWithPacketHeader ? dataOf(start) : dataOf(start.subspan<sdp::kHeaderSize>());
    }
    if (beginWithPacketHeader) {
        std::vector<std::uint8_t> packet(start.begin(), start.end());
        appendFooterWithChecksumToPacket(packet);
        return packet;
    }
    // The end of a whole SDP, with the checksum of all of it.
    const qlx::Data whole = sdp::filling(oddField, takePacketCounter());
    constexpr std::size_t kEndSize = teletext::kLineBytes + sdp::kFooterSize + sdp::kChecksumSize;
    return dataOf(Bytes(whole).last<kEndSize>());
}

qlx::Data QLXSubtitlesPacketizer::teletextLineDataWithSubtitleLine(
    const std::shared_ptr<QLXSubtitleTextLine>& line) const {
    if (!line) {
        return {};
    }
    std::array<std::uint8_t, teletext::kPacketBytes> bytes;
    writeLine(bytes, *line);
    return dataOf(bytes);
}

void QLXSubtitlesPacketizer::appendFooterWithChecksumToPacket(std::vector<std::uint8_t>& packet) {
    const auto footer = teletext::sdpFooter(takePacketCounter());
    packet.insert(packet.end(), footer.begin(), footer.end());
    packet.push_back(teletext::sdpChecksum(packet));
}

std::uint8_t QLXSubtitlesPacketizer::convertedFrenchCharacter(std::uint8_t character) const noexcept {
    return facade::frenchCode(character);
}

// Test packets

qlx::Data QLXSubtitlesPacketizer::op47TestHeaderPacket() const {
    std::array<std::uint8_t, teletext::kLineBytes> packet;
    facade::writePageHeader(packet, kSubtitlePageTens, kSubtitlePageUnits, facade::kHeaderAddress, true);
    return sdp::testPacket(packet);
}

qlx::Data QLXSubtitlesPacketizer::op47TestSubtitlePacket() const {
    constexpr std::array<std::uint8_t, 10> kText = {'O', 'P', '-', '4', '7', ' ', 'T', 'E', 'S', 'T'};
    facade::Row row;
    row.address = 20;
    row.alignment = 2;
    row.latin1 = kText;
    auto packet = facade::kFillingPacket;
    facade::writeRow(std::span(packet).last<teletext::kPacketBytes>(), row);
    return sdp::testPacket(packet);
}

qlx::Data QLXSubtitlesPacketizer::op47TestFillingPacket() const {
    return sdp::testPacket(facade::kFillingPacket);
}

// Teletext coding

qlx::Data QLXSubtitlesPacketizer::dataWithMagazine_packetAddress(std::uint8_t magazine, std::uint8_t packetAddress) {
    return dataOf(facade::deployedAddressBytes(magazine, packetAddress));
}

qlx::Data QLXSubtitlesPacketizer::dataWithPageNumberUnits_pageNumberTens(std::uint8_t units, std::uint8_t tens) {
    return dataOf(facade::deployedPageNumberBytes(units, tens));
}

qlx::Data QLXSubtitlesPacketizer::pageHeaderDataWithErasePage(bool erasePage) {
    return dataOf(facade::pageControlBytes(erasePage));
}

qlx::Data QLXSubtitlesPacketizer::fillerDataWithLength(std::uint64_t length) {
    const auto size = static_cast<std::size_t>(length);
    return qlx::Data::make(size, [size](std::uint8_t* bytes) { facade::writeFiller({bytes, size}); });
}

qlx::Data QLXSubtitlesPacketizer::runInAndFramingCode() {
    return dataOf(teletext::kRunInAndFramingCode);
}

qlx::Data QLXSubtitlesPacketizer::packetHeaderDataWithPacketsCount_firstLineNumber_oddField(
    std::uint64_t /*packetsCount*/, std::uint8_t firstLineNumber, bool oddField) {
    return dataOf(sdp::header(firstLineNumber, oddField));
}

qlx::Data QLXSubtitlesPacketizer::footerDataWithPacketCount(std::uint16_t packetCount) {
    return dataOf(teletext::sdpFooter(packetCount));
}

void QLXSubtitlesPacketizer::appendChecksumToMutableData(std::vector<std::uint8_t>& data) {
    data.push_back(teletext::sdpChecksum(data));
}

std::uint8_t QLXSubtitlesPacketizer::hamming84ForByte(std::uint8_t byte) noexcept {
    return teletext::hamming84(byte);
}

void QLXSubtitlesPacketizer::hamming2418ForTriplet(std::uint8_t* triplet) noexcept {
    if (!triplet) {
        return;
    }
    const std::uint32_t coded = teletext::hamming2418(triplet[0] | static_cast<std::uint32_t>(triplet[1]) << 8U |
                                                      static_cast<std::uint32_t>(triplet[2] & 0x03U) << 16U);
    triplet[0] = static_cast<std::uint8_t>(coded & 0xFFU);
    triplet[1] = static_cast<std::uint8_t>(coded >> 8U & 0xFFU);
    triplet[2] = static_cast<std::uint8_t>(coded >> 16U);
}

std::uint8_t QLXSubtitlesPacketizer::byteWithParity(std::uint8_t byte) noexcept {
    return teletext::withOddParity(byte);
}

std::uint8_t QLXSubtitlesPacketizer::vbiPacketDescriptorWithLine_oddField(std::uint8_t line, bool oddField) noexcept {
    return teletext::sdpDescriptor(line, oddField);
}
