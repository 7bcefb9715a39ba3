// Triplets taken out of caption distribution packets: as they stand, and sorted by kind.
#include <QLXClosedCaptionsUtilities/QLXCCUtilities.h>

#include "CaptionSupport.h"

#include <gtest/gtest.h>

#include <limits>

using qlx::Data;
using namespace qlxtest;

namespace {

struct Sorted {
    std::string dtvcc;
    std::string field1;
    std::string field2;

    friend bool operator==(const Sorted&, const Sorted&) = default;
    friend std::ostream& operator<<(std::ostream& stream, const Sorted& sorted) {
        return stream << "DTVCC " << sorted.dtvcc << ", field 1 " << sorted.field1 << ", field 2 " << sorted.field2;
    }
};

Sorted sort(const Data& data, std::uint64_t offset) {
    Data field1;
    Data field2;
    const Data dtvcc =
        QLXCCUtilities::extractCaptionTripletsFromData_fromOffset_CC1Data_CC2Data(data, offset, &field1, &field2);
    EXPECT_TRUE(dtvcc && field1 && field2) << "empty, never none";
    return {toHex(dtvcc), toHex(field1), toHex(field2)};
}

/// Sorts triplets that stand alone: from offset 0 the walk reaches the end.
Sorted sortTriplets(std::string_view triplets) {
    return sort(fromHex(triplets), 0);
}

std::string packetOf(const std::string& triplets, bool hasService) {
    const std::size_t count = fromHex(triplets).size() / 3;
    return ExpectedPacket{0, 4, "0001", count, triplets, hasService}.digitsOfPacket();
}

Data triplets(const Data& data) {
    return QLXCCUtilities::extractCEA708TripletDataFromCCData(data);
}

/// The plainest walk that the rules allow.
Sorted sortPlainly(std::span<const std::uint8_t> bytes, std::uint64_t offset) {
    Sorted sorted;
    if (offset > bytes.size()) {
        return sorted;
    }
    for (std::size_t position = offset % 256; position < 256 && position < bytes.size() - offset; position += 3) {
        if (position + 2 >= bytes.size()) {
            break;
        }
        const std::string kind = toHex(bytes.subspan(position, 1));
        const std::string pair = toHex(bytes.subspan(position + 1, 2));
        if (kind == "fc" && (sorted.field1.empty() || pair != "8080")) {
            sorted.field1 += pair;
        } else if (kind == "fd" && (sorted.field2.empty() || (pair.substr(0, 2) != "80" && pair.substr(2) != "80"))) {
            sorted.field2 += pair;
        } else if (kind == "fe") {
            sorted.dtvcc += kind + pair;
        } else if (kind == "ff") {
            sorted.dtvcc += kind + (pair == "8080" ? "0000" : pair);
        }
    }
    return sorted;
}

}  // namespace

TEST(RawTriplets, AreThoseThatTheCountAnnounces) {
    EXPECT_EQ(toHex(triplets(fromHex(packetOf("fc942c f98080 fa0000", true)))), digits("fc942c f98080 fa0000"));
    EXPECT_EQ(toHex(triplets(fromHex(packetOf("fc942c f98080 fa0000", false)))), digits("fc942c f98080 fa0000"));
    // Neither rate, length, section identifier nor checksum are looked at; the count has five bits.
    EXPECT_EQ(toHex(triplets(fromHex("9669 000000000000 02 010203 040506"))), digits("010203 040506"));
    EXPECT_EQ(toHex(triplets(fromHex("9669 ffffffffffff 22 010203 040506 07"))), digits("010203 040506"));
}

TEST(RawTriplets, AreNoneInOtherData) {
    for (const char* const data :
         {"", "9669", "9669 00000000 000000", "9669 00000000 000001", "9769 000000000000 01 fc942c",
          "9668 000000000000 01 fc942c", "6996 000000000000 01 fc942c", "9669 000000000000 00 fc942c",
          "9669 000000000000 e0 fc942c", "9669 000000000000 e2 fc942c fa00"}) {
        const Data found = triplets(fromHex(data));
        EXPECT_TRUE(found && found.empty()) << data;
    }
    const Data ofNone = triplets(Data());
    EXPECT_TRUE(ofNone && ofNone.empty());
}

