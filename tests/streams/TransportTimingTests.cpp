// When teletext stands in transport streams, and what is said of counters and times that begin anew.
#include "TransportLines.h"

#include <qlx/streams/transport_writer.h>
#include <qlx/streams/ts/packet.h>
#include <qlx/streams/ts/vbi_reader.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <optional>
#include <random>
#include <set>
#include <span>
#include <vector>

namespace transport_timing_test {

using namespace qlx::streams;
using qlx::Finding;
using qlx::FindingCode;
using qlx::Findings;
using qlxtest::KeptBytes;
using qlxtest::randomLines;
using qlxtest::StreamBytes;

constexpr std::size_t kPacket = 188;

/// Frames of 25 a second, each with lines in its first field.
StreamBytes timedStream(const TransportWriterOptions& options, std::int64_t firstTime, std::size_t frames,
                        unsigned seed, std::size_t mostLines) {
    std::mt19937 random(seed);
    KeptBytes sink;
    TransportWriter writer(sink, options);
    for (std::size_t number = 0; number < frames; ++number) {
        Frame frame;
        frame.number = number;
        frame.pts = qlx::MediaTime::make(firstTime + static_cast<std::int64_t>(number) * 3600, 90000);
        frame.teletext = randomLines(random, 1 + random() % mostLines, true);
        Findings findings;
        EXPECT_FALSE(writer.write(frame, &findings));
        EXPECT_TRUE(findings.empty()) << findings[0].text();
    }
    EXPECT_FALSE(writer.finish());
    return std::move(sink.kept);
}

/// The time of a PES packet (ISO/IEC 13818-1, 2.4.3.7).
std::int64_t ptsOf(std::span<const std::uint8_t> pes) {
    return static_cast<std::int64_t>(pes[9] >> 1U & 7U) << 30U | std::int64_t{pes[10]} << 22U |
           std::int64_t{pes[11] >> 1U} << 15U | std::int64_t{pes[12]} << 7U | std::int64_t{pes[13] >> 1U};
}

/// How far the times of teletext are ahead of the clock of the packet in which it begins, in milliseconds.
std::vector<double> leadsOf(const StreamBytes& stream, const TransportWriterOptions& options) {
    struct Reference {
        double ticks = 0;  ///< 90 kHz.
        std::size_t place = 0;
    };
    std::optional<Reference> last;
    std::vector<double> leads;
    for (std::size_t place = 0; place < stream.size(); place += kPacket) {
        const auto packet = ts::parsePacket(std::span(stream).subspan(place, kPacket));
        if (packet->pcr) {
            last = {static_cast<double>(*packet->pcr) / 300.0, place};
        }
        if (packet->pid == options.teletextPid && packet->startsUnit && last) {
            const double behind = static_cast<double>(place - last->place) * 8 * 90'000 / options.bitrate;
            leads.push_back((static_cast<double>(ptsOf(packet->payload)) - last->ticks - behind) / 90.0);
        }
    }
    return leads;
}

TEST(TransportTiming, KeepsTeletextTwoHundredMillisecondsAheadOfTheClock) {
    for (const std::uint32_t bitrate : {ts::kUsualBitrate, 1'000'000U, 5'000'000U, 50'000'000U}) {
        const TransportWriterOptions options{.bitrate = bitrate, .serviceName = "One"};
        const std::vector<double> leads = leadsOf(timedStream(options, 900'000, 200, bitrate, 4), options);
        ASSERT_EQ(leads.size(), 200U);
        // It goes out 200 ms ahead in the next packet that is free: a clock reference and the three tables may be due.
        const double packet = kPacket * 8 * 1000.0 / bitrate;
        constexpr double kTick = 1.0 / 90;
        EXPECT_LE(*std::max_element(leads.begin(), leads.end()), 200.0 + kTick) << bitrate;
        EXPECT_GT(*std::min_element(leads.begin(), leads.end()), 200.0 - 5 * packet - kTick) << bitrate;
    }
}

std::vector<FindingCode> codesOf(const StreamBytes& stream, std::size_t& moments) {
    Findings findings;
    ts::VbiReader reader({}, &findings);
    reader.push(stream);
    reader.finish();
    moments = 0;
    while (reader.next() != nullptr) {
        ++moments;
    }
    std::vector<FindingCode> codes;
    for (const Finding& finding : findings) {
        codes.push_back(finding.code);
    }
    return codes;
}

/// The second stream behind the first one; where `isAnnounced`, a packet without payload that says so (discontinuity
/// indicator) stands in front of the first packet of each PID.
StreamBytes joined(const StreamBytes& first, const StreamBytes& second, bool isAnnounced) {
    StreamBytes stream = first;
    std::set<std::uint16_t> seen;
    for (std::size_t place = 0; place < second.size(); place += kPacket) {
        const auto bytes = std::span(second).subspan(place, kPacket);
        const auto packet = ts::parsePacket(bytes);
        if (packet && isAnnounced && packet->hasPayload && packet->pid != ts::kNullPid &&
            seen.insert(packet->pid).second) {
            ts::PacketHeader header;
            header.pid = packet->pid;
            header.continuity = static_cast<std::uint8_t>((packet->continuity + 15U) & 15U);
            header.isDiscontinuous = true;
            ts::PacketBytes announced{};
            EXPECT_EQ(ts::writePacket(header, {}, announced), 0U);
            stream.insert(stream.end(), announced.begin(), announced.end());
        }
        stream.insert(stream.end(), bytes.begin(), bytes.end());
    }
    return stream;
}

TEST(TransportTiming, SaysOfCountersThatJumpUnlessItIsAnnounced) {
    const TransportWriterOptions options{.bitrate = 1'000'000};
    // Of so many frames that no counter goes on by chance.
    const StreamBytes first = timedStream(options, 900'000, 50, 1, 3);
    const StreamBytes later = timedStream(options, 900'000 + 60 * 3600, 50, 2, 3);
    const StreamBytes earlier = timedStream(options, 90'000, 50, 2, 3);
    std::size_t moments = 0;
    EXPECT_EQ(codesOf(joined(first, later, true), moments), std::vector<FindingCode>());
    EXPECT_EQ(moments, 100U);
    const auto lost = codesOf(joined(first, later, false), moments);
    EXPECT_FALSE(lost.empty());
    EXPECT_TRUE(
        std::all_of(lost.begin(), lost.end(), [](FindingCode code) { return code == FindingCode::TsContinuityLost; }));
    // Time that goes back is said, whether the counters are announced or not; nothing is lost with it.
    EXPECT_EQ(codesOf(joined(first, earlier, true), moments), std::vector{FindingCode::TsTimeJumped});
    EXPECT_EQ(moments, 100U);
    const auto both = codesOf(joined(first, earlier, false), moments);
    EXPECT_EQ(std::count(both.begin(), both.end(), FindingCode::TsTimeJumped), 1);
    EXPECT_GT(std::count(both.begin(), both.end(), FindingCode::TsContinuityLost), 0);
}

}  // namespace transport_timing_test
