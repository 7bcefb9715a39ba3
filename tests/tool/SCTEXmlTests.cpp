// SCTE-35 sections as XML: what the schema can say comes back as the same bytes, and everything else is named.
//
// --gtest_random_seed=N runs others.
#include "SCTESupport.h"
#include "tests/scte/RandomFields.h"
#include "tests/scte/Scte35Bytes.h"

#include "scte/Scte35Layout.h"
#include "streams/SCTEXml.h"

namespace {

using namespace qlxtest;
using namespace qlx::scte;

using qlx::tool::ScteXmlError;
using qlx::tool::sectionsOfXml;
using qlx::tool::xmlOf;

using Lines = std::vector<std::string>;

std::string written(const SpliceInfoSection& section) {
    Lines losses;
    std::string text = xmlOf(section, losses);
    EXPECT_EQ(losses, Lines{}) << text;
    return text;
}

Lines lossesOf(const SpliceInfoSection& section) {
    Lines losses;
    (void)xmlOf(section, losses);
    return losses;
}

SpliceInfoSection onlySection(const std::string& text, const Lines& expectedNotes = {}) {
    Lines notes;
    auto sections = sectionsOfXml(text, notes);
    EXPECT_EQ(notes, expectedNotes) << text;
    EXPECT_EQ(sections.size(), 1U) << text;
    return sections.at(0);
}

std::string errorOf(const std::string& text) {
    Lines notes;
    try {
        (void)sectionsOfXml(text, notes);
    } catch (const ScteXmlError& error) {
        return error.what();
    }
    return "no error";
}

const std::string kStart =
    "<SpliceInfoSection xmlns=\"http://www.scte.org/schemas/35\" sapType=\"3\" ptsAdjustment=\"0\" "
    "protocolVersion=\"0\" tier=\"4095\">";
const std::string kEnd = "</SpliceInfoSection>";

/// A section in XML: what is behind its attributes.
void expectXml(const SpliceInfoSection& section, const std::string& inner) {
    const std::string text = kStart + inner + kEnd;
    EXPECT_EQ(written(section), text);
    EXPECT_EQ(onlySection(text), section) << text;
}

TEST(SCTEXml, SaysEveryCommand) {
    SpliceInfoSection section;
    expectXml(section, "<SpliceNull/>");
    section.command = BandwidthReservation{};
    expectXml(section, "<BandwidthReservation/>");
    section.command = TimeSignal{{0x072BD0050, 0x7F}};
    expectXml(section, "<TimeSignal><SpliceTime ptsTime=\"1924989008\"/></TimeSignal>");
    section.command = TimeSignal{};
    expectXml(section, "<TimeSignal><SpliceTime/></TimeSignal>");
    section.command = PrivateCommand{0x41424344, {0x01, 0xFF}};
    expectXml(section, "<PrivateCommand identifier=\"1094861636\"><PrivateBytes>01ff</PrivateBytes></PrivateCommand>");
    SpliceInsert insert;
    insert.eventId = 0x4800008F;
    insert.outOfNetwork = true;
    insert.time.ticks90k = 0x07369C02E;
    insert.breakDuration = BreakDuration{true, 0x00052CCF5, 0x3F};
    insert.uniqueProgramId = 5;
    insert.availNum = 1;
    insert.availsExpected = 2;
    section.command = insert;
    const std::string attributes = "<SpliceInsert spliceEventId=\"1207959695\" spliceEventCancelIndicator=\"false\" "
                                   "outOfNetworkIndicator=\"true\" spliceImmediateFlag=\"";
    const std::string rest =
        "\" eventIdComplianceFlag=\"true\" uniqueProgramId=\"5\" availNum=\"1\" availsExpected=\"2\">";
    const std::string duration = "<BreakDuration autoReturn=\"true\" duration=\"5426421\"/></SpliceInsert>";
    expectXml(section,
              attributes + "false" + rest + "<Program><SpliceTime ptsTime=\"1936310318\"/></Program>" + duration);
    insert.immediate = true;
    insert.time = {};
    section.command = insert;
    expectXml(section, attributes + "true" + rest + "<Program/>" + duration);
    insert.programSplice = false;
    insert.immediate = false;
    insert.components = {{1, {90000, 0x7F}}, {2, {}}};
    section.command = insert;
    expectXml(section, attributes + "false" + rest +
                           "<Component componentTag=\"1\"><SpliceTime ptsTime=\"90000\"/></Component>"
                           "<Component componentTag=\"2\"><SpliceTime/></Component>" +
                           duration);
    SpliceInsert cancel;
    cancel.eventId = 7;
    cancel.cancel = true;
    section.command = cancel;
    expectXml(section, "<SpliceInsert spliceEventId=\"7\" spliceEventCancelIndicator=\"true\"/>");
}

TEST(SCTEXml, SaysSchedulesByTheCalendar) {
    ScheduledSplice program;
    program.eventId = 1;
    program.outOfNetwork = true;
    // 32 years, 8 of them leap years, 256 days, 10 h 14 min 34 s.
    program.gpsSeconds = (32U * 365 + 8 + 256) * 86400 + 10 * 3600 + 14 * 60 + 34;
    ScheduledSplice components;
    components.eventIdCompliance = false;
    components.programSplice = false;
    components.components = {{4, 0}, {5, 0xFFFFFFFF}};
    SpliceInfoSection section;
    section.command = SpliceSchedule{{program, components}};
    const std::string rest = "\" uniqueProgramId=\"0\" availNum=\"0\" availsExpected=\"0\">";
    expectXml(section, "<SpliceSchedule><Event spliceEventId=\"1\" eventIdComplianceFlag=\"true\" "
                       "spliceEventCancelIndicator=\"false\" outOfNetworkIndicator=\"true" +
                           rest +
                           "<Program utcSpliceTime=\"2012-09-18T10:14:34Z\"/></Event>"
                           "<Event spliceEventId=\"0\" eventIdComplianceFlag=\"false\" "
                           "spliceEventCancelIndicator=\"false\" outOfNetworkIndicator=\"false" +
                           rest +
                           "<Component componentTag=\"4\" utcSpliceTime=\"1980-01-06T00:00:00Z\"/>"
                           "<Component componentTag=\"5\" utcSpliceTime=\"2116-02-12T06:28:15Z\"/></Event>"
                           "</SpliceSchedule>");
    const auto secondsOf = [](const std::string& date) {
        const SpliceInfoSection read = onlySection(kStart + "<SpliceSchedule><Event><Program utcSpliceTime=\"" + date +
                                                   "\"/></Event></SpliceSchedule>" + kEnd);
        return std::get<SpliceSchedule>(read.command).events.at(0).gpsSeconds;
    };
    EXPECT_EQ(secondsOf("1980-01-06T01:00:00+01:00"), 0U);
    EXPECT_EQ(secondsOf(" 1980-01-05T23:30:01.00-00:30 "), 1U);
    EXPECT_EQ(secondsOf("1980-01-06T00:00:05"), 5U);
    // The end of a day is the beginning of the next.
    EXPECT_EQ(secondsOf("1980-01-06T24:00:00Z"), 86400U);
    EXPECT_EQ(secondsOf("1980-01-05T24:00:00.000Z"), 0U);
    for (const char* const date :
         {"", "1980-01-05T23:59:59Z", "2116-02-12T06:28:16Z", "1981-02-29T00:00:00Z", "1981-02-28T24:00:01Z",
          "1981-02-28T24:01:00Z", "1981-02-28T25:00:00Z", "1981-02-28T00:00:00.5Z", "1981-02-28 00:00:00Z",
          "1981-02-28T00:00:00X", "1981-02-28T00:00:60Z", "1981-02-28T00:00:00+1:00"}) {
        EXPECT_EQ(errorOf(kStart + "<SpliceSchedule><Event><Program utcSpliceTime=\"" + date +
                          "\"/></Event></SpliceSchedule>" + kEnd),
                  "Program: utcSpliceTime must be a date and time of whole seconds from 1980-01-06 to 2116-02-12")
            << date;
    }
}

TEST(SCTEXml, SaysEveryDescriptor) {
    SpliceInfoSection section;
    section.descriptors = {{AvailDescriptor{309}, {}},
                           {DtmfDescriptor{50, 0x1F, {'1', '*', '#'}}, {}},
                           {TimeDescriptor{0xFFFFFFFFFFFF, 999999999, 37}, {}},
                           {AudioDescriptor{0x0F, {{0xFF, {'e', 'n', 'g'}, 7, 15, true}}}, {}},
                           {VerbatimDescriptor{0xF0, fromHex("41424344 0102")}, {}}};
    expectXml(section,
              "<SpliceNull/><AvailDescriptor providerAvailId=\"309\"/><DTMFDescriptor preroll=\"50\" chars=\"1*#\"/>"
              "<TimeDescriptor taiSeconds=\"281474976710655\" taiNs=\"999999999\" utcOffset=\"37\"/>"
              "<AudioDescriptor><AudioChannel componentTag=\"255\" ISOCode=\"eng\" BitStreamMode=\"7\" "
              "NumChannels=\"15\" FullSrvcAudio=\"1\"/></AudioDescriptor>"
              "<PrivateDescriptor descriptorTag=\"240\" identifier=\"1094861636\"><PrivateBytes>0102</PrivateBytes>"
              "</PrivateDescriptor>");
}

SpliceInfoSection segmentOf(Upid upid) {
    SegmentationDescriptor descriptor;
    descriptor.eventId = 1;
    descriptor.typeId = 0x30;
    descriptor.upid = std::move(upid);
    SpliceInfoSection section;
    section.descriptors = {{descriptor, {}}};
    return section;
}

TEST(SCTEXml, SaysSegmentations) {
    SegmentationDescriptor descriptor;
    descriptor.eventId = 0x4800008E;
    descriptor.restrictions = DeliveryRestrictions{false, true, false, 2};
    descriptor.duration90k = 0x0001A599B0;
    descriptor.upid = {UpidType::Ti, fromHex("000000002CA0A18A")};
    descriptor.typeId = 0x34;
    descriptor.segmentNum = 2;
    descriptor.subSegment = SubSegment{3, 4};
    descriptor.programSegmentation = false;
    descriptor.components = {{9, 0x7F, kGreatestTicks}};
    SegmentationDescriptor cancel;
    cancel.eventId = 5;
    cancel.cancel = true;
    cancel.eventIdCompliance = false;
    SpliceInfoSection section;
    section.descriptors = {{descriptor, {}}, {cancel, {}}};
    expectXml(section,
              "<SpliceNull/><SegmentationDescriptor segmentationEventId=\"1207959694\" "
              "segmentationEventCancelIndicator=\"false\" segmentationEventIdComplianceIndicator=\"true\" "
              "segmentationDuration=\"27630000\" segmentationTypeId=\"52\" segmentNum=\"2\" segmentsExpected=\"0\" "
              "subSegmentNum=\"3\" subSegmentsExpected=\"4\"><DeliveryRestrictions webDeliveryAllowedFlag=\"false\" "
              "noRegionalBlackoutFlag=\"true\" archiveAllowedFlag=\"false\" deviceRestrictions=\"2\"/>"
              "<SegmentationUpid segmentationUpidType=\"8\" segmentationUpidFormat=\"hexbinary\">000000002ca0a18a"
              "</SegmentationUpid><Component componentTag=\"9\" ptsOffset=\"8589934591\"/></SegmentationDescriptor>"
              "<SegmentationDescriptor segmentationEventId=\"5\" segmentationEventCancelIndicator=\"true\" "
              "segmentationEventIdComplianceIndicator=\"false\"/>");
}

TEST(SCTEXml, SaysUpids) {
    const auto upidsOf = [](const std::string& text) {
        const std::size_t first = text.find("<SegmentationUpid");
        return first == std::string::npos ? "" : text.substr(first, text.rfind("</SegmentationDescriptor") - first);
    };
    const auto element = [](const std::string& type, const std::string& format, const std::string& text) {
        return "<SegmentationUpid segmentationUpidType=\"" + type + "\" segmentationUpidFormat=\"" + format + "\">" +
               text + "</SegmentationUpid>";
    };
    const auto bytesOfText = [](std::string_view text) { return Bytes(text.begin(), text.end()); };
    const auto back = [](const std::string& text) {
        const std::string inner = "<SpliceNull/><SegmentationDescriptor segmentationEventId=\"1\" "
                                  "segmentationTypeId=\"48\">" +
                                  text + "</SegmentationDescriptor>";
        return std::get<SegmentationDescriptor>(onlySection(kStart + inner + kEnd).descriptors.at(0).data).upid;
    };
    const Upid adId{UpidType::AdId, bytesOfText("ABCD0123456H")};
    const Upid uri{UpidType::Uri, bytesOfText("urn:a?b&c<d")};
    const std::vector<std::pair<Upid, std::string>> cases{
        {{}, ""},
        {adId, element("3", "text", "ABCD0123456H")},
        {uri, element("15", "text", "urn:a?b&amp;c&lt;d")},
        // A space at an end, two of them, and what is no text.
        {{UpidType::Adi, bytesOfText(" a")}, element("9", "hexbinary", "2061")},
        {{UpidType::Adi, bytesOfText("a  b")}, element("9", "hexbinary", "61202062")},
        {{UpidType::Uri, {0x0A}}, element("15", "hexbinary", "0a")},
        {{UpidType::Uri, {}}, "<SegmentationUpid segmentationUpidType=\"15\" segmentationUpidFormat=\"hexbinary\"/>"},
        {{UpidType::Eidr, fromHex("147CE0F92EF1ADAC2B4B0A00")}, element("10", "hexbinary", "147ce0f92ef1adac2b4b0a00")},
        {{UpidType::Mpu, fromHex("4F564C5949")},
         "<SegmentationUpid segmentationUpidType=\"12\" formatIdentifier=\"1331055705\" "
         "segmentationUpidFormat=\"hexbinary\">4f564c5949</SegmentationUpid>"},
        {{UpidType::Mid, *midOfUpids(std::vector{adId, uri})},
         element("3", "text", "ABCD0123456H") + element("15", "text", "urn:a?b&amp;c&lt;d")},
        {{UpidType::Mid, *midOfUpids(std::vector{adId})}, element("13", "hexbinary", "030c414243443031323334353648")},
        {{UpidType::Mid, {3, 12}}, element("13", "hexbinary", "030c")}};
    for (const auto& [upid, text] : cases) {
        EXPECT_EQ(upidsOf(written(segmentOf(upid))), text);
        EXPECT_EQ(back(text), upid) << text;
    }
    // As they are seen as well.
    EXPECT_EQ(back(element("14", "hexBinary", " 012345\n")), (Upid{UpidType::AdsInformation, {0x01, 0x23, 0x45}}));
    EXPECT_EQ(back(element("15", "base-64", "AQID")), (Upid{UpidType::Uri, {1, 2, 3}}));
    EXPECT_EQ(back("<SegmentationUpid segmentationUpidType=\"12\" formatIdentifier=\"1331055705\">49"
                   "</SegmentationUpid>"),
              (Upid{UpidType::Mpu, fromHex("4F564C5949")}));
    EXPECT_EQ(back("<SegmentationUpid segmentationUpidType=\"3\">AB<!-- --><![CDATA[C]]></SegmentationUpid>"),
              (Upid{UpidType::AdId, bytesOfText("ABC")}));
}

TEST(SCTEXml, TellsNamespacesByTheirNames) {
    const auto tierOf = [](const std::string& text, const Lines& notes = {}) { return onlySection(text, notes).tier; };
    const std::string null = "<a:SpliceNull/></a:SpliceInfoSection>";
    for (const char* const name :
         {"http://www.scte.org/schemas/35", "http://www.scte.org/schemas/35/2016", "https://scte.org/schemas/35",
          "urn:scte:scte35:2013:xml", "urn:scte:scte35:2014:xml+bin"}) {
        EXPECT_EQ(tierOf("<a:SpliceInfoSection xmlns:a='" + std::string(name) + "' tier=' 7 '>" + null), 7);
    }
    // Attributes with the prefix, and in elements of others.
    EXPECT_EQ(tierOf("<?xml version='1.0'?><MPD xmlns='urn:mpeg:dash:schema:mpd:2011'><Event tier='8' "
                     "xmlns:a='http://www.scte.org/schemas/35'><a:Signal><a:SpliceInfoSection a:tier='7'>" +
                     null + "</a:Signal></Event></MPD>"),
              7);
    EXPECT_EQ(
        tierOf("<a:SpliceInfoSection xmlns:a='http://www.scte.org/schemas/35' xmlns:b='urn:b' b:tier='7' "
               "teir='1'><a:Ext/><b:c/>" +
                   null,
               {"SpliceInfoSection: the attribute b:tier is left out",
                "SpliceInfoSection: the attribute teir is left out", "SpliceInfoSection: the element a:Ext is left out",
                "SpliceInfoSection: the element b:c is left out"}),
        kEveryTier);
    // The prefix alone is none.
    const std::string none = "no SpliceInfoSection of the namespace http://www.scte.org/schemas/35";
    EXPECT_EQ(errorOf("<scte35:SpliceInfoSection><scte35:SpliceNull/></scte35:SpliceInfoSection>"), none);
    EXPECT_EQ(errorOf("<SpliceInfoSection xmlns='urn:other'><SpliceNull/></SpliceInfoSection>"), none);
    EXPECT_EQ(errorOf("<SpliceInfoSection xmlns='http://www.scte.org/schemas/356'><SpliceNull/></SpliceInfoSection>"),
              none);
    EXPECT_EQ(tierOf("<Signal xmlns='http://www.scte.org/schemas/35'><Binary> "
                     "/DA0AAAAAAAA///wBQb+cr0AUAAeAhxDVUVJSAAAjn/PAAGlmbAICAAAAAAsoKGKNAIAmsnRfg== </Binary></Signal>"),
              kEveryTier);
}

TEST(SCTEXml, SaysWhatItCannotRead) {
    const auto inner = [](const std::string& text) { return errorOf(kStart + "\n" + text + kEnd); };
    EXPECT_EQ(errorOf("<a>\n</b>").substr(0, 17), "line 2: not XML: ");
    EXPECT_EQ(errorOf("<!DOCTYPE a [<!ENTITY b 'c'>]><a/>"),
              "a document type with declarations of its own is not read");
    EXPECT_EQ(errorOf("<!DOCTYPE a SYSTEM 'b'><a/>"),
              "no SpliceInfoSection of the namespace http://www.scte.org/schemas/35");
    std::string deep;
    for (int level = 0; level < 100000; ++level) {
        deep += "<a>";
    }
    for (int level = 0; level < 100000; ++level) {
        deep += "</a>";
    }
    EXPECT_EQ(errorOf(deep), "XML nested deeper than 64 levels");
    EXPECT_EQ(errorOf("\n<a b='1' b='2'/>"), "line 2: a: b stands there twice");
    std::string wide = "<a";
    for (int number = 0; number < 65; ++number) {
        wide += " b" + std::to_string(number) + "=''";
    }
    EXPECT_EQ(errorOf(wide + "/>"), "line 1: an element has more than 64 attributes");
    EXPECT_EQ(inner(""), "SpliceInfoSection: no command");
    EXPECT_EQ(inner("<SpliceNull/><SpliceNull/>"), "SpliceInfoSection: SpliceNull is a second command");
    EXPECT_EQ(inner("<EncryptedPacket encryptionAlgorithm='1' cwIndex='1'/><SpliceNull/>"),
              "SpliceInfoSection: EncryptedPacket asks for encryption, which is not made here");
    EXPECT_EQ(inner("<TimeSignal><SpliceTime ptsTime='8589934592'/></TimeSignal>"),
              "SpliceTime: ptsTime must be a whole number from 0 to 8589934591");
    for (const char* const number : {"", "-1", "1.0", "0x1", "18446744073709551617"}) {
        EXPECT_EQ(inner("<SpliceNull/><AvailDescriptor providerAvailId='" + std::string(number) + "'/>"),
                  "AvailDescriptor: providerAvailId must be a whole number from 0 to 4294967295")
            << number;
    }
    EXPECT_EQ(inner("<SpliceInsert spliceImmediateFlag='yes'/>"),
              "SpliceInsert: spliceImmediateFlag must be true or false");
    EXPECT_EQ(inner("<SpliceInsert><Program/><Component componentTag='1'/></SpliceInsert>"),
              "SpliceInsert: Component stands beside a Program");
    EXPECT_EQ(inner("<SpliceInsert><Program/><Program/></SpliceInsert>"), "SpliceInsert: Program stands there twice");
    for (const char* const component :
         {"<SpliceInsert><Component/></SpliceInsert>", "<SpliceSchedule><Event><Component/></Event></SpliceSchedule>",
          "<SpliceNull/><SegmentationDescriptor><Component/></SegmentationDescriptor>"}) {
        EXPECT_EQ(inner(component), "Component: componentTag is missing") << component;
    }
    EXPECT_EQ(inner("<SpliceNull/><AudioDescriptor><AudioChannel ISOCode='eng'/></AudioDescriptor>"),
              "AudioChannel: componentTag is missing");
    EXPECT_EQ(inner("<SpliceSchedule><Event spliceEventId='1'/></SpliceSchedule>"),
              "Event: Program or a Component must say when");
    EXPECT_EQ(inner("<PrivateCommand><PrivateBytes>0</PrivateBytes></PrivateCommand>"),
              "PrivateCommand: PrivateBytes must be pairs of hexadecimal digits");
    EXPECT_EQ(inner("<SpliceNull/><DTMFDescriptor chars='A'/>"), "DTMFDescriptor: chars must be digits, * and #");
    EXPECT_EQ(inner("<SpliceNull/><AudioDescriptor><AudioChannel componentTag='1' ISOCode='en'/></AudioDescriptor>"),
              "AudioChannel: ISOCode must be three letters");
    EXPECT_EQ(inner("<SpliceNull/><SegmentationDescriptor><SegmentationUpid segmentationUpidType='10'>xy"
                    "</SegmentationUpid></SegmentationDescriptor>"),
              "SegmentationUpid: segmentationUpidFormat and the characters do not fit (text, hexbinary, base-64)");
    EXPECT_EQ(errorOf("<Binary xmlns='http://www.scte.org/schemas/35'>/DA=</Binary>").substr(0, 14), "Binary: byte 2");
}

TEST(SCTEXml, NotesWhatItPassesOver) {
    const std::string immediate = kStart + "<SpliceInsert spliceImmediateFlag='1'>";
    const Lines notes{"SpliceInsert: the time of an immediate splice is left out"};
    const auto insertOf = [&](const std::string& inner, const Lines& expected) {
        return std::get<SpliceInsert>(onlySection(immediate + inner + "</SpliceInsert>" + kEnd, expected).command);
    };
    const SpliceInsert program = insertOf("<Program><SpliceTime ptsTime='1'/></Program>", notes);
    EXPECT_TRUE(program.immediate && program.programSplice);
    const SpliceInsert components =
        insertOf("<Component componentTag='1'><SpliceTime ptsTime='1'/></Component>", notes);
    EXPECT_TRUE(components.immediate && components.components.size() == 1);
    EXPECT_EQ(insertOf("<Program><SpliceTime/></Program>", {}), program);
    EXPECT_EQ(insertOf("<Program componentTag='1'/>", {"Program: the attribute componentTag is left out"}), program);
    std::string many = kStart + "<SpliceNull/>";
    for (int number = 0; number < 1000; ++number) {
        many += "<a/>";
    }
    Lines first(100, "SpliceInfoSection: the element a is left out");
    first.emplace_back("more is left out");
    EXPECT_TRUE(std::holds_alternative<SpliceNull>(onlySection(many + kEnd, first).command));
}

TEST(SCTEXml, NamesWhatItCannotSay) {
    SpliceInfoSection section;
    section.cwIndex = 0xFF;
    section.encryptionAlgorithm = 1;
    section.privateIndicator = true;
    section.sectionSyntaxIndicator = true;
    section.alignmentStuffing = {0};
    section.commandTrailing = {0};
    section.descriptorTrailing = {0};
    section.statedCommandLength = kCommandLengthNotGiven;
    section.statedCrc = 0;
    section.command = TimeSignal{{1, 0}};
    section.descriptors = {{AvailDescriptor{1}, {0}}, {DtmfDescriptor{1, 0, {}}, {}}};
    EXPECT_EQ(
        lossesOf(section),
        (Lines{"section_syntax_indicator", "private_indicator", "encryption_algorithm", "cw_index",
               "reserved bits of the command, or components that are none", "bytes behind the fields of the command",
               "descriptor 1: bytes behind its fields", "descriptor 2: reserved bits, or components that are none",
               "bytes behind the descriptors", "alignment_stuffing", "splice_command_length", "CRC_32"}));
    const auto refusal = [](SpliceInfoSection one) {
        try {
            return lossesOf(one).size() == 1 ? std::string("said") : "lost";
        } catch (const ScteXmlError& error) {
            return std::string(error.what());
        }
    };
    SpliceInfoSection encrypted;
    encrypted.command = EncryptedContent{};
    EXPECT_EQ(refusal(encrypted), "an encrypted section has no XML");
    SpliceInfoSection unknown;
    unknown.command = VerbatimCommand{9, {}};
    EXPECT_EQ(refusal(unknown), "a command of type 9 that is kept as it is has no XML");
    SpliceInfoSection empty;
    empty.command = SpliceSchedule{{ScheduledSplice{}}};
    std::get<SpliceSchedule>(empty.command).events[0].programSplice = false;
    EXPECT_EQ(refusal(empty), "a schedule of components that has none has no XML");
    const auto ofDescriptor = [&](SpliceDescriptorData data) {
        SpliceInfoSection one;
        one.descriptors = {{std::move(data), {}}};
        return refusal(one);
    };
    EXPECT_EQ(ofDescriptor(VerbatimDescriptor{1, {0, 0, 0}}), "a descriptor without an identifier has no XML");
    EXPECT_EQ(ofDescriptor(DtmfDescriptor{0, 0x1F, {'A'}}), "DTMF characters that are no digits, * or # have no XML");
    EXPECT_EQ(ofDescriptor(AudioDescriptor{0x0F, {{1, {0, 0, 0}, 0, 0, false}}}),
              "a language that is not three letters has no XML");
}

TEST(SCTEXml, SectionsComeBackOrAreNamed) {
    unsigned same = 0;
    unsigned lossy = 0;
    for (unsigned seed = firstSeed(); seed < firstSeed() + kRandomRounds / 10; ++seed) {
        RandomFields random(seed);
        SpliceInfoSection section;
        section.ptsAdjustment90k = random.below(kGreatestTicks);
        section.tier = static_cast<std::uint16_t>(random.below(kEveryTier));
        section.sapType = static_cast<std::uint8_t>(random.below(3));
        random.number(section.protocolVersion);
        fillAny<0>(section.command, random);
        section.descriptors.resize(section.isEncrypted() ? 0 : random.below(2));
        for (SpliceDescriptor& descriptor : section.descriptors) {
            fillAny<0>(descriptor.data, random);
            if (auto* const segmentation = std::get_if<SegmentationDescriptor>(&descriptor.data)) {
                segmentation->upid.bytes.resize(segmentation->upid.bytes.size() % 32);
            }
        }
        Bytes bytes = writtenSection(section);
        if (random.below(9) == 0) {
            random.number(bytes[3 + random.below(bytes.size() - 4)]);
        }
        const auto read = parseSpliceInfoSection(bytes);
        if (!read) {
            continue;
        }
        Lines losses;
        std::string text;
        try {
            text = xmlOf(*read, losses);
        } catch (const ScteXmlError&) {
            continue;
        }
        const SpliceInfoSection back = onlySection(text);
        ASSERT_EQ(back == *read, losses.empty()) << seed << text;
        if (losses.empty()) {
            ASSERT_EQ(written(back), text) << seed;
            ASSERT_EQ(writtenSection(back), bytes) << seed << text;
        }
        ++(losses.empty() ? same : lossy);
    }
    EXPECT_GT(same, kRandomRounds / 40);
    EXPECT_GT(lossy, kRandomRounds / 400);
}

TEST(SCTE35, ReadsAndWritesXml) {
    const TemporaryFolder folder;
    // Sample 14.1 of ANSI/SCTE 35, whose cw_index is FF.
    const std::string base64 = "/DA0AAAAAAAA///wBQb+cr0AUAAeAhxDVUVJSAAAjn/PAAGlmbAICAAAAAAsoKGKNAIAmsnRfg==";
    const std::string file = folder.path("a.xml");
    const ToolResult made = runTool({"scte35", base64, "--from-format", "section", "-o", file});
    EXPECT_EQ(made.exitCode, 0);
    EXPECT_EQ(made.err, "qlxcc: warning: " + base64 + ": section 1: cw_index is left out: XML has no place for it\n");
    const std::string line = folder.read("a.xml");
    EXPECT_EQ(qlxtest::linesOf(line).size(), 1U);
    const std::string section = outputOf({"scte35", file, "--from-format", "section"});
    EXPECT_EQ(section.substr(0, 30), "fc3034000000000000"
                                     "00fff00506fe");
    EXPECT_EQ(outputOf({"scte35", "-", "--from-format", "section"}, line + line), section + section);
    EXPECT_EQ(outputOf({"scte35", "-", "--from-format", "section", "--to-format", "xml"}, section), line);
    EXPECT_NE(outputOf(build({"--from-scte35", file, "--pts", "1924989008"})), "");
    const ToolResult wrong = runTool({"scte35", folder.write("b.xml", "\n<a>"), "--from-format", "section"});
    EXPECT_EQ(wrong.exitCode, 1);
    EXPECT_EQ(wrong.err.substr(0, wrong.err.find("not XML")), "qlxcc: " + folder.path("b.xml") + ": line 2: ");
    const ToolResult noted = runTool(
        {"scte35", "-", "--from-format", "section"},
        {.input = "<SpliceInfoSection xmlns='http://www.scte.org/schemas/35' preRollMilliSeconds='4000'><SpliceNull/>"
                  "</SpliceInfoSection>"});
    EXPECT_EQ(noted.exitCode, 0);
    EXPECT_EQ(noted.err, "qlxcc: warning: standard input: SpliceInfoSection: the attribute preRollMilliSeconds is left "
                         "out\n");
}

}  // namespace
