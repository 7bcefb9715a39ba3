#include <qlx/anc/row.h>

#include "ExactBuffer.h"
#include "Sanitized.h"
#include "SlowRowReader.h"

#include <gtest/gtest.h>

#include <ostream>
#include <random>

namespace {

using namespace qlx::anc;
using qlx::Finding;
using qlx::FindingCode;
using qlx::Findings;
using qlx::Severity;
using qlxtest::ExactBuffer;
using qlxtest::packetSamples;
using qlxtest::putWords;

struct Case {
    RowFormat format;
    Channel channel;
    Channels channels;
    std::size_t width;
};

/// Its bytes, which would be shown otherwise, are not all written.
void PrintTo(const Case& one, std::ostream* out) {
    *out << static_cast<int>(one.format) << ' ' << static_cast<int>(one.channel) << ' '
         << static_cast<int>(one.channels) << ' ' << one.width;
}

class AncRowPairs : public testing::TestWithParam<Case> {};

std::vector<std::uint8_t> someBytes(std::size_t count, unsigned first) {
    std::vector<std::uint8_t> bytes(count);
    for (std::size_t index = 0; index < count; ++index) {
        bytes[index] = static_cast<std::uint8_t>(first + 37 * index);
    }
    return bytes;
}

/// True when the view is of such a packet, all of it right.
bool isOf(const PacketView& view, std::size_t at, const PacketContentView& packet) {
    std::array<std::uint8_t, kGreatestUserData> room{};
    const auto data = view.userData(room);
    return view.horizontalOffset() == at && view.did() == packet.did && view.sdid() == packet.sdid &&
           view.checksum() == Status::Right && view.parity() != Status::Wrong &&
           std::equal(data.begin(), data.end(), packet.userData.begin(), packet.userData.end());
}

/// True when the row has these two packets and nothing else.
bool hasBoth(std::span<const std::uint8_t> row, const RowOptions& options, const PacketContentView& first,
             const PacketContentView& second) {
    Findings findings;
    const PacketRange range = packets(row, options, &findings);
    PacketIterator packet = range.begin();
    if (packet == range.end() || !isOf(*packet, 0, first)) {
        return false;
    }
    ++packet;
    if (packet == range.end() || !isOf(*packet, packetWords(first.userData.size()), second)) {
        return false;
    }
    ++packet;
    return packet == range.end() && findings.empty();
}

}  // namespace

