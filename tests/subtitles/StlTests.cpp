// EBU STL: every field of both blocks by hand-worked bytes, what is wrong with them, cues of blocks.
#include "ExactBuffer.h"

#include <qlx/subtitles/stl.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <initializer_list>
#include <random>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace {

using namespace qlx::subtitles;
using qlx::Finding;
using qlx::FindingCode;
using qlx::Findings;
using qlx::FrameRate;
using qlx::MediaTime;
using qlx::Severity;
using qlx::screen::Color;
using Bytes = std::vector<std::uint8_t>;
using FindingList = std::vector<Finding>;

/// A field by the standard's table: first byte, name, characters.
struct Field {
    std::size_t place;
    std::string_view name;
    std::string text;
};

std::vector<Field> fields() {
    return {{0, "CPN", "437"},
            {3, "DFC", "STL30.01"},
            {11, "DSC", "2"},
            {12, "CCT", "04"},
            {14, "LC", "0F"},
            {16, "OPT", std::string(32, 'a')},
            {48, "OET", std::string(32, 'b')},
            {80, "TPT", std::string(32, 'c')},
            {112, "TET", std::string(32, 'd')},
            {144, "TN", std::string(32, 'e')},
            {176, "TCD", std::string(32, 'f')},
            {208, "SLR", std::string(16, 'g')},
            {224, "CD", "261122"},
            {230, "RD", "261123"},
            {236, "RN", "02"},
            {238, "TNB", "00003"},
            {243, "TNS", "00002"},
            {248, "TNG", "001"},
            {251, "MNC", "40"},
            {253, "MNR", "23"},
            {255, "TCS", "0"},
            {256, "TCP", "10000000"},
            {264, "TCF", "10000212"},
            {272, "TND", "2"},
            {273, "DSN", "1"},
            {274, "CO", "FRA"},
            {277, "PUB", std::string(32, 'h')},
            {309, "EN", std::string(32, 'i')},
            {341, "ECD", std::string(32, 'j')},
            {373, "spare", std::string(75, ' ')},
            {448, "UDA", std::string(576, '\xC5')}};
}

Bytes gsiBytes() {
    Bytes bytes(1024, 0);
    for (const Field& field : fields()) {
        std::copy(field.text.begin(), field.text.end(), bytes.begin() + static_cast<std::ptrdiff_t>(field.place));
    }
    return bytes;
}

/// Reads a block of an allocation of its own size, and checks that it is written as the same bytes.
FindingList findingsOfGsi(const Bytes& bytes) {
    Findings findings;
    const qlxtest::ExactBuffer exact(bytes);
    const auto gsi = parseGsi(exact.span(), &findings);
    if (!gsi) {
        return {gsi.error()};
    }
    qlxtest::ExactBuffer room = qlxtest::ExactBuffer::filled(1024, 0xEE);
    EXPECT_EQ(*writeGsi(*gsi, room.span()), 1024U);
    EXPECT_EQ(room.vector(), bytes);
    const qlx::Data written = writeGsi(*gsi);
    EXPECT_EQ(Bytes(written.begin(), written.end()), bytes);
    return {findings.begin(), findings.end()};
}

Bytes changed(Bytes bytes, std::size_t place, std::string_view text) {
    std::copy(text.begin(), text.end(), bytes.begin() + static_cast<std::ptrdiff_t>(place));
    return bytes;
}

