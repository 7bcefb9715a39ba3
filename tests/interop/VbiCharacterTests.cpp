// The character sets of the core beside those of libzvbi: packets that the core makes, decoded by the library.
#include <gtest/gtest.h>

#ifndef QLX_HAVE_LIBZVBI

TEST(VbiCharacters, NeedLibzvbi) {
    GTEST_SKIP() << "libzvbi was not found when the tests were configured: the package is libzvbi-dev";
}

#else

#include "AncBytes.h"
#include "TeletextTexts.h"
#include "ToolRunner.h"
#include "VbiLetters.h"

#include <qlx/base/utf8.h>
#include <qlx/teletext/characters.h>
#include <qlx/teletext/packet.h>
#include <qlx/teletext/sdp.h>

#include <libzvbi.h>

#include <algorithm>
#include <map>
#include <memory>
#include <set>
#include <utility>
#include <vector>

namespace {

using namespace qlx::teletext;

/// The library as the receiver of page 100, its default sets those of a region.
class Receiver {
public:
    explicit Receiver(unsigned region) : _decoder(vbi_decoder_new(), &vbi_decoder_delete) {
        // Teletext is decoded for those who want its pages.
        (void)vbi_event_handler_register(
            _decoder.get(), VBI_EVENT_TTX_PAGE, [](vbi_event*, void*) {}, nullptr);
        vbi_teletext_set_default_region(_decoder.get(), static_cast<int>(region));
    }

    void take(const qlx::Result<Packet>& packet) {
        ASSERT_TRUE(packet);
        vbi_sliced sliced{};
        sliced.id = VBI_SLICED_TELETEXT_B;
        sliced.line = 10;
        const auto size = writePacket(*packet, std::span(sliced.data).first<kPacketBytes>(), PacketForm::Address);
        ASSERT_TRUE(size && *size == kPacketBytes);
        vbi_decode(_decoder.get(), &sliced, 1, _time += 0.04);
    }

