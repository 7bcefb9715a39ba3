// Frames that are coded as two field pictures.
#include "ExactBuffer.h"
#include "PictureUnits.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace {

using qlxtest::fromHex;
using namespace qlxtest::pictures;
using Names = std::vector<std::string>;

struct Unit {
    std::string hex;
    std::string name;
};

void join(std::string& first, const std::string& second) {
    first += "+" + second;
}

/// What is presented, the fields of a frame joined, taken as soon as it is known.
Names framesOf(Codec codec, const std::vector<Unit>& units) {
    PictureOrder<std::string> order({codec});
    Names frames;
    for (const Unit& unit : units) {
        order.add(fromHex(unit.hex), unit.name, join);
        for (const std::string& frame : marksOf(order)) {
            frames.push_back(frame);
        }
    }
    order.finish();
    for (const std::string& frame : marksOf(order)) {
        frames.push_back(frame);
    }
    return frames;
}

std::string binary(unsigned value, unsigned count) {
    std::string bits;
    while (count-- > 0) {
        bits += (value >> count & 1U) != 0 ? '1' : '0';
    }
    return bits;
}

// As kParameters, with fields. The picture parameters have what the marking of references needs: nothing but zeros.
const std::string kFieldParameters = "00000001 67 42001e" + hexOfBits("1 1 1 1 010 0 1 1 0 0 1 0 0 1") + "00000001 68" +
                                     hexOfBits("1 1 0 0 1 1 1 0 00 1 1 1 0 0 0 1");

enum class Shape { Frame, Top, Bottom };

constexpr unsigned kIdrHeader = 0x65;
constexpr unsigned kReferenceHeader = 0x41;
constexpr unsigned kOtherHeader = 0x01;

/// An I slice (7) of a picture.
std::string pictureOf(unsigned nal, unsigned frame, Shape shape, unsigned order, bool beginsAnew = false) {
    const std::string fields = shape == Shape::Frame ? "0" : shape == Shape::Top ? "10" : "11";
    const std::string marking = nal == kIdrHeader         ? "00"
                                : nal == kReferenceHeader ? beginsAnew ? "1" + ue(5) + ue(0) : "0"
                                                          : "";
    const Bytes header{static_cast<std::uint8_t>(nal)};
    return "000001" + qlxtest::toHex(header) +
           hexOfBits(ue(0) + ue(7) + ue(0) + binary(frame, 4) + fields + (nal == kIdrHeader ? ue(0) : "") +
                     binary(order, 4) + marking + "1");
}

TEST(FieldPictures, OfH264AreOneFrame) {
    // An IDR picture's second field is none; a frame that is presented behind two field pairs of no reference, the first
    // of which begins with the bottom field.
    EXPECT_EQ(framesOf(Codec::H264, {{kFieldParameters + pictureOf(kIdrHeader, 0, Shape::Top, 0), "I0"},
                                     {pictureOf(kReferenceHeader, 0, Shape::Bottom, 1), "P1"},
                                     {pictureOf(kReferenceHeader, 1, Shape::Frame, 6), "P6"},
                                     {pictureOf(kOtherHeader, 2, Shape::Bottom, 4), "b4"},
                                     {pictureOf(kOtherHeader, 2, Shape::Top, 5), "b5"},
                                     {pictureOf(kOtherHeader, 2, Shape::Top, 2), "b2"},
                                     {pictureOf(kOtherHeader, 2, Shape::Bottom, 3), "b3"}}),
              (Names{"I0+P1", "b2+b3", "b4+b5", "P6"}));
}

