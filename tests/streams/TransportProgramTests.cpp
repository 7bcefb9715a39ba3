// Programs of transport streams that change, end or cannot be read, and gaps in those that are written.
#include "TransportLines.h"

#include <qlx/streams/transport.h>
#include <qlx/streams/transport_writer.h>
#include <qlx/streams/ts/packet.h>
#include <qlx/streams/ts/section.h>
#include <qlx/streams/ts/tables.h>
#include <qlx/streams/ts/vbi.h>
#include <qlx/streams/ts/vbi_reader.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <random>
#include <span>
#include <vector>

namespace {

using namespace qlx::streams;
using qlx::FindingCode;
using qlx::Findings;
using qlxtest::KeptBytes;
using qlxtest::randomLines;
using qlxtest::StreamBytes;

/// A stream with these program maps, one after the other, and a PES packet of teletext with each PID behind each of them.
StreamBytes mappedStream(std::span<const ts::Pmt> maps, std::span<const std::uint16_t> pids) {
    std::vector<ts::PacketBytes> packets;
    ts::Pat association;
    association.programs = {{1, 0x100}};
    ts::PayloadWriter tables(0);
    ts::PayloadWriter mapWriter(0x100);
    tables.addSection(*writePat(association), packets);
    std::vector<ts::PayloadWriter> writers(pids.begin(), pids.end());
    std::mt19937 random(1);
    std::uint64_t pts = 90000;
    for (const ts::Pmt& map : maps) {
        mapWriter.addSection(*writePmt(map), packets);
        for (ts::PayloadWriter& writer : writers) {
            StreamBytes pes;
            EXPECT_TRUE(ts::writeTeletextPes(randomLines(random, 1 + writer.pid() % 16, true), pts += 3600, true, pes));
            writer.addPes(pes, packets);
        }
    }
    StreamBytes stream;
    for (const ts::PacketBytes& packet : packets) {
        stream.insert(stream.end(), packet.begin(), packet.end());
    }
    return stream;
}

TEST(TransportTeletext, IsFoundByTheMapOrByItsData) {
    const std::vector<ts::TeletextPage> pages{{{'s', 'w', 'e'}, ts::TeletextType::Subtitles, 0x399}};
    ts::Pmt map{.header = {.extension = 1}, .pcrPid = 0x1FFF, .descriptors = {}, .streams = {}};
    map.streams = {{ts::kPrivatePesType, 0x201, {}}, {ts::kPrivatePesType, 0x202, {ts::teletextDescriptor(pages)}}};
    const std::vector<std::uint16_t> pids{0x201, 0x202};
    const auto pidsRead = [](const StreamBytes& stream, Findings& findings, std::vector<ts::TeletextPage>* named) {
        std::vector<std::uint16_t> read;
        ts::VbiReader reader({}, &findings);
        reader.push(stream);
        reader.finish();
        while (const ts::VbiMoment* const moment = reader.next()) {
            read.push_back(moment->pid);
        }
        if (named != nullptr) {
            *named = reader.pages();
        }
        return read;
    };
    Findings findings;
    std::vector<ts::TeletextPage> named;
    const auto same = std::vector<ts::Pmt>{map, map};
    EXPECT_EQ(pidsRead(mappedStream(same, pids), findings, &named), (std::vector<std::uint16_t>{0x202, 0x202}));
    EXPECT_EQ(named, pages);
    EXPECT_TRUE(findings.empty());
    // Without a descriptor the data say it.
    map.streams[1].descriptors.clear();
    const auto bare = std::vector<ts::Pmt>{map, map};
    EXPECT_EQ(pidsRead(mappedStream(bare, pids), findings, &named), (std::vector<std::uint16_t>{0x201, 0x201}));
    EXPECT_TRUE(named.empty());
    EXPECT_TRUE(findings.empty());
    // The PID changes: what came with it before the new map is lost, and the old one is told.
    ts::Pmt later = map;
    later.header.version = 1;
    later.streams = {{ts::kPrivatePesType, 0x202, {ts::teletextDescriptor(pages)}}};
    const auto changed = std::vector<ts::Pmt>{map, later, later};
    EXPECT_EQ(pidsRead(mappedStream(changed, pids), findings, nullptr),
              (std::vector<std::uint16_t>{0x201, 0x202, 0x202}));
    ASSERT_EQ(findings.size(), 1U);
    EXPECT_EQ(findings[0].code, FindingCode::TsStreamGone);
    EXPECT_EQ(findings[0].first, 0x201);
    // Of two the first is read, and the other one told.
    findings.clear();
    ts::Pmt both = later;
    both.streams.insert(both.streams.begin(), {ts::kPrivatePesType, 0x201, {ts::teletextDescriptor(pages)}});
    EXPECT_EQ(pidsRead(mappedStream(std::vector<ts::Pmt>{both, both}, pids), findings, nullptr),
              (std::vector<std::uint16_t>{0x201, 0x201}));
    ASSERT_EQ(findings.size(), 1U);
    EXPECT_EQ(findings[0], (qlx::Finding{FindingCode::TsTeletextLeftOut, qlx::Severity::Remark, 376, 0x202, 0}));
    findings.clear();
    // A map with a wrong CRC is not used.
    StreamBytes damaged = mappedStream(same, pids);
    damaged[188 + 12] ^= 1U;
    findings.clear();
    EXPECT_EQ(pidsRead(damaged, findings, nullptr), std::vector<std::uint16_t>{0x202});
    ASSERT_EQ(findings.size(), 1U);
    EXPECT_EQ(findings[0], (qlx::Finding{FindingCode::TsSectionCrcWrong, qlx::Severity::Error, 188, 0x100, 2}));
}

TEST(TransportTeletext, WaitsForTheMapsOfAllPrograms) {
    // A PES packet, the map of a program that has nothing, another PES packet, and the program's own map.
    std::vector<ts::PacketBytes> packets;
    ts::Pat association;
    association.programs = {{1, 0x100}, {2, 0x110}};
    ts::PayloadWriter(0).addSection(*writePat(association), packets);
    ts::PayloadWriter teletext(0x201);
    std::mt19937 random(1);
    std::uint64_t pts = 90000;
    const auto addTeletext = [&] {
        StreamBytes pes;
        ASSERT_TRUE(ts::writeTeletextPes(randomLines(random, 2, true), pts += 3600, true, pes));
        teletext.addPes(pes, packets);
    };
    ts::Pmt map{.header = {.extension = 2}, .pcrPid = 0x1FFF, .descriptors = {}, .streams = {}};
    addTeletext();
    ts::PayloadWriter(0x110).addSection(*writePmt(map), packets);
    addTeletext();
    const std::size_t before = packets.size();
    map.header.extension = 1;
    map.streams = {{ts::kPrivatePesType, 0x201, {ts::teletextDescriptor({})}}};
    ts::PayloadWriter(0x100).addSection(*writePmt(map), packets);
    addTeletext();
    const auto read = [&packets](std::size_t count, Findings& findings) {
        ts::VbiReader reader({}, &findings);
        for (std::size_t packet = 0; packet < count; ++packet) {
            reader.push(packets[packet]);
        }
        reader.finish();
        std::size_t moments = 0;
        while (reader.next() != nullptr) {
            ++moments;
        }
        return moments;
    };
    Findings findings;
    EXPECT_EQ(read(packets.size(), findings), 3U);
    EXPECT_TRUE(findings.empty());
    // The map never comes.
    EXPECT_EQ(read(before, findings), 2U);
    ASSERT_EQ(findings.size(), 1U);
    EXPECT_EQ(findings[0].code, FindingCode::TsMapMissing);
}

TEST(TransportTeletext, MayEndBeforeTheStream) {
    const std::vector<ts::TeletextPage> pages{{{'s', 'w', 'e'}, ts::TeletextType::Subtitles, 0x399}};
    ts::Pmt map{.header = {.extension = 1}, .pcrPid = 0x1FFF, .descriptors = {}, .streams = {}};
    map.streams = {{ts::kPrivatePesType, 0x201, {ts::teletextDescriptor(pages)}}};
    ts::Pmt without = map;
    without.streams.clear();
    const std::vector<std::uint16_t> pids{0x201};
    const StreamBytes stream = mappedStream(std::vector<ts::Pmt>{map, without, map, without}, pids);
    Findings findings;
    ts::VbiReader reader({}, &findings);
    std::size_t moments = 0;
    // Packet by packet: the reader is asked while there is no stream to be read.
    for (std::size_t place = 0; place < stream.size(); place += 188) {
        reader.push(std::span(stream).subspan(place, 188));
        while (const ts::VbiMoment* const moment = reader.next()) {
            EXPECT_EQ(moment->pid, 0x201);
            ++moments;
        }
    }
    reader.finish();
    EXPECT_EQ(reader.next(), nullptr);
    EXPECT_EQ(moments, 2U);
    EXPECT_FALSE(reader.pid());
    ASSERT_EQ(findings.size(), 2U);
    EXPECT_EQ(findings[0].code, FindingCode::TsStreamGone);
    EXPECT_EQ(findings[1].code, FindingCode::TsStreamGone);
    // Who reads the frames is told too, though nothing takes its place.
    MemorySource source(stream);
    TransportReader frames(source);
    findings.clear();
    Frame frame;
    std::size_t given = 0;
    for (auto more = frames.next(frame, &findings); more && *more; more = frames.next(frame, &findings)) {
        ++given;
    }
    EXPECT_EQ(given, 2U);
    EXPECT_EQ(std::count_if(findings.begin(), findings.end(),
                            [](const qlx::Finding& one) { return one.code == FindingCode::TsStreamGone; }),
              2);
}

TEST(TransportReader, SaysWhyTeletextCannotBeRead) {
    ts::Pmt map{.header = {.extension = 1}, .pcrPid = 0x1FFF, .descriptors = {}, .streams = {}};
    map.streams = {{ts::kPrivatePesType, 0x201, {ts::teletextDescriptor({})}}};
    const std::vector<std::uint16_t> pids{0x201};
    const StreamBytes stream = mappedStream(std::vector<ts::Pmt>{map, map}, pids);
    StreamBytes scrambled = stream;
    StreamBytes scrambledInside = stream;
    StreamBytes timeless = stream;
    for (std::size_t place = 0; place < stream.size(); place += 188) {
        const auto packet = ts::parsePacket(std::span(stream).subspan(place));
        if (packet->pid == 0x201) {
            scrambled[place + 3] |= 0x80U;
            if (packet->startsUnit) {
                scrambledInside[place + 4 + 6] |= 0x20U;
                timeless[place + 4 + 7] &= 0x3FU;
            }
        }
    }
    const auto reasonOf = [](const StreamBytes& bytes) {
        MemorySource source(bytes);
        TransportReader reader(source);
        const auto reason = reader.open();
        return reason ? reason->code : FindingCode::TsStreamGone;
    };
#ifdef QLX_STREAMS_FFMPEG
    EXPECT_EQ(reasonOf(scrambled), FindingCode::TsPacketScrambled);
    EXPECT_EQ(reasonOf(scrambledInside), FindingCode::TsPacketScrambled);
    EXPECT_EQ(reasonOf(timeless), FindingCode::TsTimeMissing);
#else
    EXPECT_EQ(reasonOf(scrambled), FindingCode::ContainerLibraryMissing);
    EXPECT_EQ(reasonOf(timeless), FindingCode::ContainerLibraryMissing);
#endif
}

/// Random teletext of frames at 25 a second as it is written, and the PES packets in it.
struct WrittenTeletext {
    std::vector<Frame> frames;
    StreamBytes bytes;
};

WrittenTeletext writtenTeletext(std::size_t frames) {
    std::mt19937 random(6);
    WrittenTeletext written;
    KeptBytes sink;
    TransportWriter writer(sink, {.bitrate = 1'000'000});
    for (std::size_t number = 0; number < frames; ++number) {
        Frame frame;
        frame.number = number;
        frame.pts = qlx::MediaTime::make(900'000 + static_cast<std::int64_t>(number) * 3600, 90'000);
        frame.teletext = randomLines(random, 1 + random() % 15, number % 2 == 0);
        EXPECT_FALSE(writer.write(frame, nullptr));
        written.frames.push_back(std::move(frame));
    }
    EXPECT_FALSE(writer.finish());
    written.bytes = std::move(sink.kept);
    return written;
}

std::vector<ts::VbiMoment> momentsRead(const StreamBytes& stream, Findings& findings, std::size_t piece,
                                       const ts::VbiReaderOptions& options = {}) {
    ts::VbiReader reader(options, &findings);
    std::vector<ts::VbiMoment> moments;
    const auto drain = [&] {
        while (const ts::VbiMoment* const moment = reader.next()) {
            moments.push_back(*moment);
        }
    };
    for (std::size_t place = 0; place < stream.size(); place += piece) {
        reader.push(std::span(stream).subspan(place, std::min(piece, stream.size() - place)));
        drain();
    }
    reader.finish();
    drain();
    return moments;
}

/// Packets of the stream for which this is true.
template <class Keeps>
StreamBytes packetsOf(const StreamBytes& stream, const Keeps& keeps) {
    StreamBytes kept;
    for (std::size_t place = 0; place < stream.size(); place += 188) {
        const auto bytes = std::span(stream).subspan(place, 188);
        if (keeps(*ts::parsePacket(bytes), place)) {
            kept.insert(kept.end(), bytes.begin(), bytes.end());
        }
    }
    return kept;
}

TEST(TransportTeletext, SaysWhichGuessLaterMapsDrop) {
    std::vector<ts::PacketBytes> packets;
    ts::PayloadWriter teletext(0x201);
    std::mt19937 random(1);
    std::uint64_t pts = 90000;
    const auto addTeletext = [&](int count) {
        for (int number = 0; number < count; ++number) {
            StreamBytes pes;
            ASSERT_TRUE(ts::writeTeletextPes(randomLines(random, 2, true), pts += 3600, true, pes));
            teletext.addPes(pes, packets);
        }
    };
    const auto addMap = [&packets](std::uint16_t program) {
        const ts::Pmt map{.header = {.extension = program}, .pcrPid = 0x1FFF, .descriptors = {}, .streams = {}};
        ts::PayloadWriter(static_cast<std::uint16_t>(0x100 + program)).addSection(*writePmt(map), packets);
    };
    addTeletext(100);
    ts::Pat association;
    association.programs = {{1, 0x101}, {2, 0x102}};
    ts::PayloadWriter(0).addSection(*writePat(association), packets);
    addMap(2);
    // It may be of the other program.
    addTeletext(10);
    addMap(1);
    const std::uint64_t dropped = packets.size() * ts::kPacketBytes;
    addTeletext(10);
    Findings findings;
    ts::VbiReader reader({}, &findings);
    std::size_t moments = 0;
    for (const ts::PacketBytes& packet : packets) {
        reader.push(packet);
        moments += reader.next() != nullptr ? 1 : 0;
    }
    reader.finish();
    while (reader.next() != nullptr) {
        ++moments;
    }
    EXPECT_EQ(moments, 110U);
    ASSERT_EQ(findings.size(), 2U);
    EXPECT_EQ(findings[0].code, FindingCode::TsMapMissing);
    EXPECT_EQ(findings[1].code, FindingCode::TsGuessDropped);
    EXPECT_EQ(findings[1].first, 0x201);
    EXPECT_LE(findings[1].offset, dropped);
    EXPECT_FALSE(reader.pid());
}

TEST(TransportTeletext, IsFoundWithoutAnyMap) {
    for (const std::size_t frames : {20U, 150U}) {
        const WrittenTeletext written = writtenTeletext(frames);
        // No tables at all, and tables from the middle on.
        for (const std::size_t tablesFrom : {written.bytes.size(), written.bytes.size() / 2}) {
            const StreamBytes stream = packetsOf(written.bytes, [&](const ts::PacketView& packet, std::size_t place) {
                return (packet.pid != 0 && packet.pid != 0x100) || place >= tablesFrom;
            });
            for (const std::size_t piece : {std::size_t{188}, std::size_t{5000}, stream.size()}) {
                Findings findings;
                const auto moments = momentsRead(stream, findings, piece);
                ASSERT_EQ(moments.size(), frames);
                for (std::size_t index = 0; index < frames; ++index) {
                    EXPECT_EQ(moments[index].time90k, written.frames[index].pts->value);
                    EXPECT_EQ(moments[index].vbi.teletext, written.frames[index].teletext);
                }
                // A map that comes soon says so much as one at the beginning.
                const bool isTold = tablesFrom == written.bytes.size() || frames / 2 > 64;
                ASSERT_EQ(findings.size(), isTold ? 1U : 0U);
                if (isTold) {
                    EXPECT_EQ(findings[0], (qlx::Finding{FindingCode::TsMapMissing, qlx::Severity::Warning,
                                                         moments[0].offset, 0x101, 0}));
                }
            }
        }
    }
    // A map at the very end.
    const WrittenTeletext written = writtenTeletext(20);
    std::size_t lastTeletext = 0;
    (void)packetsOf(written.bytes, [&](const ts::PacketView& packet, std::size_t place) {
        lastTeletext = packet.pid == 0x101 ? place : lastTeletext;
        return false;
    });
    const StreamBytes behind = packetsOf(written.bytes, [&](const ts::PacketView& packet, std::size_t place) {
        return (packet.pid != 0 && packet.pid != 0x100) || place > lastTeletext;
    });
    Findings none;
    EXPECT_EQ(momentsRead(behind, none, behind.size()).size(), 20U);
    EXPECT_TRUE(none.empty());
    // What was found before the map came is not what it names: it is not given.
    ts::Pmt map{.header = {.extension = 1}, .pcrPid = 0x1FFF, .descriptors = {}, .streams = {}};
    map.streams = {{ts::kPrivatePesType, 0x201, {}}, {ts::kPrivatePesType, 0x202, {ts::teletextDescriptor({})}}};
    const std::vector<std::uint16_t> pids{0x201, 0x202};
    std::size_t maps = 0;
    const StreamBytes late =
        packetsOf(mappedStream(std::vector<ts::Pmt>{map, map}, pids),
                  [&](const ts::PacketView& packet, std::size_t) { return packet.pid != 0x100 || ++maps == 2; });
    Findings findings;
    const auto moments = momentsRead(late, findings, 188);
    ASSERT_EQ(moments.size(), 1U);
    EXPECT_EQ(moments[0].pid, 0x202);
    EXPECT_TRUE(findings.empty());
}

TEST(TransportTeletext, HasTheTimesOfTheClockWhereItHasNoneOfItsOwn) {
    const WrittenTeletext written = writtenTeletext(100);
    StreamBytes stream = written.bytes;
    std::optional<std::uint64_t> first;
    for (std::size_t place = 0; place < stream.size(); place += 188) {
        const auto packet = ts::parsePacket(std::span(stream).subspan(place));
        if (packet->pid == 0x101 && packet->startsUnit) {
            stream[place + 4 + 7] &= 0x3FU;
            first = first.value_or(place);
        }
    }
    Findings findings;
    const auto moments = momentsRead(stream, findings, 188);
    ASSERT_EQ(moments.size(), written.frames.size());
    for (std::size_t index = 0; index < moments.size(); ++index) {
        EXPECT_EQ(moments[index].vbi.teletext, written.frames[index].teletext);
        // The clock is where the packet stands: 200 ms in front of its time, as it is written, or a little nearer.
        const std::int64_t ahead = written.frames[index].pts->value - moments[index].time90k;
        EXPECT_GE(ahead, 90 * 90);
        EXPECT_LE(ahead, 310 * 90);
        EXPECT_TRUE(index == 0 || moments[index].time90k >= moments[index - 1].time90k);
    }
    ASSERT_EQ(findings.size(), 1U);
    EXPECT_EQ(findings[0],
              (qlx::Finding{FindingCode::TsTimeOfClock, qlx::Severity::Warning, first.value_or(0), 0x101, 0}));
}

TEST(ClockByPlace, CountsBytesBetweenReferences) {
    ts::ClockByPlace clock;
    EXPECT_FALSE(clock.at(0));
    ts::PacketView packet;
    packet.offset = 1000;
    clock.receive(packet);
    EXPECT_FALSE(clock.at(0)) << "no reference in it";
    packet.pcr = ts::kPcrWrap - 27'000;
    clock.receive(packet);
    // A millisecond in front of its end; the rate is not known.
    EXPECT_EQ(clock.at(5000), ts::kTimeBits - 90);
    packet.offset = 3000;
    packet.pcr = 27'000;
    clock.receive(packet);
    EXPECT_EQ(clock.at(3000), 90U);
    EXPECT_EQ(clock.at(4000), 180U);
    EXPECT_EQ(clock.at(1000), ts::kTimeBits - 90);
    EXPECT_EQ(clock.at(3'000'000'000), 90'090U) << "a second at most";
    packet.offset = 4000;
    packet.pcr = 54'000;
    packet.isDiscontinuous = true;
    clock.receive(packet);
    EXPECT_EQ(clock.at(8000), 180U) << "what is in front of a jump says nothing of the rate";
}

TEST(TransportTeletext, CountsPacketsThatCannotBeUsed) {
    const WrittenTeletext written = writtenTeletext(60);
    std::vector<std::size_t> places;
    for (std::size_t place = 0; place < written.bytes.size(); place += 188) {
        if (ts::parsePacket(std::span(written.bytes).subspan(place))->pid == 0x101) {
            places.push_back(place);
        }
    }
    StreamBytes stream = written.bytes;
    for (const std::size_t place : places) {
        stream[place + 3] |= 0x80U;
    }
    Findings findings;
    EXPECT_TRUE(momentsRead(stream, findings, 4096).empty());
    ASSERT_EQ(findings.size(), 2U);
    const std::uint64_t first = places[0];
    const auto more = static_cast<std::int64_t>(places.size() - 1);
    EXPECT_EQ(findings[0], (qlx::Finding{FindingCode::TsPacketScrambled, qlx::Severity::Error, first, 0x101, 0}));
    EXPECT_EQ(findings[1], (qlx::Finding{FindingCode::TsMorePacketsLeftOut, qlx::Severity::Error, first, 0x101, more}));
    EXPECT_EQ(findings[0].text(), "PID 0x0101: a scrambled packet, left out");
    // Each run by itself, of whatever kind; one alone is no run.
    stream = written.bytes;
    stream[places[10] + 3] |= 0x80U;
    stream[places[11] + 1] |= 0x80U;
    stream[places[20] + 1] |= 0x80U;
    findings.clear();
    (void)momentsRead(stream, findings, 4096);
    std::vector<FindingCode> told;
    for (const qlx::Finding& finding : findings) {
        if (finding.code != FindingCode::TsPesCut) {
            told.push_back(finding.code);
        }
    }
    EXPECT_EQ(told, (std::vector<FindingCode>{FindingCode::TsPacketScrambled, FindingCode::TsMorePacketsLeftOut,
                                              FindingCode::TsPacketDamaged}));
    // PES packets that are scrambled inside are counted like packets.
    stream = written.bytes;
    std::int64_t inside = 0;
    for (const std::size_t place : places) {
        if (ts::parsePacket(std::span(stream).subspan(place))->startsUnit) {
            stream[place + 4 + 6] |= 0x20U;
            ++inside;
        }
    }
    findings.clear();
    EXPECT_TRUE(momentsRead(stream, findings, 4096).empty());
    ASSERT_EQ(findings.size(), 2U);
    EXPECT_EQ(findings[1],
              (qlx::Finding{FindingCode::TsMorePacketsLeftOut, qlx::Severity::Error, first, 0x101, inside - 1}));
}

TEST(TransportTeletext, NamesTheLinesThatItDoesNotRead) {
    const auto textOf = [](std::int64_t unit) {
        return qlx::Finding{FindingCode::TsDataUnitUnused, qlx::Severity::Remark, 0, unit, 0x1ABC}.text();
    };
    EXPECT_EQ(textOf(0xC0), "PID 0x1abc: lines of teletext with an inverted framing code (data units c0) are not read");
    EXPECT_EQ(textOf(0xC3), "PID 0x1abc: lines of the video programming system (VPS, data units c3) are not read");
    EXPECT_EQ(textOf(0xC4), "PID 0x1abc: lines of widescreen signalling (WSS, data units c4) are not read");
    EXPECT_EQ(textOf(0xC6), "PID 0x1abc: samples of lines (data units c6) are not read");
    EXPECT_EQ(textOf(0x05), "PID 0x1abc: data units 05 are not read");
}

/// A gap between frames is filled as one frame after the other would fill it, and does not grow in memory.
TEST(TransportWriter, FillsAGapWithoutHoldingIt) {
    class CountedBytes final : public ByteSink {
    public:
        std::optional<qlx::Finding> write(std::span<const std::uint8_t> bytes) override {
            count += bytes.size();
            return count > limit ? std::optional(qlx::Finding{FindingCode::StreamWriteFailed}) : std::nullopt;
        }
        std::uint64_t count = 0;
        std::uint64_t limit = UINT64_MAX;
    };
    const auto framesAt = [](CountedBytes& sink, std::int64_t second) {
        TransportWriter writer(sink, {.bitrate = 1'000'000});
        Frame frame;
        frame.pts = qlx::MediaTime::make(0, 1);
        EXPECT_FALSE(writer.write(frame, nullptr));
        frame.pts = qlx::MediaTime::make(second, 1);
        return writer.write(frame, nullptr);
    };
    CountedBytes all;
    EXPECT_FALSE(framesAt(all, 60));
    EXPECT_NEAR(static_cast<double>(all.count), 60 * 125'000.0, 188.0);
    // A sink that is full ends it at once, however long the gap is.
    CountedBytes some;
    some.limit = 1'000'000;
    EXPECT_TRUE(framesAt(some, 100'000'000));
    EXPECT_LE(some.count, some.limit + 188);
}

}  // namespace