    /// The first `count` characters of a row, from a column on.
    std::u32string row(std::size_t row, std::size_t count, vbi_wst_level level, int number = 0x100,
                       std::size_t first = 0) {
        auto page = std::make_unique<vbi_page>();
        if (!vbi_fetch_vt_page(_decoder.get(), page.get(), number, VBI_ANY_SUBNO, level, 25, FALSE)) {
            return U"no page";
        }
        std::u32string text;
        for (std::size_t column = first; column < first + count; ++column) {
            text += static_cast<char32_t>(page->text[row * static_cast<std::size_t>(page->columns) + column].unicode);
        }
        vbi_unref_page(page.get());
        return text;
    }

private:
    std::unique_ptr<vbi_decoder, decltype(&vbi_decoder_delete)> _decoder;
    double _time = 0.0;
};

PageHeader pageHeader(unsigned option) {
    return {.page = 0x100, .subcode = 0, .erasesPage = true, .nationalOption = static_cast<std::uint8_t>(option)};
}

const qlx::Result<Packet> kEnd = packetOf(PageHeader{.page = 0x1FF});

TEST(VbiCharacters, AreTheSameInEachNationalOption) {
    std::set<NationalOption> seen;
    for (unsigned designation = 0; designation < 128; ++designation) {
        const auto option = nationalOptionOf(static_cast<std::uint8_t>(designation));
        if (!option) {
            continue;
        }
        seen.insert(*option);
        Receiver receiver(designation & ~7U);
        receiver.take(packetOf(pageHeader(designation & 7U)));
        receiver.take(rowPacket(1, 1, kNationalCodes));
        receiver.take(kEnd);
        std::u32string expected(nationalCharacters(*option));
        qlxtest::drawLetters(expected, qlxtest::drawnLetters(*option));
        EXPECT_EQ(receiver.row(1, kNationalCodes.size(), VBI_WST_LEVEL_1), expected) << "designation " << designation;
    }
    EXPECT_EQ(seen.size(), kNationalOptions);
}

TEST(VbiCharacters, AreTheSameInG2) {
    // Twelve characters a packet, each packet's in a row of its own.
    constexpr std::size_t kInRow = TripletPacket::kTriplets - 1;
    constexpr unsigned kFirstRowAddress = 40;
    constexpr unsigned kSetActivePosition = 0x04;
    constexpr unsigned kG2Character = 0x0F;
    Receiver receiver(0);
    receiver.take(packetOf(pageHeader(0)));
    const std::vector<std::uint8_t> letters(kDataBytes, 'x');
    for (std::uint8_t row = 1; row <= 8; ++row) {
        receiver.take(rowPacket(1, row, letters));
    }
    for (std::uint8_t row = 1; row <= 8; ++row) {
        TripletPacket packet{.magazine = 1, .designation = static_cast<std::uint8_t>(row - 1)};
        packet.triplets[0] = Triplet::make(kFirstRowAddress + row, kSetActivePosition, 0);
        for (unsigned column = 0; column < kInRow; ++column) {
            const unsigned code = 0x20 + (row - 1U) * static_cast<unsigned>(kInRow) + column;
            packet.triplets[column + 1] = Triplet::make(column, kG2Character, code);
        }
        receiver.take(packetOf(packet));
    }
    receiver.take(kEnd);
    std::map<unsigned, std::pair<char32_t, char32_t>> differences;
    for (std::uint8_t row = 1; row <= 8; ++row) {
        const std::u32string theirs = receiver.row(row, kInRow, VBI_WST_LEVEL_1p5);
        for (std::size_t column = 0; column < kInRow; ++column) {
            const auto code =
                static_cast<std::uint8_t>(0x20 + (row - 1) * static_cast<int>(kInRow) + static_cast<int>(column));
            if (latinG2(code) != theirs[column]) {
                differences[code] = {latinG2(code), theirs[column]};
            }
        }
    }
    // The library has the marks as characters of their own, spaces where there is nothing, and takes other characters of
    // the same form for the horizontal bar, the alpha and the D with a stroke.
    const std::map<unsigned, std::pair<char32_t, char32_t>> expected{
        {0x40, {U'\0', U' '}},          {0x41, {U'\u0300', U'\u02CB'}}, {0x42, {U'\u0301', U'\u02CA'}},
        {0x43, {U'\u0302', U'\u02C6'}}, {0x44, {U'\u0303', U'\u02DC'}}, {0x45, {U'\u0304', U'\u02C9'}},
        {0x46, {U'\u0306', U'\u02D8'}}, {0x47, {U'\u0307', U'\u02D9'}}, {0x48, {U'\u0308', U'\u00A8'}},
        {0x49, {U'\u0323', U'.'}},      {0x4A, {U'\u030A', U'\u02DA'}}, {0x4B, {U'\u0327', U'\u02CF'}},
        {0x4C, {U'\u0332', U'\u02CD'}}, {0x4D, {U'\u030B', U'\u02DD'}}, {0x4E, {U'\u0328', U'\u02DB'}},
        {0x4F, {U'\u030C', U'\u02C7'}}, {0x50, {U'\u2015', U'\u2014'}}, {0x58, {U'\u03B1', U'\u0251'}},
        {0x59, {U'\0', U' '}},          {0x5A, {U'\0', U' '}},          {0x5B, {U'\0', U' '}},
        {0x62, {U'\u0110', U'\u00D0'}}, {0x65, {U'\0', U' '}}};
    EXPECT_EQ(differences, expected);
}

TEST(VbiCharacters, AreThoseOfTheTextsOfEveryLanguage) {
    std::size_t rowsSeen = 0;
    for (const auto& [language, rows] : qlxtest::languageLetters()) {
        const std::uint8_t designation = *designationOf(language);
        const CharacterSet set = *characterSetOf(designation);
        if (set.g0 == G0Set::Arabic) {
            continue;  // in codes of its own
        }
        Receiver receiver(0);
        for (const Packet& packet : qlxtest::pagePackets(rows, designation)) {
            receiver.take(packet);
        }
        for (std::size_t row = 0; row < rows.size(); ++row, ++rowsSeen) {
            std::u32string expected;
            for (const DisplayCell& cell : displayCells(rows[row], set)) {
                expected += cell.character;
            }
            qlxtest::drawLetters(expected, qlxtest::drawnLetters(set));
            const std::u32string shown = receiver.row(row + 1, expected.size(), VBI_WST_LEVEL_1p5, 0x888, 2);
            EXPECT_TRUE(shown == expected) << language << ", row " << row + 1;
        }
    }
    EXPECT_GT(rowsSeen, 60U);
}

/// Cues of a second each, the first one at 1 s, as subtitles in JSON.
std::string jsonCues(const std::vector<std::u32string_view>& rows) {
    std::string json = "[";
    for (std::size_t row = 0; row < rows.size(); ++row) {
        std::string text;
        for (const char32_t letter : rows[row]) {
            text += letter == U'"' || letter == U'\\' ? "\\" : "";
            qlx::appendUtf8(text, letter);
        }
        json += (row == 0 ? "" : ",") + std::string(R"({"start_time_seconds":)") + std::to_string(row + 1) +
                R"(,"end_time_seconds":)" + std::to_string(row + 2) + R"(,"text_lines":[{"text":")" + text + "\"}]}";
    }
    return json + "]";
}

