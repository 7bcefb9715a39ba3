#include <qlx/anc/row.h>

#include "ExactBuffer.h"
#include "SlowRowReader.h"

#include <gtest/gtest.h>

#include <iterator>
#include <random>
#include <type_traits>

namespace {

using namespace qlx::anc;
using qlx::Finding;
using qlx::FindingCode;
using qlx::Findings;
using qlx::Severity;
using qlxtest::ExactBuffer;
using qlxtest::packetSamples;
using qlxtest::putWords;

static_assert(std::is_trivially_copyable_v<PacketView> && sizeof(PacketView) <= 24);
static_assert(std::input_iterator<PacketIterator> && std::sentinel_for<std::default_sentinel_t, PacketIterator>);

struct Kind {
    RowFormat format;
    Channel channel;
    Channels channels;
};

constexpr Kind kKinds[] = {
    {RowFormat::V210, Channel::Luma, Channels::Luma},
    {RowFormat::V210, Channel::Chroma, Channels::Chroma},
    {RowFormat::V210, Channel::SdMultiplex, Channels::SdMultiplex},
    {RowFormat::TwoVuy, Channel::Luma, Channels::Luma},
    {RowFormat::TwoVuy, Channel::Chroma, Channels::Chroma},
    {RowFormat::TwoVuy, Channel::SdMultiplex, Channels::SdMultiplex},
};

const std::vector<std::uint8_t> kBytes{0x96, 0x69, 0xFF, 0x00};

std::vector<PacketView> read(std::span<const std::uint8_t> row, const RowOptions& options,
                             qlx::FindingSink* findings = nullptr) {
    std::vector<PacketView> views;
    for (const PacketView packet : packets(row, options, findings)) {
        views.push_back(packet);
    }
    return views;
}

std::vector<std::uint8_t> dataOf(const PacketView& view) {
    std::array<std::uint8_t, kGreatestUserData> room{};
    const auto filled = view.userData(room);
    return {filled.begin(), filled.end()};
}

std::vector<Finding> found(const Findings& findings) {
    return {findings.begin(), findings.end()};
}

/// A row with the packet 61/01 of kBytes from a word of the channel on.
ExactBuffer rowWith(const Kind& kind, std::size_t at, std::size_t width = 720) {
    ExactBuffer row(blankRow(kind.format, width));
    putWords(kind.format, row.span(), kind.channel, at, packetSamples(0x61, 0x01, kBytes));
    return row;
}

}  // namespace

TEST(AncRow, GivesAPacketAnywhereInEveryChannelAndFormat) {
    for (const Kind& kind : kKinds) {
        // The last place is the one that leaves nothing behind the packet.
        const std::size_t words = kind.channel == Channel::SdMultiplex ? 1440 : 720;
        for (std::size_t at = 0; at + 11 <= words; ++at) {
            const ExactBuffer row = rowWith(kind, at);
            const auto views = read(row.span(), {.format = kind.format, .line = 9, .channels = kind.channels});
            ASSERT_EQ(views.size(), 1U) << at;
            EXPECT_EQ(views[0].channel(), kind.channel);
            EXPECT_EQ(views[0].line(), 9U);
            EXPECT_EQ(views[0].horizontalOffset(), at);
            EXPECT_EQ(views[0].id(), ids::kCdp);
            EXPECT_EQ(views[0].checksum(), Status::Right);
            EXPECT_EQ(views[0].parity(), kind.format == RowFormat::V210 ? Status::Right : Status::NotCarried);
            EXPECT_EQ(dataOf(views[0]), kBytes);
        }
    }
}

