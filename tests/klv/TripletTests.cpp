#include <qlx/klv/klv.h>

#include "ExactBuffer.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using namespace qlx::klv;
using qlx::Finding;
using qlx::FindingCode;
using qlx::Severity;
using qlxtest::ExactBuffer;
using qlxtest::fromHex;
using qlxtest::toHex;

const std::string kKey = "060e2b34010201010d01030117010201";

Finding error(FindingCode code, std::uint64_t offset, std::int64_t first, std::int64_t second) {
    return {code, Severity::Error, offset, first, second};
}

Finding lengthError(const std::string& digits) {
    const ExactBuffer bytes(fromHex(digits));
    const auto length = parseLength(bytes.span());
    return length ? Finding{} : length.error();
}

Length length(const std::string& digits) {
    const ExactBuffer bytes(fromHex(digits));
    const auto read = parseLength(bytes.span());
    return read ? *read : Length{0, 0};
}

std::string written(std::uint64_t value, std::uint8_t bytes) {
    ExactBuffer room = ExactBuffer::filled(16 + kGreatestLengthBytes, 0);
    const auto size = writeTripletHeader({ancFrameElementKey(), {value, bytes}}, room.span());
    return size ? toHex(room.span().first(*size)).substr(32) : size.error().text();
}

}  // namespace

TEST(KlvLength, IsReadInEveryForm) {
    EXPECT_EQ(length("00"), (Length{0, 1}));
    EXPECT_EQ(length("7f"), (Length{127, 1}));
    EXPECT_EQ(length("8105"), (Length{5, 2}));
    EXPECT_EQ(length("820100"), (Length{256, 3}));
    EXPECT_EQ(length("8300001a"), (Length{26, 4}));
    EXPECT_EQ(length("8800000000000000ff"), (Length{255, 9}));
    EXPECT_EQ(length("88ffffffffffffffff"), (Length{0xFFFF'FFFF'FFFF'FFFF, 9}));
    // What stands behind it is not read.
    EXPECT_EQ(length("05ff"), (Length{5, 1}));
}

TEST(KlvLength, IsRefusedWhenItIsNone) {
    EXPECT_EQ(lengthError("80"), error(FindingCode::KlvLengthIndefinite, 0, 0, 0));
    EXPECT_EQ(lengthError("89ffffffffffffffffff"), error(FindingCode::KlvLengthTooLong, 0, 9, 8));
    EXPECT_EQ(lengthError("ff"), error(FindingCode::KlvLengthTooLong, 0, 127, 8));
    EXPECT_EQ(lengthError(""), error(FindingCode::KlvCut, 0, 1, 0));
    EXPECT_EQ(lengthError("83"), error(FindingCode::KlvCut, 0, 4, 1));
    EXPECT_EQ(lengthError("830000"), error(FindingCode::KlvCut, 0, 4, 3));
}

TEST(KlvLength, IsWrittenInEveryForm) {
    EXPECT_EQ(written(5, 1), "05");
    EXPECT_EQ(written(5, 2), "8105");
    EXPECT_EQ(written(5, 4), "83000005");
    EXPECT_EQ(written(5, 9), "880000000000000005");
    EXPECT_EQ(written(127, 1), "7f");
    EXPECT_EQ(written(128, 1), "length 128 does not fit into 1 bytes");
    EXPECT_EQ(written(255, 2), "81ff");
    EXPECT_EQ(written(256, 2), "length 256 does not fit into 2 bytes");
    EXPECT_EQ(written(0xFFFFFF, 4), "83ffffff");
    EXPECT_EQ(written(0x1000000, 4), "length 16777216 does not fit into 4 bytes");
    EXPECT_EQ(written(0xFFFF'FFFF'FFFF'FFFF, 9), "88ffffffffffffffff");
    EXPECT_EQ(written(5, 0), "length 5 does not fit into 0 bytes");
    EXPECT_EQ(written(5, 10), "length 5 does not fit into 10 bytes");
}

TEST(KlvLength, KnowsItsShortestForm) {
    EXPECT_EQ(shortestLengthBytes(0), 1U);
    EXPECT_EQ(shortestLengthBytes(127), 1U);
    EXPECT_EQ(shortestLengthBytes(128), 2U);
    EXPECT_EQ(shortestLengthBytes(255), 2U);
    EXPECT_EQ(shortestLengthBytes(256), 3U);
    EXPECT_EQ(shortestLengthBytes(0xFFFF'FFFF'FFFF'FFFF), 9U);
}

TEST(KlvTripletHeader, IsReadWithItsLengthForm) {
    const auto header = parseTripletHeader(fromHex(kKey + "83000018 0001"));
    ASSERT_TRUE(header);
    EXPECT_EQ(*header, (TripletHeader{ancFrameElementKey(), {24, 4}}));
    EXPECT_EQ(header->size(), 20U);
}

TEST(KlvTripletHeader, SaysWhatIsWrongAndWhere) {
    EXPECT_EQ(parseTripletHeader(fromHex("070e2b34010201010d0103011701020105")).error(),
              error(FindingCode::KlvKeyWrong, 0, 0x070E'2B34, 0));
    EXPECT_EQ(parseTripletHeader(fromHex("0000")).error(), error(FindingCode::KlvKeyWrong, 0, 0, 0));
    EXPECT_EQ(parseTripletHeader(fromHex(kKey + "80")).error(), error(FindingCode::KlvLengthIndefinite, 16, 0, 0));
    EXPECT_EQ(parseTripletHeader(fromHex(kKey + "89")).error(), error(FindingCode::KlvLengthTooLong, 16, 9, 8));
    qlxtest::forEachTruncation(fromHex(kKey + "83000018"), [](const ExactBuffer& cut) {
        const auto header = parseTripletHeader(cut.span());
        ASSERT_FALSE(header);
        EXPECT_EQ(header.error(),
                  error(FindingCode::KlvCut, 0, cut.size() <= 16 ? 17 : 20, static_cast<std::int64_t>(cut.size())));
    });
}

TEST(KlvTriplet, IsWrittenIntoARoomAndAsBytes) {
    const auto value = fromHex("0000");
    EXPECT_EQ(toHex(*writeTriplet(ancFrameElementKey(), value)), kKey + "830000020000");
    EXPECT_EQ(toHex(*writeTriplet(ancFrameElementKey(), value, 1)), kKey + "020000");
    ExactBuffer room = ExactBuffer::filled(22, 0x5A);
    const auto size = writeTriplet(ancFrameElementKey(), value, room.span());
    ASSERT_TRUE(size);
    EXPECT_EQ(*size, 22U);
    EXPECT_EQ(toHex(room.span()), kKey + "830000020000");
}

TEST(KlvTriplet, IsNotWrittenWhereItDoesNotFit) {
    const auto value = fromHex("0000");
    for (std::size_t there = 0; there < 22; ++there) {
        ExactBuffer room = ExactBuffer::filled(there, 0x5A);
        const auto size = writeTriplet(ancFrameElementKey(), value, room.span());
        ASSERT_FALSE(size);
        EXPECT_EQ(size.error(), error(FindingCode::OutputTooSmall, 0, 22, static_cast<std::int64_t>(there)));
        EXPECT_EQ(room.vector(), std::vector<std::uint8_t>(there, 0x5A));
    }
    const std::vector<std::uint8_t> longValue(128);
    const auto data = writeTriplet(ancFrameElementKey(), longValue, 1);
    ASSERT_FALSE(data);
    EXPECT_EQ(data.error(), error(FindingCode::KlvLengthDoesNotFit, 0, 128, 1));
}