TEST_P(AncRowPairs, AreReadBackForAllSizes) {
    const Case& one = GetParam();
    const std::vector<std::uint8_t> blank = blankRow(one.format, one.width);
    const std::vector<std::uint8_t> firstBytes = someBytes(kGreatestUserData, 1);
    const std::vector<std::uint8_t> secondBytes = someBytes(kGreatestUserData, 200);
    const RowWriteOptions writing{.format = one.format, .channel = one.channel, .width = one.width};
    const RowOptions reading{.format = one.format, .channels = one.channels, .width = one.width};
    // Every size, or steps to the greatest one at which a packet ends at each place of a group of v210 words.
    constexpr auto kStep = qlxtest::countFor<std::size_t>(1, 5);
    static_assert(kGreatestUserData % kStep == 0);
    std::vector<std::uint8_t> row;
    for (std::size_t a = 0; a <= kGreatestUserData; a += kStep) {
        for (std::size_t b = 0; b <= kGreatestUserData; b += kStep) {
            row = blank;
            const PacketContentView first{0x61, 0x01, {firstBytes.data(), a}};
            const PacketContentView second{0x43, 0x02, {secondBytes.data(), b}};
            const auto firstPlace = appendPacket(row, first, writing);
            const auto secondPlace = appendPacket(row, second, writing);
            ASSERT_TRUE(firstPlace && *firstPlace == 0) << a << " and " << b;
            ASSERT_TRUE(secondPlace && *secondPlace == a + 7) << a << " and " << b;
            ASSERT_TRUE(hasBoth(row, reading, first, second)) << a << " and " << b;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Rows, AncRowPairs,
                         testing::Values(Case{RowFormat::V210, Channel::Luma, Channels::Luma, 720},
                                         Case{RowFormat::V210, Channel::Chroma, Channels::Chroma, 720},
                                         Case{RowFormat::V210, Channel::SdMultiplex, Channels::SdMultiplex, 720},
                                         Case{RowFormat::V210, Channel::Luma, Channels::Both, 1920},
                                         Case{RowFormat::V210, Channel::Chroma, Channels::Both, 1920},
                                         Case{RowFormat::V210, Channel::SdMultiplex, Channels::SdMultiplex, 1920},
                                         Case{RowFormat::TwoVuy, Channel::Luma, Channels::Luma, 720},
                                         Case{RowFormat::TwoVuy, Channel::Chroma, Channels::Chroma, 720},
                                         Case{RowFormat::TwoVuy, Channel::SdMultiplex, Channels::SdMultiplex, 720},
                                         Case{RowFormat::TwoVuy, Channel::Luma, Channels::Both, 1920},
                                         Case{RowFormat::TwoVuy, Channel::Chroma, Channels::Both, 1920},
                                         Case{RowFormat::TwoVuy, Channel::SdMultiplex, Channels::SdMultiplex, 1920}));

TEST(AncRowWriter, PutsTheWordsOfThePacketsAndChangesNothingElse) {
    std::mt19937 random(5);
    for (int round = 0; round < 600; ++round) {
        const auto format = static_cast<RowFormat>(random() % 2);
        const auto channel = static_cast<Channel>(random() % 3);
        const std::size_t width = 2 * (30 + random() % 200);
        // Legal video everywhere, and ones in the bits that no sample has.
        ExactBuffer row = ExactBuffer::filled(rowBytes(format, width), 0xFF);
        const std::size_t samples = format == RowFormat::V210 ? row.size() / 4 * 3 : row.size();
        for (std::size_t sample = 0; sample < samples; ++sample) {
            qlxtest::setRowSample(format, row.span(), sample, static_cast<std::uint16_t>(4 + random() % 248));
        }
        const auto first = someBytes(random() % 20, static_cast<unsigned>(random() % 256));
        const auto second = someBytes(random() % 20, static_cast<unsigned>(random() % 256));
        std::vector<std::uint16_t> words = packetSamples(0x61, 0x01, first);
        const auto more = packetSamples(0xF4, 0x68, second);
        words.insert(words.end(), more.begin(), more.end());
        ExactBuffer expected(row.span());
        putWords(format, expected.span(), channel, 0, words);
        const PacketContentView both[] = {{0x61, 0x01, first}, {0xF4, 0x68, second}};
        const auto place = appendPackets(row.span(), both, {.format = format, .channel = channel, .width = width});
        ASSERT_TRUE(place && *place == 0);
        ASSERT_EQ(qlxtest::toHex(row.span()), qlxtest::toHex(expected.span()));
    }
}

TEST(AncRowWriter, FillsRowsOfOddWidthUpToTheirLastPair) {
    // 31 pixels: 16 pairs, in six groups of v210 of which the last one is begun.
    for (const std::size_t width :
         {std::size_t{1}, std::size_t{7}, std::size_t{29}, std::size_t{31}, std::size_t{719}}) {
        for (const Channel channel : {Channel::Luma, Channel::Chroma, Channel::SdMultiplex}) {
            const std::size_t words = (width + 1) / 2 * 2 * (channel == Channel::SdMultiplex ? 2 : 1);
            const RowWriteOptions options{.format = RowFormat::V210, .channel = channel, .width = width};
            // No more bytes than the pairs take.
            ExactBuffer row(blankRow(RowFormat::V210, width + 1, RowPadding::None));
            const ExactBuffer blank(row.span());
            const std::size_t fits = std::min<std::size_t>(words < 7 ? 0 : words - 7, kGreatestUserData);
            const auto data = someBytes(fits, 3);
            const auto tooMuch = someBytes(fits + 1, 3);
            if (fits < kGreatestUserData) {
                const auto refused = appendPacket(row.span(), {0x61, 0x01, tooMuch}, options);
                ASSERT_FALSE(refused && words >= 7);
                EXPECT_EQ(qlxtest::toHex(row.span()), qlxtest::toHex(blank.span()));
            }
            if (words < 7) {
                continue;
            }
            const auto place = appendPacket(row.span(), {0x61, 0x01, data}, options);
            ASSERT_TRUE(place && *place == 0) << width;
            ExactBuffer expected(blank.span());
            putWords(RowFormat::V210, expected.span(), channel, 0, packetSamples(0x61, 0x01, data));
            EXPECT_EQ(qlxtest::toHex(row.span()), qlxtest::toHex(expected.span())) << width;
            const Channels channels = channel == Channel::Luma     ? Channels::Luma
                                      : channel == Channel::Chroma ? Channels::Chroma
                                                                   : Channels::SdMultiplex;
            std::size_t found = 0;
            for (const PacketView view :
                 packets(row.span(), {.format = RowFormat::V210, .channels = channels, .width = width})) {
                EXPECT_EQ(view.toPacket().userData, data);
                EXPECT_EQ(view.checksum(), Status::Right);
                ++found;
            }
            EXPECT_EQ(found, 1U) << width;
        }
    }
}

TEST(AncRowWriter, GoesBehindADamagedPacketThroughItsDataCount) {
    ExactBuffer row(blankRow(RowFormat::V210, 720));
    auto damaged = packetSamples(0x61, 0x01, someBytes(9, 1));
    damaged.back() = static_cast<std::uint16_t>(damaged.back() ^ 0x02U);
    putWords(RowFormat::V210, row.span(), Channel::Luma, 4, damaged);
    const auto place = appendPacket(row.span(), {0x41, 0x05, {}});
    ASSERT_TRUE(place);
    EXPECT_EQ(*place, 20U);
}

TEST(AncRowWriter, LeavesTheOtherChannelOutOfAccount) {
    ExactBuffer row(blankRow(RowFormat::V210, 720));
    ASSERT_TRUE(appendPacket(row.span(), {0x61, 0x01, {}}, {.channel = Channel::Chroma}));
    const auto place = appendPacket(row.span(), {0x41, 0x05, {}}, {.channel = Channel::Luma});
    ASSERT_TRUE(place);
    EXPECT_EQ(*place, 0U);
}

TEST(AncRowWriter, RefusesWholeWhatDoesNotFit) {
    // 48 words a channel; 40 and 8 fit, one word more does not.
    for (const RowFormat format : {RowFormat::V210, RowFormat::TwoVuy}) {
        ExactBuffer row(blankRow(format, 48));
        const auto bytes = someBytes(34, 3);
        const std::span<const std::uint8_t> all(bytes);
        const PacketContentView tooMany[] = {{0x61, 0x01, all}, {0x43, 0x02, all.first(1)}};
        const std::vector<std::uint8_t> before = row.vector();
        const auto refused = appendPackets(row.span(), tooMany, {.format = format});
        ASSERT_FALSE(refused);
        EXPECT_EQ(refused.error(), (Finding{FindingCode::AncPacketDoesNotFit, Severity::Error,
                                            format == RowFormat::V210 ? 0U : 1U, 49, 48}));
        EXPECT_EQ(refused.error().text(), "packets of 49 words do not fit: 48 are free");
        EXPECT_EQ(row.vector(), before);
        const PacketContentView fits[] = {{0x61, 0x01, all}, {0x43, 0x02, {}}};
        EXPECT_TRUE(appendPackets(row.span(), fits, {.format = format}));
        EXPECT_FALSE(appendPacket(row.span(), {0x43, 0x02, {}}, {.format = format}));
    }
}

TEST(AncRowWriter, LeavesThePaddingAlone) {
    // 1280 pixels: 2560 samples, and room for 32 more in 3456 bytes.
    ExactBuffer row(blankRow(RowFormat::V210, 1280));
    const auto bytes = someBytes(255, 3);
    for (int packet = 0; packet < 4; ++packet) {
        ASSERT_TRUE(appendPacket(row.span(), {0x61, 0x01, bytes}, {.width = 1280}));
    }
    const std::span<const std::uint8_t> all(bytes);
    EXPECT_FALSE(appendPacket(row.span(), {0x61, 0x01, all.first(226)}, {.width = 1280}));
    EXPECT_TRUE(appendPacket(row.span(), {0x61, 0x01, all.first(225)}, {.width = 1280}));
    for (std::size_t byte = 3424; byte < row.size(); ++byte) {
        EXPECT_EQ(row[byte], 0);
    }
}

TEST(AncRowWriter, LeavesNoRoomBehindAPacketThatTheRowsEndCuts) {
    ExactBuffer row(blankRow(RowFormat::V210, 720));
    auto cut = packetSamples(0x61, 0x01, someBytes(255, 1));
    cut.resize(20);
    putWords(RowFormat::V210, row.span(), Channel::Luma, 700, cut);
    const auto refused = appendPacket(row.span(), {0x41, 0x05, {}});
    ASSERT_FALSE(refused);
    EXPECT_EQ(refused.error().second, 0);
}

TEST(AncRowWriter, RefusesShortRowsAndTooManyWords) {
    ExactBuffer row(blankRow(RowFormat::V210, 720));
    const auto shortRow = appendPacket(row.span(), {0x41, 0x05, {}}, {.width = 1920});
    ASSERT_FALSE(shortRow);
    EXPECT_EQ(shortRow.error(), (Finding{FindingCode::AncRowTooShort, Severity::Error, 0, 5120, 1920}));
    const auto bytes = someBytes(256, 3);
    const auto tooMany = appendPacket(row.span(), {0x41, 0x05, bytes});
    ASSERT_FALSE(tooMany);
    EXPECT_EQ(tooMany.error(), (Finding{FindingCode::AncTooManyUserDataWords, Severity::Error, 0, 256, 255}));
    EXPECT_EQ(tooMany.error().text(), "256 user data words, a packet has at most 255");
    EXPECT_EQ(row.vector(), blankRow(RowFormat::V210, 720));
    EXPECT_FALSE(appendPacket({}, {0x41, 0x05, {}}));
}

TEST(AncPacketWords, AreWrittenWithParityAndChecksum) {
    const auto bytes = someBytes(255, 9);
    for (std::size_t count = 0; count <= 255; ++count) {
        const Packet packet{.did = 0x61, .sdid = 0x01, .userData = {bytes.data(), bytes.data() + count}};
        std::vector<std::uint16_t> words(count + 7);
        const auto written = writeWords(packet, words);
        ASSERT_TRUE(written && *written == count + 7);
        ASSERT_EQ(words, packetSamples(0x61, 0x01, packet.userData));
        words.resize(count + 6);
        const auto refused = writeWords(packet, words);
        ASSERT_FALSE(refused);
        EXPECT_EQ(refused.error(),
                  (Finding{FindingCode::OutputTooSmall, Severity::Error, 0, static_cast<std::int64_t>(2 * count + 14),
                           static_cast<std::int64_t>(2 * count + 12)}));
    }
    std::array<std::uint16_t, 300> room{};
    const auto tooMany = writeWords({0x61, 0x01, someBytes(256, 0)}, room);
    ASSERT_FALSE(tooMany);
    EXPECT_EQ(tooMany.error().code, FindingCode::AncTooManyUserDataWords);
}

TEST(AncBlankRow, HasTheBytesOfItsFormat) {
    EXPECT_EQ(rowBytes(RowFormat::V210, 1920), 5120U);
    EXPECT_EQ(rowBytes(RowFormat::V210, 1280), 3456U);
    EXPECT_EQ(rowBytes(RowFormat::V210, 1280, RowPadding::None), 3424U);
    EXPECT_EQ(rowBytes(RowFormat::V210, 720), 1920U);
    EXPECT_EQ(rowBytes(RowFormat::V210, 1), 128U);
    EXPECT_EQ(rowBytes(RowFormat::V210, 0), 0U);
    EXPECT_EQ(rowBytes(RowFormat::TwoVuy, 1920), 3840U);
    EXPECT_EQ(rowBytes(RowFormat::TwoVuy, 719), 1440U);
    // Words 20010200 and 04080040.
    EXPECT_EQ(qlxtest::toHex(blankRow(RowFormat::V210, 6, RowPadding::None)), "00020120400008040002012040000804");
    EXPECT_EQ(qlxtest::toHex(blankRow(RowFormat::TwoVuy, 3)), "8010801080108010");
    const auto padded = blankRow(RowFormat::V210, 6);
    EXPECT_EQ(qlxtest::toHex(std::span(padded).subspan(16)), std::string(224, '0'));
}

TEST(AncBlankRow, FillsARowThatIsLargeEnough) {
    ExactBuffer row = ExactBuffer::filled(10, 0xEE);
    const auto filled = fillBlank(row.span(), RowFormat::TwoVuy, 4);
    ASSERT_TRUE(filled);
    EXPECT_EQ(*filled, 8U);
    EXPECT_EQ(qlxtest::toHex(row.span()), "80108010801080100000");
    const auto refused = fillBlank(row.span(), RowFormat::V210, 4);
    ASSERT_FALSE(refused);
    EXPECT_EQ(refused.error(), (Finding{FindingCode::OutputTooSmall, Severity::Error, 0, 16, 10}));
}