TEST(AncRow, GivesTheWordsOfAPacket) {
    std::array<std::uint16_t, kGreatestPacketWords> room{};
    const ExactBuffer tenBits = rowWith(kKinds[0], 5);
    const auto words = read(tenBits.span(), {}).at(0).words(room);
    // 61h 01h 04h 96h 69h FFh 00h as words: 161 101 104 296 269 2FF 200, whose sum ends in 164.
    EXPECT_EQ(std::vector<std::uint16_t>(words.begin(), words.end()),
              (std::vector<std::uint16_t>{0, 0x3FF, 0x3FF, 0x161, 0x101, 0x104, 0x296, 0x269, 0x2FF, 0x200, 0x164}));
    const ExactBuffer eightBits = rowWith(kKinds[3], 5);
    const auto bytes = read(eightBits.span(), {.format = RowFormat::TwoVuy}).at(0).words(room);
    EXPECT_EQ(std::vector<std::uint16_t>(bytes.begin(), bytes.end()),
              (std::vector<std::uint16_t>{0, 0xFF, 0xFF, 0x61, 0x01, 0x04, 0x96, 0x69, 0xFF, 0x00, 0x64}));
}

TEST(AncRow, SaysWhichUserDataWordsHaveTenBits) {
    for (const Kind& kind : kKinds) {
        std::vector<std::uint16_t> samples = packetSamples(0x61, 0x01, kBytes);
        // 96h and FFh: 296 becomes 196, 2FF 1FF, whose bit 8 is in the sum: 164 becomes 164 + 200h, of nine bits 164.
        samples[6] ^= 0x300U;
        samples[8] ^= 0x300U;
        ExactBuffer row(blankRow(kind.format, 720));
        putWords(kind.format, row.span(), kind.channel, 7, samples);
        Findings findings;
        const auto views = read(row.span(), {.format = kind.format, .channels = kind.channels}, &findings);
        ASSERT_EQ(views.size(), 1U);
        EXPECT_EQ(views[0].checksum(), Status::Right);
        EXPECT_EQ(dataOf(views[0]), kBytes);
        std::size_t told = 0;
        for (const Finding& finding : findings) {
            if (finding.code == FindingCode::AncUserDataOfTenBits) {
                EXPECT_EQ(finding.severity, Severity::Remark);
                EXPECT_EQ(finding.first, 2);
                EXPECT_EQ(finding.text(), "2 user data words of ten bits: the upper two are not those of the byte");
                ++told;
            }
        }
        EXPECT_EQ(told, kind.format == RowFormat::V210 ? 1U : 0U);
        if (kind.format == RowFormat::V210) {
            std::array<std::uint16_t, kGreatestPacketWords> room{};
            const auto words = views[0].words(room);
            EXPECT_EQ(std::vector<std::uint16_t>(words.begin(), words.end()), samples);
        }
    }
}

TEST(AncRow, FillsAsMuchRoomAsThereIs) {
    const ExactBuffer row = rowWith(kKinds[0], 0);
    const PacketView view = read(row.span(), {}).at(0);
    ExactBuffer room = ExactBuffer::filled(3, 0xEE);
    EXPECT_EQ(view.userData(room.span()).size(), 3U);
    EXPECT_EQ(room.vector(), qlxtest::bytes({0x96, 0x69, 0xFF}));
    std::array<std::uint16_t, 2> words{};
    EXPECT_EQ(view.words(words).size(), 2U);
    EXPECT_EQ(words, (std::array<std::uint16_t, 2>{0, 0x3FF}));
    EXPECT_TRUE(view.userData({}).empty());
    EXPECT_TRUE(PacketView().userData(room.span()).empty());
    EXPECT_TRUE(PacketView().words(words).empty());
}

TEST(AncRow, OwnsAPacketThatIsCopied) {
    const ExactBuffer row = rowWith(kKinds[1], 7);
    const Packet packet = read(row.span(), {.line = 13}).at(0).toPacket();
    EXPECT_EQ(packet, (Packet{0x61, 0x01, kBytes, 13, 7, Channel::Chroma}));
}

