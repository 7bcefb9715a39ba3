// Extended data services: packets out of pairs and back, and what they say.
#include "CaptionRows.h"
#include "Sanitized.h"

#include <qlx/cea608/xds.h>

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

namespace {

using namespace qlx::cea608;
using qlx::FindingCode;
using Codes = std::vector<FindingCode>;

XdsPacket packetOf(XdsClass xdsClass, std::uint8_t type, std::string_view bytes) {
    XdsPacket packet{.xdsClass = xdsClass, .type = type, .bytes = {}};
    EXPECT_TRUE(packet.bytes.assign({reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()}));
    return packet;
}

std::string textOf(const std::vector<Pair>& pairs) {
    std::string text;
    for (const Pair& pair : pairs) {
        text += (text.empty() ? "" : " ") + qlxtest::textOf(pair);
    }
    return text;
}

std::vector<Pair> pairsOf(const XdsPacket& packet) {
    std::vector<Pair> pairs;
    appendXdsPairs(packet, pairs);
    return pairs;
}

/// What a reader makes of pairs without parity.
struct Read {
    std::vector<XdsPacket> packets;
    Codes findings;

    explicit Read(const std::vector<Pair>& pairs) {
        XdsReader reader;
        qlx::Findings found;
        for (const Pair& pair : pairs) {
            const Pair sent = qlx::cea608::withOddParity(pair);
            if (const auto packet = reader.receive(sent.first, sent.second, &found, 7)) {
                packets.push_back(*packet);
            }
        }
        for (const qlx::Finding& finding : found) {
            EXPECT_EQ(finding.offset, 7U);
            EXPECT_EQ(finding.text().rfind("extended data: ", 0), 0U) << finding.text();
            findings.push_back(finding.code);
        }
    }
};

const XdsPacket kName = packetOf(XdsClass::Current, 3, "News");
const XdsPacket kNetwork = packetOf(XdsClass::Channel, 1, "ABC");

TEST(XdsPackets, ArePairsWithAChecksum) {
    // 01 + 03 + "News" (4E 65 77 73) + 0F = 1B0h; with 50h it is 200h. An odd byte is filled.
    EXPECT_EQ(textOf(pairsOf(kName)), "0103 4e65 7773 0f50");
    // 05 + 01 + 41 + 42 + 43 + 0F = DBh; with 25h it is 100h.
    EXPECT_EQ(textOf(pairsOf(kNetwork)), "0501 4142 4300 0f25");
    EXPECT_EQ(xdsContinuePair(kName), (Pair{2, 3}));
    EXPECT_EQ(xdsContinuePair(kNetwork), (Pair{6, 1}));
    EXPECT_TRUE(pairsOf(packetOf(XdsClass::Current, 0, "News")).empty());
    EXPECT_TRUE(pairsOf(packetOf(XdsClass::Current, 1, "\x1F")).empty());
}

TEST(XdsPackets, ComeBack) {
    std::mt19937 random(1);
    for (int count = 0; count < 500; ++count) {
        std::string bytes(random() % (kGreatestXdsBytes + 1), ' ');
        for (char& byte : bytes) {
            byte = static_cast<char>(0x20 + random() % 0x60);
        }
        const XdsPacket packet =
            packetOf(static_cast<XdsClass>(random() % 7), static_cast<std::uint8_t>(1 + random() % 127), bytes);
        const Read read(pairsOf(packet));
        ASSERT_EQ(read.packets, std::vector{packet});
        ASSERT_EQ(read.findings, Codes());
    }
}

TEST(XdsPackets, AreInterruptedAndGoOn) {
    const auto name = pairsOf(kName);
    const auto network = pairsOf(kNetwork);
    // Captions end with a pair that is none of the packet; another packet stands between its parts.
    const Read read({name[0],
                     name[1],
                     {0x15, 0x20},
                     {0x61, 0x62},
                     network[0],
                     network[1],
                     {0, 0},
                     network[2],
                     {0x02, 0x03},
                     name[2],
                     {0x06, 0x01},
                     network[3],
                     {0x02, 0x03},
                     name[3]});
    EXPECT_EQ(read.packets, (std::vector{kNetwork, kName}));
    EXPECT_EQ(read.findings, Codes());
}

TEST(XdsPackets, SayWhatIsWrong) {
    const auto name = pairsOf(kName);
    const auto with = [&](std::size_t index, Pair pair) {
        auto pairs = name;
        pairs[index] = pair;
        return Read(pairs);
    };
    EXPECT_EQ(with(1, {0x4F, 0x65}).findings, Codes{FindingCode::Cea608XdsChecksumWrong});
    EXPECT_TRUE(with(1, {0x4F, 0x65}).packets.empty());
    EXPECT_EQ(with(1, {0x4E, 0x05}).findings, Codes{FindingCode::Cea608XdsDamaged});
    // Behind captions the packet is not open: it has no end, but none that is its own.
    EXPECT_EQ(with(2, {0x15, 0x20}).findings, Codes{FindingCode::Cea608XdsNotBegun});
    EXPECT_EQ(with(0, {0x02, 0x03}).findings, Codes{FindingCode::Cea608XdsNotBegun});
    // Begun again in the middle.
    auto twice = name;
    twice.insert(twice.begin() + 2, name.begin(), name.begin() + 2);
    EXPECT_EQ(Read(twice).packets, std::vector{kName});
    EXPECT_EQ(Read(twice).findings, Codes{FindingCode::Cea608XdsCut});
    // 34 letters: 01 + 03 + 34 x 20 + 0F = 453h.
    std::vector<Pair> longer{{0x01, 0x03}};
    longer.insert(longer.end(), 17, {0x20, 0x20});
    longer.push_back({0x0F, 0x2D});
    EXPECT_EQ(Read(longer).findings, Codes{FindingCode::Cea608XdsTooLong});
    // A wrong parity bit.
    XdsReader reader;
    qlx::Findings findings;
    for (std::size_t index = 0; index < name.size(); ++index) {
        const Pair sent = withOddParity(name[index]);
        EXPECT_FALSE(reader.receive(sent.first, sent.second ^ (index == 2 ? 0x80U : 0U), &findings));
    }
    ASSERT_EQ(findings.size(), 1U);
    EXPECT_EQ(findings[0].code, FindingCode::Cea608XdsDamaged);
    // Without its type nobody knows which packet goes on; that is said once, and of the next one anew.
    EXPECT_EQ(with(0, {0x01, 0x00}).findings, Codes{FindingCode::Cea608XdsDamaged});
    auto next = name;
    next[0] = {0x01, 0x00};
    next.push_back(name.back());
    EXPECT_EQ(Read(next).findings, (Codes{FindingCode::Cea608XdsDamaged, FindingCode::Cea608XdsNotBegun}));
}

TEST(XdsPackets, LackTheirEndAtTheEnd) {
    XdsReader reader;
    qlx::Findings findings;
    for (const Pair& pair : {Pair{0x05, 0x01}, Pair{0x41, 0x42}, Pair{0x01, 0x03}, Pair{0x4E, 0x65}}) {
        const Pair sent = withOddParity(pair);
        EXPECT_FALSE(reader.receive(sent.first, sent.second, &findings));
    }
    EXPECT_TRUE(findings.empty());
    reader.finish(&findings, 5);
    const auto cut = [](std::int64_t packet) {
        return qlx::Finding{FindingCode::Cea608XdsCut, qlx::Severity::Warning, 5, packet, 2};
    };
    ASSERT_EQ(findings.size(), 2U);
    EXPECT_EQ(findings[0], cut(0x0501));
    EXPECT_EQ(findings[1], cut(0x0103));
    EXPECT_FALSE(reader.isOpen());
    reader.finish(&findings);
    EXPECT_EQ(findings.size(), 2U);
}

TEST(XdsPackets, AreReadWithoutParityOnRequest) {
    const auto read = [](bool ignoresParity) {
        XdsReader reader({.ignoresParity = ignoresParity});
        std::optional<XdsPacket> packet;
        for (const Pair& pair : pairsOf(kName)) {
            packet = reader.receive(pair.first, pair.second);
        }
        return packet;
    };
    EXPECT_EQ(read(true), kName);
    EXPECT_EQ(read(false), std::nullopt);
}

TEST(XdsPackets, OfAFieldWithoutParityAreSaidToLackItOnce) {
    XdsReader reader;
    qlx::Findings findings;
    const auto send = [&](bool hasParity) {
        std::optional<XdsPacket> packet;
        for (const Pair& pair : pairsOf(kName)) {
            const Pair sent = hasParity ? withOddParity(pair) : pair;
            packet = reader.receive(sent.first, sent.second, &findings, 7);
        }
        return packet;
    };
    // 01h has its odd parity without a bit for it, 03h has not. Four pairs each: the 64th is the last one of the 16th.
    for (int count = 0; count < 16; ++count) {
        EXPECT_EQ(send(false), std::nullopt);
    }
    ASSERT_EQ(findings.size(), 16U);
    for (std::size_t index = 0; index < 16; ++index) {
        EXPECT_EQ(findings[index].text(), "extended data: packet 103 of 0 bytes is damaged");
    }
    for (int count = 0; count < 40; ++count) {
        EXPECT_EQ(send(false), std::nullopt);
    }
    ASSERT_EQ(findings.size(), 17U);
    EXPECT_EQ(findings[16], (qlx::Finding{FindingCode::Cea608NoParity, qlx::Severity::Warning, 7, 64, 0}));
    // With parity bits it is looked at again, and damage is said.
    EXPECT_EQ(send(true), kName);
    EXPECT_EQ(send(false), std::nullopt);
    EXPECT_EQ(findings.size(), 18U);
    // A packet without an end is one whose pairs were not read.
    (void)reader.receive(0x01, 0x01, &findings, 7);
    for (int count = 0; count < 16; ++count) {
        (void)send(false);
        (void)reader.receive(0x01, 0x01, &findings, 7);
    }
    const std::size_t before = findings.size();
    reader.finish(&findings, 7);
    EXPECT_EQ(findings.size(), before);
}

TEST(XdsPackets, OfManyKindsAreKeptWhileTheyAreInterrupted) {
    std::vector<Pair> pairs;
    for (std::uint8_t type = 1; type <= 9; ++type) {
        pairs.push_back({0x01, type});
        pairs.push_back({0x40, 0x40});
    }
    // The oldest of nine gave its place.
    for (std::uint8_t type = 1; type <= 9; ++type) {
        pairs.push_back({0x02, type});
        // 01 + type + 40 + 40 + 0F + checksum = 100h.
        pairs.push_back({0x0F, static_cast<std::uint8_t>(0x70 - type)});
    }
    const Read read(pairs);
    ASSERT_EQ(read.packets.size(), 8U);
    EXPECT_EQ(read.packets.front().type, 2U);
    EXPECT_EQ(read.findings, (Codes{FindingCode::Cea608XdsCut, FindingCode::Cea608XdsNotBegun}));
}

struct Case {
    XdsValue value;
    XdsClass xdsClass;
    std::uint8_t type;
    std::string_view bytes;
};

/// The bits of CTA-608-E, worked out by hand: 40h is set in all that are no characters.
const std::vector<Case>& cases() {
    static const std::vector<Case> kCases{
        // 13:45 on the 24th of July, daylight saving time, tape delay: 2D, 0D + 20, 18, 07 + 10.
        {XdsProgramStart{{.minute = 45, .hour = 13, .day = 24, .month = 7, .isDaylight = true, .isTapeDelay = true}},
         XdsClass::Current, 0x01, "\x6D\x6D\x58\x57"},
        {XdsProgramLength{{1, 30}, std::nullopt, std::nullopt}, XdsClass::Current, 0x02, "\x5E\x41"},
        {XdsProgramLength{{1, 30}, XdsProgramLength::Span{0, 59}, 7}, XdsClass::Current, 0x02, "\x5E\x41\x7B\x40\x47"},
        {XdsProgramName{"Le caf\u00E9"}, XdsClass::Current, 0x03, "Le caf\\"},
        {XdsProgramType{{0x22, 0x34, 0x7F}}, XdsClass::Current, 0x04, "\x22\x34\x7F"},
        // PG-13 is 3 of films; TV-14 with D, L, S, V is 5 of system 1; 14+ is 5 of 3, 16 ans+ is 4 with bit a2.
        {XdsContentAdvisory{.system = XdsRatingSystem::Mpa, .rating = 3}, XdsClass::Current, 0x05, "\x43\x40"},
        {XdsContentAdvisory{XdsRatingSystem::UsTv, 5, true, true, true, true}, XdsClass::Current, 0x05, "\x68\x7D"},
        {XdsContentAdvisory{.system = XdsRatingSystem::MpaOlder, .rating = 1}, XdsClass::Current, 0x05, "\x51\x40"},
        {XdsContentAdvisory{.system = XdsRatingSystem::CanadianEnglish, .rating = 5}, XdsClass::Current, 0x05,
         "\x58\x45"},
        {XdsContentAdvisory{.system = XdsRatingSystem::CanadianFrench, .rating = 4}, XdsClass::Current, 0x05,
         "\x78\x44"},
        {XdsContentAdvisory{.system = XdsRatingSystem::Reserved5, .rating = 1}, XdsClass::Current, 0x05, "\x58\x49"},
        {XdsContentAdvisory{.system = XdsRatingSystem::Reserved6, .rating = 1}, XdsClass::Current, 0x05, "\x78\x49"},
        // English (1) in true stereo (3), and Spanish (2) video descriptions (2).
        {XdsAudioServices{{XdsLanguage::English, 3}, {XdsLanguage::Spanish, 2}}, XdsClass::Current, 0x06, "\x4B\x52"},
        {XdsCaptionServices{{{XdsLanguage::English, kCC1}, {XdsLanguage::Spanish, kCC3}, {XdsLanguage::French, kT2}}},
         XdsClass::Current, 0x07, "\x48\x54\x5B"},
        {XdsCopyControl{.cgms = 3, .aps = 1, .isAnalogSource = true, .isRedistributionControlled = true},
         XdsClass::Current, 0x08, "\x5B\x41"},
        {XdsDescription{8, "The end."}, XdsClass::Current, 0x17, "The end."},
        {XdsNetworkName{"Public TV"}, XdsClass::Channel, 0x01, "Public TV"},
        {XdsCallLetters{"WXYZ", "07"}, XdsClass::Channel, 0x02, "WXYZ07"},
        {XdsTapeDelay{3, 15}, XdsClass::Channel, 0x03, "\x4F\x43"},
        // The low four bits come first.
        {XdsTransmissionId{0x1A2B}, XdsClass::Channel, 0x04, "\x4B\x42\x4A\x41"},
        {XdsTimeOfDay{{.minute = 0, .hour = 23, .day = 29, .month = 2, .isLeapDay = true, .isZeroed = true}, 5, 2024},
         XdsClass::Miscellaneous, 0x01, "\x40\x57\x7D\x62\x45\x62"},
        {XdsTimeZone{5, true}, XdsClass::Miscellaneous, 0x04, "\x65"},
    };
    return kCases;
}

TEST(XdsValues, AreReadAndWritten) {
    for (const Case& one : cases()) {
        SCOPED_TRACE(std::string(one.bytes));
        const XdsPacket packet = packetOf(one.xdsClass, one.type, one.bytes);
        qlx::Findings findings;
        EXPECT_EQ(xdsValue(packet, &findings), one.value);
        EXPECT_EQ(xdsPacket(one.value, false, &findings), packet);
        EXPECT_TRUE(findings.empty());
        if (one.xdsClass == XdsClass::Current) {
            const XdsPacket later = packetOf(XdsClass::Future, one.type, one.bytes);
            EXPECT_EQ(xdsValue(later), one.value);
            EXPECT_EQ(xdsPacket(one.value, true), later);
        }
    }
}

TEST(XdsValues, SayWhatIsNone) {
    for (const Case& one : cases()) {
        const bool isText = one.bytes.size() > 6 || one.type == 0x04 || one.type == 0x07;
        qlx::Findings findings;
        const XdsPacket packet = packetOf(one.xdsClass, one.type, "");
        const bool isDescription = std::holds_alternative<XdsDescription>(one.value);
        EXPECT_EQ(std::holds_alternative<std::monostate>(xdsValue(packet, &findings, 9)), !isDescription);
        EXPECT_EQ(findings.size(), isDescription ? 0U : 1U);
        if (!isText) {
            const XdsPacket longer = packetOf(one.xdsClass, one.type, std::string(one.bytes) + "@@@@@@@");
            EXPECT_EQ(xdsValue(longer, &findings), XdsValue()) << one.bytes;
        }
    }
    // A 60th minute, a day of the week and hours that there are not.
    for (const XdsPacket& packet :
         {packetOf(XdsClass::Current, 2, "\x7C\x41"), packetOf(XdsClass::Current, 2, "\x41\x41\x7C\x41"),
          packetOf(XdsClass::Current, 2, "\x41\x41\x41\x41\x7C\x40"), packetOf(XdsClass::Channel, 3, "\x7C\x41"),
          packetOf(XdsClass::Miscellaneous, 1, "\x40\x57\x7D\x62\x40\x62"),
          packetOf(XdsClass::Miscellaneous, 4, "\x58")}) {
        qlx::Findings found;
        EXPECT_EQ(xdsValue(packet, &found), XdsValue());
        ASSERT_EQ(found.size(), 1U);
        EXPECT_EQ(found[0].code, FindingCode::Cea608XdsValueWrong);
    }
    // The 13th month; types that are kept as they are.
    qlx::Findings findings;
    EXPECT_EQ(xdsValue(packetOf(XdsClass::Current, 1, "\x40\x40\x41\x4D"), &findings), XdsValue());
    EXPECT_EQ(findings.size(), 1U);
    EXPECT_EQ(xdsValue(packetOf(XdsClass::Miscellaneous, 0x40, "ab"), &findings), XdsValue());
    EXPECT_EQ(xdsValue(packetOf(XdsClass::PublicService, 1, "ab"), &findings), XdsValue());
    EXPECT_EQ(findings.size(), 1U);
}

TEST(XdsValues, AreNotCutInSilence) {
    const auto written = [](const XdsValue& value) {
        qlx::Findings findings;
        const auto packet = xdsPacket(value, false, &findings);
        std::string text;
        for (const std::uint8_t byte : packet ? packet->bytes : XdsPacket().bytes) {
            text += static_cast<char>(byte);
        }
        for (const qlx::Finding& finding : findings) {
            text += "|" + finding.text();
        }
        return text;
    };
    EXPECT_EQ(written(XdsProgramName{std::string(33, 'a')}),
              std::string(32, 'a') + "|extended data: text of 33 characters, 32 are sent");
    // A grave is a special character and A with a circumflex an extended one: neither is one of these texts.
    EXPECT_EQ(written(XdsProgramName{"\u00C2 x"}), "A x|character c2 is sent as 41");
    EXPECT_EQ(written(XdsProgramName{"\u00E0\u00B0\u00BD"}),
              "ao1/2|character e0 is sent as 61|character b0 is sent as 6f|character bd is sent as 31");
    EXPECT_EQ(written(XdsProgramName{"\u65E5"}), "?|character 65e5 is sent as 3f");
    // Four letters, whatever their bytes.
    EXPECT_EQ(written(XdsCallLetters{"K\u00C9", ""}), "KE  |character c9 is sent as 45");
    EXPECT_EQ(written(XdsCallLetters{"KABCD", ""}), "KABC|extended data: text of 5 characters, 4 are sent");
    // Scales without contents.
    EXPECT_EQ(written(XdsContentAdvisory{.system = XdsRatingSystem::Mpa, .rating = 2, .hasLanguage = true}),
              "|extended data: a number has no room in its packet (value 5)");
    EXPECT_EQ(written(XdsTapeDelay{3, 60}), "|extended data: a number has no room in its packet (value 12)");
    EXPECT_EQ(written(XdsCopyControl{.cgms = 4}), "|extended data: a number has no room in its packet (value 8)");
    EXPECT_EQ(written(std::monostate()), "");
}

TEST(Ratings, HaveNames) {
    for (const std::string_view name : {"G", "PG-13", "NC-17", "NR", "TV-Y", "TV-Y7 FV", "TV-PG D", "TV-14 DLSV",
                                        "TV-MA", "TV-MA LSV", "C8+", "14+", "18+", "8 ans+", "16 ans+"}) {
        const auto advisory = contentAdvisoryNamed(name);
        ASSERT_TRUE(advisory) << name;
        EXPECT_EQ(nameOf(*advisory), name);
    }
    EXPECT_EQ(
        contentAdvisoryNamed("tv-pg-ld"),
        (XdsContentAdvisory{.system = XdsRatingSystem::UsTv, .rating = 4, .hasDialogue = true, .hasLanguage = true}));
    for (const std::string_view name :
         {"", "TV-15", "TV-14 X", "TV-14 DD", "TV-Y7 V", "TV-Y V", "TV-G L", "TV-MA D", "PG D", "TV-14 ", "G13"}) {
        EXPECT_FALSE(contentAdvisoryNamed(name)) << name;
    }
    EXPECT_EQ(nameOf(XdsContentAdvisory{.system = XdsRatingSystem::Reserved6, .rating = 1}), "");
    EXPECT_EQ(xdsKeyword(0x20), "Education");
    EXPECT_EQ(xdsKeyword(0x3B), "Documentary");
    EXPECT_EQ(xdsKeyword(0x60), "Music");
    EXPECT_EQ(xdsKeyword(0x7F), "Western");
    EXPECT_EQ(xdsKeyword(0x80), "");
    EXPECT_EQ(xdsAudioType(2, true), "video descriptions");
    EXPECT_EQ(nameOf(XdsLanguage::German), "German");
}

}  // namespace