TEST(RawTriplets, OfEveryCount) {
    for (std::size_t count = 0; count < 32; ++count) {
        for (std::size_t size = 0; size <= 9 + 32 * 3; ++size) {
            std::vector<std::uint8_t> data(size);
            for (std::size_t index = 0; index < size; ++index) {
                data[index] = static_cast<std::uint8_t>(index == 0   ? 0x96
                                                        : index == 1 ? 0x69
                                                        : index == 8 ? 0xE0 + count
                                                                     : index);
            }
            const bool enough = size >= 10 && size - 9 >= 3 * count;
            EXPECT_EQ(triplets(data),
                      enough ? Data(std::span<const std::uint8_t>(data).subspan(9, 3 * count)) : Data::zeros(0))
                << count << " in " << size;
        }
    }
}

TEST(RawTriplets, AreAllOrNoneWhenTheDataEndEarly) {
    const std::vector<std::uint8_t> whole = fromHex(packetOf(repeated("fc1122", 20), true));
    forEachTruncation(whole, [](const ExactBuffer& part) {
        EXPECT_EQ(triplets(part.span()).size(), part.size() < 69 ? 0U : 60U) << part.size();
    });
}

TEST(SortedTriplets, AreSortedByKind) {
    EXPECT_EQ(sortTriplets("fc942c fd1526 fe0102 ff0304 fe0506"),
              (Sorted{digits("fe0102 ff0304 fe0506"), "942c", "1526"}));
    for (unsigned kind = 0; kind < 256; ++kind) {
        const std::string one = byteDigits(kind) + "1122";
        EXPECT_EQ(sortTriplets(one),
                  (Sorted{kind >= 0xFE ? one : "", kind == 0xFC ? "1122" : "", kind == 0xFD ? "1122" : ""}))
            << kind;
    }
}

TEST(SortedTriplets, DropLaterNullPairsOfField1) {
    EXPECT_EQ(sortTriplets("fc8080").field1, "8080");
    EXPECT_EQ(sortTriplets("fc8080 fc8080").field1, "8080");
    EXPECT_EQ(sortTriplets("fc8080 fc942c fc8080 fc8014 fc1480").field1, "8080942c80141480");
    EXPECT_EQ(sortTriplets("fc942c fc0000 fc8080").field1, "942c0000");
}

TEST(SortedTriplets, DropLaterPairsOfField2WithOneNullByte) {
    EXPECT_EQ(sortTriplets("fd8080").field2, "8080");
    EXPECT_EQ(sortTriplets("fd8080 fd8080 fd8014 fd1480 fd1526").field2, "80801526");
    EXPECT_EQ(sortTriplets("fd8014 fd8014").field2, "8014");
    EXPECT_EQ(sortTriplets("fd1526 fd0000 fd8014").field2, "15260000");
}

TEST(SortedTriplets, ClearNullStarts) {
    EXPECT_EQ(sortTriplets("ff8080 ff8014 ff1480 fe8080").dtvcc, digits("ff0000 ff8014 ff1480 fe8080"));
}

TEST(SortedTriplets, AreAllOfAPacketWithService) {
    EXPECT_EQ(sort(fromHex(packetOf("fc942c fd1526 ff0304 fe0506", true)), 9),
              (Sorted{digits("ff0304 fe0506"), "942c", "1526"}));
    EXPECT_EQ(sort(fromHex(packetOf("fc942c fd1526" + repeated("fe0102", 18), true)), 9),
              (Sorted{repeated("fe0102", 18), "942c", "1526"}));
}

TEST(SortedTriplets, LeaveOutTheLastOfABarePacket) {
    EXPECT_EQ(sort(fromHex(packetOf("fc942c fd1526 ff0304 fe0506", false)), 9), (Sorted{"ff0304", "942c", "1526"}));
}

TEST(SortedTriplets, DoNotNeedTheCount) {
    std::vector<std::uint8_t> packet = fromHex(packetOf("fc942c fe0506", true));
    packet[8] = 0xE0;
    EXPECT_EQ(sort(packet, 9), (Sorted{"fe0506", "942c", ""}));
    packet[0] = 0x00;
    EXPECT_EQ(sort(packet, 9), (Sorted{"fe0506", "942c", ""}));
}

