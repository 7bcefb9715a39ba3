// Splice information in transport streams: which PIDs, when each section came, and what is written comes back.
#include "ExactBuffer.h"

#include <qlx/streams/splice.h>
#include <qlx/streams/ts/section.h>
#include <qlx/streams/ts/tables.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace {

using namespace qlx::streams;
using qlx::Finding;
using qlx::FindingCode;
using qlx::Findings;
using qlx::Severity;
using SpliceBytes = std::vector<std::uint8_t>;

constexpr std::uint16_t kMapPid = 0x20;
constexpr std::uint16_t kSplicePid = 0x1F0;
constexpr std::uint16_t kPcrPid = 0x100;

SpliceBytes sectionBytes(const qlx::scte::SpliceInfoSection& section) {
    const auto bytes = writeSpliceInfoSection(section);
    EXPECT_TRUE(bytes);
    return {bytes->begin(), bytes->end()};
}

SpliceBytes signalAt(std::uint64_t ticks90k, std::uint64_t adjustment = 0, std::size_t stuffing = 0) {
    qlx::scte::SpliceInfoSection section;
    section.command = qlx::scte::TimeSignal{{ticks90k, 0x7F}};
    section.ptsAdjustment90k = adjustment;
    section.alignmentStuffing.resize(stuffing, 0xFF);
    return sectionBytes(section);
}

/// A stream packet by packet.
class Made {
public:
    explicit Made(bool isRegistered = true, std::uint8_t type = ts::kSpliceType) {
        ts::Pat pat;
        pat.programs = {{7, kMapPid}};
        ts::Pmt pmt;
        pmt.header.extension = 7;
        pmt.pcrPid = kPcrPid;
        if (isRegistered) {
            pmt.descriptors = {{0x05, {'C', 'U', 'E', 'I'}}};
        }
        pmt.streams = {{type, kSplicePid, {}}};
        _pat.addSection(*ts::writePat(pat), _packets);
        _map.addSection(*ts::writePmt(pmt), _packets);
    }

    Made& clock(std::uint64_t ticks90k) {
        _clock.addPcr(ticks90k * ts::kTicksPerPcr, _packets);
        return *this;
    }
    Made& section(const SpliceBytes& bytes) {
        _splices.addSection(bytes, _packets);
        return *this;
    }
    Made& nulls(std::size_t count) {
        _packets.insert(_packets.end(), count, ts::nullPacket());
        return *this;
    }

    [[nodiscard]] SpliceBytes bytes() const {
        SpliceBytes all;
        for (const ts::PacketBytes& packet : _packets) {
            all.insert(all.end(), packet.begin(), packet.end());
        }
        return all;
    }

private:
    std::vector<ts::PacketBytes> _packets;
    ts::PayloadWriter _pat{ts::kPatPid};
    ts::PayloadWriter _map{kMapPid};
    ts::PayloadWriter _clock{kPcrPid};
    ts::PayloadWriter _splices{kSplicePid};
};

struct Came {
    std::vector<SpliceArrival> arrivals;
    std::vector<FindingCode> codes;
};

Came read(const SpliceBytes& bytes, std::size_t piece = 188, const SpliceReaderOptions& options = {}) {
    Findings findings;
    Came came;
    SpliceReader reader(options, &findings);
    const auto drain = [&] {
        while (auto arrival = reader.next()) {
            came.arrivals.push_back(*std::move(arrival));
        }
    };
    for (std::size_t place = 0; place < bytes.size(); place += piece) {
        const auto first = bytes.begin() + static_cast<std::ptrdiff_t>(place);
        const auto size = static_cast<std::ptrdiff_t>(std::min(piece, bytes.size() - place));
        const qlxtest::ExactBuffer exact(SpliceBytes(first, first + size));
        reader.push(exact.span());
        drain();
    }
    reader.finish();
    drain();
    for (const Finding& finding : findings) {
        came.codes.push_back(finding.code);
    }
    return came;
}

using Codes = std::vector<FindingCode>;