TEST(FieldPictures, OfH264StayAloneWhereTheyAreNoPair) {
    const std::string first = kFieldParameters + pictureOf(kIdrHeader, 0, Shape::Top, 0);
    const auto behind = [&first](const std::string& second) {
        return framesOf(Codec::H264, {{first, "a"}, {second, "b"}});
    };
    const Names apart{"a", "b"};
    EXPECT_EQ(behind(pictureOf(kReferenceHeader, 0, Shape::Bottom, 1)), Names{"a+b"});
    EXPECT_EQ(behind(pictureOf(kReferenceHeader, 0, Shape::Top, 1)), apart);
    EXPECT_EQ(behind(pictureOf(kReferenceHeader, 1, Shape::Bottom, 1)), apart);
    EXPECT_EQ(behind(pictureOf(kReferenceHeader, 0, Shape::Frame, 1)), apart);
    EXPECT_EQ(behind(pictureOf(kIdrHeader, 0, Shape::Bottom, 1)), apart);
    EXPECT_EQ(behind(pictureOf(kReferenceHeader, 0, Shape::Bottom, 1, true)), apart);
    EXPECT_EQ(behind("000001 09 f0"), apart);
    // A third field is the first one of another frame, and so is one behind what was no pair.
    EXPECT_EQ(framesOf(Codec::H264, {{first, "a"},
                                     {pictureOf(kReferenceHeader, 0, Shape::Bottom, 1), "b"},
                                     {pictureOf(kReferenceHeader, 0, Shape::Top, 2), "c"},
                                     {pictureOf(kReferenceHeader, 0, Shape::Bottom, 3), "d"},
                                     {pictureOf(kReferenceHeader, 1, Shape::Bottom, 4), "e"},
                                     {pictureOf(kReferenceHeader, 1, Shape::Top, 5), "f"}}),
              (Names{"a+b", "c+d", "e+f"}));
    // Behind a first field that begins the count of frames anew, that of the second is 0 (7.4.3).
    EXPECT_EQ(framesOf(Codec::H264, {{kFieldParameters + pictureOf(kIdrHeader, 0, Shape::Frame, 0), "a"},
                                     {pictureOf(kReferenceHeader, 3, Shape::Top, 4, true), "b"},
                                     {pictureOf(kReferenceHeader, 0, Shape::Bottom, 1), "c"}}),
              (Names{"a", "b+c"}));
}

/// An MPEG-2 picture, and what it says of its structure (6.3.10): 1 top field, 2 bottom field, 3 frame.
std::string mpeg2Picture(unsigned temporalReference, unsigned structure, unsigned type = 2) {
    return "00000100" + hexOfBits(binary(temporalReference, 10) + binary(type, 3)) + "000001b5 8fff" +
           hexOfBits("111100" + binary(structure, 2)) + "00 80";
}

const std::string kGroup = "000001b8 00000000";

TEST(FieldPictures, OfMPEG2AreOneFrame) {
    // I and P fields of a frame, another in fields, B fields in front of it, a frame.
    EXPECT_EQ(framesOf(Codec::Mpeg2, {{kGroup + mpeg2Picture(0, 1, 1), "I"},
                                      {mpeg2Picture(0, 2), "P"},
                                      {mpeg2Picture(2, 2), "p"},
                                      {mpeg2Picture(2, 1), "q"},
                                      {mpeg2Picture(1, 1, 3), "b"},
                                      {mpeg2Picture(1, 2, 3), "c"},
                                      {mpeg2Picture(3, 3), "f"}}),
              (Names{"I+P", "b+c", "p+q", "f"}));
}

TEST(FieldPictures, OfMPEG2StayAloneWhereTheyAreNoPair) {
    const auto behind = [](const std::string& second) {
        return framesOf(Codec::Mpeg2, {{kGroup + mpeg2Picture(0, 1, 1), "a"}, {second, "b"}});
    };
    const Names apart{"a", "b"};
    EXPECT_EQ(behind(mpeg2Picture(0, 2)), Names{"a+b"});
    EXPECT_EQ(behind(mpeg2Picture(0, 1)), apart);
    EXPECT_EQ(behind(mpeg2Picture(1, 2)), apart);
    EXPECT_EQ(behind(mpeg2Picture(0, 3)), apart);
    EXPECT_EQ(behind(kGroup + mpeg2Picture(0, 2)), apart);
    // A picture of MPEG-1 has no coding extension, and another extension says nothing of fields.
    EXPECT_EQ(behind("00000100 0010"), apart);
    EXPECT_EQ(behind("00000100 0010 000001b5 7fff f20080"), apart);
    EXPECT_EQ(behind("00000100 0010 00000101 00 000001b5 8fff f20080"), apart);
}

TEST(FieldPictures, OfOneSampleAreAFrameAlready) {
    // B frames of H.264 share a number: the fields of two samples are no pair.
    const std::string top = pictureOf(kOtherHeader, 1, Shape::Top, 2);
    const std::string bottom = pictureOf(kOtherHeader, 1, Shape::Bottom, 3);
    EXPECT_EQ(
        framesOf(Codec::H264,
                 {{kFieldParameters + pictureOf(kIdrHeader, 0, Shape::Frame, 0), "I"},
                  {top + bottom, "b"},
                  {pictureOf(kOtherHeader, 1, Shape::Bottom, 4) + pictureOf(kOtherHeader, 1, Shape::Top, 5), "c"}}),
        (Names{"I", "b", "c"}));
    // A field of several slices is one field.
    EXPECT_EQ(framesOf(Codec::H264, {{kFieldParameters + pictureOf(kIdrHeader, 0, Shape::Frame, 0), "I"},
                                     {top + top, "b"},
                                     {bottom + bottom, "c"}}),
              (Names{"I", "b+c"}));
    EXPECT_EQ(framesOf(Codec::Mpeg2, {{kGroup + mpeg2Picture(0, 1, 1) + mpeg2Picture(0, 2), "a"},
                                      {mpeg2Picture(0, 2) + mpeg2Picture(0, 1), "b"}}),
              (Names{"a", "b"}));
}

