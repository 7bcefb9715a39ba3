// Sections, PES packets, tables and data units of transport streams that are damaged, too long, or of other kinds.
#include "ExactBuffer.h"

#include <qlx/streams/ts/multiplexer.h>
#include <qlx/streams/ts/packet.h>
#include <qlx/streams/ts/pes.h>
#include <qlx/streams/ts/program_map.h>
#include <qlx/streams/ts/section.h>
#include <qlx/streams/ts/tables.h>
#include <qlx/streams/ts/vbi.h>
#include <qlx/streams/ts/vbi_reader.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace {

using namespace qlx::streams::ts;
using qlx::Finding;
using qlx::FindingCode;
using qlx::Findings;
using qlx::Severity;
using qlxtest::fromHex;
using DamagedBytes = std::vector<std::uint8_t>;

constexpr std::uint16_t kDamagedPid = 0x55;

/// Packets with these payloads, each of which begins something; at the bytes 0, 188 ...
class PayloadPackets {
public:
    explicit PayloadPackets(std::uint16_t pid = kDamagedPid) : _pid(pid) {}

    PacketView add(const DamagedBytes& payload, bool startsUnit = true) {
        PacketHeader header;
        header.pid = _pid;
        header.continuity = static_cast<std::uint8_t>(_count & 15U);
        header.startsUnit = startsUnit;
        EXPECT_EQ(writePacket(header, payload, _bytes), payload.size());
        return *parsePacket(_bytes, nullptr, 188 * _count++);
    }

private:
    std::uint16_t _pid;
    std::uint64_t _count = 0;
    PacketBytes _bytes{};
};