TEST(Splice, TellsTheTimeByThePlace) {
    // A clock every ten packets, which are 0.1 s; the third packet behind the first of them.
    const SpliceBytes section = signalAt(990000, 90000);
    const SpliceBytes stream = Made()
                                   .clock(900000)
                                   .nulls(2)
                                   .section(section)
                                   .nulls(6)
                                   .clock(909000)
                                   .section(section)
                                   .nulls(9)
                                   .clock(918000)
                                   .bytes();
    for (const std::size_t piece : {std::size_t{1}, std::size_t{188}, stream.size()}) {
        const Came came = read(stream, piece);
        EXPECT_EQ(came.codes, Codes{});
        ASSERT_EQ(came.arrivals.size(), 2U);
        EXPECT_EQ(came.arrivals[0].offset, 5U * 188);
        EXPECT_EQ(came.arrivals[0].pid, kSplicePid);
        EXPECT_EQ(came.arrivals[0].program, 7);
        EXPECT_EQ(came.arrivals[0].bytes, section);
        EXPECT_EQ(came.arrivals[0].arrival90k, 900000U + 3 * 900);
        EXPECT_EQ(came.arrivals[0].splice90k(), 1080000U);
        EXPECT_EQ(came.arrivals[0].distance90k(), 180000 - 3 * 900);
        // 9000 ticks and eleven packets to the next one: rounded down from 818.18.
        EXPECT_EQ(came.arrivals[1].arrival90k, 909000U + 818);
    }
}

TEST(Splice, CountsOnInFrontOfAndBehindTheClock) {
    const SpliceBytes section = signalAt(0);
    Made made;
    made.section(section).clock(ts::kTimeBits - 900).nulls(9).clock(8100).nulls(9).section(section);
    const Came came = read(made.bytes());
    ASSERT_EQ(came.arrivals.size(), 2U);
    EXPECT_EQ(came.arrivals[0].arrival90k, ts::kTimeBits - 1800);
    EXPECT_EQ(came.arrivals[0].distance90k(), 1800);
    EXPECT_EQ(came.arrivals[1].arrival90k, 8100U + 9000);
    EXPECT_EQ(came.arrivals[1].distance90k(), -17100);
}

TEST(Splice, SaysNoTimeWithoutAClock) {
    const Came came = read(Made().section(signalAt(1)).bytes());
    ASSERT_EQ(came.arrivals.size(), 1U);
    EXPECT_EQ(came.arrivals[0].arrival90k, std::nullopt);
    EXPECT_EQ(came.arrivals[0].splice90k(), 1U);
    EXPECT_EQ(came.arrivals[0].distance90k(), std::nullopt);
}

