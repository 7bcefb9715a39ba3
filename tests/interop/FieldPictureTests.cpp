// Hand-made streams of frames and of field pictures: the same frames as FFmpeg's decoder shows, made of the same fields.
#include "UnitBits.h"

#include <qlx/video/order.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace {

using qlx::video::Codec;
using qlxtest::UnitBits;
using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t kColumns = 16;
constexpr std::size_t kFrameBytes = kColumns * 32 * 3 / 2;

enum class Shape : std::uint8_t { Frame, Top, Bottom };

/// A picture of one grey, its mark: a frame of two macroblocks, or a field of one.
struct Picture {
    Shape shape = Shape::Frame;
    bool begins = false;  ///< An IDR picture, or the first one of a group.
    bool isReference = true;
    unsigned frameNumber = 0;  ///< Of H.264.
    unsigned order = 0;        ///< The low bits of the count, or temporal_reference.
    unsigned mark = 0;
    bool isSecond = false;  ///< The second field of a frame.
};

void append(Bytes& bytes, const Bytes& more) {
    bytes.insert(bytes.end(), more.begin(), more.end());
}

constexpr unsigned kFrameNumberBits = 4;
constexpr unsigned kOrderBits = 8;

/// Main profile, one macroblock wide, fields and frames; four frames may overtake another.
Bytes h264Parameters() {
    UnitBits sequence;
    sequence.bits(77, 8).bits(0, 8).bits(30, 8).ue(0).ue(kFrameNumberBits - 4).ue(0).ue(kOrderBits - 4);
    sequence.ue(4).bits(0, 1).ue(0).ue(0).bits(0, 2).bits(1, 1).bits(0, 1);
    sequence.bits(1, 1).bits(0, 8).bits(1, 1).bits(1, 1).ue(0).ue(0).ue(10).ue(10).ue(4).ue(4);
    Bytes bytes = sequence.unit(0x67);
    UnitBits picture;
    picture.ue(0).ue(0).bits(0, 2).ue(0).ue(0).ue(0).bits(0, 3).se(0).se(0).se(0).bits(1, 1).bits(0, 2);
    append(bytes, picture.unit(0x68));
    return bytes;
}

/// The pair of a picture: its mark.
Bytes tripletOf(unsigned mark) {
    return {0xFC, 0x80, static_cast<std::uint8_t>(mark)};
}

/// A message with that pair (Rec. ITU-T T.35, ATSC A/53 part 4), and the end of its unit.
Bytes captionMessage(unsigned mark) {
    Bytes unit{0, 0, 0, 1, 6, 4, 14, 0xB5, 0, 0x31, 0x47, 0x41, 0x39, 0x34, 3, 0xC1, 0xFF};
    append(unit, tripletOf(mark));
    append(unit, {0xFF, 0x80});
    return unit;
}

/// An intra picture whose macroblocks are the bytes themselves, which no filter touches.
Bytes h264Unit(const Picture& picture) {
    UnitBits slice;
    slice.ue(0).ue(7).ue(0).bits(picture.frameNumber % 16, kFrameNumberBits);
    slice.bits(picture.shape == Shape::Frame ? 0
               : picture.shape == Shape::Top ? 2
                                             : 3,
               picture.shape == Shape::Frame ? 1 : 2);
    if (picture.begins) {
        slice.ue(0);
    }
    slice.bits(picture.order % 256, kOrderBits);
    if (picture.begins || picture.isReference) {
        slice.bits(0, picture.begins ? 2 : 1);
    }
    constexpr std::uint32_t kPcm = 25;
    slice.se(0).ue(1);
    for (int block = 0; block < (picture.shape == Shape::Frame ? 2 : 1); ++block) {
        slice.ue(kPcm).bytes(384, static_cast<std::uint8_t>(picture.mark));
    }
    Bytes unit = picture.begins ? h264Parameters() : Bytes{};
    append(unit, captionMessage(picture.mark));
    append(unit,
           slice.unit(static_cast<std::uint8_t>((picture.isReference ? 0x60U : 0U) | (picture.begins ? 5U : 1U))));
    return unit;
}