TEST(AncRow, GivesBothChannelsInTheOrderInWhichPacketsBegin) {
    ExactBuffer row(blankRow(RowFormat::V210, 720));
    putWords(RowFormat::V210, row.span(), Channel::Luma, 0,
             packetSamples(0x41, 0x07, std::vector<std::uint8_t>(60, 1)));
    putWords(RowFormat::V210, row.span(), Channel::Chroma, 20, packetSamples(0x61, 0x01, kBytes));
    putWords(RowFormat::V210, row.span(), Channel::Luma, 67, packetSamples(0x43, 0x02, kBytes));
    const auto views = read(row.span(), {.channels = Channels::Both});
    ASSERT_EQ(views.size(), 3U);
    EXPECT_EQ(views[0].id(), ids::kScte104);
    EXPECT_EQ(views[1].id(), ids::kCdp);
    EXPECT_EQ(views[1].channel(), Channel::Chroma);
    EXPECT_EQ(views[2].id(), ids::kOp47);
    EXPECT_EQ(read(row.span(), {.channels = Channels::Luma}).size(), 2U);
    EXPECT_EQ(read(row.span(), {.channels = Channels::Chroma}).size(), 1U);
}

TEST(AncRow, TakesTheSecondWordOfType1ForABlockNumber) {
    ExactBuffer row(blankRow(RowFormat::V210, 720));
    putWords(RowFormat::V210, row.span(), Channel::Luma, 0, packetSamples(0xF4, 0x68, kBytes));
    const PacketView view = read(row.span(), {}).at(0);
    EXPECT_EQ(view.sdid(), 0x68);
    EXPECT_EQ(view.id(), (PacketId{0xF4, 0}));
    EXPECT_TRUE(isType1(0x80));
    EXPECT_FALSE(isType1(0x7F));
}

TEST(AncRow, TakesProtectedCodesForAFlagOnRequest) {
    for (std::uint16_t low = 0; low < 4; ++low) {
        for (const Kind& kind : {kKinds[0], kKinds[1], kKinds[2]}) {
            for (std::size_t at = 0; at < 3; ++at) {
                ExactBuffer row = rowWith(kind, at);
                putWords(kind.format, row.span(), kind.channel, at,
                         std::vector<std::uint16_t>{low, static_cast<std::uint16_t>(0x3FC + low), 0x3FC});
                RowOptions options{.channels = kind.channels};
                EXPECT_TRUE(read(row.span(), options).empty());
                options.protectedFlags = true;
                ASSERT_EQ(read(row.span(), options).size(), 1U);
                EXPECT_EQ(read(row.span(), options)[0].checksum(), Status::Right);
            }
        }
    }
}

TEST(AncRow, SaysAWrongChecksumAndItsPlace) {
    ExactBuffer row = rowWith(kKinds[0], 3);
    // The checksum is luma sample 13, sample 27 of the row: in the tenth word.
    putWords(RowFormat::V210, row.span(), Channel::Luma, 13, std::vector<std::uint16_t>{0x165});
    Findings findings;
    const auto views = read(row.span(), {.channels = Channels::Luma}, &findings);
    ASSERT_EQ(views.size(), 1U);
    EXPECT_EQ(views[0].checksum(), Status::Wrong);
    EXPECT_EQ(dataOf(views[0]), kBytes);
    EXPECT_EQ(found(findings),
              (std::vector<Finding>{{FindingCode::AncPacketNotContiguous, Severity::Remark, 8, 3, 0},
                                    {FindingCode::AncChecksumWrong, Severity::Warning, 36, 0x165, 0x164}}));
    EXPECT_EQ(findings[0].text(), "packet at sample 3, 0 would be right");
    EXPECT_EQ(findings[1].text(), "checksum 165, but 164 is right");
}

TEST(AncRow, TakesAChecksumWithWrongBit9ForWrong) {
    ExactBuffer row = rowWith(kKinds[0], 0);
    putWords(RowFormat::V210, row.span(), Channel::Luma, 10, std::vector<std::uint16_t>{0x364});
    EXPECT_EQ(read(row.span(), {}).at(0).checksum(), Status::Wrong);
}