TEST(Gsi, HasEveryFieldInItsPlace) {
    EXPECT_EQ(findingsOfGsi(gsiBytes()), FindingList{});
    const auto gsi = parseGsi(gsiBytes());
    ASSERT_TRUE(gsi);
    const std::vector<Field> expected = fields();
    const std::vector<std::string_view> texts{gsi->codePageNumber.text(),
                                              gsi->diskFormatCode.text(),
                                              gsi->displayStandard.text(),
                                              gsi->characterTable.text(),
                                              gsi->languageCode.text(),
                                              gsi->originalProgrammeTitle.text(),
                                              gsi->originalEpisodeTitle.text(),
                                              gsi->translatedProgrammeTitle.text(),
                                              gsi->translatedEpisodeTitle.text(),
                                              gsi->translator.text(),
                                              gsi->translatorContact.text(),
                                              gsi->listReference.text(),
                                              gsi->creationDate.text(),
                                              gsi->revisionDate.text(),
                                              gsi->revisionNumber.text(),
                                              gsi->blockCount.text(),
                                              gsi->subtitleCount.text(),
                                              gsi->groupCount.text(),
                                              gsi->charactersOfRow.text(),
                                              gsi->rows.text(),
                                              gsi->timeCodeStatus.text(),
                                              gsi->startOfProgramme.text(),
                                              gsi->firstCue.text(),
                                              gsi->diskCount.text(),
                                              gsi->diskNumber.text(),
                                              gsi->countryOfOrigin.text(),
                                              gsi->publisher.text(),
                                              gsi->editor.text(),
                                              gsi->editorContact.text(),
                                              gsi->spare.text(),
                                              gsi->userDefined.text()};
    ASSERT_EQ(texts.size(), expected.size());
    for (std::size_t index = 0; index < texts.size(); ++index) {
        EXPECT_EQ(texts[index], expected[index].text) << expected[index].name;
    }
    EXPECT_EQ(gsi->blockCount.number(), 3);
    EXPECT_EQ(timeCodeOf(gsi->firstCue), (StlTimeCode{10, 0, 2, 12}));
}

TEST(Gsi, KnowsItsFrameRates) {
    Gsi gsi;
    EXPECT_EQ(gsi.rate(), FrameRate::Fps25);
    gsi.diskFormatCode = "STL23.01";
    EXPECT_EQ(gsi.rate(), FrameRate::Fps23976);
    gsi.diskFormatCode = "STL24.01";
    EXPECT_EQ(gsi.rate(), FrameRate::Fps24);
    gsi.diskFormatCode = "STL30.01";
    EXPECT_EQ(gsi.rate(), FrameRate::Fps30);
    gsi.diskFormatCode = "STL50.01";
    EXPECT_EQ(gsi.rate(), FrameRate::Fps50);
    gsi.diskFormatCode = "STL29.01";
    EXPECT_EQ(gsi.rate(), std::nullopt);
}

TEST(Gsi, TellsWhatIsWrongInAField) {
    using enum FindingCode;
    constexpr auto kWarning = Severity::Warning;
    const Bytes good = gsiBytes();
    EXPECT_EQ(findingsOfGsi(changed(good, 0, "852")), (FindingList{{StlFieldUnknown, kWarning, 0, 0x383532, 3}}));
    EXPECT_EQ(findingsOfGsi(changed(good, 3, "STL29.01")),
              (FindingList{{StlDiskFormatUnknown, kWarning, 3, 0x53544C32392E3031, 0}}));
    EXPECT_EQ(findingsOfGsi(changed(good, 11, "3")), (FindingList{{StlFieldUnknown, kWarning, 11, 0x33, 1}}));
    EXPECT_EQ(findingsOfGsi(changed(good, 11, " ")), FindingList{});
    // Each code as a whole: "40" stands between two of them.
    EXPECT_EQ(findingsOfGsi(changed(good, 12, "10")), (FindingList{{StlFieldUnknown, kWarning, 12, 0x3130, 2}}));
    EXPECT_EQ(findingsOfGsi(changed(good, 14, "ZZ")), (FindingList{{StlFieldUnknown, kWarning, 14, 0x5A5A, 2}}));
    EXPECT_EQ(findingsOfGsi(changed(good, 14, "7f")), FindingList{});
    EXPECT_EQ(findingsOfGsi(changed(good, 14, "7G")), (FindingList{{StlFieldUnknown, kWarning, 14, 0x3747, 2}}));
    EXPECT_EQ(findingsOfGsi(changed(good, 238, "0003x")), (FindingList{{StlNumberWrong, kWarning, 238, 'x', 5}}));
    EXPECT_EQ(findingsOfGsi(changed(good, 243, "     ")),
              (FindingList{{StlNumberWrong, Severity::Remark, 243, ' ', 5}}));
    EXPECT_EQ(findingsOfGsi(changed(good, 255, "2")), (FindingList{{StlFieldUnknown, kWarning, 255, 0x32, 1}}));
    EXPECT_EQ(findingsOfGsi(changed(good, 256, "1000000x")), (FindingList{{StlNumberWrong, kWarning, 256, 'x', 8}}));
    EXPECT_EQ(findingsOfGsi(changed(good, 264, "10000230")),
              (FindingList{{StlTimeCodeWrong, kWarning, 264, 0x0A00021E, 30}}));
    EXPECT_EQ(findingsOfGsi(changed(good, 264, "24000000")),
              (FindingList{{StlTimeCodeWrong, kWarning, 264, 0x18000000, 30}}));
}

