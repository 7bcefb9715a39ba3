// Comments and user data of EBU STL files: kept with cues, and written back.
#include "STLFile.h"

#include <qlx/subtitles/stl_reader.h>
#include <qlx/subtitles/stl_writer.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace stl_kept_tests {
namespace {

using namespace qlx::subtitles;
using enum qlx::FindingCode;
using qlx::FindingCode;
using qlxtest::STLBlock;
using Bytes = std::vector<std::uint8_t>;
using Codes = std::vector<FindingCode>;

struct Kept {
    Gsi gsi;
    std::vector<Cue> cues;
    Codes codes;
};

Kept read(const std::string& file, bool keepsBlocks = true) {
    Kept result;
    qlx::Findings findings;
    const Bytes bytes(file.begin(), file.end());
    auto reader = StlReader::open(bytes, &findings, {.keepsBlocks = keepsBlocks});
    EXPECT_TRUE(reader);
    if (reader) {
        result.gsi = reader->gsi();
        while (const Cue* const cue = reader->next()) {
            result.cues.push_back(*cue);
        }
    }
    for (const qlx::Finding& finding : findings) {
        // Fields of the head that nobody filled in, and codes of boxes.
        if (finding.offset >= kGsiBytes && finding.code != StlCodesPassed) {
            result.codes.push_back(finding.code);
        }
    }
    return result;
}

struct Written {
    std::string blocks;
    Codes codes;
    std::string blockCount;
    std::string subtitleCount;
    std::string groupCount;
};

Written write(const std::vector<Cue>& cues, const Gsi& gsi) {
    StlWriterOptions options;
    options.gsi = gsi;
    options.isDoubleHeight = false;
    qlx::Findings findings;
    StlWriter writer(options, &findings);
    Bytes blocks;
    for (const Cue& cue : cues) {
        EXPECT_TRUE(writer.write(cue, blocks));
    }
    const Gsi written = writer.finish(blocks);
    Written result{{blocks.begin(), blocks.end()},
                   {},
                   std::string(written.blockCount.text()),
                   std::string(written.subtitleCount.text()),
                   std::string(written.groupCount.text())};
    for (const qlx::Finding& finding : findings) {
        result.codes.push_back(finding.code);
    }
    return result;
}

Bytes text(std::string_view letters) {
    return {letters.begin(), letters.end()};
}

// Rows of single height as the writer makes them: the box is opened twice, and ended twice.
STLBlock subtitle(std::uint16_t number, std::uint8_t second) {
    return {.text = {0x0B, 0x0B, 'a', 0x0A, 0x0A},
            .number = number,
            .in = {10, 0, second, 0},
            .out = {10, 0, second, 20},
            .row = 22};
}

STLBlock comment(std::uint16_t number, std::uint8_t second, std::uint8_t extension = 0xFF) {
    return {.text = text("by\x8A"
                         "us"),
            .number = number,
            .extension = extension,
            .in = {10, 0, second, 3},
            .out = {10, 0, second, 7},
            .comment = 1};
}

STLBlock userData(std::uint16_t number, std::string_view bytes) {
    return {.text = text(bytes), .number = number, .extension = 0xFE, .filler = 0x77};
}

/// A comment, a subtitle with its user data, a comment of two blocks, user data of nobody, a subtitle, and the rest.
std::string everyKind() {
    return qlxtest::stlFile({comment(7, 1), subtitle(1, 2), userData(1, "u1"), userData(1, std::string(112, '\xFF')),
                             comment(8, 3, 0), comment(8, 3), userData(9, "x"), subtitle(2, 4), comment(3, 9),
                             userData(2, "z")});
}

TEST(StlKept, ComeBackAsTheSameBytes) {
    const std::string file = everyKind();
    const Kept kept = read(file);
    EXPECT_EQ(kept.codes, Codes());
    ASSERT_EQ(kept.cues.size(), 2U);
    EXPECT_EQ(kept.cues[0].properties.size(), 3U);
    ASSERT_EQ(kept.cues[1].properties.size(), 4U);
    // From 10:00:02:00 back to 10:00:01:03 are 880 ms; a block begins with its group and number.
    EXPECT_EQ(kept.cues[0].properties[0].name, properties::kStlComment);
    EXPECT_TRUE(kept.cues[0].properties[0].value.starts_with("before 0 -880 -720 000700ff000a0001030a000107"));
    EXPECT_EQ(kept.cues[0].properties[2].name, properties::kStlUserData);
    EXPECT_TRUE(kept.cues[0].properties[2].value.starts_with("behind 000100fe00"));
    EXPECT_TRUE(kept.cues[1].properties[0].value.starts_with("before 0 -880 -720 0008000000"));
    EXPECT_TRUE(kept.cues[1].properties[2].value.starts_with("behind 0 5120 5280 "));
    const Written written = write(kept.cues, kept.gsi);
    EXPECT_EQ(written.blocks, file.substr(kGsiBytes));
    EXPECT_EQ(written.codes, Codes());
    // Blocks of every kind (EBU Tech 3264, TNB): two subtitles, three of user data for them and one of nobody, and four of
    // comments. None of the others is a subtitle (TNS).
    EXPECT_EQ(written.blockCount, "00010");
    EXPECT_EQ(written.subtitleCount, "00002");
}

STLBlock inGroup(std::uint8_t group, STLBlock block) {
    block.group = group;
    return block;
}

// EBU Tech 3264, SGN, SN and TNG.
TEST(StlKept, GroupsComeBackAndAreCounted) {
    // Numbers begin again in each; user data have the group of their subtitle.
    const std::string file = qlxtest::stlFile(
        {inGroup(0, subtitle(1, 2)), inGroup(0, subtitle(2, 3)), inGroup(3, subtitle(1, 4)),
         inGroup(3, userData(1, "u1")), inGroup(255, subtitle(0, 5)), inGroup(7, comment(1, 6)),
         inGroup(3, subtitle(2, 6)), inGroup(0, subtitle(3, 7)), inGroup(1, userData(3, "of nobody"))});
    Kept kept = read(file);
    ASSERT_EQ(kept.cues.size(), 6U);
    EXPECT_TRUE(kept.cues[0].properties.empty());
    ASSERT_EQ(kept.cues[2].properties.size(), 2U);
    ASSERT_EQ(kept.cues[3].properties.size(), 1U);
    EXPECT_EQ(kept.cues[2].properties.front(), (Property{std::string(properties::kStlGroup), "3"}));
    EXPECT_EQ(kept.cues[3].properties.front(), (Property{std::string(properties::kStlGroup), "255"}));
    EXPECT_TRUE(read(file, false).cues[2].properties.empty());
    kept.gsi.groupCount = "017";
    Written written = write(kept.cues, kept.gsi);
    EXPECT_EQ(written.blocks, file.substr(kGsiBytes));
    EXPECT_EQ(written.codes, Codes());
    // That of the comment is no subtitle's.
    EXPECT_EQ(written.groupCount, "003");
    EXPECT_EQ(write({}, kept.gsi).groupCount, "001");
    // A number that the group has gets the next one, and its user data with it; another group's do not.
    kept.cues[4].number = 1;
    kept.cues[5].number = 1;
    written = write(kept.cues, kept.gsi);
    EXPECT_EQ(written.codes, (Codes{StlNumberChanged, StlNumberChanged}));
    EXPECT_EQ(written.blocks, file.substr(kGsiBytes));
    Cue moved = kept.cues[2];
    moved.number = 1;
    written = write({kept.cues[2], moved}, kept.gsi);
    ASSERT_EQ(written.blocks.size(), 4 * kTtiBytes);
    EXPECT_EQ(written.blocks.substr(2 * kTtiBytes, 4), std::string("\3\2\0\xFF", 4));
    EXPECT_EQ(written.blocks.substr(3 * kTtiBytes, 4), std::string("\3\2\0\xFE", 4));
}

TEST(StlKept, GroupsThatAreNoneAreLost) {
    Cue cue = read(qlxtest::stlFile({subtitle(1, 2)})).cues.front();
    for (const char* const value : {"", "x", "256", "-1", "1 ", "+1"}) {
        cue.properties = {{std::string(properties::kStlGroup), value}};
        const Written written = write({cue}, Gsi());
        EXPECT_EQ(written.codes, Codes{SubtitlePropertiesLost}) << value;
        EXPECT_EQ(written.blocks.front(), '\0') << value;
    }
    cue.properties = {{std::string(properties::kStlGroup), "9"}, {std::string(properties::kStlGroup), "8"}};
    const Written written = write({cue}, Gsi());
    EXPECT_EQ(written.codes, Codes{SubtitlePropertiesLost});
    EXPECT_EQ(written.blocks.front(), '\x09');
}

// A number has 16 bits: what follows is of the next group.
TEST(StlKept, NumbersGoOnInTheNextGroup) {
    const Cue cue = read(qlxtest::stlFile({subtitle(1, 2)})).cues.front();
    const auto named = [](const Written& written, std::size_t index) {
        const auto byte = [&](std::size_t place) {
            return static_cast<unsigned>(static_cast<unsigned char>(written.blocks.at(index * kTtiBytes + place)));
        };
        return std::pair(byte(0), byte(2) << 8U | byte(1));
    };
    std::vector<Cue> cues(65'540, cue);
    for (std::size_t index = 0; index < cues.size(); ++index) {
        cues[index].number = index + 1;
        cues[index].start = qlx::MediaTime::make(static_cast<std::int64_t>(index), 1);
        cues[index].end = qlx::MediaTime::make(static_cast<std::int64_t>(index) + 1, 1);
    }
    const Written written = write(cues, Gsi());
    EXPECT_EQ(named(written, 0), std::pair(0U, 1U));
    EXPECT_EQ(named(written, 65'534), std::pair(0U, 65'535U));
    EXPECT_EQ(named(written, 65'535), std::pair(1U, 0U));
    EXPECT_EQ(named(written, 65'539), std::pair(1U, 4U));
    EXPECT_EQ(written.groupCount, "002");
    EXPECT_EQ(written.codes, Codes(5, StlNumberChanged));
    // Those of a group that is full go to the next one that is not, and the last one is followed by the first.
    std::vector<Cue> last(4, cue);
    for (Cue& each : last) {
        each.number = 65'535;
        each.properties = {{std::string(properties::kStlGroup), "255"}};
    }
    last[2].properties.clear();
    const Written around = write(last, Gsi());
    EXPECT_EQ(named(around, 0), std::pair(255U, 65'535U));
    EXPECT_EQ(named(around, 1), std::pair(0U, 0U));
    EXPECT_EQ(named(around, 2), std::pair(0U, 65'535U));
    EXPECT_EQ(named(around, 3), std::pair(1U, 0U));
    EXPECT_EQ(around.groupCount, "003");
    // Where all are full a name is there twice.
    std::vector<Cue> full(257, last[0]);
    for (std::size_t index = 0; index < full.size(); ++index) {
        full[index].properties.front().value = std::to_string(index % 256);
    }
    EXPECT_EQ(write(full, Gsi()).groupCount, "256");
}

TEST(StlKept, AreFindingsWhereNobodyAsksForThem) {
    const Kept passed = read(everyKind(), false);
    EXPECT_EQ(passed.codes, (Codes{StlComment, StlUserDataPassed, StlUserDataPassed, StlComment, StlUserDataPassed,
                                   StlComment, StlUserDataPassed}));
    for (const Cue& cue : passed.cues) {
        EXPECT_TRUE(cue.properties.empty());
    }
    // There is no cue to take them, or one that is left out.
    EXPECT_EQ(read(qlxtest::stlFile({comment(1, 1), userData(2, "u")})).codes, (Codes{StlComment, StlUserDataPassed}));
    STLBlock reversed = subtitle(1, 2);
    reversed.out = reversed.in;
    EXPECT_EQ(read(qlxtest::stlFile({comment(7, 1), reversed})).codes, (Codes{StlEndNotLater, SubtitlePropertiesLost}));
}

TEST(StlKept, MoveWithTheirCue) {
    Kept kept = read(qlxtest::stlFile({comment(7, 1), subtitle(1, 2), userData(1, "u")}));
    ASSERT_EQ(kept.cues.size(), 1U);
    Cue& cue = kept.cues.front();
    // 36002 s become 12 s, and number 1 that of a place: a cue without a number gets the next one.
    cue.start = qlx::MediaTime::make(12'000, 1000);
    cue.end = qlx::MediaTime::make(13'000, 1000);
    Cue first = cue;
    first.properties.clear();
    first.start = qlx::MediaTime::make(1'000, 1000);
    first.end = qlx::MediaTime::make(2'000, 1000);
    const Written written = write({first, cue}, kept.gsi);
    ASSERT_EQ(written.blocks.size(), 4 * kTtiBytes);
    const auto block = [&](std::size_t index) { return written.blocks.substr(index * kTtiBytes, kTtiBytes); };
    STLBlock moved = comment(7, 1);
    moved.in = {0, 0, 11, 3};
    moved.out = {0, 0, 11, 7};
    EXPECT_EQ(block(1), moved.bytes());
    EXPECT_EQ(block(2).substr(0, 4), std::string("\0\2\0\xFF", 4));
    EXPECT_EQ(block(3), userData(2, "u").bytes());
    EXPECT_EQ(written.codes, Codes{StlNumberChanged});
    // In front of midnight there is nothing.
    cue.start = qlx::MediaTime::make(500, 1000);
    const std::string early = write({cue}, kept.gsi).blocks;
    EXPECT_EQ(early.substr(5, 8), std::string(8, '\0'));
}

TEST(StlKept, AreLostWhereTheyCannotBeWritten) {
    const Kept kept = read(everyKind());
    Gsi cyrillic = kept.gsi;
    cyrillic.characterTable = "01";
    // Three comments of another table; user data are of none.
    const Written written = write(kept.cues, cyrillic);
    EXPECT_EQ(written.codes, (Codes{SubtitlePropertiesLost, SubtitlePropertiesLost}));
    EXPECT_EQ(written.blockCount, "00006");
    const std::string bytes(2 * kTtiBytes, '0');
    for (const std::string& value :
         {std::string(), std::string("before"), "before " + bytes.substr(1), "beside " + bytes, "before " + bytes + "0",
          "before x" + bytes.substr(1), "before  " + bytes, std::string("before 00")}) {
        Cue cue = kept.cues.front();
        cue.properties = {{std::string(properties::kStlUserData), value}};
        EXPECT_EQ(write({cue}, kept.gsi).codes, Codes{SubtitlePropertiesLost}) << value;
    }
    for (const char* const times : {"", "0 0 ", "0 x 0 ", "256 0 0 ", "0 999999999999 0 ", "0 0 -172800001 "}) {
        Cue cue = kept.cues.front();
        cue.properties = {{std::string(properties::kStlComment), "before " + std::string(times) + bytes}};
        EXPECT_EQ(write({cue}, kept.gsi).codes, Codes{SubtitlePropertiesLost}) << times;
    }
}

TEST(StlKept, OfAnyFileLoseNothing) {
    std::mt19937 random(1);
    for (int round = 0; round < 300; ++round) {
        std::vector<STLBlock> blocks;
        std::size_t cues = 0;
        std::uint8_t second = 0;
        for (std::size_t count = 1 + random() % 12; count > 0; --count) {
            const auto number = static_cast<std::uint16_t>(cues + 1);
            switch (random() % 3) {
            case 0:
                blocks.push_back(comment(static_cast<std::uint16_t>(500 + count), second));
                break;
            case 1:
                blocks.push_back(userData(random() % 2 == 0 ? number : std::uint16_t{77}, "u"));
                break;
            default:
                blocks.push_back(subtitle(number, ++second));
                ++cues;
            }
        }
        blocks.push_back(subtitle(static_cast<std::uint16_t>(cues + 1), ++second));
        const std::string file = qlxtest::stlFile(blocks);
        const Kept kept = read(file);
        const Written written = write(kept.cues, kept.gsi);
        ASSERT_EQ(written.blocks, file.substr(kGsiBytes)) << round;
        ASSERT_EQ(written.codes, Codes()) << round;
    }
    // At every length of a file no cue is lost that is there without them.
    const std::string file = everyKind();
    for (std::size_t size = kGsiBytes; size <= file.size(); ++size) {
        ASSERT_EQ(read(file.substr(0, size)).cues.size(), read(file.substr(0, size), false).cues.size()) << size;
    }
}

}  // namespace
}  // namespace stl_kept_tests
