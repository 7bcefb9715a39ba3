// The index of a container: where the header of a file says that it is.
#include "ExactBuffer.h"
#include "MovBytes.h"
#include "MxfBytes.h"
#include "streams/ContainerIndex.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace {

using qlxtest::MovFile;
using qlxtest::MxfFile;
using Bytes = std::vector<std::uint8_t>;

const std::vector<std::string> kElements(3, "0000");

Bytes joined(Bytes first, const Bytes& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

Bytes withFooterAt(std::uint64_t footer) {
    return MxfFile::withAncFrames(kElements, {.footer = footer});
}

TEST(MxfFooter, IsWhereTheHeaderSays) {
    const Bytes closed = withFooterAt(0x123456789);
    const auto footer = qlx::streams::detail::mxfFooter(closed);
    ASSERT_TRUE(footer);
    EXPECT_EQ(footer->place, 0x123456789U);
    EXPECT_FALSE(footer->isHeaderOpen);
    // Counted from the header, in front of which may be something else.
    EXPECT_EQ(qlx::streams::detail::mxfFooter(joined(Bytes(100, 0xFF), closed))->place, 0x123456789U + 100);
    for (const auto& [status, isOpen] :
         std::vector<std::pair<const char*, bool>>{{"01", true}, {"02", false}, {"03", true}, {"04", false}}) {
        const auto found = qlx::streams::detail::mxfFooter(MxfFile::withAncFrames(kElements, {.status = status}));
        ASSERT_TRUE(found);
        EXPECT_EQ(found->place, 0U);
        EXPECT_EQ(found->isHeaderOpen, isOpen) << status;
    }
    // Key, length of 4 bytes, 24 bytes and the 8 of the place.
    qlxtest::forEachTruncation(Bytes(closed.begin(), closed.begin() + 60), [](const qlxtest::ExactBuffer& part) {
        EXPECT_EQ(qlx::streams::detail::mxfFooter(part.span()).has_value(), part.size() >= 16 + 4 + 24 + 8)
            << part.size();
    });
    EXPECT_FALSE(qlx::streams::detail::mxfFooter(MxfFile::emptyFooter(0)));
    // A place that no file reaches is none.
    EXPECT_EQ(qlx::streams::detail::mxfFooter(withFooterAt(~std::uint64_t{0}))->place, 0U);
}

TEST(MovIndex, IsBehindTheMedia) {
    const auto isBehind = [](const std::string& text) {
        return qlx::streams::detail::isIndexBehindMedia(qlxtest::fromHex(text));
    };
    const std::string type = MovFile::atom("ftyp", "0000");
    const std::string index = MovFile::atom("moov", "00000000");
    const std::string media = MovFile::atom("mdat", "00000000");
    EXPECT_TRUE(isBehind(type + media));
    EXPECT_TRUE(isBehind(media.substr(0, 20)));
    EXPECT_TRUE(isBehind(type + MovFile::atom("wide", "") + media + index.substr(0, 22)));
    // Sizes of 64 bits, and up to the end.
    EXPECT_TRUE(isBehind(type + "00000001 6d646174 0000000000100000 0000"));
    EXPECT_TRUE(isBehind(type + "00000001 6d646174 0000000000000012 0000" + MovFile::atom("free", "")));
    EXPECT_TRUE(isBehind(type + "00000000 6d646174 0000"));
    EXPECT_FALSE(isBehind(type + media + index));
    EXPECT_FALSE(isBehind(type + "00000001 6d646174 0000000000000012 0000" + index));
    EXPECT_FALSE(isBehind(type + index + media));
    EXPECT_FALSE(isBehind(type + index.substr(0, 20)));
    EXPECT_FALSE(isBehind(type));
    EXPECT_FALSE(isBehind(""));
    EXPECT_FALSE(isBehind("00000001 6d646174 000000000000000f"));
}

}  // namespace