TEST(Splice, TakesTheFirstTimeOfItsComponents) {
    const auto timeOf = [](const qlx::scte::SpliceInsert& insert) {
        qlx::scte::SpliceInfoSection section;
        section.command = insert;
        section.ptsAdjustment90k = 10;
        const Came came = read(Made().clock(0).section(sectionBytes(section)).clock(900).bytes());
        EXPECT_EQ(came.arrivals.size(), 1U);
        EXPECT_EQ(came.codes, Codes{});
        return came.arrivals.empty() ? std::nullopt : came.arrivals[0].splice90k();
    };
    qlx::scte::SpliceInsert insert;
    insert.programSplice = false;
    insert.components = {{1, {}}, {2, {90'000, 0x7F}}, {3, {45'000, 0x7F}}};
    EXPECT_EQ(timeOf(insert), 90'010U);
    insert.components = {{1, {}}, {2, {}}};
    EXPECT_EQ(timeOf(insert), std::nullopt);
    insert.components = {{1, {90'000, 0x7F}}};
    insert.immediate = true;
    EXPECT_EQ(timeOf(insert), std::nullopt);
}

TEST(Splice, FindsItsStreams) {
    const SpliceBytes section = signalAt(1);
    const Came unregistered = read(Made(false).section(section).bytes());
    EXPECT_EQ(unregistered.arrivals.size(), 1U);
    EXPECT_EQ(unregistered.codes, Codes{FindingCode::SpliceNotRegistered});
    // Of another type it is read when it is asked for.
    const SpliceBytes other = Made(true, 0x06).clock(0).section(section).clock(9000).bytes();
    EXPECT_EQ(read(other).arrivals.size(), 0U);
    const Came asked = read(other, 188, {.pids = {kSplicePid}});
    ASSERT_EQ(asked.arrivals.size(), 1U);
    EXPECT_EQ(asked.arrivals[0].arrival90k, 4500U);
    EXPECT_EQ(asked.codes, Codes{});
    SpliceReader reader({.pids = {5}});
    reader.push(Made().bytes());
    reader.finish();
    EXPECT_TRUE(reader.reads(5) && reader.reads(kSplicePid));
    EXPECT_FALSE(reader.reads(kMapPid) || reader.reads(kPcrPid));
}

TEST(Splice, JoinsSectionsAndLeavesOutDamagedOnes) {
    const SpliceBytes longOne = signalAt(5, 0, 1000);
    SpliceBytes damaged = signalAt(6);
    damaged.back() ^= 1U;
    const Came came = read(Made().section(longOne).section(damaged).section(signalAt(7)).bytes());
    ASSERT_EQ(came.arrivals.size(), 2U);
    EXPECT_EQ(came.arrivals[0].bytes, longOne);
    EXPECT_EQ(came.arrivals[1].splice90k(), 7U);
    EXPECT_EQ(came.codes, Codes{FindingCode::TsSectionCrcWrong});
}

TEST(Splice, IsReadUpToALimit) {
    const SpliceBytes longOne = signalAt(5, 0, 1000);
    Made made;
    made.section(signalAt(3)).section(signalAt(4));
    const std::size_t front = made.bytes().size();
    const SpliceBytes bytes = made.section(longOne).clock(0).section(signalAt(7)).bytes();
    EXPECT_EQ(read(bytes, 188, {.limits = {.bytes = bytes.size(), .items = 4}}).codes, Codes{});
    for (const std::size_t piece : {std::size_t{1}, bytes.size()}) {
        const Came items = read(bytes, piece, {.limits = {.items = 3}});
        EXPECT_EQ(items.arrivals.size(), 3U);
        EXPECT_EQ(items.codes, Codes{FindingCode::LimitOfItemsReached});
        // The long section has begun in front of the limit, which alone is said.
        const Came cut = read(bytes, piece, {.limits = {.bytes = front + 2 * 188}});
        EXPECT_EQ(cut.arrivals.size(), 2U);
        EXPECT_EQ(cut.codes, Codes{FindingCode::LimitOfBytesReached});
    }
}

TEST(Splice, TellsWhatItHasCountedAtALimitToo) {
    Made made;
    made.clock(0).section(signalAt(3)).section(signalAt(4)).clock(9000);
    SpliceBytes bytes = made.bytes();
    for (const bool isOfMap : {false, true}) {
        for (int number = 0; number < 3; ++number) {
            ts::PacketBytes damaged = ts::nullPacket();
            const std::uint16_t pid = isOfMap ? kMapPid : kSplicePid;
            damaged[1] = static_cast<std::uint8_t>(0x80U | pid >> 8U);
            damaged[2] = static_cast<std::uint8_t>(pid);
            bytes.insert(bytes.end(), damaged.begin(), damaged.end());
        }
    }
    const Codes all{FindingCode::TsPacketDamaged, FindingCode::TsPacketDamaged, FindingCode::TsMorePacketsLeftOut,
                    FindingCode::TsMorePacketsLeftOut};
    EXPECT_EQ(read(bytes, bytes.size()).codes, all);
    const Came cut = read(bytes, bytes.size(), {.limits = {.items = 1}});
    EXPECT_EQ(cut.arrivals.size(), 1U);
    EXPECT_EQ(cut.codes,
              (Codes{FindingCode::TsPacketDamaged, FindingCode::TsPacketDamaged, FindingCode::LimitOfItemsReached,
                     FindingCode::TsMorePacketsLeftOut, FindingCode::TsMorePacketsLeftOut}));
}

TEST(Splice, HoldsNoMoreThanAMebibyteOfSections) {
    constexpr std::size_t kSections = 300;
    Made made;
    made.clock(0).nulls(8).clock(9000);
    for (std::size_t number = 0; number < kSections; ++number) {
        made.section(signalAt(number, 0, 4000));
    }
    SpliceReader reader;
    reader.push(made.bytes());
    std::size_t given = 0;
    const auto drain = [&] {
        while (const auto arrival = reader.next()) {
            EXPECT_EQ(arrival->splice90k(), given++);
            EXPECT_TRUE(arrival->arrival90k);
        }
    };
    drain();
    // No time follows: those that have no room do not wait for it.
    EXPECT_GT(given, 250U);
    EXPECT_LT(given, kSections);
    reader.finish();
    drain();
    EXPECT_EQ(given, kSections);
}

TEST(Splice, HoldsNoMoreThanSomeThousandSmallSections) {
    constexpr std::size_t kSections = 5000;
    Made made;
    made.clock(0).nulls(8).clock(9000);
    for (std::size_t number = 0; number < kSections; ++number) {
        made.section(signalAt(number));
    }
    SpliceReader reader;
    reader.push(made.bytes());
    std::size_t given = 0;
    const auto drain = [&] {
        while (const auto arrival = reader.next()) {
            EXPECT_EQ(arrival->splice90k(), given++);
        }
    };
    drain();
    EXPECT_GT(given, 4000U);
    EXPECT_LT(given, kSections);
    reader.finish();
    drain();
    EXPECT_EQ(given, kSections);
}

TEST(Splice, SaysWhereASectionIsThatCannotBeRead) {
    // Its CRC is right, but it ends in the midst of its fields.
    SpliceBytes cut = qlxtest::fromHex("fc 3006 0000");
    ts::appendSectionCrc(cut);
    const SpliceBytes stream = Made().clock(0).section(cut).section(signalAt(7)).clock(9000).bytes();
    Findings findings;
    SpliceReader reader({}, &findings);
    reader.push(stream);
    reader.finish();
    const auto arrival = reader.next();
    ASSERT_TRUE(arrival);
    EXPECT_EQ(arrival->splice90k(), 7U);
    EXPECT_FALSE(reader.next());
    // Behind the association, the map and the clock.
    ASSERT_EQ(findings.size(), 1U);
    EXPECT_EQ(findings[0].severity, Severity::Error);
    EXPECT_EQ(findings[0].offset, 3U * 188U);
}

TEST(Splice, EndsCalmlyAtEveryLength) {
    const SpliceBytes stream = Made().clock(0).section(signalAt(5, 0, 300)).clock(9000).bytes();
    for (std::size_t size = 0; size < stream.size(); size += 7) {
        EXPECT_LE(read({stream.begin(), stream.begin() + static_cast<std::ptrdiff_t>(size)}).arrivals.size(), 1U);
    }
}

TEST(Splice, SaysWhatIsNoWholeSection) {
    SpliceBytes cut = signalAt(1);
    cut.pop_back();
    SpliceBytes longer = signalAt(2);
    longer.insert(longer.end(), {0xFC, 0x30, 0x11});
    const std::vector<TimedSection> sections{{0, signalAt(0)}, {0, cut}, {0, longer}, {0, {}}};
    Findings findings;
    SpliceBytes stream;
    const auto written = writeSpliceStream(
        sections, {},
        [&stream](const ts::PacketBytes& packet) { stream.insert(stream.end(), packet.begin(), packet.end()); },
        &findings);
    ASSERT_TRUE(written);
    using FindingList = std::vector<Finding>;
    const auto left = [](std::uint64_t section, std::size_t bytes) {
        return Finding{FindingCode::TsSectionCut, qlx::Severity::Error, section, 0x101,
                       static_cast<std::int64_t>(bytes)};
    };
    EXPECT_EQ(FindingList(findings.begin(), findings.end()),
              (FindingList{left(1, cut.size()), left(2, 3), left(3, 0)}));
    const Came came = read(stream);
    ASSERT_EQ(came.arrivals.size(), 2U);
    EXPECT_EQ(came.arrivals[1].bytes, signalAt(2));
    EXPECT_EQ(came.codes, Codes{});
}

TEST(Splice, WhatIsWrittenComesInItsTime) {
    std::vector<TimedSection> sections{{ts::kTimeBits - 90000, signalAt(270000)},
                                       {90000, signalAt(450000, 0, 2000)},
                                       {90000, signalAt(460000)},
                                       {45000, signalAt(470000)}};
    SpliceStreamOptions options;
    options.heartbeat90k = 180000;
    options.end90k = 470000;
    SpliceBytes stream;
    const auto written = writeSpliceStream(sections, options, [&stream](const ts::PacketBytes& packet) {
        stream.insert(stream.end(), packet.begin(), packet.end());
    });
    ASSERT_TRUE(written);
    EXPECT_EQ(*written * 188, stream.size());
    const Came came = read(stream);
    EXPECT_EQ(came.codes, Codes{});
    std::vector<SpliceArrival> signals;
    std::uint64_t beats = 0;
    for (const SpliceArrival& arrival : came.arrivals) {
        ASSERT_TRUE(arrival.arrival90k);
        if (std::holds_alternative<qlx::scte::SpliceNull>(arrival.section.command)) {
            ++beats;
        } else {
            signals.push_back(arrival);
        }
    }
    // From 0.4 s in front of the first section to the end: 6.62 s, every two.
    EXPECT_EQ(beats, 4U);
    ASSERT_EQ(signals.size(), 4U);
    const auto lateness = [](std::uint64_t arrival, std::uint64_t wanted) {
        return (arrival + ts::kTimeBits - wanted) % ts::kTimeBits;
    };
    for (std::size_t index = 0; index < signals.size(); ++index) {
        EXPECT_EQ(signals[index].bytes, sections[index].bytes);
    }
    EXPECT_LE(lateness(*signals[0].arrival90k, ts::kTimeBits - 90000), 2700U);
    EXPECT_LE(lateness(*signals[1].arrival90k, 90000), 2700U);
    // Behind the twelve packets of the one in front.
    EXPECT_LE(lateness(*signals[2].arrival90k, 90000), 2700U + 14 * 900);
    EXPECT_EQ(signals[0].distance90k(),
              360000 - static_cast<std::int64_t>(lateness(*signals[0].arrival90k, ts::kTimeBits - 90000)));
}

}  // namespace