DamagedBytes joined(DamagedBytes first, const DamagedBytes& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

/// The section that comes next, as bytes; empty for none.
DamagedBytes nextSection(SectionReader& reader) {
    const auto section = reader.next();
    return section ? DamagedBytes(section->bytes.begin(), section->bytes.end()) : DamagedBytes();
}

/// A section of a table with these bytes behind its header, whose length and CRC are right.
DamagedBytes tableOf(std::uint8_t tableId, const DamagedBytes& entries, std::uint8_t flags = 0xC1) {
    const auto length = static_cast<std::uint8_t>(5 + entries.size() + 4);
    DamagedBytes section = joined({tableId, 0xB0, length, 0, 1, flags, 0, 0}, entries);
    appendSectionCrc(section);
    return section;
}

TEST(TransportDamage, ShortSectionsHaveACrcWhereTheReaderIsToldSo) {
    // One byte behind its length, and no indicator of the long syntax.
    const DamagedBytes section = fromHex("70 3001 aa");
    for (const SectionCrc crc : {SectionCrc::BySyntax, SectionCrc::Never, SectionCrc::Always}) {
        Findings findings;
        SectionReader reader(crc, &findings);
        PayloadPackets packets;
        reader.push(packets.add(joined({0}, joined(section, section))));
        for (int count = 0; count < 2; ++count) {
            const auto read = reader.next();
            ASSERT_TRUE(read);
            EXPECT_EQ(DamagedBytes(read->bytes.begin(), read->bytes.end()), section);
            EXPECT_EQ(read->isCrcRight, crc != SectionCrc::Always);
        }
        reader.finish();
        EXPECT_FALSE(reader.next());
        const Finding wrong{FindingCode::TsSectionCrcWrong, Severity::Error, 0, kDamagedPid, 0x70};
        ASSERT_EQ(findings.size(), crc == SectionCrc::Always ? 2U : 0U);
        for (const Finding& finding : findings) {
            EXPECT_EQ(finding, wrong);
        }
    }
}

TEST(TransportDamage, SectionsThatAreTooLongAreLeftOut) {
    const DamagedBytes good = fromHex("70 3001 aa");
    Findings findings;
    SectionReader reader(SectionCrc::BySyntax, &findings);
    PayloadPackets packets;
    // 4095 bytes behind the length: two more than may be.
    reader.push(packets.add(fromHex("00 703fff 010203")));
    EXPECT_EQ(nextSection(reader), DamagedBytes());
    reader.push(packets.add(DamagedBytes(184, 0x22), false));
    EXPECT_EQ(nextSection(reader), DamagedBytes());
    reader.push(packets.add(joined({0}, good)));
    EXPECT_EQ(nextSection(reader), good);
    // Its length is told in the next packet, in which another section begins behind it.
    DamagedBytes first = fromHex("00 7030b2");
    first.resize(1 + 181, 0x33);
    reader.push(packets.add(joined(first, fromHex("703f"))));
    EXPECT_EQ(nextSection(reader).size(), 181U);
    EXPECT_EQ(nextSection(reader), DamagedBytes());
    reader.push(packets.add(joined(fromHex("05 ff01020304"), good)));
    EXPECT_EQ(nextSection(reader), good);
    EXPECT_EQ(nextSection(reader), DamagedBytes());
    ASSERT_EQ(findings.size(), 2U);
    EXPECT_EQ(findings[0], (Finding{FindingCode::TsSectionTooLong, Severity::Error, 0, kDamagedPid, 4098}));
    EXPECT_EQ(findings[1], (Finding{FindingCode::TsSectionTooLong, Severity::Error, 3 * 188, kDamagedPid, 4098}));
}

TEST(TransportDamage, SectionsEndWhereOthersBegin) {
    const DamagedBytes good = fromHex("70 3001 aa");
    Findings findings;
    SectionReader reader(SectionCrc::BySyntax, &findings);
    PayloadPackets packets;
    // 303 bytes are announced: 183 come with the first packet, ten with the next one.
    DamagedBytes first = fromHex("00 70312c");
    first.resize(184, 0x33);
    reader.push(packets.add(first));
    EXPECT_EQ(nextSection(reader), DamagedBytes());
    reader.push(packets.add(joined(joined({10}, DamagedBytes(10, 0x33)), good)));
    EXPECT_EQ(nextSection(reader), good);
    ASSERT_EQ(findings.size(), 1U);
    EXPECT_EQ(findings[0], (Finding{FindingCode::TsSectionCut, Severity::Error, 0, kDamagedPid, 193}));
}

TEST(TransportDamage, OnlyWholeSectionsAreWritten) {
    const DamagedBytes good = fromHex("70 3001 aa");
    PayloadWriter writer(kDamagedPid);
    std::vector<PacketBytes> packets;
    EXPECT_EQ(writer.addSections(joined(good, fromHex("7030")), packets), 2U);
    EXPECT_EQ(packets.size(), 1U);
    EXPECT_EQ(writer.addSections(fromHex("703005 01"), packets), 4U);
    EXPECT_EQ(packets.size(), 1U);
    EXPECT_EQ(writer.continuity(), 1U);
}

TEST(TransportDamage, PesHeadersAreThereOrNot) {
    std::size_t headerBytes = 9;
    // Padding has no flags behind its length.
    const auto padding = parsePesHeader(fromHex("000001be 0003 ffffff"), headerBytes);
    ASSERT_TRUE(padding);
    EXPECT_EQ(padding->streamId, 0xBE);
    EXPECT_EQ(padding->packetLength, 3);
    EXPECT_EQ(headerBytes, 6U);
    DamagedBytes room(20);
    EXPECT_EQ(writePesHeader(*padding, room), 0U);
    // No start code, no marker bits, and more in the header than there is.
    for (const std::string_view wrong : {"000002bd 0000 800000", "000001bd 0000 000000", "000001bd 0000 800001"}) {
        const DamagedBytes bytes = fromHex(wrong);
        const auto header = parsePesHeader(bytes, headerBytes);
        ASSERT_FALSE(header) << wrong;
        EXPECT_EQ(header.error(), (Finding{FindingCode::TsPesWrong, Severity::Error, 0, 9, 0}));
        EXPECT_EQ(headerBytes, 0U);
    }
    // A time for which the header has no room is none.
    const auto timeless = parsePesHeader(fromHex("000001bd 0000 808004 21000100"), headerBytes);
    ASSERT_TRUE(timeless);
    EXPECT_FALSE(timeless->pts);
    EXPECT_EQ(headerBytes, 13U);
    PesHeader timed;
    timed.pts = 0;
    EXPECT_EQ(writePesHeader(timed, std::span(room).first(13)), 0U);
    EXPECT_EQ(writePesHeader(timed, std::span(room).first(14)), 14U);
}

TEST(TransportDamage, PesPacketsWithoutARightHeaderAreLeftOut) {
    Findings findings;
    PesReader reader({}, &findings);
    PayloadPackets packets;
    const auto payloadOf = [&reader] {
        const auto pes = reader.next();
        return pes ? DamagedBytes(pes->payload.begin(), pes->payload.end()) : DamagedBytes();
    };
    reader.push(packets.add(fromHex("000002bd 0000 800000 11")));
    EXPECT_EQ(payloadOf(), DamagedBytes());
    // The next one ends it; its own end is said, and what stands behind that is not of it.
    reader.push(packets.add(fromHex("000001bd 0004 800000 22 33")));
    EXPECT_EQ(payloadOf(), fromHex("22"));
    EXPECT_EQ(payloadOf(), DamagedBytes());
    // Of one there is not even a start code.
    reader.push(packets.add(fromHex("000001bd")));
    reader.push(packets.add(fromHex("000001bd 0000 800000 44")));
    EXPECT_EQ(payloadOf(), DamagedBytes());
    reader.finish();
    EXPECT_EQ(payloadOf(), fromHex("44"));
    ASSERT_EQ(findings.size(), 2U);
    EXPECT_EQ(findings[0], (Finding{FindingCode::TsPesWrong, Severity::Error, 0, 10, 0}));
    EXPECT_EQ(findings[1], (Finding{FindingCode::TsPesCut, Severity::Error, 2 * 188, 4, 0}));
}

TEST(TransportDamage, BytesBehindAPesPacketDoNotMakeItTooLong) {
    Findings findings;
    PesReader reader({.greatestSize = 20, .givesCutOnes = true}, &findings);
    PayloadPackets packets;
    DamagedBytes bytes = fromHex("000001bd 0004 800000 22");
    bytes.resize(100, 0x33);
    reader.push(packets.add(bytes));
    const auto pes = reader.next();
    ASSERT_TRUE(pes);
    EXPECT_TRUE(pes->isWhole);
    EXPECT_EQ(DamagedBytes(pes->payload.begin(), pes->payload.end()), fromHex("22"));
    EXPECT_TRUE(findings.empty());
}

TEST(TransportDamage, TablesSayWhereTheyAreWrong) {
    const auto wrongAt = [](std::uint8_t tableId, std::int64_t place) {
        return Finding{FindingCode::TsTableWrong, Severity::Error, 7, tableId, place};
    };
    // Of another table, or none at all.
    const DamagedBytes pat = tableOf(kPatTableId, fromHex("0001 e100"));
    EXPECT_TRUE(parsePat(pat, 7));
    EXPECT_EQ(parsePmt(pat, 7).error(), wrongAt(0, 0));
    EXPECT_EQ(parseSdt(pat, 7).error(), wrongAt(0, 0));
    EXPECT_EQ(parsePat({}, 7).error(), wrongAt(0, 0));
    EXPECT_EQ(parsePmt({}, 7).error(), wrongAt(0, 0));
    EXPECT_EQ(parseSdt({}, 7).error(), wrongAt(0, 0));
    // An entry that is cut.
    EXPECT_EQ(parsePat(tableOf(kPatTableId, fromHex("0001 e100 00")), 7).error(), wrongAt(kPatTableId, 13));
    // Descriptors longer than what is left, and one that is longer than they are together.
    EXPECT_EQ(parsePmt(tableOf(kPmtTableId, fromHex("e1ff f003 5600")), 7).error(), wrongAt(kPmtTableId, 14));
    EXPECT_EQ(parsePmt(tableOf(kPmtTableId, fromHex("e1ff f000 06 e201 f002 5605")), 7).error(),
              wrongAt(kPmtTableId, 19));
    EXPECT_EQ(parsePmt(tableOf(kPmtTableId, fromHex("e1ff f000 06 e201 f001 56")), 7).error(),
              wrongAt(kPmtTableId, 18));
    EXPECT_EQ(parsePmt(tableOf(kPmtTableId, fromHex("e1ff f000 06 e2")), 7).error(), wrongAt(kPmtTableId, 14));
    EXPECT_EQ(parseSdt(tableOf(kSdtTableId, fromHex("ff01 ff 0001 fc 80")), 7).error(), wrongAt(kSdtTableId, 15));
    EXPECT_EQ(parseSdt(tableOf(kSdtTableId, fromHex("ff01")), 7).error(), wrongAt(kSdtTableId, 10));
}

TEST(TransportDamage, TablesThatDoNotFitAreNotWritten) {
    Pat pat;
    pat.programs.resize(253);
    EXPECT_TRUE(writePat(pat));
    pat.programs.resize(254);
    EXPECT_EQ(writePat(pat).error(), (Finding{FindingCode::TsTableWrong, Severity::Error, 0, kPatTableId, 1028}));
    Pmt pmt;
    pmt.descriptors = {{0x05, DamagedBytes(256)}};
    EXPECT_FALSE(writePmt(pmt));
    pmt.descriptors[0].bytes.pop_back();
    EXPECT_TRUE(writePmt(pmt));
    // The multiplexer says it once, and sends what fits.
    Findings findings;
    MultiplexOptions options;
    options.map.descriptors.assign(4, {0x05, DamagedBytes(255)});
    const Multiplexer multiplexer(options, &findings);
    ASSERT_EQ(findings.size(), 1U);
    EXPECT_EQ(findings[0], (Finding{FindingCode::TsTableWrong, Severity::Error, 0, kPmtTableId, 12 + 4 * 257 + 4}));
}

TEST(TransportDamage, NamesOfServicesAreCutBetweenCharacters) {
    // Type, length, provider, length, name.
    EXPECT_EQ(serviceDescriptor("", std::string(200, 'n')).bytes, joined(fromHex("01 00 7d"), DamagedBytes(125, 'n')));
    std::string umlauts = "a";
    for (int count = 0; count < 70; ++count) {
        umlauts += "\xC3\x84";
    }
    const DamagedBytes bytes = serviceDescriptor("", umlauts).bytes;
    EXPECT_EQ(bytes.size(), 3U + 124U);
    EXPECT_EQ(DamagedBytes(bytes.begin(), bytes.begin() + 7), fromHex("01 00 7c 15 61 c384"));
    EXPECT_EQ(bytes.back(), 0x84);
    // Descriptors of other kinds name no pages.
    EXPECT_TRUE(teletextPages(std::vector<Descriptor>{{0x48, bytes}}).empty());
}

TEST(TransportDamage, ProgramsMayComeInPartsAndGo) {
    Findings findings;
    ProgramMap map(&findings);
    PayloadPackets associations(kPatPid);
    PayloadPackets maps(0x100);
    const auto receive = [&map](PayloadPackets& packets, const DamagedBytes& section) {
        return map.receive(packets.add(joined({0}, section)));
    };
    EXPECT_FALSE(receive(associations, tableOf(kPatTableId, fromHex("0001 e100 00"))));
    ASSERT_EQ(findings.size(), 1U);
    EXPECT_EQ(findings[0], (Finding{FindingCode::TsTableWrong, Severity::Error, 0, kPatTableId, 13}));
    // Another table, and one that is not current yet.
    EXPECT_FALSE(receive(associations, tableOf(kPmtTableId, fromHex("0001 e100"))));
    EXPECT_FALSE(receive(associations, tableOf(kPatTableId, fromHex("0001 e100"), 0xC0)));
    const DamagedBytes streams = fromHex("e1ff f000 06 e201 f000");
    EXPECT_FALSE(receive(maps, tableOf(kPmtTableId, streams))) << "nothing is known of this PID";
    // Two sections of the same table add up; both programs have their maps with the same PID.
    Pat part;
    part.header.lastSection = 1;
    part.programs = {{1, 0x100}};
    EXPECT_FALSE(receive(associations, *writePat(part)));
    part.header.sectionNumber = 1;
    part.programs = {{2, 0x100}};
    EXPECT_FALSE(receive(associations, *writePat(part)));
    EXPECT_FALSE(receive(associations, *writePat(part))) << "once more";
    part.programs = {{1, 0x101}, {1, 0x100}};
    EXPECT_FALSE(receive(associations, *writePat(part))) << "the last one counts";
    findings.clear();
    EXPECT_FALSE(receive(maps, tableOf(kPmtTableId, fromHex("e1ff f0"))));
    ASSERT_EQ(findings.size(), 1U);
    EXPECT_EQ(findings[0].code, FindingCode::TsTableWrong);
    EXPECT_EQ(findings[0].second, 11);
    findings.clear();
    EXPECT_FALSE(receive(maps, tableOf(kPatTableId, streams))) << "of another kind";
    EXPECT_FALSE(receive(maps, tableOf(kPmtTableId, streams, 0xC0))) << "not current yet";
    EXPECT_TRUE(receive(maps, tableOf(kPmtTableId, streams)));
    EXPECT_FALSE(map.isWhole());
    EXPECT_FALSE(receive(maps, tableOf(kPmtTableId, streams))) << "the same";
    EXPECT_FALSE(receive(maps, tableOf(kPmtTableId, streams, 0xC3))) << "another version of the same";
    ASSERT_NE(map.mapOf(0x201), nullptr);
    EXPECT_EQ(map.mapOf(0x201)->header.extension, 1);
    EXPECT_EQ(map.mapOf(0x202), nullptr);
    // A table of one section says all: the first program is gone.
    Findings later;
    map.setFindings(&later);
    EXPECT_TRUE(receive(associations, tableOf(kPatTableId, fromHex("0000 e010 0002 e100"))));
    EXPECT_TRUE(map.maps().empty());
    EXPECT_TRUE(findings.empty());
    ASSERT_EQ(later.size(), 1U);
    EXPECT_EQ(later[0].code, FindingCode::TsStreamGone);
    EXPECT_EQ(later[0].first, 0x201);
    EXPECT_FALSE(receive(maps, tableOf(kPmtTableId, streams))) << "of a program that is not there";
    map.finish();
}

PesView vbiPes(const DamagedBytes& payload) {
    PesView pes;
    pes.offset = 5;
    pes.pid = kDamagedPid;
    pes.payload = payload;
    return pes;
}

TEST(TransportDamage, DataUnitsAreReadOneByOne) {
    VbiPacket packet;
    Findings findings;
    // A unit of teletext that is too short, one with another framing code, two of captions (one too short), one that is
    // not read, stuffing, and one that is longer than what is left.
    DamagedBytes payload = fromHex("10 02 01 e7 03 2c e7e5");
    payload.resize(payload.size() + 42, 0x00);
    payload = joined(payload, fromHex("c5 03 d5 2989 c5 02 d529 c3 01 00 ff 02 ffff 02 2c e7e4"));
    EXPECT_TRUE(readVbi(vbiPes(payload), packet, &findings));
    EXPECT_TRUE(packet.teletext.empty());
    // Field 2 has bit 5 clear; 29h and 89h are 94h and 91h the other way round.
    ASSERT_EQ(packet.captions.size(), 1U);
    EXPECT_EQ(packet.captions[0], qlx::cc::Triplet::make(qlx::cc::CcType::Field2, 0x94, 0x91));
    EXPECT_TRUE(packet.others[0xC3]);
    EXPECT_EQ(packet.others.count(), 1U);
    const auto wrong = [](std::int64_t id, std::int64_t size) {
        return Finding{FindingCode::TsDataUnitWrong, Severity::Error, 5, id, size};
    };
    EXPECT_EQ(std::vector<Finding>(findings.begin(), findings.end()),
              (std::vector<Finding>{wrong(2, 1), wrong(3, 44), wrong(0xC5, 2), wrong(2, 44)}));
    // Of a packet that is cut it has been said; stuffing may be cut.
    findings.clear();
    PesView cut = vbiPes(payload);
    payload = fromHex("10 02 2c e7e4");
    cut.payload = payload;
    cut.isWhole = false;
    EXPECT_TRUE(readVbi(cut, packet, &findings));
    EXPECT_TRUE(readVbi(vbiPes(fromHex("10 ff 2c ffff")), packet, &findings));
    EXPECT_TRUE(findings.empty());
    // No data of lines at all.
    const auto isRead = [&](const PesView& pes) { return readVbi(pes, packet, &findings); };
    EXPECT_FALSE(isRead(vbiPes({})));
    EXPECT_FALSE(isRead(vbiPes(fromHex("20 02"))));
    PesView video = vbiPes(payload);
    video.header.streamId = 0xE0;
    EXPECT_FALSE(isRead(video));
    ASSERT_EQ(findings.size(), 3U);
    EXPECT_EQ(findings[0], (Finding{FindingCode::TsDataIdentifierUnknown, Severity::Error, 5, kDamagedPid, 0}));
    EXPECT_EQ(findings[1], (Finding{FindingCode::TsDataIdentifierUnknown, Severity::Error, 5, kDamagedPid, 0x20}));
    EXPECT_EQ(findings[2], (Finding{FindingCode::TsDataIdentifierUnknown, Severity::Error, 5, kDamagedPid, 0x10}));
}

TEST(TransportDamage, VbiIsKnownByAllOfItsUnits) {
    const auto is = [](std::string_view hex) {
        const DamagedBytes payload = fromHex(hex);
        return isVbi(vbiPes(payload));
    };
    EXPECT_TRUE(is("10 c3 01 00 ff 00"));
    EXPECT_TRUE(is("99 c0 02 0000"));
    EXPECT_FALSE(is("10 ff 01 00")) << "nothing but stuffing";
    EXPECT_FALSE(is("20 c3 01 00")) << "another data_identifier";
    EXPECT_FALSE(is("10 c3 02 00")) << "a unit that ends behind its packet";
    EXPECT_FALSE(is("10 02 01 00")) << "too short for teletext";
    EXPECT_FALSE(is("10 50 01 00")) << "an unknown unit";
    EXPECT_FALSE(isVbi(vbiPes({})));
    const DamagedBytes payload = fromHex("10 c3 01 00");
    PesView cut = vbiPes(payload);
    cut.isWhole = false;
    EXPECT_FALSE(isVbi(cut));
}

TEST(TransportDamage, APesPacketOfTeletextHasItsMostLines) {
    const std::vector<qlx::teletext::SdpLine> lines(1424);
    DamagedBytes pes;
    EXPECT_FALSE(writeTeletextPes(lines, 0, true, pes));
    EXPECT_TRUE(pes.empty());
    EXPECT_TRUE(writeTeletextPes(std::span(lines).first(1423), 0, true, pes));
    // The greatest multiple of 184 whose length can be said.
    EXPECT_EQ(pes.size(), 356U * 184U);
}

TEST(TransportDamage, AReaderOfAPidKnowsNoPagesWithoutAMap) {
    Findings before;
    VbiReader reader({.pid = 0x201}, &before);
    EXPECT_EQ(reader.pid(), 0x201);
    EXPECT_TRUE(reader.pages().empty());
    Findings findings;
    reader.setFindings(&findings);
    // Neither a time nor a clock: nothing is given, and it is said.
    DamagedBytes pes;
    ASSERT_TRUE(writeTeletextPes(std::vector<qlx::teletext::SdpLine>(1), 0, true, pes));
    pes[7] = 0;
    std::vector<PacketBytes> packets;
    PayloadWriter writer(0x201);
    writer.addPes(pes, packets);
    writer.addPes(pes, packets);
    for (const PacketBytes& packet : packets) {
        reader.push(packet);
    }
    reader.finish();
    EXPECT_EQ(reader.next(), nullptr);
    EXPECT_TRUE(before.empty());
    ASSERT_EQ(findings.size(), 1U);
    EXPECT_EQ(findings[0], (Finding{FindingCode::TsTimeMissing, Severity::Error, 0, 0x201, 0}));
}

TEST(TransportDamage, SectionsOfAHostGoWithTheProgram) {
    Findings findings;
    MultiplexOptions options;
    options.map.header.extension = 1;
    options.map.streams = {{kSpliceType, 0x300, {}}};
    options.bitrate = 1'000'000;
    Multiplexer multiplexer(options);
    multiplexer.setFindings(&findings);
    const DamagedBytes section = fromHex("fc 3001 aa");
    multiplexer.addSection(0x300, section, 90'000);
    multiplexer.finish(90'000);
    SectionReader reader(SectionCrc::Never);
    std::vector<DamagedBytes> read;
    for (const PacketBytes& bytes : multiplexer.takePackets()) {
        const auto packet = parsePacket(bytes);
        if (packet->pid == 0x300 && packet->hasPayload) {
            reader.push(*packet);
            read.push_back(nextSection(reader));
        }
    }
    EXPECT_EQ(read, std::vector<DamagedBytes>{section});
    EXPECT_TRUE(findings.empty());
}

}  // namespace