TEST(Gsi, HasRemarksOnWhatANewOneLeavesToItsMaker) {
    using enum FindingCode;
    const qlx::Data written = writeGsi(Gsi{});
    // LC at 14, CD at 224, RD at 230.
    EXPECT_EQ(findingsOfGsi({written.begin(), written.end()}),
              (FindingList{{StlFieldUnknown, Severity::Remark, 14, 0x2020, 2},
                           {StlNumberWrong, Severity::Remark, 224, ' ', 6},
                           {StlNumberWrong, Severity::Remark, 230, ' ', 6}}));
    Gsi gsi;
    gsi.languageCode = "0F";
    gsi.creationDate = gsi.revisionDate = "261122";
    const qlx::Data whole = writeGsi(gsi);
    EXPECT_EQ(findingsOfGsi({whole.begin(), whole.end()}), FindingList{});
}

TEST(Gsi, IsRefusedAtEveryShorterLength) {
    qlxtest::forEachTruncation(gsiBytes(), [](const qlxtest::ExactBuffer& cut) {
        const auto gsi = parseGsi(cut.span());
        ASSERT_FALSE(gsi);
        EXPECT_EQ(gsi.error(),
                  (Finding{FindingCode::StlTooShort, Severity::Error, 0, 1024, static_cast<std::int64_t>(cut.size())}));
        qlxtest::ExactBuffer room(cut.span());
        EXPECT_EQ(writeGsi(Gsi{}, room.span()).error(), (Finding{FindingCode::OutputTooSmall, Severity::Error, 0, 1024,
                                                                 static_cast<std::int64_t>(cut.size())}));
    });
}

TEST(StlField, TakesNumbersThatHaveRoom) {
    StlField<3> field("ab");
    EXPECT_EQ(field.text(), "ab ");
    EXPECT_FALSE(field.isBlank());
    EXPECT_TRUE(field.setNumber(42));
    EXPECT_EQ(field.text(), "042");
    EXPECT_FALSE(field.setNumber(1000));
    EXPECT_EQ(field.text(), "042");
    EXPECT_EQ(StlField<3>("abcd").text(), "abc");
    EXPECT_TRUE(StlField<3>().isBlank());
    EXPECT_EQ(StlField<3>("-12").number(), -12);
    EXPECT_EQ(StlField<3>(" 7x").number(), 7);
    EXPECT_EQ(StlField<3>("x12").number(), 0);
}

