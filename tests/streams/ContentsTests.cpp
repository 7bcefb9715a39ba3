// What is in the frames of a stream.
#include "ExactBuffer.h"
#include "StreamFrames.h"

#include <qlx/cea608/codes.h>
#include <qlx/cea608/xds.h>
#include <qlx/playout/teletext.h>
#include <qlx/streams/contents.h>
#include <qlx/teletext/enhancement.h>
#include <qlx/teletext/sets.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace {

using qlx::Data;
using qlx::streams::Content;
using qlx::streams::ContentKind;
using qlx::streams::ContentReader;
using qlx::streams::Frame;
using qlxtest::fromHex;

/// A frame of 25 a second whose captions came with the picture.
Frame frameOf(std::uint64_t number, std::string_view triplets) {
    Frame frame;
    frame.number = number;
    frame.pts = qlx::MediaTime::make(static_cast<std::int64_t>(number), 25);
    frame.triplets = Data(fromHex(triplets));
    return frame;
}

/// What there is in frames with these triplets, each in a frame of its own.
std::vector<Content> contentsOf(const std::vector<std::string>& frames) {
    ContentReader reader;
    std::uint64_t number = 0;
    for (const std::string& triplets : frames) {
        reader.receive(frameOf(number++, triplets));
    }
    return reader.contents();
}

/// The only one of its name.
Content contentNamed(const std::vector<Content>& contents, std::string_view name) {
    Content found;
    for (const Content& content : contents) {
        if (content.name == name) {
            EXPECT_TRUE(found.name.empty()) << name;
            found = content;
        }
    }
    EXPECT_EQ(found.name, name);
    return found;
}

// RCL, row 15, AB, EOC; then CD is loaded and shown, and EDM.
TEST(StreamContents, CountCaptionsThatPopOn) {
    const auto contents = contentsOf({"fc9420", "fc9470", "fcc1c2", "fc942f", "fc9420", "fc94ae", "fc9470", "fc43c4",
                                      "fc942f", "fc8080", "fc942c", "fc8080"});
    ASSERT_EQ(contents.size(), 1U);
    EXPECT_EQ(contents[0].kind, ContentKind::CaptionChannel);
    EXPECT_EQ(contents[0].name, "CC1");
    EXPECT_EQ(contents[0].captions, 2U);
    EXPECT_EQ(contents[0].firstFrame, 3U);
    EXPECT_EQ(contents[0].lastFrame, 9U);
    EXPECT_EQ(contents[0].first, qlx::MediaTime::make(3, 25));
    EXPECT_EQ(contents[0].last, qlx::MediaTime::make(9, 25));
    EXPECT_EQ(contents[0].language, "");
}

// In field 2 of data channel 1: RU2, CR, "AB", "CD", CR (twice, as one), "EF". Letters that come behind others make no
// other caption, a row does.
TEST(StreamContents, CountRowsThatRollUp) {
    const auto contents = contentsOf({"fd1525", "fd15ad", "fdc1c2", "fd43c4", "fd15ad", "fd15ad", "fd4546"});
    ASSERT_EQ(contents.size(), 1U);
    EXPECT_EQ(contents[0].name, "CC3");
    EXPECT_EQ(contents[0].captions, 2U);
    EXPECT_EQ(contents[0].firstFrame, 2U);
    EXPECT_EQ(contents[0].lastFrame, 6U);
}

// RDC, "A", "B" on row 15, then a second row above them: one caption. A text beside it is one of its own.
TEST(StreamContents, CountWhatIsPaintedOnOnce) {
    const auto contents =
        contentsOf({"fc9429", "fc9470", "fcc180", "fcc280", "fc94d0", "fc43c4", "fc942a", "fcc8e9", "fc9429"});
    ASSERT_EQ(contents.size(), 2U);
    EXPECT_EQ(contentNamed(contents, "CC1").captions, 1U);
    const Content text = contentNamed(contents, "T1");
    EXPECT_EQ(text.kind, ContentKind::TextChannel);
    EXPECT_EQ(text.captions, 1U);
    EXPECT_EQ(text.firstFrame, 7U);
    EXPECT_EQ(text.lastFrame, 8U);
}