TEST(AncRow, JudgesTheParityOfEachHeaderWord) {
    constexpr std::uint16_t kRight[] = {0x161, 0x101, 0x104};
    constexpr std::uint64_t kBytesOfWords[] = {8, 12, 12};  // Luma samples 3, 4, 5 are in the words 2, 3, 3.
    for (std::size_t place = 0; place < 3; ++place) {
        ExactBuffer row = rowWith(kKinds[0], 0);
        const auto wrong = static_cast<std::uint16_t>(kRight[place] ^ 0x200U);
        putWords(RowFormat::V210, row.span(), Channel::Luma, 3 + place, std::vector<std::uint16_t>{wrong});
        Findings findings;
        const auto views = read(row.span(), {}, &findings);
        ASSERT_EQ(views.size(), 1U);
        EXPECT_EQ(views[0].parity(), Status::Wrong);
        // Bit 9 is no part of the sum.
        EXPECT_EQ(views[0].checksum(), Status::Right);
        EXPECT_EQ(found(findings), (std::vector<Finding>{{FindingCode::AncHeaderParityWrong, Severity::Warning,
                                                          kBytesOfWords[place], wrong, kRight[place]}}));
        EXPECT_TRUE(findings[0].text().starts_with("header word 3"));
    }
}

TEST(AncRow, TakesBlankingInPlaceOfAnEightBitChecksumForNone) {
    for (const Kind& kind : {kKinds[3], kKinds[4], kKinds[5]}) {
        for (const std::size_t at : {std::size_t{0}, std::size_t{1}}) {
            for (unsigned byte = 0; byte < 256; ++byte) {
                ExactBuffer row = rowWith(kind, at);
                putWords(kind.format, row.span(), kind.channel, at + 10,
                         std::vector<std::uint16_t>{static_cast<std::uint16_t>(byte)});
                const bool isLuma = kind.channel == Channel::Luma || (kind.channel == Channel::SdMultiplex && at == 1);
                const unsigned blanking = isLuma ? 0x10 : 0x80;
                const Status expected = byte == 0x64       ? Status::Right
                                        : byte == blanking ? Status::NotCarried
                                                           : Status::Wrong;
                Findings findings;
                const auto views = read(row.span(), {.format = kind.format, .channels = kind.channels}, &findings);
                ASSERT_EQ(views.size(), 1U);
                EXPECT_EQ(views[0].checksum(), expected) << byte;
                if (expected == Status::NotCarried && at == 0) {
                    const std::uint64_t place = kind.channel == Channel::Luma     ? 21
                                                : kind.channel == Channel::Chroma ? 20
                                                                                  : 10;
                    EXPECT_EQ(found(findings), (std::vector<Finding>{{FindingCode::AncChecksumNotCarried,
                                                                      Severity::Remark, place, byte, 0x64}}));
                    EXPECT_TRUE(findings[0].text().starts_with("no checksum: byte "));
                }
            }
        }
    }
}

TEST(AncRow, TakesAnEightBitChecksumThatEqualsBlankingForRight) {
    // 61h + 01h + 01h + data = 110h.
    ExactBuffer row(blankRow(RowFormat::TwoVuy, 720));
    const auto words = packetSamples(0x61, 0x01, std::vector<std::uint8_t>{0xAD});
    ASSERT_EQ(words.back() & 0xFFU, 0x10U);
    putWords(RowFormat::TwoVuy, row.span(), Channel::Luma, 0, words);
    EXPECT_EQ(read(row.span(), {.format = RowFormat::TwoVuy}).at(0).checksum(), Status::Right);
}

