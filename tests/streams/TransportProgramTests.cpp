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