TEST(StlTimeCode, IsATimeInFrames) {
    const StlTimeCode timeCode{1, 2, 3, 4};
    // (3600 + 120 + 3) s = 3723 s
    EXPECT_EQ(timeCode.time(FrameRate::Fps25), MediaTime::make(3723 * 25 + 4, 25));
    EXPECT_EQ(timeCode.time(FrameRate::Fps30), MediaTime::make(3723 * 30 + 4, 30));
    EXPECT_EQ(timeCode.time(FrameRate::Fps23976), MediaTime::make((3723 * 24 + 4) * 1001, 24000));
    EXPECT_EQ(timeCode.inSeconds(25), 3723.16);
    EXPECT_TRUE(timeCode.isPossible(5));
    EXPECT_FALSE(timeCode.isPossible(4));
    EXPECT_FALSE((StlTimeCode{24, 0, 0, 0}.isPossible(25)));
    EXPECT_FALSE((StlTimeCode{0, 60, 0, 0}.isPossible(25)));
    EXPECT_FALSE((StlTimeCode{0, 0, 60, 0}.isPossible(25)));
}

/// Group 2, number 0x0304, last block, status 1, 10:00:01:02 to 10:00:03:04, position 20, left, no comment.
Bytes ttiBytes(std::initializer_list<int> text) {
    Bytes bytes{2, 4, 3, 0xFF, 1, 10, 0, 1, 2, 10, 0, 3, 4, 20, 1, 0};
    for (const int byte : text) {
        bytes.push_back(static_cast<std::uint8_t>(byte));
    }
    bytes.resize(128, 0x8F);
    return bytes;
}

FindingList findingsOfTti(const Bytes& bytes) {
    Findings findings;
    const qlxtest::ExactBuffer exact(bytes);
    const auto tti = parseTti(exact.span(), &findings, 1000);
    EXPECT_TRUE(tti);
    qlxtest::ExactBuffer room = qlxtest::ExactBuffer::filled(128, 0xEE);
    EXPECT_EQ(*writeTti(*tti, room.span()), 128U);
    EXPECT_EQ(room.vector(), bytes);
    const qlx::Data written = writeTti(*tti);
    EXPECT_EQ(Bytes(written.begin(), written.end()), bytes);
    return {findings.begin(), findings.end()};
}

TEST(Tti, HasEveryFieldInItsPlace) {
    const Bytes bytes = ttiBytes({'H', 'i'});
    EXPECT_EQ(findingsOfTti(bytes), FindingList{});
    const auto tti = parseTti(bytes);
    ASSERT_TRUE(tti);
    EXPECT_EQ(tti->group, 2);
    EXPECT_EQ(tti->number, 0x0304);
    EXPECT_EQ(tti->extensionNumber, Tti::kLastExtension);
    EXPECT_EQ(tti->status, StlStatus::First);
    EXPECT_EQ(tti->timeCodeIn, (StlTimeCode{10, 0, 1, 2}));
    EXPECT_EQ(tti->timeCodeOut, (StlTimeCode{10, 0, 3, 4}));
    EXPECT_EQ(tti->verticalPosition, 20);
    EXPECT_EQ(tti->justification, Alignment::Left);
    EXPECT_EQ(tti->commentFlag, 0);
    EXPECT_EQ(Bytes(tti->text.begin(), tti->text.end()), Bytes(bytes.begin() + 16, bytes.end()));
    EXPECT_TRUE(tti->isSubtitle());
    // A new one has no text, and is the only block of its subtitle.
    EXPECT_EQ(Tti{}.text.back(), 0x8F);
    EXPECT_TRUE(Tti{}.isSubtitle());
}