TEST(AncRow, SearchesInsideAPacketWithAWrongChecksum) {
    for (const Kind& kind : kKinds) {
        ExactBuffer row(blankRow(kind.format, 720));
        // A data count of 200 in place of 4: the packet seems to hold the two that follow it.
        auto damaged = packetSamples(0x41, 0x05, kBytes);
        damaged[5] = qlxtest::parityWord(200);
        putWords(kind.format, row.span(), kind.channel, 0, damaged);
        putWords(kind.format, row.span(), kind.channel, 11, packetSamples(0x61, 0x01, kBytes));
        auto alsoDamaged = packetSamples(0x43, 0x02, kBytes);
        alsoDamaged.back() = static_cast<std::uint16_t>(alsoDamaged.back() ^ 0x01U);
        putWords(kind.format, row.span(), kind.channel, 22, alsoDamaged);
        putWords(kind.format, row.span(), kind.channel, 33, packetSamples(0x60, 0x60, kBytes));
        // The byte at which the data count of 200 ends is none of a checksum and no blanking.
        putWords(kind.format, row.span(), kind.channel, 206, std::vector<std::uint16_t>{0x155});
        Findings findings;
        const auto views = read(row.span(), {.format = kind.format, .channels = kind.channels}, &findings);
        ASSERT_EQ(views.size(), 3U);
        EXPECT_EQ(views[0].id(), ids::kAfdBarData);
        EXPECT_EQ(views[0].checksum(), Status::Wrong);
        EXPECT_EQ(views[0].dataCount(), 200U);
        EXPECT_EQ(views[1].id(), ids::kCdp);
        EXPECT_EQ(views[2].id(), ids::kAtc);
        ASSERT_EQ(findings.size(), 2U);
        EXPECT_EQ(findings[0].code, FindingCode::AncChecksumWrong);
        EXPECT_EQ(findings[1].code, FindingCode::AncFlagInsidePacket);
        EXPECT_EQ(findings[1].severity, Severity::Remark);
        EXPECT_EQ(findings[1].first, 11);
        EXPECT_EQ(findings[1].text(), "flag inside a damaged packet: no packet of 11 words with a right checksum");
    }
}

TEST(AncRow, GivesAPacketWithAWrongChecksumBehindAnotherOne) {
    ExactBuffer row(blankRow(RowFormat::V210, 720));
    auto damaged = packetSamples(0x61, 0x01, kBytes);
    damaged.back() = static_cast<std::uint16_t>(damaged.back() ^ 0x01U);
    putWords(RowFormat::V210, row.span(), Channel::Luma, 0, damaged);
    putWords(RowFormat::V210, row.span(), Channel::Luma, 11, damaged);
    const auto views = read(row.span(), {});
    ASSERT_EQ(views.size(), 2U);
    EXPECT_EQ(views[1].horizontalOffset(), 11U);
    EXPECT_EQ(views[1].checksum(), Status::Wrong);
}

TEST(AncRow, DoesNotSearchInsideAPacketWithARightChecksum) {
    // In eight bits the user data can look like a packet of their own.
    const std::vector<std::uint8_t> inner{0x00, 0xFF, 0xFF, 0x61, 0x01, 0x00, 0x62};
    ExactBuffer row(blankRow(RowFormat::TwoVuy, 720));
    putWords(RowFormat::TwoVuy, row.span(), Channel::Luma, 0, packetSamples(0x41, 0x07, inner));
    const auto views = read(row.span(), {.format = RowFormat::TwoVuy});
    ASSERT_EQ(views.size(), 1U);
    EXPECT_EQ(dataOf(views[0]), inner);
}

TEST(AncRow, SaysAPacketThatTheRowsEndCuts) {
    for (std::size_t there = 3; there < 11; ++there) {
        ExactBuffer row(blankRow(RowFormat::V210, 720, RowPadding::None));
        auto words = packetSamples(0x61, 0x01, kBytes);
        words.resize(there);
        putWords(RowFormat::V210, row.span(), Channel::Luma, 720 - there, words);
        Findings findings;
        EXPECT_TRUE(read(row.span(), {}, &findings).empty());
        ASSERT_EQ(findings.size(), 1U) << there;
        EXPECT_EQ(findings[0].code, FindingCode::AncPacketCut);
        EXPECT_EQ(findings[0].severity, Severity::Error);
        EXPECT_EQ(findings[0].first, there < 6 ? 7 : 11);
        EXPECT_EQ(findings[0].second, static_cast<std::int64_t>(there));
        EXPECT_EQ(findings[0].offset, (2 * (720 - there) + 1) / 3 * 4);
    }
}

