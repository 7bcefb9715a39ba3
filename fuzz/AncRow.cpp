// The reader and the writer of packets on rows, against a plain reader; the vector search against the plain one.
#include <qlx/anc/row.h>

#include "FuzzSupport.h"
#include "SlowRowReader.h"
#include "anc/FlagKernels.h"

using qlxfuzz::require;
using namespace qlx::anc;

namespace {

/// Words that are parts of packets, so that few bytes of an input make a row full of them.
constexpr std::uint16_t kAlphabet[] = {0x000, 0x3FF, 0x3FC, 0x003, 0x040, 0x200, 0x010, 0x080,
                                       0x161, 0x101, 0x102, 0x203, 0x104, 0x262, 0x200, 0x164};

/// A row from an input: its bytes as they are, or each half of a byte a word.
std::vector<std::uint8_t> makeRow(RowFormat format, bool asWords, const std::vector<std::uint8_t>& input) {
    if (!asWords) {
        return input;
    }
    std::vector<std::uint8_t> row(format == RowFormat::V210 ? (2 * input.size() + 2) / 3 * 4 : 2 * input.size());
    for (std::size_t index = 0; index < input.size(); ++index) {
        qlxtest::setRowSample(format, row, 2 * index, kAlphabet[input[index] >> 4U]);
        qlxtest::setRowSample(format, row, 2 * index + 1, kAlphabet[input[index] & 0xFU]);
    }
    return row;
}

void requireKernelsAlike(const std::vector<std::uint8_t>& row, std::size_t first) {
    const detail::FindOuterOnes find = detail::findOuterOnesAVX2();
    const std::size_t words = row.size() / 4;
    if (find && first <= words) {
        for (const std::uint32_t around : {detail::kAroundOuterSamples, detail::kAroundProtectedSamples}) {
            require(find(row.data(), first, words, around) ==
                    detail::findOuterOnesScalar(row.data(), first, words, around));
        }
    }
}

/// A packet without a finding comes back word by word from its value.
void requireSerializedAlike(const PacketView& packet) {
    std::array<std::uint16_t, kGreatestPacketWords> there{};
    std::array<std::uint16_t, kGreatestPacketWords> written{};
    const auto words = packet.words(there);
    const auto count = writeWords(packet.toPacket(), written);
    require(count && *count == words.size());
    const unsigned carried = packet.parity() == Status::NotCarried ? 0xFF : 0x3FF;
    // The flag may be one of protected codes.
    for (std::size_t index = 3; index < words.size(); ++index) {
        require((words[index] & carried) == (written[index] & carried));
    }
}

/// What is read is what the plain reader gives. What nothing is said of, but of the place, is written as it was read.
void requireRead(std::span<const std::uint8_t> row, const RowOptions& options) {
    require(qlxtest::readsAlike(row, options));
    qlx::Findings findings(row.size());
    std::size_t said = 0;
    for (const PacketView packet : packets(row, options, &findings)) {
        const auto isOfPacket = [](const qlx::Finding& finding) {
            return finding.code == qlx::FindingCode::AncChecksumWrong ||
                   finding.code == qlx::FindingCode::AncChecksumNotCarried ||
                   finding.code == qlx::FindingCode::AncHeaderParityWrong ||
                   finding.code == qlx::FindingCode::AncUserDataOfTenBits;
        };
        const auto own = findings.kept().subspan(said);
        if (std::none_of(own.begin(), own.end(), isOfPacket)) {
            requireSerializedAlike(packet);
        }
        said = findings.size();
    }
    for (const qlx::Finding& finding : findings) {
        require(finding.offset <= row.size() && !finding.text().empty());
    }
}

/// What was put on a row stands there, in words of its own, and is read back.
void requireWritten(std::vector<std::uint8_t> row, const RowWriteOptions& options, const Packet& packet) {
    const std::vector<std::uint8_t> before = row;
    const auto place = appendPacket(row, packet, options);
    if (!place) {
        require(row == before);
        return;
    }
    std::vector<std::uint8_t> expected = before;
    const auto words = qlxtest::packetSamples(packet.did, packet.sdid, packet.userData);
    qlxtest::putWords(options.format, expected, options.channel, *place, words);
    require(row == expected);
    const RowOptions reading{.format = options.format,
                             .channels = options.channel == Channel::Luma     ? Channels::Luma
                                         : options.channel == Channel::Chroma ? Channels::Chroma
                                                                              : Channels::SdMultiplex,
                             .protectedFlags = options.protectedFlags,
                             .width = options.width};
    bool isThere = false;
    for (const PacketView view : packets(row, reading)) {
        isThere = isThere || (view.horizontalOffset() == *place && view.toPacket().userData == packet.userData &&
                              view.checksum() == Status::Right);
    }
    // A flag inside a damaged packet may begin one that becomes right only with what was put there.
    qlx::Findings findings;
    for (PacketIterator each = packets(before, reading, &findings).begin(); each != std::default_sentinel; ++each) {
    }
    require(isThere || std::any_of(findings.begin(), findings.end(), [](const qlx::Finding& finding) {
                return finding.code == qlx::FindingCode::AncFlagInsidePacket;
            }));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    qlxfuzz::Input input(data, size);
    const unsigned choice = input.takeByte();
    const unsigned more = input.takeByte();
    const RowOptions options{.format = static_cast<RowFormat>(choice & 1U),
                             .line = more,
                             .channels = static_cast<Channels>(choice >> 1U & 3U),
                             .extent = static_cast<Extent>(choice >> 3U & 1U),
                             .protectedFlags = (choice & 0x10U) != 0,
                             .width = (choice & 0x20U) != 0 ? more : 0U};
    const std::vector<std::uint8_t> row = makeRow(options.format, (choice & 0x40U) != 0, input.rest());
    requireKernelsAlike(row, more);
    requireRead(row, options);
    const Packet packet{
        .did = 0x61, .sdid = static_cast<std::uint8_t>(choice), .userData = std::vector<std::uint8_t>(more / 4, 0x55)};
    requireWritten(row,
                   {.format = options.format,
                    .channel = static_cast<Channel>(more % 3),
                    .width = options.width,
                    .protectedFlags = options.protectedFlags},
                   packet);
    std::size_t count = 0;
    const std::size_t stride = 16 * (std::size_t{more} + 1);
    for (const PacketView view : packetsOfRows(row, stride, options)) {
        require(view.line() >= options.line && view.line() - options.line <= row.size() / stride);
        ++count;
    }
    require(count <= row.size());
    return 0;
}
