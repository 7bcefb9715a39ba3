// The order of presentation of hand-made H.264 pictures, whose counts begin anew in mid-sequence, as FFmpeg's decoder
// gives it.
#include "ExactBuffer.h"
#include "UnitBits.h"

#include <qlx/video/order.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace {

using qlx::video::Codec;
using qlxtest::UnitBits;
using Bytes = std::vector<std::uint8_t>;

constexpr unsigned kFrameNumberBits = 4;
constexpr unsigned kOrderBits = 6;

/// Main profile, a picture of one macroblock, four of which may overtake another.
Bytes parametersOf(unsigned orderType) {
    UnitBits sequence;
    sequence.bits(77, 8).bits(0, 8).bits(30, 8).ue(0).ue(kFrameNumberBits - 4).ue(orderType);
    if (orderType == 0) {
        sequence.ue(kOrderBits - 4);
    } else if (orderType == 1) {
        // Deltas; pictures of no reference 6 less; one reference of 8 a cycle.
        sequence.bits(0, 1).se(-6).se(0).ue(1).se(8);
    }
    sequence.ue(4).bits(0, 1).ue(0).ue(0).bits(1, 1).bits(1, 1).bits(0, 1);
    // Usability information: only the last part, which limits the reordering.
    sequence.bits(1, 1).bits(0, 8).bits(1, 1).bits(1, 1).ue(0).ue(0).ue(10).ue(10).ue(orderType == 2 ? 0 : 4).ue(4);
    Bytes bytes = sequence.unit(0x67);
    UnitBits picture;
    picture.ue(0).ue(0).bits(0, 2).ue(0).ue(0).ue(0).bits(0, 3).se(0).se(0).se(0).bits(1, 1).bits(0, 2);
    const Bytes second = picture.unit(0x68);
    bytes.insert(bytes.end(), second.begin(), second.end());
    return bytes;
}

struct Picture {
    bool isIdr = false;
    bool isReference = true;
    bool beginsAnew = false;
    unsigned frameNumber = 0;
    int order = 0;  ///< The low bits of type 0, the delta of type 1.
    std::uint8_t mark = 0;
};

/// An intra picture of bytes that are its mark.
Bytes sliceOf(const Picture& picture, unsigned orderType, unsigned sequences) {
    UnitBits slice;
    slice.ue(0).ue(7).ue(0).bits(picture.frameNumber, kFrameNumberBits);
    if (picture.isIdr) {
        slice.ue(sequences % 2);
    }
    if (orderType == 0) {
        slice.bits(static_cast<std::uint32_t>(picture.order) & 63U, kOrderBits);
    } else if (orderType == 1) {
        slice.se(picture.order);
    }
    if (picture.isIdr) {
        slice.bits(0, 2);
    } else if (picture.isReference) {
        slice.bits(picture.beginsAnew ? 1 : 0, 1);
        if (picture.beginsAnew) {
            slice.ue(5).ue(0);
        }
    }
    constexpr std::uint32_t kPcm = 25;
    slice.se(0).ue(1).ue(kPcm).bytes(384, picture.mark);
    const unsigned header = (picture.isReference ? 0x60U : 0U) | (picture.isIdr ? 5U : 1U);
    return slice.unit(static_cast<std::uint8_t>(header));
}

/// Groups of a reference and up to three pictures that are presented before it; some references begin anew.
std::vector<Picture> somePictures(unsigned orderType, unsigned count, unsigned seed) {
    std::mt19937 random(seed);
    std::vector<Picture> pictures;
    unsigned frameNumber = 0;
    int order = 0;
    while (pictures.size() < count) {
        const bool isIdr = pictures.empty() || random() % 12 == 0;
        const bool beginsAnew = !isIdr && random() % 4 == 0;
        const unsigned before = orderType == 2 || isIdr || beginsAnew ? 0 : random() % 4;
        if (isIdr) {
            frameNumber = 0;
            order = 0;
        }
        Picture reference{.isIdr = isIdr, .beginsAnew = beginsAnew, .frameNumber = frameNumber % 16};
        order += isIdr ? 0 : 8;
        // Where it begins anew its count may be anything that those behind it have had.
        reference.order = orderType == 0 ? order - (beginsAnew ? static_cast<int>(random() % 12) : 0) : 0;
        pictures.push_back(reference);
        if (beginsAnew) {
            frameNumber = 0;
            order = 0;
        }
        ++frameNumber;
        for (unsigned index = 0; index < before; ++index) {
            // Of a count of 8 more 2, 4 and 6 less, in some order.
            const int less = 2 * static_cast<int>((index + seed) % 3 + 1);
            Picture other{.isReference = false, .frameNumber = frameNumber % 16};
            // Type 1 counts the reference in front of it, and 6 less.
            other.order = orderType == 0 ? order - less : 6 - less;
            pictures.push_back(other);
        }
    }
    for (std::size_t index = 0; index < pictures.size(); ++index) {
        pictures[index].mark = static_cast<std::uint8_t>(16 + index % 200);
    }
    return pictures;
}

/// The marks as FFmpeg shows them.
std::string shownMarks(const Bytes& stream) {
    const std::string shown = qlxtest::shownByFfmpeg(stream, "h264");
    std::string marks;
    constexpr std::size_t kPictureBytes = 384;
    for (std::size_t place = 0; place + kPictureBytes <= shown.size(); place += kPictureBytes) {
        marks += std::to_string(static_cast<unsigned char>(shown[place])) + " ";
    }
    return marks;
}

TEST(PictureOrders, AreThoseOfFfmpegWhereCountsBeginAnew) {
    if (!qlxtest::hasFfmpeg()) {
        GTEST_SKIP() << "ffmpeg is not installed: nothing was decoded";
    }
    for (unsigned orderType = 0; orderType <= 2; ++orderType) {
        const std::vector<Picture> pictures = somePictures(orderType, 120, orderType + 1);
        Bytes stream;
        std::string ours;
        unsigned sequences = 0;
        qlx::video::PictureOrder<unsigned> order({Codec::H264});
        const auto take = [&] {
            while (const auto mark = order.take()) {
                ours += std::to_string(*mark) + " ";
            }
        };
        for (const Picture& picture : pictures) {
            sequences += picture.isIdr ? 1 : 0;
            Bytes unit = picture.isIdr ? parametersOf(orderType) : Bytes{};
            const Bytes slice = sliceOf(picture, orderType, sequences);
            unit.insert(unit.end(), slice.begin(), slice.end());
            stream.insert(stream.end(), unit.begin(), unit.end());
            order.add(unit, picture.mark);
            take();
        }
        order.finish();
        take();
        EXPECT_EQ(shownMarks(stream), ours) << "type " << orderType;
    }
}

}  // namespace
