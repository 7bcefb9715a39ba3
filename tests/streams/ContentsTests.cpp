// What is in the frames of a stream.
#include "ExactBuffer.h"
#include "StreamFrames.h"

#include <qlx/streams/contents.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <string_view>
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

}  // namespace