/// The teletext packets in a line of jsonl.
std::vector<Packet> packetsIn(const std::string& line) {
    std::vector<Packet> packets;
    const std::string kData = "\"data\":\"";
    for (std::size_t at = line.find(kData); at != std::string::npos; at = line.find(kData, at + 1)) {
        const std::size_t begin = at + kData.size();
        const auto sdp = parseSdp(qlxtest::fromHex(line.substr(begin, line.find('"', begin) - begin)));
        EXPECT_TRUE(sdp);
        for (std::size_t index = 0; sdp && index < sdp->lines.size(); ++index) {
            packets.push_back(*parsePacket(sdp->lines[index].bytes));
        }
    }
    return packets;
}

TEST(VbiCharacters, AreThoseThatPlaySendsInEveryLanguage) {
    const qlxtest::TemporaryFolder folder;
    std::size_t rowsSeen = 0;
    std::size_t languagesSeen = 0;
    for (const auto& [language, rows] : qlxtest::languageLetters()) {
        const CharacterSet set = *characterSetOf(*designationOf(language));
        if (set.g0 == G0Set::Arabic) {
            continue;  // in codes of its own
        }
        ++languagesSeen;
        const qlxtest::ToolResult played =
            qlxtest::runTool({"play", folder.write("in.json", jsonCues(rows)), "--mode", "teletext", "--rate", "25",
                              "--language", std::string(language), "--to-format", "jsonl"});
        ASSERT_EQ(played.exitCode, 0) << played.err;
        Receiver receiver(0);
        const std::vector<std::string> frames = qlxtest::linesOf(played.out);
        for (std::size_t frame = 0; frame < frames.size(); ++frame) {
            for (const Packet& packet : packetsIn(frames[frame])) {
                receiver.take(packet);
            }
            const std::size_t row = frame / 25 - 1;
            if (frame < 25 || frame % 25 != 12 || row >= rows.size()) {
                continue;
            }
            std::u32string expected;
            for (const DisplayCell& cell : displayCells(rows[row], set)) {
                expected += cell.character;
            }
            qlxtest::drawLetters(expected, qlxtest::drawnLetters(set));
            // In the middle of the row, behind double height and the two codes of the box.
            const std::size_t column = std::max<std::size_t>(3, (40 - expected.size()) / 2);
            const std::u32string shown = receiver.row(22, expected.size(), VBI_WST_LEVEL_1p5, 0x888, column);
            EXPECT_TRUE(shown == expected) << language << ", row " << row + 1 << ": " << played.err;
            ++rowsSeen;
        }
    }
    EXPECT_GE(languagesSeen, 25U);
    EXPECT_GT(rowsSeen, 60U);
}

}  // namespace

#endif