TEST(AncRow, FindsAPacketInsideOneThatTheRowsEndCuts) {
    ExactBuffer row(blankRow(RowFormat::V210, 720, RowPadding::None));
    auto cut = packetSamples(0x41, 0x05, kBytes);
    cut[5] = qlxtest::parityWord(255);
    putWords(RowFormat::V210, row.span(), Channel::Luma, 600, cut);
    putWords(RowFormat::V210, row.span(), Channel::Luma, 611, packetSamples(0x61, 0x01, kBytes));
    Findings findings;
    const auto views = read(row.span(), {}, &findings);
    ASSERT_EQ(views.size(), 1U);
    EXPECT_EQ(views[0].id(), ids::kCdp);
    ASSERT_EQ(findings.size(), 1U);
    EXPECT_EQ(findings[0].text(), "packet of 262 words, of which 120 are on the row");
}

TEST(AncRow, SaysAGapBetweenPackets) {
    ExactBuffer row(blankRow(RowFormat::TwoVuy, 720));
    putWords(RowFormat::TwoVuy, row.span(), Channel::Luma, 0, packetSamples(0x61, 0x01, kBytes));
    putWords(RowFormat::TwoVuy, row.span(), Channel::Luma, 12, packetSamples(0x61, 0x01, kBytes));
    Findings findings;
    EXPECT_EQ(read(row.span(), {.format = RowFormat::TwoVuy}, &findings).size(), 2U);
    EXPECT_EQ(found(findings),
              (std::vector<Finding>{{FindingCode::AncPacketNotContiguous, Severity::Remark, 25, 12, 11}}));
}

TEST(AncRow, SearchesOnlyTheBeginningOnRequest) {
    for (const Kind& kind : kKinds) {
        const RowOptions options{.format = kind.format, .channels = kind.channels, .extent = Extent::Beginning};
        EXPECT_EQ(read(rowWith(kind, 7).span(), options).size(), 1U);
        EXPECT_TRUE(read(rowWith(kind, 8).span(), options).empty());
        // Packets that follow one another from there on are at the beginning, however many they are.
        ExactBuffer row = rowWith(kind, 0);
        putWords(kind.format, row.span(), kind.channel, 11,
                 packetSamples(0x61, 0x01, std::vector<std::uint8_t>(90, 1)));
        putWords(kind.format, row.span(), kind.channel, 108, packetSamples(0x61, 0x01, kBytes));
        putWords(kind.format, row.span(), kind.channel, 127, packetSamples(0x61, 0x01, kBytes));
        EXPECT_EQ(read(row.span(), options).size(), 3U);
    }
}

TEST(AncRow, ReadsNothingBehindItsWidth) {
    const ExactBuffer row = rowWith(kKinds[0], 700, 1280);
    EXPECT_EQ(read(row.span(), {.width = 1280}).size(), 1U);
    Findings findings;
    EXPECT_TRUE(read(row.span(), {.width = 710}, &findings).empty());
    ASSERT_EQ(findings.size(), 1U);
    EXPECT_EQ(findings[0].text(), "packet of 11 words, of which 10 are on the row");
    EXPECT_EQ(read(row.span(), {.width = 711}).size(), 1U);  // A whole pair.
}

TEST(AncRow, ReadsTheRowsOfAFrame) {
    const std::size_t stride = rowBytes(RowFormat::V210, 720);
    ASSERT_EQ(stride, 1920U);
    std::vector<std::uint8_t> rows;
    for (int line = 0; line < 5; ++line) {
        const ExactBuffer row = line % 2 == 0 ? rowWith(kKinds[0], 2) : ExactBuffer(blankRow(RowFormat::V210, 720));
        rows.insert(rows.end(), row.span().begin(), row.span().end());
    }
    const ExactBuffer frame(rows);
    Findings findings;
    std::vector<std::uint32_t> lines;
    for (const PacketView packet : packetsOfRows(frame.span(), stride, {.line = 9}, &findings)) {
        lines.push_back(packet.line());
        EXPECT_EQ(dataOf(packet), kBytes);
    }
    EXPECT_EQ(lines, (std::vector<std::uint32_t>{9, 11, 13}));
    ASSERT_EQ(findings.size(), 3U);
    EXPECT_EQ(findings[2].offset, 4 * stride + 4);
}