// RDC, row 15, "ae", and the extended character that takes the place of the "e" (12 36); then "AB" behind it. But captions
// that pop on are others, also where they end otherwise only: "AB", "AC".
TEST(StreamContents, TakeNoExtendedCharacterForAnotherCaption) {
    EXPECT_EQ(contentNamed(contentsOf({"fc9429", "fc9470", "fc61e5", "fc92b6", "fcc1c2"}), "CC1").captions, 1U);
    EXPECT_EQ(contentNamed(contentsOf({"fc9420", "fc9470", "fcc1c2", "fc942f", "fc9420", "fc94ae", "fc9470", "fcc143",
                                       "fc942f"}),
                           "CC1")
                  .captions,
              2U);
}

// RCL, row 15, AB, EOC in frame 3, and EDM in frame 50: nothing stands between them in the file.
TEST(StreamContents, LastUpToTheFrameThatChangesThem) {
    ContentReader reader;
    const std::pair<std::uint64_t, std::string_view> frames[] = {
        {0, "fc9420"}, {1, "fc9470"}, {2, "fcc1c2"}, {3, "fc942f"}, {50, "fc942c"}};
    for (const auto& [number, triplets] : frames) {
        reader.receive(frameOf(number, triplets));
    }
    const Content channel = contentNamed(reader.contents(), "CC1");
    EXPECT_EQ(channel.firstFrame, 3U);
    EXPECT_EQ(channel.lastFrame, 49U);
    EXPECT_DOUBLE_EQ(qlx::secondsFrom(channel.last.value()), 49 / 25.0);
}

// Service 2: the packet announces 14 bytes, of which 12 come: DF0 visible with one row of two columns, and "Hi".
TEST(StreamContents, TakeWhatCameOfAPacketWithoutAnEnd) {
    ContentReader reader;
    reader.receive(frameOf(7, "ff0749fe9820fe0000fe0001fe1148fe6900"));
    EXPECT_TRUE(reader.contents().empty());
    reader.finish();
    const Content service = contentNamed(reader.contents(), "2");
    EXPECT_EQ(service.captions, 1U);
    EXPECT_EQ(service.firstFrame, 7U);
}

// Extended data: the programme's name "AB" (01 03 41 42 00 0F checksum), sent twice. The sum of 01 03 41 42 0f is 96h, so
// that the checksum is 6Ah.
TEST(StreamContents, CountPacketsOfExtendedData) {
    const std::vector<std::string> packet{"fd0183", "fdc1c2", "fd8fea"};
    std::vector<std::string> frames = packet;
    frames.insert(frames.end(), packet.begin(), packet.end());
    const auto contents = contentsOf(frames);
    ASSERT_EQ(contents.size(), 1U);
    EXPECT_EQ(contents[0].kind, ContentKind::ExtendedData);
    EXPECT_EQ(contents[0].captions, 2U);
    EXPECT_EQ(contents[0].firstFrame, 2U);
    EXPECT_EQ(contents[0].lastFrame, 5U);
}

// Service 2: DF0 visible with one row of two columns, "Hi"; DLY of a tenth of a second and DLW of window 0 behind it:
// gone with the third frame of 25 a second behind it. Service 1 sends a null.
TEST(StreamContents, FollowServicesThroughTheirDelays) {
    const auto contents =
        contentsOf({"ff0649fe9820fe0000fe0001fe1148fe6900", "ff4221fe0300", "ff8344fe8d01fe8c01", "", "", "", "", ""});
    const Content service = contentNamed(contents, "2");
    EXPECT_EQ(service.kind, ContentKind::CaptionService);
    EXPECT_EQ(service.captions, 1U);
    EXPECT_EQ(service.firstFrame, 0U);
    EXPECT_EQ(service.lastFrame, 4U);
}