TEST(Tti, TellsOfNumbersThatAreNotDefined) {
    using enum FindingCode;
    constexpr auto kWarning = Severity::Warning;
    const Bytes good = ttiBytes({'H', 'i'});
    EXPECT_EQ(findingsOfTti(changed(good, 3, "\xF0")),
              (FindingList{{StlExtensionNumberReserved, kWarning, 1003, 0xF0, 0}}));
    EXPECT_EQ(findingsOfTti(changed(good, 3, "\xFD")),
              (FindingList{{StlExtensionNumberReserved, kWarning, 1003, 0xFD, 0}}));
    EXPECT_EQ(findingsOfTti(changed(good, 3, "\xEF")), FindingList{});
    EXPECT_EQ(findingsOfTti(changed(good, 4, "\4")), (FindingList{{StlStatusUnknown, kWarning, 1004, 4, 3}}));
    EXPECT_EQ(findingsOfTti(changed(good, 14, "\4")), (FindingList{{StlJustificationUnknown, kWarning, 1014, 4, 3}}));
    EXPECT_EQ(findingsOfTti(changed(good, 15, "\2")), (FindingList{{StlCommentFlagUnknown, kWarning, 1015, 2, 1}}));
    EXPECT_FALSE(parseTti(changed(good, 15, "\1"))->isSubtitle());
    EXPECT_FALSE(parseTti(changed(good, 3, "\xFE"))->isSubtitle());
}

TEST(Tti, IsRefusedAtEveryShorterLength) {
    qlxtest::forEachTruncation(ttiBytes({}), [](const qlxtest::ExactBuffer& cut) {
        const auto tti = parseTti(cut.span(), nullptr, 7);
        ASSERT_FALSE(tti);
        EXPECT_EQ(tti.error(),
                  (Finding{FindingCode::StlTooShort, Severity::Error, 7, 128, static_cast<std::int64_t>(cut.size())}));
        qlxtest::ExactBuffer room(cut.span());
        EXPECT_EQ(writeTti(Tti{}, room.span()).error(), (Finding{FindingCode::OutputTooSmall, Severity::Error, 0, 128,
                                                                 static_cast<std::int64_t>(cut.size())}));
    });
}

TEST(Tti, IsWrittenAsItWasReadWhateverItHolds) {
    std::mt19937 random(3264);  // NOLINT(cert-msc51-cpp): the same blocks in each run
    const auto byte = [&random] { return static_cast<std::uint8_t>(random()); };
    for (int round = 0; round < 2000; ++round) {
        Bytes bytes(128);
        std::generate(bytes.begin(), bytes.end(), byte);
        (void)findingsOfTti(bytes);
        Bytes information(1024);
        std::generate(information.begin(), information.end(), byte);
        EXPECT_FALSE(findingsOfGsi(information).empty());
    }
}

Row row(std::string text, std::uint64_t number, Color color = Color::White, Alignment alignment = Alignment::Left) {
    Row result;
    result.runs.push_back({std::move(text), {}});
    result.runs.front().style.foreground = color;
    result.number = number;
    result.alignment = alignment;
    return result;
}

struct Found {
    std::vector<Row> rows;
    FindingList findings;

    friend bool operator==(const Found&, const Found&) = default;
};

Found found(const Bytes& block) {
    Findings findings;
    const Cue cue = cueOf(*parseTti(block), FrameRate::Fps25, &findings, 1000);
    return {cue.rows, {findings.begin(), findings.end()}};
}

TEST(StlCue, HasNumberTimesAndRows) {
    // Position 20 is the lower half of the double-height row 9.
    const Cue cue = cueOf(*parseTti(ttiBytes({'H', 'i', 0x8A, 0x01, 'x', 0xC2, 'e', 0x8F, 'y'})), FrameRate::Fps25);
    EXPECT_EQ(cue, (Cue{0x0304,
                        MediaTime::make(36001 * 25 + 2, 25),
                        MediaTime::make(36003 * 25 + 4, 25),
                        {row("Hi", 9), row("x\u00E9", 10, Color::Red)}}));
}

