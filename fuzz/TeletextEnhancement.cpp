// Pages put together from arbitrary packets, with arbitrary triplets in X/26, X/28 and M/29; and arbitrary texts that are
// encoded in a set, sent as packets and read again.
#include "FuzzSupport.h"

#include <qlx/teletext/page.h>
#include <qlx/teletext/row_encoder.h>

#include <algorithm>
#include <array>
#include <string>

using qlx::Findings;
using qlxfuzz::require;
using namespace qlx::teletext;

namespace {

void checkPage(const PageReader& page) {
    const auto screen = page.screen();
    require(screen.rows() == PageReader::kRows && screen.columns == kDataBytes);
    for (std::size_t row = 0; row < screen.rows(); ++row) {
        const auto read = readingOrder(screen.row(row), page.characterSet());
        require(read.size() >= kDataBytes && read.size() <= 2 * kDataBytes);
    }
}

/// A packet of which the input says what it is.
Packet packetFrom(qlxfuzz::Input& input) {
    const unsigned what = input.takeByte();
    Packet packet{static_cast<std::uint8_t>((what & 1U) != 0 ? 8 : 7), static_cast<std::uint8_t>(what >> 3U), {}};
    if (packet.number == 0) {
        const unsigned bits = input.takeByte();
        return *packetOf(PageHeader{.page = static_cast<std::uint16_t>((bits & 1U) != 0 ? 0x888 : 0x8FF),
                                    .subcode = 0,
                                    .erasesPage = (bits & 2U) != 0,
                                    .isSubtitle = (bits & 4U) != 0,
                                    .isSerial = (bits & 8U) != 0,
                                    .nationalOption = static_cast<std::uint8_t>(bits >> 5U)});
    }
    if (packet.number >= kEnhancement && packet.number <= kMagazineDesignation && packet.number != kLinks) {
        TripletPacket triplets{.magazine = packet.magazine,
                               .number = packet.number,
                               .designation = static_cast<std::uint8_t>(input.takeByte() & 15U)};
        for (Triplet& triplet : triplets.triplets) {
            const std::uint32_t high = input.takeByte();
            triplet = Triplet(high << 10U | static_cast<std::uint32_t>(input.takeByte()) << 2U | (high & 3U));
        }
        packet = *packetOf(triplets);
    }
    if ((what & 6U) == 6U || packet.isRow()) {
        for (std::uint8_t& byte : packet.data) {
            byte ^= input.takeByte();
        }
    }
    return packet;
}

void readPackets(qlxfuzz::Input& input) {
    PageReader page(0x888, input.takeByte());
    constexpr int kMostPackets = 40;
    for (int count = 0; count < kMostPackets && !input.empty(); ++count) {
        Findings findings;
        (void)page.receive(packetFrom(input), &findings);
        checkPage(page);
    }
}

void encodeText(qlxfuzz::Input& input) {
    const auto designation = static_cast<std::uint8_t>(input.takeByte() & 0x7FU);
    const auto set = characterSetOf(designation);
    if (!set) {
        return;
    }
    std::u32string text;
    while (!input.empty() && text.size() < kDataBytes) {
        const unsigned high = input.takeByte();
        text += static_cast<char32_t>(high << 8U | input.takeByte());
    }
    Findings findings;
    const auto cells = displayCells(text, *set, &findings);
    require(cells.size() <= text.size());
    std::array<std::uint8_t, kDataBytes> codes{};
    codes.fill(0x20);
    std::vector<Placement> placements;
    require(encodeCells(cells, *set, 1, 0, codes, placements, &findings) == cells.size());
    std::array<Packet, kEnhancementPackets> packets{};
    const std::size_t count = enhancementPackets(placements, 8, packets, &findings);
    PageReader page;
    (void)page.receive(*packetOf(
        PageHeader{.page = 0x888, .subcode = 0, .nationalOption = static_cast<std::uint8_t>(designation & 7U)}));
    (void)page.receive(*designationPacket(8, designation));
    require(page.characterSet() == *set);
    for (const Packet& packet : std::span(packets).first(count)) {
        (void)page.receive(packet);
    }
    (void)page.receive(*rowPacket(8, 1, codes));
    const auto screen = page.screen();
    for (std::size_t column = 0; column < cells.size(); ++column) {
        const CellCode code = encodeCharacter(cells[column].character, *set);
        require(code.code >= kFirstCharacterCode && code.code <= 0x7F);
        require(screen.row(1)[column].character == code.shown);
        require(code.fit == CellCode::Fit::Exact || !findings.empty());
    }
}

}  // namespace

// The first byte chooses between packets and a text.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    qlxfuzz::Input input(data, size);
    if ((input.takeByte() & 1U) != 0) {
        readPackets(input);
    } else {
        encodeText(input);
    }
    return 0;
}