/// Sequence header and extension of 16 x 32 at 25 frames a second, interlaced, and a group.
Bytes mpeg2Headers() {
    UnitBits bits;
    bits.bits(0x1B3, 32).bits(16, 12).bits(32, 12).bits(1, 4).bits(3, 4).bits(1000, 18).bits(1, 1).bits(20, 10);
    bits.bits(0, 3).align();
    bits.bits(0x1B5, 32).bits(1, 4).bits(0x48, 8).bits(0, 1).bits(1, 2).bits(0, 4).bits(0, 12).bits(1, 1).bits(0, 8);
    bits.bits(0, 8).align();
    bits.bits(0x1B8, 32).bits(0, 12).bits(1, 1).bits(0, 12).bits(1, 1).bits(0, 1).align();
    return bits.taken();
}

/// A picture of intra blocks that have a mean and nothing else. A decoder goes by the type, I or B, in its order.
Bytes mpeg2Unit(const Picture& picture) {
    UnitBits bits;
    bits.bits(0x100, 32).bits(picture.order, 10).bits(picture.isReference ? 1 : 3, 3).bits(0xFFFF, 16);
    bits.bits(picture.isReference ? 0 : 0x77, 8).align();
    const bool isFrame = picture.shape == Shape::Frame;
    const std::uint32_t structure = isFrame ? 3 : picture.shape == Shape::Top ? 1 : 2;
    bits.bits(0x1B5, 32).bits(8, 4).bits(0xFFFF, 16).bits(0, 2).bits(structure, 2);
    // A frame: its upper field first, its blocks as they stand.
    bits.bits(isFrame ? 3 : 0, 2).bits(0, 8).align();
    for (unsigned row = 0; row < (isFrame ? 2U : 1U); ++row) {
        // A step of 1 from the mean, 128, takes 7 bits (111110, table B.12).
        const unsigned step = picture.mark - 128;
        bits.bits(0x101 + row, 32).bits(1, 5).bits(0, 1).bits(1, 1);
        // Intra (tables B.2 and B.4).
        bits.bits(picture.isReference ? 1 : 3, picture.isReference ? 1 : 5);
        bits.bits(0x3E, 6).bits(step, 7).bits(2, 2);
        for (int block = 1; block < 4; ++block) {
            bits.bits(4, 3).bits(2, 2);
        }
        bits.bits(0, 2).bits(2, 2).bits(0, 2).bits(2, 2).align();
    }
    Bytes unit = picture.begins ? mpeg2Headers() : Bytes{};
    append(unit, bits.taken());
    return unit;
}

/// Frames, each whole or in two fields, groups of one and some that are presented before it.
std::vector<Picture> somePictures(Codec codec, unsigned seed, unsigned mostBefore = 3) {
    constexpr unsigned kCount = 150;
    std::mt19937 random(seed);
    std::vector<Picture> pictures;
    unsigned frameNumber = 0;
    unsigned last = 0;  // Frames up to the last reference, as presented.
    const auto add = [&](unsigned frame, bool begins, bool isReference) {
        // Of H.264 counts of fields; of MPEG-2 video the frame's number.
        const unsigned step = codec == Codec::H264 ? 2 : 1;
        const auto mark = static_cast<unsigned>(192 + pictures.size() % 60);
        Picture picture{
            .begins = begins, .isReference = isReference, .frameNumber = frameNumber, .order = step * frame};
        picture.mark = mark;
        if (random() % 3 != 0) {
            const bool isTopFirst = begins || random() % 2 == 0;
            picture.shape = isTopFirst ? Shape::Top : Shape::Bottom;
            pictures.push_back(picture);
            picture.shape = isTopFirst ? Shape::Bottom : Shape::Top;
            picture.begins = false;
            picture.order += step - 1;
            picture.mark = mark + 1;
            picture.isSecond = true;
        }
        pictures.push_back(picture);
    };
    while (pictures.size() < kCount) {
        const bool begins = pictures.empty() || random() % 10 == 0;
        const unsigned before = begins ? 0 : static_cast<unsigned>(random() % (mostBefore + 1));
        frameNumber = begins ? 0 : frameNumber;
        last = begins ? 0 : last + before + 1;
        add(last, begins, true);
        ++frameNumber;
        for (unsigned index = 0; index < before; ++index) {
            // In any order of their own with H.264; MPEG-2 video has no such pictures that overtake each other.
            const unsigned frame = codec == Codec::H264 ? (index + seed) % before : index;
            add(last - before + frame, false, false);
        }
    }
    return pictures;
}