TEST(StlCue, NumbersTheRowsOfATeletextPage) {
    // Two positions a row, 1 and 2 for the header's; 23 is the last.
    const auto check = [](std::uint8_t position, const std::vector<std::uint64_t>& rows, std::int64_t lost) {
        Bytes block = ttiBytes({'a', 0x8A, 'b', 0x8F});
        block[13] = position;
        FindingList findings;
        if (lost > 0) {
            findings = {{FindingCode::StlRowsOffPage, Severity::Warning, 1013, position, lost}};
        }
        EXPECT_EQ(found(block), (Found{{row("a", rows[0]), row("b", rows[1])}, findings})) << +position;
    };
    check(0, {0, 0}, 2);
    check(1, {0, 1}, 1);
    check(2, {0, 1}, 1);
    check(3, {1, 2}, 0);
    check(4, {1, 2}, 0);
    check(5, {2, 3}, 0);
    check(22, {10, 11}, 0);
    check(23, {11, 0}, 1);
    check(24, {0, 0}, 2);
    check(255, {0, 0}, 2);
    // An empty row misses no place.
    Bytes empty = ttiBytes({'a', 0x8A, 0x8F});
    empty[13] = 23;
    EXPECT_EQ(found(empty), (Found{{row("a", 11), row("", 0)}, {}}));
}

TEST(StlCue, ReadsColorsOfARow) {
    // Both sets of colours; black is white; the last one counts.
    EXPECT_EQ(found(ttiBytes({0x02, 'a', 0x16, 0x8A, 'b', 0x8A, 0x00, 'c', 0x8F})),
              (Found{{row("a", 9, Color::Cyan), row("b", 10, Color::Cyan), row("c", 11)}, {}}));
}

TEST(StlCue, TrimsRowsUnlessTheyAreLeftUnchanged) {
    EXPECT_EQ(found(ttiBytes({' ', 'a', ' ', 0x8A, 0x8A, 0x8F})), (Found{{row("a", 9), row("", 10), row("", 11)}, {}}));
    EXPECT_EQ(found(changed(ttiBytes({' ', 'a', ' ', 0x8F}), 14, std::string_view("\0", 1))).rows,
              (std::vector<Row>{row(" a ", 9, Color::White, Alignment::Unchanged)}));
    // Numbers that are none are kept.
    EXPECT_EQ(found(changed(ttiBytes({'a', 0x8F}), 14, "\x09")).rows.at(0).alignment, static_cast<Alignment>(9));
}

TEST(StlCue, TellsWhatIsPassedOver) {
    using enum FindingCode;
    // Boxes, italics and a code without a meaning.
    EXPECT_EQ(found(ttiBytes({0x0B, 0x0B, 'a', 0x80, 'b', 0x81, 0x9F, 0x8F})),
              (Found{{row("ab", 9)},
                     {{StlCodesPassed, Severity::Remark, 1016, 0x0B, 3},
                      {StlStylesPassed, Severity::Remark, 1016, 0x80, 2}}}));
    Bytes unended = ttiBytes({'a', 0x8A});
    std::fill(unended.begin() + 18, unended.end(), std::uint8_t{'b'});
    // 112 bytes, of which two are taken.
    EXPECT_EQ(found(unended), (Found{{row("a", 9)}, {{StlTextUnended, Severity::Warning, 1016, 110, 0}}}));
}

/// A field of as many letters b as go in front of these bytes, which are its last.
Bytes fullBlock(std::initializer_list<std::uint8_t> last) {
    Bytes bytes = ttiBytes({});
    std::fill(bytes.begin() + 16, bytes.end(), std::uint8_t{'b'});
    std::copy(last.begin(), last.end(), bytes.end() - static_cast<std::ptrdiff_t>(last.size()));
    return bytes;
}

