// Teletext in transport streams: data units bit by bit, what is written read back, damage, programs that change.
#include "ExactBuffer.h"
#include "Sanitized.h"
#include "ScreenLines.h"
#include "StreamFrames.h"
#include "TransportLines.h"

#include <qlx/streams/byte_source.h>
#include <qlx/streams/contents.h>
#include <qlx/streams/on_air.h>
#include <qlx/streams/teletext_packets.h>
#include <qlx/streams/transport.h>
#include <qlx/streams/transport_writer.h>
#include <qlx/streams/ts/multiplexer.h>
#include <qlx/streams/ts/vbi_reader.h>
#include <qlx/teletext/page.h>
#include <qlx/teletext/page_text.h>
#include <qlx/teletext/sdp_stream.h>
#include <qlx/teletext/writer.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <map>
#include <random>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace qlx::streams;
using qlx::FindingCode;
using qlx::Findings;
using qlx::teletext::SdpLine;
using qlxtest::fromHex;
using qlxtest::KeptBytes;
using qlxtest::randomLines;
using qlxtest::StreamBytes;

struct ReadMoment {
    std::int64_t time = 0;
    std::vector<SdpLine> lines;

    friend bool operator==(const ReadMoment&, const ReadMoment&) = default;
};

std::vector<ReadMoment> momentsOf(const StreamBytes& stream, Findings& findings, std::size_t piece = 4096,
                                  const qlx::ReadLimits& limits = {}) {
    ts::VbiReader reader({.limits = limits}, &findings);
    std::vector<ReadMoment> moments;
    const auto drain = [&] {
        while (const ts::VbiMoment* const moment = reader.next()) {
            moments.push_back({moment->time90k, moment->vbi.teletext});
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

/// Frames of random lines, and the stream of them.
struct RandomStream {
    std::vector<ReadMoment> moments;
    StreamBytes bytes;
};

RandomStream randomStream(unsigned seed, std::int64_t firstTime, std::size_t frames,
                          const TransportWriterOptions& options = {}) {
    std::mt19937 random(seed);
    RandomStream stream;
    KeptBytes sink;
    TransportWriter writer(sink, options);
    for (std::size_t number = 0; number < frames; ++number) {
        Frame frame;
        frame.number = number;
        frame.pts = qlx::MediaTime::make(firstTime + static_cast<std::int64_t>(number) * 3600, 90000);
        if (random() % 3 != 0) {
            frame.teletext = randomLines(random, random() % 16, true);
            const auto second = randomLines(random, 1 + random() % 15, false);
            frame.teletext.insert(frame.teletext.end(), second.begin(), second.end());
            std::erase_if(frame.teletext,
                          [](const SdpLine& line) { return qlx::teletext::parsePacket(line.bytes)->isFilling(); });
            stream.moments.push_back({frame.pts->value, frame.teletext});
        }
        Findings findings;
        EXPECT_FALSE(writer.write(frame, &findings));
        EXPECT_TRUE(findings.empty()) << findings[0].text();
    }
    EXPECT_FALSE(writer.finish());
    stream.bytes = std::move(sink.kept);
    return stream;
}

TEST(TransportTeletext, IsWrittenBitByBit) {
    SdpLine line;
    line.descriptor = qlx::teletext::sdpDescriptor(12, true);
    line.bytes.fill(0);
    line.bytes[3] = 0x01;
    line.bytes[44] = 0x15;
    StreamBytes pes;
    ASSERT_TRUE(ts::writeTeletextPes(std::vector<SdpLine>{line}, 0x123456789, true, pes));
    ASSERT_EQ(pes.size(), 184U);
    // 178 bytes behind the length; aligned, with a time; 36 bytes of header data.
    StreamBytes expected = fromHex("000001bd 00b2 84 80 24 29 8d15 cf13");
    expected.resize(45, 0xFF);
    // EBU data; a subtitle unit of line 12 in the first field: the upper bits are set, bits are the other way round.
    const StreamBytes unit = fromHex("10 03 2c ec e4 80");
    expected.insert(expected.end(), unit.begin(), unit.end());
    expected.resize(46 + 2 + 2 + 41, 0);
    expected.push_back(0xA8);
    for (int stuffing = 0; stuffing < 2; ++stuffing) {
        expected.insert(expected.end(), {0xFF, 0x2C});
        expected.resize(expected.size() + 44, 0xFF);
    }
    EXPECT_EQ(pes, expected);
    // Four times as long for nine lines.
    ASSERT_TRUE(ts::writeTeletextPes(std::vector<SdpLine>(12, line), 0, false, pes));
    EXPECT_EQ(pes.size(), 4U * 184);
    EXPECT_EQ(pes[46], 0x02);
    EXPECT_FALSE(ts::writeTeletextPes(std::vector<SdpLine>(1424, line), 0, false, pes));
}

TEST(TransportTeletext, ComesBackLineByLine) {
    for (const unsigned seed : {1U, 2U, 3U}) {
        const RandomStream stream = randomStream(seed, 90000 * 36000LL, 200, {.bitrate = 1'000'000});
        Findings findings;
        EXPECT_EQ(momentsOf(stream.bytes, findings, 1 + seed * 100), stream.moments);
        EXPECT_TRUE(findings.empty()) << findings[0].text();
    }
    // Times begin anew within the stream, and go on.
    const RandomStream stream = randomStream(4, (1LL << 33) - 50 * 3600, 200, {.bitrate = 1'000'000});
    Findings findings;
    EXPECT_EQ(momentsOf(stream.bytes, findings), stream.moments);
    EXPECT_TRUE(findings.empty());
    // From 0 on the clock begins before 0.
    const RandomStream early = randomStream(5, 0, 50, {.bitrate = 1'000'000});
    EXPECT_EQ(momentsOf(early.bytes, findings), early.moments);
    EXPECT_TRUE(findings.empty());
}

TEST(TransportTeletext, IsReadUpToALimit) {
    const RandomStream stream = randomStream(6, 3600, 40, {.bitrate = 1'000'000});
    const std::size_t count = stream.moments.size();
    ASSERT_GT(count, 10U);
    const auto first = [&stream](std::size_t moments) {
        return std::vector(stream.moments.begin(), stream.moments.begin() + static_cast<std::ptrdiff_t>(moments));
    };
    for (const std::size_t piece : {std::size_t{100}, stream.bytes.size()}) {
        Findings none;
        EXPECT_EQ(momentsOf(stream.bytes, none, piece, {.bytes = stream.bytes.size(), .items = count}), stream.moments);
        EXPECT_TRUE(none.empty());
        Findings items;
        EXPECT_EQ(momentsOf(stream.bytes, items, piece, {.items = 10}), first(10));
        ASSERT_EQ(items.size(), 1U);
        EXPECT_EQ(items[0].code, FindingCode::LimitOfItemsReached);
        // Wherever the limit cuts, what it cuts is left out, and nothing else is said.
        for (std::size_t bytes = stream.bytes.size() / 2; bytes < stream.bytes.size() / 2 + 3000; bytes += 47) {
            Findings cut;
            const auto moments = momentsOf(stream.bytes, cut, piece, {.bytes = bytes});
            ASSERT_LT(moments.size(), count);
            EXPECT_EQ(moments, first(moments.size()));
            ASSERT_EQ(cut.size(), 1U) << bytes;
            EXPECT_EQ(cut[0].code, FindingCode::LimitOfBytesReached);
        }
    }
}

/// When packets of each PID come, by the clock.
TEST(TransportWriter, SendsTablesAndClockInTime) {
    for (const std::uint32_t bitrate : {150'000U, 512'000U, 20'000'000U}) {
        TransportWriterOptions options;
        options.bitrate = bitrate;
        options.serviceName = "One";
        KeptBytes sink;
        TransportWriter writer(sink, options);
        std::mt19937 random(9);
        for (std::size_t number = 0; number < 125; ++number) {
            Frame frame;
            frame.number = number;
            if (number % 10 == 9) {
                frame.teletext = randomLines(random, 10, true);
            }
            ASSERT_FALSE(writer.write(frame, nullptr));
        }
        ASSERT_FALSE(writer.finish());
        const double seconds = static_cast<double>(sink.kept.size()) * 8 / bitrate;
        EXPECT_NEAR(seconds, 5.2, 0.02) << "125 frames, and 200 ms for the last one";
        std::map<std::uint16_t, std::vector<double>> times;
        ts::PesReader teletext;
        for (std::size_t place = 0; place < sink.kept.size(); place += 188) {
            const auto packet = ts::parsePacket(std::span(sink.kept).subspan(place, 188));
            ASSERT_TRUE(packet);
            const double time = static_cast<double>(place) * 8 / bitrate;
            times[packet->pid].push_back(time);
            if (packet->pcr) {
                EXPECT_EQ(packet->pid, 0x1F0);
                // 200 ms before 0, in 27 MHz, and as the bits say.
                const auto clock = static_cast<std::int64_t>((*packet->pcr + 5'400'000) % ts::kPcrWrap);
                EXPECT_NEAR(static_cast<double>(clock) / 27e6, time, 1e-6);
            }
            if (packet->pid == 0x101) {
                teletext.push(*packet);
                while (const auto pes = teletext.next()) {
                    const double pts = static_cast<double>(*pes->header.pts) / 90000;
                    EXPECT_LE(time - 0.2, pts) << "it is there before it is shown";
                    EXPECT_NEAR(time - pts, 0, 0.1 + 5.0 * 1504 / bitrate);
                }
            }
        }
        const std::map<std::uint16_t, double> greatest{{0x1F0, 0.04}, {0, 0.1}, {0x100, 0.1}, {0x11, 2.0}};
        for (const auto& [pid, interval] : greatest) {
            const std::vector<double>& of = times[pid];
            ASSERT_GT(of.size(), 2U) << pid;
            for (std::size_t index = 1; index < of.size(); ++index) {
                EXPECT_LE(of[index] - of[index - 1], interval + 1e-9) << pid << " at " << of[index];
            }
        }
    }
}

/// The lines of frames of packets alone, which stand behind a packet of another kind.
std::vector<qlx::teletext::SdpLine> linesInPackets(const Frame& frame) {
    std::vector<qlx::teletext::SdpLine> lines;
    for (std::size_t place = 1; place < frame.packets.size(); ++place) {
        const auto sdp = qlx::teletext::parseSdp(frame.packets[place].userData);
        EXPECT_TRUE(sdp);
        EXPECT_EQ(frame.packets[place].id(), qlx::anc::ids::kOp47);
        EXPECT_TRUE(place + 1 == frame.packets.size() || sdp->lines.size() == 5 ||
                    frame.packets[place + 1].line != frame.packets[place].line);
        for (const qlx::teletext::SdpLine& line : sdp->lines) {
            EXPECT_EQ(frame.packets[place].line, line.isOddField() ? 12U : 575U);
            lines.push_back(line);
        }
    }
    return lines;
}

TEST(TeletextPackets, CarryLinesBothWays) {
    std::mt19937 random(11);
    TeletextPackets packets;
    std::uint16_t counter = 0;
    for (std::size_t round = 0; round < 200; ++round) {
        Frame frame;
        const std::size_t odd = random() % 17;
        const std::size_t even = random() % 17;
        frame.teletext = randomLines(random, odd, true);
        const auto second = randomLines(random, even, false);
        frame.teletext.insert(frame.teletext.end(), second.begin(), second.end());
        const auto lines = frame.teletext;
        frame.packets.push_back({.did = 0x41, .sdid = 0x07, .userData = {1, 2, 3}, .line = 13});
        const qlx::anc::Packet other = frame.packets[0];
        Findings findings;
        packets.put(frame, &findings);
        EXPECT_TRUE(findings.empty());
        EXPECT_TRUE(frame.teletext.empty());
        ASSERT_EQ(frame.packets.size(), 1 + (odd + 4) / 5 + (even + 4) / 5);
        EXPECT_EQ(frame.packets[0], other);
        EXPECT_EQ(linesInPackets(frame), lines);
        for (std::size_t place = 1; place < frame.packets.size(); ++place) {
            EXPECT_EQ(qlx::teletext::parseSdp(frame.packets[place].userData, &findings)->counter, counter++);
        }
        EXPECT_TRUE(findings.empty());
        // A transport stream of the packets has the lines as they were, but for filling ones.
        KeptBytes sink;
        TransportWriter writer(sink, {});
        frame.packets.erase(frame.packets.begin());
        ASSERT_FALSE(writer.write(frame, &findings));
        ASSERT_FALSE(writer.finish());
        std::vector<qlx::teletext::SdpLine> kept;
        for (const qlx::teletext::SdpLine& line : lines) {
            if (!qlx::teletext::parsePacket(line.bytes)->isFilling()) {
                kept.push_back(line);
            }
        }
        const auto moments = momentsOf(sink.kept, findings);
        ASSERT_EQ(moments.size(), kept.empty() ? 0U : 1U);
        EXPECT_TRUE(kept.empty() || moments[0].lines == kept);
    }
}

TEST(TeletextPackets, NumberLinesThatDoNotAscend) {
    std::mt19937 random(12);
    Frame frame;
    // The second field comes first; a line stands twice in it, and one is more than a field has.
    frame.teletext = randomLines(random, 2, false);
    frame.teletext[1].descriptor = frame.teletext[0].descriptor;
    const auto first = randomLines(random, 16, true);
    frame.teletext.insert(frame.teletext.end(), first.begin(), first.end());
    frame.teletext.push_back(frame.teletext.back());
    auto expected = first;
    expected.insert(expected.end(), frame.teletext.begin(), frame.teletext.begin() + 2);
    expected[17].descriptor = qlx::teletext::sdpDescriptor(8, false);
    frame.packets.resize(1);
    Findings findings;
    TeletextPackets({.firstLine = 12, .secondLine = 575}).put(frame, &findings);
    EXPECT_EQ(linesInPackets(frame), expected);
    ASSERT_EQ(findings.size(), 1U);
    EXPECT_EQ(findings[0], (qlx::Finding{FindingCode::StreamTeletextLeftOut, qlx::Severity::Error, 1, 1, 0}));
}

TEST(TransportWriter, RefusesWhatItCannotWrite) {
    EXPECT_FALSE(checkTransport({}));
    EXPECT_FALSE(checkTransport({.rate = qlx::FrameRate::Fps50}));
    for (const qlx::FrameRate rate : qlx::kFrameRates) {
        const bool isRight = rate == qlx::FrameRate::Fps25 || rate == qlx::FrameRate::Fps50;
        EXPECT_EQ(checkTransport({.rate = rate}).has_value(), !isRight);
    }
    EXPECT_EQ(checkTransport({.mapPid = 0x10})->code, FindingCode::TsPidWrong);
    EXPECT_EQ(checkTransport({.mapPid = 0x101})->code, FindingCode::TsPidWrong);
    EXPECT_EQ(checkTransport({.pcrPid = 0x1FFF})->code, FindingCode::TsPidWrong);
    // As many pages as its descriptor has room for.
    TransportWriterOptions many;
    many.pages.resize(51);
    EXPECT_FALSE(checkTransport(many));
    many.pages.resize(52);
    EXPECT_EQ(checkTransport(many)->text(), "52 pages of teletext, its descriptor names 51");
    // Too few bits are told once, and more lines than a field has each time.
    KeptBytes sink;
    TransportWriter writer(sink, {.bitrate = 150'000});
    std::mt19937 random(2);
    Findings findings;
    for (std::size_t number = 0; number < 50; ++number) {
        Frame frame;
        frame.number = number;
        frame.teletext = randomLines(random, 16, true);
        if (number == 0) {
            frame.teletext.push_back(frame.teletext.back());
        }
        ASSERT_FALSE(writer.write(frame, &findings));
    }
    ASSERT_EQ(findings.size(), 2U);
    EXPECT_EQ(findings[0], (qlx::Finding{FindingCode::StreamTeletextLeftOut, qlx::Severity::Error, 0, 1, 0}));
    EXPECT_EQ(findings[1].code, FindingCode::TsBitrateTooLow);
}

TEST(TransportTeletext, IsToldWhereSomethingIsLost) {
    const RandomStream stream = randomStream(7, 900'000, 100, {.bitrate = 1'000'000});
    std::vector<std::size_t> packets;
    for (std::size_t place = 0; place < stream.bytes.size(); place += 188) {
        if (ts::parsePacket(std::span(stream.bytes).subspan(place))->pid == 0x101) {
            packets.push_back(place);
        }
    }
    ASSERT_GT(packets.size(), 100U);
    std::mt19937 random(3);
    for (int round = 0; round < 200; ++round) {
        StreamBytes damaged = stream.bytes;
        const std::size_t place = packets[20 + random() % 60];
        const auto at = damaged.begin() + static_cast<std::ptrdiff_t>(place);
        switch (round % 4) {
        case 0:
            damaged.erase(at, at + 188);
            break;
        case 1:
            damaged.erase(at + 50, at + 50 + static_cast<std::ptrdiff_t>(1 + random() % 100));
            break;
        case 2:
            damaged[place + 1] |= 0x80U;
            break;
        default:
            damaged[place] ^= static_cast<std::uint8_t>(1U << random() % 8);
            break;
        }
        Findings findings;
        const auto moments = momentsOf(damaged, findings);
        ASSERT_FALSE(findings.empty()) << round;
        // Nothing else is lost: at most the packet's own time, or two where it ended one and sync was lost in the next.
        std::size_t equal = 0;
        for (const ReadMoment& moment : stream.moments) {
            equal += std::count(moments.begin(), moments.end(), moment) > 0 ? 1U : 0U;
        }
        ASSERT_GE(equal + 2, stream.moments.size()) << round;
        // Bytes that are gone may have been those of stuffing units and of the null packet behind them.
        ASSERT_TRUE(round % 4 == 1 || equal < stream.moments.size()) << round;
    }
}

TEST(TransportTeletext, StandsBesideOtherLines) {
    // EN 301 775: data_identifier 99h; a caption pair 14h 2Ch of field 2, VPS, WSS, a unit without a name; a unit too short.
    ts::PesView pes;
    const StreamBytes data =
        fromHex("99 c5 03 d5 29 34 c3 0e d0 00000000000000000000000000 c4 03 f7 0000 80 01 00 03 02 0000");
    pes.payload = data;
    pes.header.streamId = ts::kPrivateStream1;
    ts::VbiPacket packet;
    Findings findings;
    EXPECT_TRUE(ts::readVbi(pes, packet, &findings));
    ASSERT_EQ(packet.captions.size(), 1U);
    EXPECT_EQ(packet.captions[0], qlx::cc::Triplet::make(qlx::cc::CcType::Field2, 0x94, 0x2C));
    EXPECT_TRUE(packet.others.test(0xC3) && packet.others.test(0xC4) && packet.others.test(0x80));
    EXPECT_EQ(packet.others.count(), 3U);
    ASSERT_EQ(findings.size(), 1U);
    EXPECT_EQ(findings[0], (qlx::Finding{FindingCode::TsDataUnitWrong, qlx::Severity::Error, 0, 3, 2}));
    // Each line that table 3 names says that it is such data; reserved units do not.
    for (const auto& [unit, isNamed] :
         std::map<std::uint8_t, bool>{{0x0C, false}, {0xC0, true}, {0xC1, false}, {0xC3, true}, {0xC6, true}}) {
        StreamBytes line(47, 0xFF);
        line[0] = ts::kTeletextDataIdentifier;
        line[1] = unit;
        line[2] = ts::kTeletextUnitBytes;
        pes.payload = line;
        EXPECT_EQ(ts::isVbi(pes), isNamed) << int{unit};
    }
    // Nothing is read beyond any end.
    qlxtest::forEachTruncation(data, [&](const qlxtest::ExactBuffer& part) {
        pes.payload = part.span();
        EXPECT_EQ(ts::readVbi(pes, packet, nullptr), part.size() > 0);
    });
    for (unsigned identifier = 0; identifier < 256; ++identifier) {
        const bool isRight = (identifier >= 0x10 && identifier <= 0x1F) || (identifier >= 0x99 && identifier <= 0x9B);
        EXPECT_EQ(ts::isVbiDataIdentifier(static_cast<std::uint8_t>(identifier)), isRight);
    }
}

/// Pages as a writer sends them, in OP-47 packets, in a transport stream and back: the screens are those of the packets.
TEST(TransportTeletext, ShowsThePagesThatWereWritten) {
    constexpr std::uint64_t kPages = qlxtest::countFor(2000, 100);
    for (const qlx::FrameRate rate : {qlx::FrameRate::Fps25, qlx::FrameRate::Fps50}) {
        std::mt19937 random(11);
        qlx::teletext::Writer writer(rate);
        qlx::teletext::SdpStream sdps;
        const auto direct = teletextOnAir(0x888);
        std::map<std::int64_t, qlx::screen::Screen> expected;
        KeptBytes sink;
        TransportWriter transport(sink, {.rate = rate});
        const std::int64_t duration = qlx::frameDuration(rate).value * 90000 / qlx::frameDuration(rate).timescale;
        std::uint64_t added = 0;
        for (std::uint64_t number = 0; added < kPages / 2 || !writer.isDone(); ++number) {
            if (number % 16 == 0 && added < kPages / 2) {
                qlx::teletext::PageText text{.start = number + 4, .end = number + 16, .rows = {}};
                text.rows.emplace_back();
                text.rows[0].row = static_cast<std::uint8_t>(1 + random() % 20);
                for (auto count = static_cast<std::uint32_t>(1 + random() % 30); count > 0; --count) {
                    text.rows[0].cells.push_back(
                        {.character = static_cast<char32_t>(U'A' + random() % 26), .isVisible = true});
                }
                EXPECT_TRUE(writer.add(text));
                ++added;
            }
            Frame frame;
            frame.number = number;
            for (unsigned field = 0; field < writer.fieldsPerFrame(); ++field) {
                const qlx::teletext::FieldPackets packets = writer.next();
                for (const auto& sdp : sdps.next(packets.packets.items(), packets.isOdd)) {
                    const auto bytes = qlx::teletext::writeSdp(sdp);
                    frame.packets.push_back(qlxtest::packetOf(qlx::anc::ids::kOp47, {bytes->data(), bytes->size()},
                                                              packets.isOdd ? 12 : 575));
                }
            }
            if (direct->receive(frame)) {
                expected[static_cast<std::int64_t>(number) * duration] = direct->screen();
            }
            ASSERT_FALSE(transport.write(frame, nullptr));
        }
        ASSERT_FALSE(transport.finish());
        Findings findings;
        const auto onAir = teletextOnAir(0x888);
        ContentReader contents;
        std::map<std::int64_t, qlx::screen::Screen> seen;
        for (const ReadMoment& moment : momentsOf(sink.kept, findings)) {
            Frame frame;
            frame.teletext = moment.lines;
            contents.receive(frame);
            if (onAir->receive(frame)) {
                seen[moment.time] = onAir->screen();
            }
        }
        EXPECT_TRUE(findings.empty());
        EXPECT_GE(seen.size(), kPages / 2);
        EXPECT_TRUE(seen == expected);
        EXPECT_TRUE(onAir->isCarried());
        ASSERT_EQ(contents.contents().size(), 1U);
        EXPECT_EQ(contents.contents()[0].name, "888");
        EXPECT_EQ(contents.contents()[0].captions, added);
    }
}

#ifdef QLX_STREAMS_FFMPEG
TEST(TransportReader, GivesTeletextWithItsTimes) {
    const RandomStream stream = randomStream(12, 900'000, 60, {.bitrate = 1'000'000});
    MemorySource source(stream.bytes);
    TransportReader reader(source);
    Findings findings;
    Frame frame;
    std::vector<ReadMoment> moments;
    for (auto more = reader.next(frame, &findings); more && *more; more = reader.next(frame, &findings)) {
        EXPECT_EQ(frame.number, moments.size());
        moments.push_back({frame.pts->value, frame.teletext});
    }
    EXPECT_EQ(moments, stream.moments);
    EXPECT_TRUE(findings.empty());
}
#endif

TEST(TransportReader, SaysThatThereIsNothing) {
    ts::MultiplexOptions options;
    options.map.streams = {{ts::kSpliceType, 0x200, {}}};
    ts::Multiplexer multiplexer(options);
    multiplexer.finish(90000);
    StreamBytes stream;
    for (const ts::PacketBytes& packet : multiplexer.takePackets()) {
        stream.insert(stream.end(), packet.begin(), packet.end());
    }
    MemorySource source(stream);
    TransportReader reader(source);
    EXPECT_TRUE(reader.open().has_value());
    EXPECT_EQ(reader.open(), reader.open());
    Frame frame;
    EXPECT_FALSE(reader.next(frame, nullptr));
}

}  // namespace
