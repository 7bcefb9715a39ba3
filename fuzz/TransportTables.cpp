// Arbitrary bytes as sections of tables: what is read is written and read again, sections come back out of packets, and
// damaged packets end neither the reader nor the map.
#include <qlx/base/section_crc.h>
#include <qlx/streams/ts/program_map.h>
#include <qlx/streams/ts/section.h>
#include <qlx/streams/ts/tables.h>

#include "FuzzSupport.h"

#include <algorithm>

using namespace qlx::streams::ts;
using qlxfuzz::require;

namespace {

/// With a length and a CRC that are right.
std::vector<std::uint8_t> sectionOf(std::vector<std::uint8_t> bytes) {
    constexpr std::size_t kMost = kGreatestSectionBytes - kSectionCrcBytes;
    bytes.resize(std::clamp<std::size_t>(bytes.size(), kSectionHeaderBytes, kMost));
    const std::size_t length = bytes.size() + kSectionCrcBytes - kSectionHeaderBytes;
    bytes[0] = bytes[0] == kStuffingTableId ? std::uint8_t{0} : bytes[0];
    bytes[1] = static_cast<std::uint8_t>(0x80U | (bytes[1] & 0x70U) | length >> 8U);
    bytes[2] = static_cast<std::uint8_t>(length);
    appendSectionCrc(bytes);
    return bytes;
}

template <class Table, class Parse, class Write>
void roundTrip(const std::vector<std::uint8_t>& section, Parse parse, Write write) {
    const qlx::Result<Table> table = parse(section, 0);
    if (!table) {
        return;
    }
    const auto written = write(*table);
    require(written.hasValue() == (section.size() <= 1024));
    if (written) {
        require(*parse(*written, 0) == *table);
        require(qlx::sectionCRC32(*written) == 0);
    }
}

}  // namespace

// What happens to the packets, the PID, a section.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    qlxfuzz::Input input(data, size);
    const std::uint8_t damage = input.takeByte();
    const std::uint8_t place = input.takeByte();
    const std::vector<std::uint8_t> section = sectionOf(input.rest());
    roundTrip<Pat>(section, &parsePat, &writePat);
    roundTrip<Pmt>(section, &parsePmt, &writePmt);
    roundTrip<Sdt>(section, &parseSdt, &writeSdt);

    std::vector<std::uint8_t> twice = section;
    twice.insert(twice.end(), section.begin(), section.end());
    PayloadWriter writer(section[0] == kPatTableId ? kPatPid : std::uint16_t{0x100});
    std::vector<PacketBytes> packets;
    writer.addSections(twice, packets);
    qlx::Findings findings;
    SectionReader reader(SectionCrc::Always, &findings);
    std::size_t read = 0;
    for (const PacketBytes& packet : packets) {
        reader.push(*parsePacket(packet));
        while (const auto view = reader.next()) {
            require(std::equal(view->bytes.begin(), view->bytes.end(), section.begin(), section.end()));
            ++read;
        }
    }
    require(read == 2 && findings.empty());

    // Damage, and bytes in place of a packet.
    ProgramMap map(&findings);
    packets[damage % packets.size()][place % kPacketBytes] ^= static_cast<std::uint8_t>(damage | 1U);
    for (const PacketBytes& packet : packets) {
        const auto view = parsePacket(packet, &findings);
        if (view) {
            (void)map.receive(*view);
            reader.push(*view);
            while (reader.next()) {
            }
        }
    }
    reader.finish();
    return 0;
}