TEST(StlCue, ReadsAFieldUpToItsLastByte) {
    using enum FindingCode;
    const auto lost = [](std::int64_t characters) {
        return FindingList{{StlTextUnended, Severity::Warning, 1016, characters, 0}};
    };
    EXPECT_EQ(found(fullBlock({})), (Found{{}, lost(112)}));
    const Row of110 = row(std::string(110, 'b'), 9);
    EXPECT_EQ(found(fullBlock({0x8A, 'b'})), (Found{{of110}, lost(1)}));
    EXPECT_EQ(found(fullBlock({0x8F, 'b'})), (Found{{of110}, {}}));
    // The last byte ends the text as well, or is a code.
    const Row of111 = row(std::string(111, 'b'), 9);
    EXPECT_EQ(found(fullBlock({0x8F})), (Found{{of111}, {}}));
    EXPECT_EQ(found(fullBlock({0x8A})), (Found{{of111}, {}}));
    EXPECT_EQ(found(fullBlock({0x8A, 0x81})), (Found{{of110}, {{StlStylesPassed, Severity::Remark, 1016, 0x81, 1}}}));
}

TEST(StlCue, TellsOfTimesThatAreNone) {
    using enum FindingCode;
    EXPECT_EQ(found(changed(ttiBytes({0x8F}), 8, "\x19")).findings,
              (FindingList{{StlTimeCodeWrong, Severity::Warning, 1005, 0x0A000119, 25}}));
    EXPECT_EQ(found(changed(ttiBytes({0x8F}), 11, "\x01\x02")).findings,
              (FindingList{{StlEndNotLater, Severity::Warning, 1009, 0x0A000102, 0x0A000102}}));
}

TEST(StlView, TellsOfTablesThatAreNotRead) {
    const auto findingsOf = [](std::string_view table) {
        Findings findings;
        EXPECT_TRUE(parseStl(changed(changed(gsiBytes(), 12, table), 238, "00000"), &findings));
        return FindingList(findings.begin(), findings.end());
    };
    EXPECT_EQ(findingsOf("00"), FindingList{});
    EXPECT_EQ(findingsOf("01"), (FindingList{{FindingCode::StlTableNotRead, Severity::Warning, 12, 1, 0}}));
    EXPECT_EQ(findingsOf("04"), (FindingList{{FindingCode::StlTableNotRead, Severity::Warning, 12, 4, 0}}));
    // It is not defined, and that is said.
    EXPECT_EQ(findingsOf("05"), (FindingList{{FindingCode::StlFieldUnknown, Severity::Warning, 12, 0x3035, 2}}));
}

TEST(StlView, WalksTheBlocksThatAreThere) {
    Bytes bytes = changed(changed(gsiBytes(), 12, "00"), 238, "00002");
    const Bytes first = ttiBytes({'a', 0x8F});
    const Bytes second = changed(ttiBytes({'b', 0x8F}), 4, "\5");
    bytes.insert(bytes.end(), first.begin(), first.end());
    bytes.insert(bytes.end(), second.begin(), second.end());
    Findings findings;
    const auto file = parseStl(bytes, &findings);
    ASSERT_TRUE(file);
    EXPECT_TRUE(findings.empty());
    ASSERT_EQ(file->blocks(), 2U);
    EXPECT_EQ(file->block(0), *parseTti(first));
    EXPECT_EQ(file->block(1, &findings), *parseTti(second));
    EXPECT_EQ(FindingList(findings.begin(), findings.end()),
              (FindingList{{FindingCode::StlStatusUnknown, Severity::Warning, 1024 + 128 + 4, 5, 3}}));
    for (std::size_t length = 0; length < bytes.size(); ++length) {
        const qlxtest::ExactBuffer cut(std::span<const std::uint8_t>(bytes).first(length));
        findings.clear();
        const auto part = parseStl(cut.span(), &findings);
        ASSERT_EQ(part.hasValue(), length >= 1024) << length;
        if (part) {
            ASSERT_EQ(part->blocks(), (length - 1024) / 128);
            const bool isCut = (length - 1024) % 128 != 0;
            ASSERT_EQ(findings.size(), isCut ? 2U : 1U);
            EXPECT_EQ(findings[0], (Finding{FindingCode::StlBlockCountWrong, Severity::Error, 238, 2,
                                            static_cast<std::int64_t>(part->blocks())}));
        }
    }
}

}  // namespace