TEST(FieldPictures, AreKnownByTheParametersOfAContainer) {
    const Bytes sequence = fromHex("67 42001e" + hexOfBits("1 1 1 1 010 0 1 1 0 0 1 0 0 1"));
    const Bytes picture = fromHex("68" + hexOfBits("1 1 0 0 1 1 1 0 00 1 1 1 0 0 0 1"));
    const auto setOf = [](const Bytes& unit) {
        return "00" + qlxtest::toHex(Bytes{static_cast<std::uint8_t>(unit.size())}) + qlxtest::toHex(unit);
    };
    // Two sets of sequences, the first of which is cut, and one of pictures.
    const Bytes whole = fromHex("01 42001e ff e2" + setOf(fromHex("67 42")) + setOf(sequence) + "01" + setOf(picture));
    const auto isPair = [](std::span<const std::uint8_t> configuration, const qlx::video::StreamForm& form) {
        qlx::video::PictureCount count(form);
        count.takeConfiguration(configuration);
        (void)count.placeOf(fromHex(pictureOf(kIdrHeader, 0, Shape::Top, 0)));
        const bool isFirst = count.isFirstField();
        (void)count.placeOf(fromHex(pictureOf(kReferenceHeader, 0, Shape::Bottom, 1)));
        EXPECT_FALSE(count.isFirstField());
        return isFirst && count.isSecondField();
    };
    EXPECT_TRUE(isPair(whole, {Codec::H264}));
    EXPECT_FALSE(isPair(whole, {Codec::Mpeg2}));
    qlxtest::forEachTruncation(whole, [&isPair](const qlxtest::ExactBuffer& part) {
        EXPECT_FALSE(isPair(part.span(), {Codec::H264})) << part.size();
    });
    Bytes other = whole;
    other.front() = 2;
    EXPECT_FALSE(isPair(other, {Codec::H264}));
}

TEST(FieldPictures, WaitForTheirOtherField) {
    PictureOrder<std::string> order({Codec::Mpeg2});
    EXPECT_FALSE(order.add(fromHex(kGroup + mpeg2Picture(0, 1, 1)), "a", join));
    EXPECT_TRUE(order.add(fromHex(mpeg2Picture(0, 2)), "b", join));
    // What a new group stands behind is known, and that of a stream in which no picture overtakes another.
    EXPECT_FALSE(order.add(fromHex(kGroup + mpeg2Picture(5, 1, 1)), "c", join));
    EXPECT_EQ(marksOf(order), Names{"a+b"});
    EXPECT_FALSE(order.add(fromHex(kGroup + mpeg2Picture(0, 2, 1)), "d", join));
    EXPECT_EQ(marksOf(order), Names{"c"});
    EXPECT_EQ(marksOf(order), Names{});
    EXPECT_TRUE(order.add(fromHex(mpeg2Picture(0, 1)), "e", join));
    order.finish();
    EXPECT_EQ(marksOf(order), Names{"d+e"});
    // At the end nothing is waited for.
    PictureOrder<std::string> cut({Codec::Mpeg2});
    EXPECT_FALSE(cut.add(fromHex(mpeg2Picture(0, 1, 1)), "a", join));
    cut.finish();
    EXPECT_EQ(marksOf(cut), Names{"a"});
}

TEST(FieldPictures, OfManyFramesArePresentedInPieces) {
    PictureOrder<std::string> order({Codec::Mpeg2});
    Names frames;
    for (unsigned index = 0; index < 300; ++index) {
        const unsigned frame = index / 2;
        order.add(fromHex(mpeg2Picture(frame, index % 2 + 1)), std::to_string(index), join);
        for (const std::string& name : marksOf(order)) {
            frames.push_back(name);
        }
        EXPECT_LE(frame + 1 - frames.size(), qlx::video::kLongestPictureWait);
    }
    ASSERT_EQ(frames.size(), 150 - qlx::video::kLongestPictureWait);
    for (std::size_t frame = 0; frame < frames.size(); ++frame) {
        EXPECT_EQ(frames[frame], std::to_string(2 * frame) + "+" + std::to_string(2 * frame + 1));
    }
}

}  // namespace
