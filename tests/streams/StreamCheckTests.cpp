// What is said of a container whose pieces do not stand one behind the other, or whose last one is not whole.
#include "ExactBuffer.h"
#include "streams/StreamCheck.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

namespace {

using qlx::streams::InputKind;
using qlxtest::fromHex;
using Bytes = std::vector<std::uint8_t>;

/// What is said of a whole file, all remarks one after the other.
std::vector<std::string> remarksOn(InputKind kind, const Bytes& bytes) {
    qlx::streams::MemorySource source(bytes);
    qlx::streams::detail::StreamCheck check(source, kind);
    check.beginReading();
    Bytes part(7);
    for (;;) {
        const std::uint64_t place = source.offset();
        const std::size_t count = source.read(part);
        if (count == 0) {
            break;
        }
        check.take(place, std::span(part).first(count));
    }
    qlx::Findings findings;
    check.report(findings);
    if (const auto end = check.wrongEnd({})) {
        findings.add(*end);
    }
    std::vector<std::string> remarks;
    for (const qlx::Finding& finding : findings) {
        remarks.push_back("byte " + std::to_string(finding.offset) + ": " + finding.text());
    }
    return remarks;
}

TEST(StreamCheck, KnowsThePacketsOfAProgramStream) {
    // MPEG-2 and MPEG-1 packs, a packet of 4 bytes behind its length, padding, the end code.
    for (const std::string pack :
         {"000001ba 44 0004000401 000003 f8", "000001ba 44 0004000401 000003 f9 ff", "000001ba 21 00010001800001"}) {
        Bytes stream;
        std::vector<std::size_t> ends{0};
        for (const std::string& hex : {pack, std::string("000001e0 0004 01020304"), pack,
                                       std::string("000001be 0002 ffff"), std::string("000001b9")}) {
            const Bytes part = fromHex(hex);
            stream.insert(stream.end(), part.begin(), part.end());
            ends.push_back(stream.size());
        }
        // Where the first pack is known to be one: the longest of them says its size with 14 bytes.
        for (std::size_t size = 14; size <= stream.size(); ++size) {
            const Bytes cut(stream.begin(), stream.begin() + static_cast<std::ptrdiff_t>(size));
            const std::vector<std::string> remarks = remarksOn(InputKind::ProgramStream, cut);
            const std::size_t begin = *std::prev(std::upper_bound(ends.begin(), ends.end(), size));
            ASSERT_EQ(remarks.size(), begin == size ? 0U : 1U) << pack << " " << size;
            if (begin != size) {
                EXPECT_TRUE(remarks[0].starts_with("byte " + std::to_string(begin) +
                                                   ": the last packet is cut short: " + std::to_string(size - begin)))
                    << remarks[0];
            }
        }
        // What follows the end code may fill up a medium; what is in front of the first pack may be the rest of one.
        Bytes padded = fromHex("ffff");
        padded.insert(padded.end(), stream.begin(), stream.end());
        padded.resize(padded.size() + 100);
        EXPECT_EQ(remarksOn(InputKind::ProgramStream, padded), std::vector<std::string>{});
    }
    EXPECT_EQ(remarksOn(InputKind::ProgramStream, fromHex("000001ba 21 00010001800001 ffffff")),
              std::vector<std::string>{"byte 12: not part of any packet: 3 bytes"});
    EXPECT_EQ(remarksOn(InputKind::ProgramStream,
                        fromHex("000001ba 21 00010001800001 ff 000001e0 0000 000001ba 21 00010001800001")),
              std::vector<std::string>{"byte 12: not part of any packet: 7 bytes"});
}

TEST(StreamCheck, PassesTheZeroBytesOfAVideoCD) {
    const std::string pack = "000001ba 21 00010001800001";
    const std::string sound = "000001c0 0002 ffff";
    const std::string zeros(40, '0');
    EXPECT_EQ(remarksOn(InputKind::ProgramStream, fromHex(pack + sound + zeros + pack + sound + "00" + sound + zeros)),
              std::vector<std::string>{});
    // So many are damage.
    EXPECT_EQ(remarksOn(InputKind::ProgramStream, fromHex(pack + sound + std::string(200, '0') + pack + sound)),
              std::vector<std::string>{"byte 20: not part of any packet: 100 bytes"});
    EXPECT_EQ(remarksOn(InputKind::ProgramStream, fromHex(pack + sound + zeros + "02" + pack)),
              std::vector<std::string>{"byte 20: not part of any packet: 21 bytes"});
}

TEST(StreamCheck, KnowsTripletsOfAnyLength) {
    const std::string key = "060e2b34 01020101 0d010301 17010201";
    EXPECT_EQ(remarksOn(InputKind::Mxf, fromHex(key + "01 ff" + key + "8102 ffff")), std::vector<std::string>{});
    EXPECT_EQ(remarksOn(InputKind::Mxf, fromHex(key + "01 ff" + "0102" + key + "8102 ff")),
              (std::vector<std::string>{"byte 18: not part of any triplet: 2 bytes",
                                        "byte 20: the last triplet is cut short: 19 of 20 bytes"}));
    // A length that no file has.
    EXPECT_EQ(remarksOn(InputKind::Mxf, fromHex(key + "01 ff" + key + "88fffffffffffffff0" + key + "00")),
              std::vector<std::string>{"byte 18: not part of any triplet: 25 bytes"});
}

TEST(StreamCheck, SeesThatATripletsHeaderIsCut) {
    const std::string key = "060e2b34 01020101 0d010301 17010201";
    for (const auto& [text, size] : std::vector<std::pair<std::string, std::uint64_t>>{
             {key + "03", 20}, {key + "8103", 21}, {key + "830000ff", 275}, {key + "880000000000000001", 26}}) {
        const Bytes header = fromHex(text);
        std::uint64_t found = 1;
        EXPECT_FALSE(qlx::streams::detail::isTripletHeaderCut(header, found));
        EXPECT_EQ(found, size);
        for (std::size_t length = 0; length < header.size(); ++length) {
            EXPECT_TRUE(qlx::streams::detail::isTripletHeaderCut(std::span(header).first(length), found)) << length;
            EXPECT_EQ(found, 0U);
        }
    }
    std::uint64_t found = 1;
    EXPECT_FALSE(qlx::streams::detail::isTripletHeaderCut(fromHex("0102"), found));
    EXPECT_FALSE(qlx::streams::detail::isTripletHeaderCut(fromHex(key + "89"), found));
}

TEST(StreamCheck, CountsWhatItDoesNotKeep) {
    const std::string pack = "000001ba 21 00010001800001";
    std::string text;
    for (int index = 0; index < 40; ++index) {
        text += pack + "ff";
    }
    const std::vector<std::string> remarks = remarksOn(InputKind::ProgramStream, fromHex(text + pack));
    EXPECT_EQ(remarks.size(), qlx::streams::detail::StreamWalk::kMostStrays + 1);
    EXPECT_EQ(remarks[1], "byte 25: not part of any packet: 1 byte");
    EXPECT_EQ(remarks.back(), "byte 416: 8 more places like this");
}

}  // namespace