// Extended data say what is written in CC1: caption services of the current programme.
TEST(StreamContents, NameTheLanguagesOfCaptionChannels) {
    using qlx::cea608::XdsLanguage;
    const std::pair<XdsLanguage, std::string_view> languages[] = {
        {XdsLanguage::English, "eng"}, {XdsLanguage::Spanish, "spa"}, {XdsLanguage::French, "fre"},
        {XdsLanguage::German, "ger"},  {XdsLanguage::Italian, "ita"}, {XdsLanguage::Other, ""}};
    for (const auto& [language, expected] : languages) {
        qlx::cea608::XdsCaptionServices services;
        services.services = {{language, qlx::cea608::kCC1}};
        const auto packet = qlx::cea608::xdsPacket(services);
        ASSERT_TRUE(packet);
        std::vector<qlx::cea608::Pair> pairs;
        qlx::cea608::appendXdsPairs(*packet, pairs);
        ContentReader reader;
        std::uint64_t number = 0;
        for (const qlx::cea608::Pair pair : pairs) {
            const qlx::cea608::Pair sent = qlx::cea608::withOddParity(pair);
            Frame frame = frameOf(number++, "");
            frame.triplets = Data{0xFD, sent.first, sent.second};
            reader.receive(frame);
        }
        for (const std::string_view triplets : {"fc9420", "fc9470", "fcc1c2", "fc942f", "fc8080"}) {
            reader.receive(frameOf(number++, triplets));
        }
        EXPECT_EQ(contentNamed(reader.contents(), "CC1").language, expected);
    }
}

/// The language of page 888 with a digit on it, in the character set of a language.
std::string languageOfPage(std::string_view language, bool isOfMagazine) {
    const std::uint8_t designation = qlx::teletext::designationOf(language).value();
    constexpr std::uint8_t kControlBits = 7;
    qlx::playout::TeletextPlayout playout(qlx::FrameRate::Fps25);
    qlx::subtitles::Cue cue;
    cue.start = qlx::MediaTime::make(1, 25);
    cue.end = qlx::MediaTime::make(9, 25);
    cue.rows.emplace_back().runs.emplace_back().text = "1";
    // Receivers of Western Europe take the three bits of the header for themselves, unless they are told a designation.
    const std::uint8_t sent = isOfMagazine ? static_cast<std::uint8_t>(designation & kControlBits) : designation;
    EXPECT_TRUE(playout.add(cue, {.page = 0x888, .designation = sent}));
    ContentReader reader;
    Frame frame;
    if (isOfMagazine) {
        // In front of the first header, and once more while there is a page.
        const auto packet = qlx::teletext::magazineDesignationPacket(8, designation);
        const auto bytes = qlx::teletext::writePacket(*packet);
        qlx::teletext::SdpLine& line = frame.teletext.emplace_back();
        line.descriptor = 0x87;
        EXPECT_EQ(bytes->size(), line.bytes.size());
        std::copy(bytes->begin(), bytes->end(), line.bytes.begin());
    }
    reader.receive(frame);
    while (!playout.isDone()) {
        frame.packets = playout.next();
        frame.number = playout.frame();
        reader.receive(frame);
    }
    const auto contents = reader.contents();
    return contentNamed(contents, "888").language;
}

TEST(StreamContents, NameTheLanguagesOfTeletextPages) {
    // Sets that are made for several languages say none.
    const std::pair<std::string_view, std::string_view> languages[] = {
        {"en", "eng"}, {"de", "ger"}, {"it", "ita"}, {"fr", "fre"}, {"pl", "pol"}, {"tr", "tur"}, {"et", "est"},
        {"uk", "ukr"}, {"el", "gre"}, {"ar", "ara"}, {"he", "heb"}, {"sv", ""},    {"ru", ""}};
    for (const auto& [language, expected] : languages) {
        EXPECT_EQ(languageOfPage(language, false), expected) << language;
        EXPECT_EQ(languageOfPage(language, true), expected) << language;
    }
    // A program's map says it of a page; what is none of three letters says nothing.
    ContentReader reader;
    reader.nameLanguage(0x888, "nor");
    reader.nameLanguage(0x888, "und");
    reader.nameLanguage(0x888, "n1r");
    reader.nameLanguage(0x888, "no");
    qlx::playout::TeletextPlayout playout(qlx::FrameRate::Fps25);
    qlx::subtitles::Cue cue;
    cue.start = qlx::MediaTime::make(1, 25);
    cue.end = qlx::MediaTime::make(9, 25);
    cue.rows.emplace_back().runs.emplace_back().text = "1";
    EXPECT_TRUE(playout.add(cue));
    while (!playout.isDone()) {
        Frame frame;
        frame.packets = playout.next();
        reader.receive(frame);
    }
    EXPECT_EQ(contentNamed(reader.contents(), "888").language, "nor");
}

}  // namespace
