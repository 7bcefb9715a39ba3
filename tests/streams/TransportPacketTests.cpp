// Transport streams packet by packet: synchronisation, adaptation fields, counters, sections, PES packets, tables.
#include "ExactBuffer.h"

#include <qlx/base/section_crc.h>
#include <qlx/streams/ts/packet.h>
#include <qlx/streams/ts/pes.h>
#include <qlx/streams/ts/program_map.h>
#include <qlx/streams/ts/section.h>
#include <qlx/streams/ts/tables.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <random>
#include <span>
#include <utility>
#include <vector>

namespace {

using namespace qlx::streams::ts;
using qlx::FindingCode;
using qlx::Findings;
using qlxtest::fromHex;
using TransportBytes = std::vector<std::uint8_t>;

/// Packets with a payload of their number, of one PID.
std::vector<PacketBytes> countedPackets(std::size_t count, std::uint16_t pid = 0x123) {
    std::vector<PacketBytes> packets;
    for (std::size_t index = 0; index < count; ++index) {
        PacketHeader header;
        header.pid = pid;
        header.continuity = static_cast<std::uint8_t>(index & 15U);
        const TransportBytes payload(184, static_cast<std::uint8_t>(index));
        EXPECT_EQ(writePacket(header, payload, packets.emplace_back()), 184U);
    }
    return packets;
}

/// As a file has them: alone, with a time in front, with parity behind.
TransportBytes fileOf(std::span<const PacketBytes> packets, std::size_t size = 188) {
    TransportBytes file;
    for (const PacketBytes& packet : packets) {
        file.insert(file.end(), size == 192 ? 4 : 0, 0x47);
        file.insert(file.end(), packet.begin(), packet.end());
        file.insert(file.end(), size == 204 ? 16 : 0, 0x47);
    }
    return file;
}

/// The first payload byte of each packet that is read, in pieces of so many bytes.
std::vector<int> numbersRead(std::span<const std::uint8_t> file, std::size_t piece, Findings& findings) {
    std::vector<int> numbers;
    PacketReader reader(&findings);
    const auto drain = [&] {
        while (const auto packet = reader.next()) {
            numbers.push_back(packet->payload.empty() ? -1 : packet->payload[0]);
        }
    };
    for (std::size_t place = 0; place < file.size(); place += piece) {
        const qlxtest::ExactBuffer bytes(
            TransportBytes(file.begin() + static_cast<std::ptrdiff_t>(place),
                           file.begin() + static_cast<std::ptrdiff_t>(std::min(place + piece, file.size()))));
        reader.push(bytes.span());
        drain();
    }
    reader.finish();
    drain();
    return numbers;
}

std::vector<int> upTo(int count) {
    std::vector<int> numbers(static_cast<std::size_t>(count));
    for (int index = 0; index < count; ++index) {
        numbers[static_cast<std::size_t>(index)] = index;
    }
    return numbers;
}

TEST(TransportPacket, IsReadInPiecesOfAnySizeAndForm) {
    const auto packets = countedPackets(9);
    for (const std::size_t size : {188U, 192U, 204U}) {
        const TransportBytes file = fileOf(packets, size);
        for (const std::size_t piece : {std::size_t{1}, std::size_t{7}, size, file.size()}) {
            Findings findings;
            EXPECT_EQ(numbersRead(file, piece, findings), upTo(9)) << size << " in pieces of " << piece;
            EXPECT_TRUE(findings.empty());
        }
    }
}

TEST(TransportPacket, IsFoundAgainBehindDamage) {
    const auto packets = countedPackets(12);
    TransportBytes file = fileOf(packets);
    const TransportBytes junk(300, 0x22);
    file.insert(file.begin() + 4 * 188, junk.begin(), junk.end());
    Findings findings;
    EXPECT_EQ(numbersRead(file, 50, findings), upTo(12));
    ASSERT_EQ(findings.size(), 1U);
    EXPECT_EQ(findings[0], (qlx::Finding{FindingCode::TsSyncLost, qlx::Severity::Error, 4 * 188, 300, 0}));
    // Half a packet is gone: that packet is lost, and no other.
    file = fileOf(packets);
    file.erase(file.begin() + 4 * 188 + 60, file.begin() + 4 * 188 + 160);
    findings.clear();
    auto expected = upTo(12);
    expected.erase(expected.begin() + 4);
    EXPECT_EQ(numbersRead(file, 100, findings).size(), 11U);
    ASSERT_FALSE(findings.empty());
    // A sync byte is wrong: the same.
    file = fileOf(packets);
    file[5 * 188] = 0x46;
    findings.clear();
    expected = upTo(12);
    expected.erase(expected.begin() + 5);
    EXPECT_EQ(numbersRead(file, 1000, findings), expected);
    ASSERT_EQ(findings.size(), 1U);
    EXPECT_EQ(findings[0], (qlx::Finding{FindingCode::TsSyncLost, qlx::Severity::Error, 5 * 188, 188, 0}));
    // A packet says that nothing is in it: of what stands behind it nothing is told.
    file = fileOf(packets);
    file[5 * 188 + 3] &= 0x0F;
    findings.clear();
    EXPECT_EQ(numbersRead(file, 1000, findings), expected);
    ASSERT_EQ(findings.size(), 1U);
    EXPECT_EQ(findings[0], (qlx::Finding{FindingCode::TsPacketWrong, qlx::Severity::Error, 5 * 188, 0x47, 188}));
    // The end is missing, and the beginning is not one.
    file = fileOf(packets);
    file.resize(file.size() - 24);
    file.erase(file.begin(), file.begin() + 100);
    findings.clear();
    expected = upTo(11);
    expected.erase(expected.begin());
    EXPECT_EQ(numbersRead(file, 1000, findings), expected);
    ASSERT_EQ(findings.size(), 2U);
    EXPECT_EQ(findings[0], (qlx::Finding{FindingCode::TsSyncLost, qlx::Severity::Error, 0, 88, 0}));
    EXPECT_EQ(findings[1],
              (qlx::Finding{FindingCode::ContainerPacketCut, qlx::Severity::Error, 11 * 188 - 100, 164, 188}));
}

TEST(TransportPacket, AreReadUpToALimit) {
    const TransportBytes file = fileOf(countedPackets(12));
    const auto readWithin = [&file](const qlx::ReadLimits& limits, std::size_t piece, bool& isAtEnd) {
        Findings findings;
        PacketReader reader(&findings, limits);
        std::size_t packets = 0;
        const auto drain = [&] {
            while (reader.next()) {
                ++packets;
            }
        };
        for (std::size_t place = 0; place < file.size(); place += piece) {
            reader.push(std::span(file).subspan(place, std::min(piece, file.size() - place)));
            drain();
        }
        reader.finish();
        drain();
        isAtEnd = reader.isAtEnd();
        return std::pair(packets, std::vector<qlx::Finding>(findings.begin(), findings.end()));
    };
    using Read = std::pair<std::size_t, std::vector<qlx::Finding>>;
    using enum qlx::Severity;
    for (const std::size_t piece : {std::size_t{1}, std::size_t{100}, file.size()}) {
        bool isAtEnd = false;
        EXPECT_EQ(readWithin({.bytes = file.size(), .items = 12}, piece, isAtEnd), (Read{12, {}}));
        EXPECT_TRUE(isAtEnd);
        EXPECT_EQ(readWithin({.items = 7}, piece, isAtEnd),
                  (Read{7, {{FindingCode::LimitOfItemsReached, Error, 7 * 188, 7, 0}}}));
        EXPECT_TRUE(isAtEnd);
        // What the limit cuts is no packet that the stream has cut.
        const auto [packets, findings] = readWithin({.bytes = 8 * 188 + 40}, piece, isAtEnd);
        EXPECT_EQ(packets, 8U);
        ASSERT_EQ(findings.size(), 1U);
        EXPECT_EQ(findings[0].code, FindingCode::LimitOfBytesReached);
        EXPECT_EQ(findings[0].first, 8 * 188 + 40);
        EXPECT_TRUE(isAtEnd);
    }
}

TEST(TransportPacket, HasAnAdaptationFieldWithItsClock) {
    // Base 0x1_2345_6789, extension 0x12A: bytes by hand.
    PacketBytes bytes{};
    PacketHeader header;
    header.pid = 0x1ABC;
    header.continuity = 5;
    header.pcr = 0x123456789ULL * 300 + 0x12A;
    header.isDiscontinuous = true;
    EXPECT_EQ(writePacket(header, {}, bytes), 0U);
    const TransportBytes expected = fromHex("47 1abc 25 b7 90 91a2b3c4 ff2a ff");
    EXPECT_TRUE(std::equal(expected.begin(), expected.end(), bytes.begin()));
    const auto packet = parsePacket(bytes);
    ASSERT_TRUE(packet);
    EXPECT_EQ(packet->pcr, header.pcr);
    EXPECT_TRUE(packet->isDiscontinuous);
    EXPECT_FALSE(packet->hasPayload);
    // Every size of a payload comes back.
    for (std::size_t size = 1; size <= 184; ++size) {
        header = {};
        header.pid = 7;
        const TransportBytes payload(size, 0xAB);
        ASSERT_EQ(writePacket(header, payload, bytes), size);
        const auto read = parsePacket(bytes);
        ASSERT_TRUE(read && std::equal(read->payload.begin(), read->payload.end(), payload.begin(), payload.end()));
    }
    // Too long a field.
    bytes[3] = 0x30;
    bytes[4] = 184;
    Findings findings;
    EXPECT_FALSE(parsePacket(bytes, &findings, 9)->hasPayload);
    EXPECT_EQ(findings[0], (qlx::Finding{FindingCode::TsAdaptationWrong, qlx::Severity::Error, 9, 184, 183}));
}

TEST(TransportPacket, CountsAndMayComeTwice) {
    const auto packets = countedPackets(20);
    ContinuityCheck check;
    Findings findings;
    const auto receive = [&](const PacketBytes& bytes) { return check.receive(*parsePacket(bytes), &findings); };
    for (const PacketBytes& packet : packets) {
        EXPECT_TRUE(receive(packet));
    }
    // Once more is allowed, and left out; twice more is a loss.
    EXPECT_FALSE(receive(packets[19]));
    EXPECT_TRUE(findings.empty());
    EXPECT_TRUE(receive(packets[19]));
    ASSERT_EQ(findings.size(), 1U);
    EXPECT_EQ(findings[0], (qlx::Finding{FindingCode::TsContinuityLost, qlx::Severity::Error, 0, 0x123, 15}));
    findings.clear();
    // 4 to 6 are missing; one without payload keeps the counter.
    PacketBytes clock{};
    (void)writePacket({.pid = 0x123, .continuity = 3, .startsUnit = false, .isDiscontinuous = false, .pcr = 1}, {},
                      clock);
    check.reset();
    EXPECT_TRUE(receive(packets[3]));
    EXPECT_FALSE(receive(clock));
    EXPECT_TRUE(receive(packets[7]));
    ASSERT_EQ(findings.size(), 1U);
    EXPECT_EQ(findings[0].second, 3);
    EXPECT_TRUE(check.isBroken());
}

/// Sections of random sizes that are right.
std::vector<TransportBytes> randomSections(std::mt19937& random, std::size_t count) {
    std::vector<TransportBytes> sections;
    for (std::size_t index = 0; index < count; ++index) {
        const std::size_t body = std::uniform_int_distribution<std::size_t>(0, random() % 4 == 0 ? 4089 : 200)(random);
        TransportBytes section(3 + body);
        std::generate(section.begin(), section.end(), [&] { return static_cast<std::uint8_t>(random()); });
        section[0] = static_cast<std::uint8_t>(random() % 0xFF);
        section[1] = static_cast<std::uint8_t>(0xB0U | (body + 4) >> 8U);
        section[2] = static_cast<std::uint8_t>(body + 4);
        appendSectionCrc(section);
        sections.push_back(std::move(section));
    }
    return sections;
}

std::vector<TransportBytes> sectionsOf(std::span<const PacketBytes> packets, Findings& findings) {
    std::vector<TransportBytes> sections;
    SectionReader reader(SectionCrc::BySyntax, &findings);
    std::uint64_t offset = 0;
    for (const PacketBytes& packet : packets) {
        reader.push(*parsePacket(packet, nullptr, offset));
        offset += 188;
        while (const auto section = reader.next()) {
            sections.emplace_back(section->bytes.begin(), section->bytes.end());
        }
    }
    reader.finish();
    return sections;
}

TEST(TransportSection, ComesBackWhereverPacketsEnd) {
    std::mt19937 random(13);
    for (int round = 0; round < 60; ++round) {
        const auto sections = randomSections(random, 1 + random() % 12);
        PayloadWriter writer(0x55, static_cast<std::uint8_t>(random() % 16));
        std::vector<PacketBytes> packets;
        if (round % 2 == 0) {
            TransportBytes all;
            for (const auto& section : sections) {
                all.insert(all.end(), section.begin(), section.end());
            }
            writer.addSections(all, packets);
        } else {
            for (const auto& section : sections) {
                writer.addSection(section, packets);
            }
        }
        Findings findings;
        ASSERT_EQ(sectionsOf(packets, findings), sections) << round;
        ASSERT_TRUE(findings.empty()) << findings[0].text();
    }
    // Each place in a packet at which the second section can begin.
    for (std::size_t body = 160; body < 190; ++body) {
        TransportBytes both;
        for (int index = 0; index < 2; ++index) {
            TransportBytes section(3 + body, 0x11);
            section[1] = 0xB0;
            section[2] = static_cast<std::uint8_t>(body + 4);
            appendSectionCrc(section);
            both.insert(both.end(), section.begin(), section.end());
        }
        PayloadWriter writer(0x55);
        std::vector<PacketBytes> packets;
        writer.addSections(both, packets);
        Findings findings;
        ASSERT_EQ(sectionsOf(packets, findings).size(), 2U) << body;
        ASSERT_TRUE(findings.empty());
    }
}

TEST(TransportSection, IsToldWhereItIsDamagedOrCut) {
    std::mt19937 random(5);
    TransportBytes section(503, 0x11);
    section[1] = 0xB1;
    section[2] = 0xF8;
    appendSectionCrc(section);
    PayloadWriter writer(0x55);
    std::vector<PacketBytes> packets;
    for (int index = 0; index < 3; ++index) {
        writer.addSection(section, packets);
    }
    ASSERT_EQ(packets.size(), 9U);
    // A packet of the middle one is lost.
    auto lost = packets;
    lost.erase(lost.begin() + 4);
    Findings findings;
    EXPECT_EQ(sectionsOf(lost, findings).size(), 2U);
    ASSERT_EQ(findings.size(), 2U);
    EXPECT_EQ(findings[0], (qlx::Finding{FindingCode::TsContinuityLost, qlx::Severity::Error, 4 * 188, 0x55, 1}));
    EXPECT_EQ(findings[1], (qlx::Finding{FindingCode::TsSectionCut, qlx::Severity::Error, 3 * 188, 0x55, 183}));
    // A bit is wrong: the section is given, and said to be wrong.
    auto flipped = packets;
    flipped[4][100] ^= 1U;
    findings.clear();
    EXPECT_EQ(sectionsOf(flipped, findings).size(), 3U);
    ASSERT_EQ(findings.size(), 1U);
    EXPECT_EQ(findings[0], (qlx::Finding{FindingCode::TsSectionCrcWrong, qlx::Severity::Error, 3 * 188, 0x55, 0x11}));
    // A pointer that leads nowhere.
    auto pointing = packets;
    pointing[3][4] = 184;
    findings.clear();
    EXPECT_EQ(sectionsOf(pointing, findings).size(), 2U);
    ASSERT_EQ(findings.size(), 1U);
    EXPECT_EQ(findings[0], (qlx::Finding{FindingCode::TsSectionWrong, qlx::Severity::Error, 3 * 188, 0x55, 185}));
    // The stream ends.
    findings.clear();
    EXPECT_EQ(sectionsOf(std::span(packets).first(8), findings).size(), 2U);
    ASSERT_EQ(findings.size(), 1U);
    EXPECT_EQ(findings[0].code, FindingCode::TsSectionCut);
}

TEST(TransportTables, AreWrittenAsTheStandardSays) {
    Pat pat;
    pat.header.extension = 1;
    pat.programs = {{1, 0x100}};
    TransportBytes expected = fromHex("00 b00d 0001 c1 00 00 0001 e100");
    appendSectionCrc(expected);
    EXPECT_EQ(*writePat(pat), expected);
    EXPECT_EQ(*parsePat(expected), pat);

    Pmt pmt;
    pmt.header.extension = 1;
    pmt.header.version = 3;
    pmt.pcrPid = 0x1FF;
    const std::vector<TeletextPage> pages{{{'d', 'e', 'u'}, TeletextType::Subtitles, 0x888},
                                          {{'e', 'n', 'g'}, TeletextType::HearingImpaired, 0x150}};
    pmt.streams = {{kPrivatePesType, 0x234, {teletextDescriptor(pages)}}};
    // deu: type 2, magazine 8 (0); eng: type 5, magazine 1.
    expected = fromHex("02 b01e 0001 c7 00 00 e1ff f000 06 e234 f00c 56 0a 646575 10 88 656e67 29 50");
    appendSectionCrc(expected);
    EXPECT_EQ(*writePmt(pmt), expected);
    EXPECT_EQ(*parsePmt(expected), pmt);
    EXPECT_EQ(teletextPages(pmt.streams[0].descriptors), pages);

    Sdt sdt;
    sdt.header.extension = 1;
    sdt.services = {{1, {serviceDescriptor("", "One")}}};
    expected = fromHex("42 f019 0001 c1 00 00 ff01 ff 0001 fc 8008 48 06 01 00 03 4f6e65");
    appendSectionCrc(expected);
    EXPECT_EQ(*writeSdt(sdt), expected);
    EXPECT_EQ(*parseSdt(expected), sdt);
    EXPECT_EQ(serviceDescriptor("", "\xC3\x84").bytes, fromHex("01 00 03 15 c384"));
    // Each end that is missing is told.
    const TransportBytes whole = *writePmt(pmt);
    qlxtest::forEachTruncation(whole, [&](const qlxtest::ExactBuffer& part) {
        EXPECT_EQ(parsePmt(part.span()).hasValue(), part.size() == whole.size());
    });
}

TEST(TransportTables, AreFollowed) {
    Pat pat;
    pat.programs = {{0, 0x10}, {5, 0x100}};
    Pmt pmt;
    pmt.header.extension = 5;
    pmt.streams = {{kSpliceType, 0x200, {}}, {kPrivatePesType, 0x201, {}}};
    PayloadWriter patWriter(0);
    PayloadWriter pmtWriter(0x100);
    std::vector<PacketBytes> packets;
    patWriter.addSection(*writePat(pat), packets);
    pmtWriter.addSection(*writePmt(pmt), packets);
    pmtWriter.addSection(*writePmt(pmt), packets);
    pmt.header.version = 1;
    pmt.streams.pop_back();
    pmtWriter.addSection(*writePmt(pmt), packets);
    Findings findings;
    ProgramMap map(&findings);
    std::vector<bool> changes;
    for (std::size_t index = 0; index < packets.size(); ++index) {
        changes.push_back(map.receive(*parsePacket(packets[index], nullptr, index)));
    }
    EXPECT_EQ(changes, (std::vector<bool>{false, true, false, true}));
    ASSERT_NE(map.streamOf(0x200), nullptr);
    EXPECT_EQ(map.streamOf(0x200)->type, kSpliceType);
    EXPECT_EQ(map.streamOf(0x201), nullptr);
    ASSERT_EQ(findings.size(), 1U);
    EXPECT_EQ(findings[0], (qlx::Finding{FindingCode::TsStreamGone, qlx::Severity::Warning, 3, 0x201, 6}));
}

TEST(TransportPes, ComesBackOfAnySize) {
    std::mt19937 random(3);
    std::vector<TransportBytes> all;
    std::vector<PacketBytes> packets;
    PayloadWriter writer(0x60);
    for (std::size_t size = 1; size < 700; size += 1 + random() % 20) {
        TransportBytes pes(46 + size, static_cast<std::uint8_t>(size));
        PesHeader header;
        header.packetLength = static_cast<std::uint16_t>(size % 3 == 0 ? 0 : pes.size() - 6);
        header.pts = random();
        header.isAligned = true;
        header.headerLength = 0x24;
        ASSERT_EQ(writePesHeader(header, pes), 45U);
        all.push_back(pes);
        writer.addPes(pes, packets);
    }
    Findings findings;
    PesReader reader({}, &findings);
    std::size_t read = 0;
    const auto drain = [&] {
        while (const auto pes = reader.next()) {
            ASSERT_LT(read, all.size());
            std::size_t headerBytes = 0;
            EXPECT_EQ(pes->header, *parsePesHeader(all[read], headerBytes));
            EXPECT_TRUE(std::equal(pes->payload.begin(), pes->payload.end(), all[read].begin() + 45, all[read].end()));
            EXPECT_TRUE(pes->isWhole);
            ++read;
        }
    };
    for (const PacketBytes& packet : packets) {
        reader.push(*parsePacket(packet));
        drain();
    }
    reader.finish();
    drain();
    EXPECT_EQ(read, all.size());
    EXPECT_TRUE(findings.empty());
}

TEST(TransportPes, HasItsTimesBitByBit) {
    TransportBytes bytes(19);
    PesHeader header;
    header.streamId = 0xE0;
    header.pts = 0x123456789;
    header.dts = 0x1FFFFFFFF;
    EXPECT_EQ(writePesHeader(header, bytes), 19U);
    // 33 bits as 3, 15 and 15 with a marker bit behind each.
    EXPECT_EQ(bytes, fromHex("000001e0 0000 80c0 0a 39 8d15 cf13 1f ffff ffff"));
    std::size_t headerBytes = 0;
    EXPECT_EQ(parsePesHeader(bytes, headerBytes)->pts, header.pts);
    EXPECT_EQ(parsePesHeader(bytes, headerBytes)->dts, header.dts);
    EXPECT_EQ(headerBytes, 19U);
}

TEST(TransportPes, IsToldWhereItIsCutOrTooLong) {
    TransportBytes pes(1000, 0x33);
    PesHeader header;
    header.packetLength = 994;
    header.pts = 1;
    (void)writePesHeader(header, pes);
    PayloadWriter writer(0x60);
    std::vector<PacketBytes> packets;
    writer.addPes(pes, packets);
    writer.addPes(pes, packets);
    packets.erase(packets.begin() + 2);
    Findings findings;
    PesReader reader({}, &findings);
    std::vector<bool> whole;
    for (std::size_t index = 0; index < packets.size(); ++index) {
        reader.push(*parsePacket(packets[index], nullptr, index));
        while (const auto one = reader.next()) {
            whole.push_back(one->isWhole);
        }
    }
    EXPECT_EQ(whole, (std::vector<bool>{false, true}));
    ASSERT_EQ(findings.size(), 2U);
    EXPECT_EQ(findings[0], (qlx::Finding{FindingCode::TsContinuityLost, qlx::Severity::Error, 2, 0x60, 1}));
    EXPECT_EQ(findings[1], (qlx::Finding{FindingCode::TsPesCut, qlx::Severity::Error, 0, 368, 1000}));
    findings.clear();
    PesReader narrow({.greatestSize = 500, .givesCutOnes = false}, &findings);
    for (std::size_t index = 0; index < packets.size(); ++index) {
        narrow.push(*parsePacket(packets[index], nullptr, index));
        EXPECT_FALSE(narrow.next());
    }
    ASSERT_EQ(findings.size(), 3U);
    EXPECT_EQ(findings[2], (qlx::Finding{FindingCode::TsPesTooLong, qlx::Severity::Error, 5, 552, 500}));
}

TEST(TransportTime, GoesOnWhereItBeginsAnew) {
    ContinuousTime time;
    EXPECT_EQ(time.take(kTimeBits - 10), static_cast<std::int64_t>(kTimeBits) - 10);
    EXPECT_EQ(time.take(5), static_cast<std::int64_t>(kTimeBits) + 5);
    EXPECT_EQ(time.take(kTimeBits - 1), static_cast<std::int64_t>(kTimeBits) - 1);
    time.reset();
    EXPECT_EQ(time.take(3), 3);
    EXPECT_EQ(time.take(kTimeBits - 3), -3);
}

}  // namespace