TEST(AncRow, ReadsAFrameWhoseLastRowIsNotPadded) {
    std::vector<std::uint8_t> rows = blankRow(RowFormat::V210, 1280);
    ASSERT_EQ(rows.size(), 3456U);
    const std::vector<std::uint8_t> last = rowWith(kKinds[0], 2, 1280).vector();
    rows.insert(rows.end(), last.begin(), last.begin() + 3424);
    const ExactBuffer frame(rows);
    Findings findings;
    const auto range = packetsOfRows(frame.span(), 3456, {.line = 1, .width = 1280}, &findings);
    auto packet = range.begin();
    ASSERT_FALSE(packet == range.end());
    EXPECT_EQ(packet->line(), 2U);
    packet++;
    EXPECT_TRUE(packet == range.end());
    EXPECT_EQ(findings.size(), 1U);
}

TEST(AncRow, SaysRowsThatAreTooShort) {
    const ExactBuffer row = rowWith(kKinds[0], 0);
    Findings findings;
    EXPECT_EQ(read(row.span(), {.width = 1920}, &findings).size(), 1U);
    EXPECT_EQ(found(findings), (std::vector<Finding>{{FindingCode::AncRowTooShort, Severity::Warning, 0, 5120, 1920}}));
    EXPECT_EQ(findings[0].text(), "row of 1920 bytes, 5120 are needed");
    findings.clear();
    const auto range = packetsOfRows(row.span(), 0, {}, &findings);
    EXPECT_TRUE(range.begin() == range.end());
    ASSERT_EQ(findings.size(), 1U);
    EXPECT_EQ(findings[0].code, FindingCode::AncRowTooShort);
    EXPECT_EQ(findings[0].severity, Severity::Error);
    EXPECT_TRUE(read({}, {}).empty());
}

TEST(AncRow, ReadsAsAPlainReaderAtEveryLength) {
    for (const Kind& kind : kKinds) {
        ExactBuffer row = rowWith(kind, 1, 96);
        putWords(kind.format, row.span(), kind.channel, 14, packetSamples(0x60, 0x60, kBytes));
        const RowOptions options{.format = kind.format, .channels = kind.channels};
        EXPECT_EQ(read(row.span(), options).size(), 2U);
        qlxtest::forEachTruncation(row.span(), [&](const ExactBuffer& shorter) {
            ASSERT_TRUE(qlxtest::readsAlike(shorter.span(), options)) << shorter.size();
        });
    }
}

TEST(AncRow, ReadsAsAPlainReaderAmongNearMisses) {
    std::mt19937 random(3);
    constexpr std::uint16_t kAlphabet[] = {0x000, 0x3FF, 0x3FF, 0x3FF, 0x000, 0x001, 0x3FC, 0x101,
                                           0x200, 0x102, 0x203, 0x104, 0x040, 0x010, 0x080};
    for (int round = 0; round < 6'000; ++round) {
        const RowOptions options{.format = random() % 2 == 0 ? RowFormat::V210 : RowFormat::TwoVuy,
                                 .line = static_cast<std::uint32_t>(random() % 100),
                                 .channels = static_cast<Channels>(random() % 4),
                                 .extent = static_cast<Extent>(random() % 4 == 0 ? 1 : 0),
                                 .protectedFlags = random() % 2 == 0,
                                 .width = random() % 2 == 0 ? 0 : random() % 100};
        ExactBuffer row(blankRow(options.format, random() % 90, static_cast<RowPadding>(random() % 2)));
        const std::size_t samples = options.format == RowFormat::V210 ? row.size() / 4 * 3 : row.size();
        for (std::size_t sample = 0; sample < samples; ++sample) {
            qlxtest::setRowSample(options.format, row.span(), sample, kAlphabet[random() % std::size(kAlphabet)]);
        }
        ASSERT_TRUE(qlxtest::readsAlike(row.span(), options)) << round;
    }
}