/// The marks of a frame's rows.
std::string marksOfFrame(unsigned top, unsigned bottom) {
    return std::to_string(top) + "/" + std::to_string(bottom) + " ";
}

/// The first two rows of each frame.
std::string shownFrames(const std::string& shown) {
    std::string frames;
    for (std::size_t place = 0; place + kFrameBytes <= shown.size(); place += kFrameBytes) {
        frames +=
            marksOfFrame(static_cast<unsigned char>(shown[place]), static_cast<unsigned char>(shown[place + kColumns]));
    }
    return frames;
}

/// Compares the frames of some pictures with those that FFmpeg shows.
void expectSameFrames(Codec codec, unsigned seed) {
    using Frame = std::pair<unsigned, unsigned>;
    qlx::video::PictureOrder<Frame> order({codec});
    Bytes stream;
    std::string ours;
    const auto take = [&] {
        while (const std::optional<Frame> frame = order.take()) {
            ours += marksOfFrame(frame->first, frame->second);
        }
    };
    for (const Picture& picture : somePictures(codec, seed)) {
        const Bytes unit = codec == Codec::H264 ? h264Unit(picture) : mpeg2Unit(picture);
        append(stream, unit);
        const Frame marks{picture.shape == Shape::Bottom ? 0 : picture.mark,
                          picture.shape == Shape::Top ? 0 : picture.mark};
        order.add(unit, marks, [](Frame& first, const Frame& second) {
            first = {std::max(first.first, second.first), std::max(first.second, second.second)};
        });
        take();
    }
    order.finish();
    take();
    EXPECT_EQ(shownFrames(qlxtest::shownByFfmpeg(stream, codec == Codec::H264 ? "h264" : "mpegvideo")), ours) << seed;
}

TEST(FieldPictures, AreTheFramesOfFfmpeg) {
    if (!qlxtest::hasFfmpeg()) {
        GTEST_SKIP() << "ffmpeg is not installed: nothing was decoded";
    }
    for (const Codec codec : {Codec::H264, Codec::Mpeg2}) {
        for (unsigned seed = 1; seed <= 3; ++seed) {
            expectSameFrames(codec, seed);
        }
    }
}

/// The captions of each frame, as `qlxcc extract` lists them: those of all streams of pictures in files of a container.
std::vector<std::string> listedCaptions(const std::string& file) {
    const qlxtest::ToolResult result = qlxtest::runTool({"extract", file, "--json"});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    std::vector<std::string> captions;
    for (const std::string& line : qlxtest::linesOf(result.out)) {
        const std::string name = "\"data\":\"";
        const std::size_t place = line.find(name);
        captions.push_back(
            place == std::string::npos
                ? ""
                : line.substr(place + name.size(), line.find('"', place + name.size()) - place - name.size()));
    }
    return captions;
}

TEST(FieldPictures, AreOneFrameInContainersToo) {
    if (!qlxtest::hasFfmpeg()) {
        GTEST_SKIP() << "ffmpeg is not installed: nothing was put into containers";
    }
    const qlxtest::TemporaryFolder folder;
    Bytes stream;
    std::vector<std::string> expected;
    std::size_t pictures = 0;
    for (const Picture& picture : somePictures(Codec::H264, 4, 0)) {
        append(stream, h264Unit(picture));
        ++pictures;
        const std::string caption = qlxtest::toHex(tripletOf(picture.mark));
        if (picture.isSecond) {
            expected.back() += caption;
        } else {
            expected.push_back(caption);
        }
    }
    const std::string file = folder.write("a.h264", stream);
    EXPECT_EQ(listedCaptions(file).size(), pictures);
    // Each picture is a packet with a time of its own.
    const std::string times = "pts=N*1800+90000:dts=N*1800+90000:time_base=1/90000";
    for (const char* const name : {"a.ts", "a.mov", "a.mp4", "a.mpg"}) {
        const std::string command = "ffmpeg -nostdin -v error -f h264 -i '" + file + "' -c copy -bsf:v setts=" + times +
                                    " -y '" + folder.path(name) + "' >'" + folder.path("log") + "' 2>&1";
        EXPECT_EQ(std::system(command.c_str()), 0) << folder.read("log");
        EXPECT_EQ(listedCaptions(folder.path(name)), expected) << name;
    }
}

}  // namespace