TEST(SortedTriplets, StopAtATripletThatIsNotWhole) {
    EXPECT_EQ(sortTriplets("fe0102 fe"), (Sorted{"fe0102", "", ""}));
    EXPECT_EQ(sortTriplets("fe0102 fe03"), (Sorted{"fe0102", "", ""}));
    EXPECT_EQ(sortTriplets("fe"), Sorted{});
    EXPECT_EQ(sortTriplets(""), Sorted{});
    EXPECT_EQ(sort(Data(), 0), Sorted{});
    EXPECT_EQ(sort(Data(), 9), Sorted{});
}

TEST(SortedTriplets, AreNoneBehindTheEnd) {
    const Data data = fromHex(repeated("fe0102", 10));
    for (const std::uint64_t offset : {std::uint64_t{30}, std::uint64_t{31}, std::uint64_t{256}, std::uint64_t{257},
                                       std::numeric_limits<std::uint64_t>::max()}) {
        EXPECT_EQ(sort(data, offset), Sorted{}) << offset;
    }
    // The walk ends `offset` bytes before the end: from 15 on that is at once.
    EXPECT_EQ(sort(data, 12).dtvcc, repeated("fe0102", 2));
    EXPECT_EQ(sort(data, 15), Sorted{});
}

TEST(SortedTriplets, AreReadOnceWhenThePositionWouldWrap) {
    // 86 triplets begin below 256; the last one reaches to byte 257.
    EXPECT_EQ(sort(fromHex(repeated("fe0102", 200)), 0).dtvcc, repeated("fe0102", 86));
    // From 1 on, 85 begin below 256: at 1, 4, ... 253.
    EXPECT_EQ(sort(fromHex("00" + repeated("fe0102", 200)), 1).dtvcc, repeated("fe0102", 85));
    EXPECT_EQ(sort(fromHex(repeated("fc1122", 200)), 0).field1, repeated("1122", 86));
    EXPECT_EQ(sort(fromHex(repeated("fd1122", 200)), 0).field2, repeated("1122", 86));
    // An offset counts with 8 bits, but whole at the end: 600 - 258 bytes are more than 256.
    EXPECT_EQ(sort(fromHex("0000" + repeated("fe0102", 200)), 258).dtvcc, repeated("fe0102", 85));
    EXPECT_EQ(sort(fromHex(repeated("fe0102", 200)), 512).dtvcc, repeated("fe0102", 30)) << "88 bytes are left";
}

TEST(SortedTriplets, OfEveryLengthAndOffset) {
    std::vector<std::uint8_t> data(700);
    std::uint32_t state = 1;
    for (std::uint8_t& byte : data) {
        state = state * 1'664'525U + 1'013'904'223U;
        // Mostly kinds and null bytes, so that every rule is met at every offset.
        byte = (state >> 24U) % 2 == 0 ? static_cast<std::uint8_t>(0xFC + (state >> 16U) % 4)
                                       : static_cast<std::uint8_t>((state >> 20U) % 2 == 0 ? 0x80 : state >> 8U);
    }
    for (std::size_t size = 0; size <= data.size(); size += size < 30 ? 1 : 23) {
        const ExactBuffer part{std::span<const std::uint8_t>(data).first(size)};
        for (std::uint64_t offset = 0; offset <= size + 2; ++offset) {
            ASSERT_EQ(sort(part.span(), offset), sortPlainly(part.span(), offset)) << size << " from " << offset;
        }
    }
}

TEST(SortedTriplets, SurviveEveryTruncation) {
    const std::vector<std::uint8_t> whole = fromHex(packetOf("fc942c fd1526" + repeated("fe0102", 18), true));
    forEachTruncation(whole, [](const ExactBuffer& part) {
        EXPECT_EQ(sort(part.span(), 9), sortPlainly(part.span(), 9)) << part.size();
    });
}

TEST(SortedTriplets, AreStoredWhereAsked) {
    const Data packet = fromHex(packetOf("fc942c fd1526 ff0304", true));
    Data field = {1, 2, 3};
    EXPECT_EQ(QLXCCUtilities::extractCaptionTripletsFromData_fromOffset_CC1Data_CC2Data(packet, 9, nullptr, nullptr),
              Data(fromHex("ff0304")));
    (void)QLXCCUtilities::extractCaptionTripletsFromData_fromOffset_CC1Data_CC2Data(packet, 9, &field, nullptr);
    EXPECT_EQ(toHex(field), "942c");
    (void)QLXCCUtilities::extractCaptionTripletsFromData_fromOffset_CC1Data_CC2Data(packet, 9, nullptr, &field);
    EXPECT_EQ(toHex(field), "1526");
}
