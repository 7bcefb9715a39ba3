#include <qlx/klv/klv.h>

#include "ExactBuffer.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

namespace {

using namespace qlx::klv;
using qlx::Finding;
using qlx::FindingCode;
using qlx::Findings;
using qlx::Severity;
using qlxtest::ExactBuffer;
using qlxtest::fromHex;
using qlxtest::toHex;

/// What a triplet was, in words: offset, last byte of the key, bytes of the length, value.
std::string words(const TripletView& triplet) {
    return std::to_string(triplet.offset) + " " + toHex(std::span(triplet.header.key).last(1)) + " " +
           std::to_string(triplet.header.length.bytes) + " " +
           (triplet.isValueKept ? toHex(triplet.value) : std::to_string(triplet.header.length.value) + " bytes");
}

struct Found {
    std::vector<std::string> triplets;
    std::vector<Finding> findings;
    bool operator==(const Found&) const = default;

    friend std::ostream& operator<<(std::ostream& out, const Found& found) {
        for (const std::string& triplet : found.triplets) {
            out << triplet << '\n';
        }
        for (const Finding& finding : found.findings) {
            out << finding.offset << ": " << finding.text() << '\n';
        }
        return out;
    }
};

Found read(std::span<const std::uint8_t> bytes, std::size_t piece, const ReaderOptions& options = {}) {
    Found found;
    Findings findings;
    Reader reader(options, &findings);
    const auto take = [&] {
        while (const auto triplet = reader.next()) {
            found.triplets.push_back(words(*triplet));
        }
    };
    while (!bytes.empty()) {
        // The reader keeps nothing of the caller's: each piece is gone at once.
        const ExactBuffer one(bytes.first(std::min(piece, bytes.size())));
        reader.push(one.span());
        take();
        bytes = bytes.subspan(one.size());
    }
    reader.finish();
    take();
    found.findings.assign(findings.begin(), findings.end());
    return found;
}

/// The same from pieces of many sizes, which make no difference.
Found readInPieces(const std::string& digits, const ReaderOptions& options = {}) {
    const auto bytes = fromHex(digits);
    const Found whole = read(bytes, std::max<std::size_t>(bytes.size(), 1), options);
    for (const unsigned piece : {1U, 2U, 3U, 7U, 16U, 17U, 25U}) {
        EXPECT_EQ(read(bytes, piece, options), whole) << piece;
    }
    return whole;
}

Finding warning(FindingCode code, std::uint64_t offset, std::int64_t first = 0, std::int64_t second = 0) {
    return {code, Severity::Warning, offset, first, second};
}

Finding error(FindingCode code, std::uint64_t offset, std::int64_t first = 0, std::int64_t second = 0) {
    return {code, Severity::Error, offset, first, second};
}

/// A key that ends with a byte.
std::string key(const std::string& last) {
    return "060e2b34 01020101 0d010301 150105" + last;
}

/// Behind the triplet at `begin`, as far as its length has up to three bytes behind the first; else 1.
std::size_t endOfTriplet(const std::vector<std::uint8_t>& bytes, std::size_t begin) {
    const std::size_t first = bytes[begin + 16];
    if (first < 0x80) {
        return begin + 17 + first;
    }
    if (first < 0x81 || first > 0x83) {
        return 1;
    }
    std::size_t length = 0;
    for (std::size_t index = 0; index < first - 0x80; ++index) {
        length = length * 256 + bytes[begin + 17 + index];
    }
    return begin + 17 + first - 0x80 + length;
}

// 19, 21 and 18 bytes.
const std::string kFirst = key("01") + "02 aaaa";
const std::string kSecond = key("02") + "8103 bbbbbb";
const std::string kThird = key("03") + "01 cc";

}  // namespace

TEST(KlvReader, GivesEveryTripletWithItsPlaceAndForm) {
    EXPECT_EQ(readInPieces(kFirst + kSecond + key("04") + "8800000000000000 00" + kThird),
              (Found{{"0 01 1 aaaa", "19 02 2 bbbbbb", "40 04 9 ", "65 03 1 cc"}, {}}));
    EXPECT_EQ(readInPieces(""), Found{});
}

TEST(KlvReader, GivesATripletWhenTheNextOneOrTheEndIsSeen) {
    const auto bytes = fromHex(kFirst + kThird);
    Reader reader;
    reader.push(std::span(bytes).first(22));
    EXPECT_FALSE(reader.next());
    reader.push(std::span(bytes).subspan(22, 1));
    const auto first = reader.next();
    ASSERT_TRUE(first);
    EXPECT_EQ(words(*first), "0 01 1 aaaa");
    EXPECT_EQ(reader.offset(), 19U);
    reader.push(std::span(bytes).subspan(23));
    EXPECT_FALSE(reader.next());
    reader.finish();
    const auto last = reader.next();
    ASSERT_TRUE(last);
    EXPECT_EQ(words(*last), "19 03 1 cc");
    EXPECT_EQ(reader.offset(), 37U);
    EXPECT_FALSE(reader.next());
    EXPECT_FALSE(reader.next());
}

TEST(KlvReader, SaysHowManyBytesItNeedsAtLeast) {
    const auto bytes = fromHex(kFirst + kSecond + "00" + kThird);
    Reader reader;
    std::vector<std::uint64_t> wanted;
    std::size_t given = 0;
    for (std::size_t done = 0; done < bytes.size();) {
        wanted.push_back(reader.wanted());
        const auto count = static_cast<std::size_t>(std::min<std::uint64_t>(wanted.back(), bytes.size() - done));
        reader.push(std::span(bytes).subspan(done, count));
        done += count;
        while (reader.next()) {
            ++given;
        }
    }
    // Key and length; value and the next key's beginning; the rest of key and length, a second byte of it, value and the
    // next key's beginning, which is none; what may begin one; the rest of it; value and, in vain, a next beginning.
    EXPECT_EQ(wanted, (std::vector<std::uint64_t>{17, 6, 13, 1, 7, 14, 5}));
    EXPECT_EQ(given, 2U);
}

TEST(KlvReader, GoesOnBehindADamagedKey) {
    EXPECT_EQ(readInPieces(kFirst + "07" + kSecond.substr(2) + kThird),
              (Found{{"0 01 1 aaaa", "40 03 1 cc"},
                     {warning(FindingCode::KlvKeyWrong, 19, 0x070E'2B34), error(FindingCode::KlvSkipped, 19, 21)}}));
    // At the beginning, as behind a run-in; and at the end.
    EXPECT_EQ(readInPieces("0102 0606 06" + kFirst + kThird),
              (Found{{"5 01 1 aaaa", "24 03 1 cc"},
                     {warning(FindingCode::KlvKeyWrong, 0, 0x0102'0606), error(FindingCode::KlvSkipped, 0, 5)}}));
    EXPECT_EQ(readInPieces(kFirst + "00" + kThird.substr(2)),
              (Found{{"0 01 1 aaaa"},
                     {warning(FindingCode::KlvKeyWrong, 19, 0x000E'2B34), error(FindingCode::KlvSkipped, 19, 18)}}));
}

TEST(KlvReader, GoesOnBehindADamagedLength) {
    const auto damaged = [](const std::string& length) { return key("01") + length + "aaaa"; };
    // Longer than it is: into the next triplet, behind it, behind the end.
    for (const auto& [digits, length] : {std::pair("07", 7), std::pair("1a", 26), std::pair("7f", 127)}) {
        EXPECT_EQ(
            readInPieces(damaged(digits) + kSecond + kThird),
            (Found{{"19 02 2 bbbbbb", "40 03 1 cc"},
                   {warning(FindingCode::KlvLengthLeadsNowhere, 0, length), error(FindingCode::KlvSkipped, 0, 19)}}))
            << digits;
    }
    // Shorter: what is left of the value is skipped.
    EXPECT_EQ(readInPieces(damaged("01") + kSecond + kThird),
              (Found{{"0 01 1 aa", "19 02 2 bbbbbb", "40 03 1 cc"},
                     {warning(FindingCode::KlvKeyWrong, 18, 0xAA06'0E2B), error(FindingCode::KlvSkipped, 18, 1)}}));
    // Indefinite, and of more bytes than there can be.
    EXPECT_EQ(readInPieces(damaged("80") + kSecond + kThird),
              (Found{{"19 02 2 bbbbbb", "40 03 1 cc"},
                     {warning(FindingCode::KlvLengthIndefinite, 16), error(FindingCode::KlvSkipped, 0, 19)}}));
    EXPECT_EQ(readInPieces(damaged("ff") + kSecond + kThird),
              (Found{{"19 02 2 bbbbbb", "40 03 1 cc"},
                     {warning(FindingCode::KlvLengthTooLong, 16, 127, 8), error(FindingCode::KlvSkipped, 0, 19)}}));
}

TEST(KlvReader, TakesTheEndOfATripletThatIsTooLongForTheNextOne) {
    // The length of the first leads exactly to the third triplet: nothing tells that the second is no part of its value.
    const Found found = readInPieces(key("01") + "17 aaaa" + kSecond + kThird);
    ASSERT_EQ(found.triplets.size(), 2U);
    EXPECT_EQ(found.triplets[1], "40 03 1 cc");
    EXPECT_TRUE(found.findings.empty());
}

TEST(KlvReader, RefusesAnAncFrameElementThatNoFrameHas) {
    const std::string element = "060e2b34 01020101 0d010301 17010201";
    EXPECT_EQ(readInPieces(element + "8402000001 aaaa" + kSecond + kThird),
              (Found{{"23 02 2 bbbbbb", "44 03 1 cc"},
                     {warning(FindingCode::KlvLengthTooGreat, 16, 0x200'0001, 0x200'0000),
                      error(FindingCode::KlvSkipped, 0, 23)}}));
}

TEST(KlvReader, PassesOverKeysThatLeadNowhereWhenItLooksForOne) {
    // Damage, then a key without a length that leads on, then one whose length leads on.
    const std::string stray = key("0e") + "05 00";
    EXPECT_EQ(readInPieces("ff" + stray + kSecond + kThird),
              (Found{{"19 02 2 bbbbbb", "40 03 1 cc"},
                     {warning(FindingCode::KlvKeyWrong, 0, 0xFF06'0E2B), error(FindingCode::KlvSkipped, 0, 19)}}));
}

TEST(KlvReader, TakesNoLengthForMemory) {
    const std::string greatest = key("01") + "88ffffffffffffffff aaaa";
    EXPECT_EQ(readInPieces(greatest + kSecond, {UINT64_MAX}), readInPieces(greatest + kSecond));
    EXPECT_EQ(readInPieces(greatest), (Found{{}, {error(FindingCode::KlvValueCut, 0, -1, 2)}}));
    EXPECT_EQ(readInPieces(greatest + kSecond),
              (Found{{"27 02 2 bbbbbb"},
                     {warning(FindingCode::KlvValueHoldsTriplets, 0, -1, 27), error(FindingCode::KlvSkipped, 0, 27)}}));
    // What can be kept is looked into.
    EXPECT_EQ(
        readInPieces(key("01") + "8400ffffff aaaa" + kSecond),
        (Found{{"23 02 2 bbbbbb"},
               {warning(FindingCode::KlvLengthLeadsNowhere, 0, 0xFF'FFFF), error(FindingCode::KlvSkipped, 0, 23)}}));
}

TEST(KlvReader, SaysThatNothingIsThere) {
    EXPECT_EQ(readInPieces("00112233445566778899"),
              (Found{{}, {warning(FindingCode::KlvKeyWrong, 0, 0x0011'2233), error(FindingCode::KlvSkipped, 0, 10)}}));
    EXPECT_EQ(readInPieces("00"),
              (Found{{}, {warning(FindingCode::KlvKeyWrong, 0, 0), error(FindingCode::KlvSkipped, 0, 1)}}));
}

TEST(KlvReader, GivesWhatIsWholeOfEveryShorterStream) {
    const auto whole = fromHex(kFirst + kSecond + kThird);
    const std::array<std::size_t, 4> ends{0, 19, 40, 58};
    qlxtest::forEachTruncation(whole, [&ends](const ExactBuffer& cut) {
        const auto last = std::upper_bound(ends.begin(), ends.end(), cut.size()) - 1;
        for (const std::size_t piece : {std::size_t{1}, std::size_t{5}, std::size_t{100}}) {
            const Found found = read(cut.span(), piece);
            EXPECT_EQ(found.triplets.size(), static_cast<std::size_t>(last - ends.begin())) << cut.size();
            const std::size_t there = cut.size() - *last;
            if (there == 0) {
                EXPECT_TRUE(found.findings.empty());
                continue;
            }
            // Key and first byte of length; the length of two bytes; the value.
            const std::size_t header = *last == 19 ? 18 : 17;
            const std::size_t size = *(last + 1) - *last;
            const Finding expected =
                there < header ? error(FindingCode::KlvCut, *last, there <= 16 ? 17 : 18, static_cast<int>(there))
                               : error(FindingCode::KlvValueCut, *last, static_cast<int>(size - header),
                                       static_cast<int>(there - header));
            EXPECT_EQ(found.findings, std::vector<Finding>{expected}) << cut.size();
        }
    });
}

TEST(KlvReader, GivesLongTripletsWithoutTheirValues) {
    const ReaderOptions options{2};
    EXPECT_EQ(readInPieces(kFirst + kSecond + kThird, options),
              (Found{{"0 01 1 aaaa", "19 02 2 3 bytes", "40 03 1 cc"}, {}}));
    EXPECT_EQ(readInPieces(kFirst + kSecond + "00" + kThird, options),
              (Found{{"0 01 1 aaaa", "19 02 2 3 bytes", "41 03 1 cc"},
                     {warning(FindingCode::KlvKeyWrong, 40, 0x0006'0E2B), error(FindingCode::KlvSkipped, 40, 1)}}));
    EXPECT_EQ(readInPieces(kFirst + key("02") + "8103 bbbb", options),
              (Found{{"0 01 1 aaaa"}, {error(FindingCode::KlvValueCut, 19, 3, 2)}}));
    // Behind damage such a triplet is not believed.
    EXPECT_EQ(readInPieces("00" + kSecond + kThird, options),
              (Found{{"22 03 1 cc"},
                     {warning(FindingCode::KlvKeyWrong, 0, 0x0006'0E2B), error(FindingCode::KlvSkipped, 0, 22)}}));
}

TEST(KlvReader, LooksThroughLongValuesWhereTheirEndIsNotKnown) {
    const ReaderOptions options{2};
    const auto holds = [](std::int64_t length, std::int64_t place) {
        return std::vector<Finding>{warning(FindingCode::KlvValueHoldsTriplets, 19, length, place),
                                    error(FindingCode::KlvSkipped, 19, place - 19)};
    };
    // A length that ends in the next triplet, behind it, behind the end. The beginnings of keys in it lead nowhere.
    const std::string value = "06 060e 060e2b34";
    for (const auto& [digits, length] : {std::pair("09", 9), std::pair("23", 35), std::pair("7f", 127)}) {
        EXPECT_EQ(readInPieces(kFirst + key("04") + digits + value + kFirst + kThird, options),
                  (Found{{"0 01 1 aaaa", "43 01 1 aaaa", "62 03 1 cc"}, holds(length, 43)}))
            << digits;
    }
    // The last triplet leads to the end.
    EXPECT_EQ(readInPieces(kFirst + key("04") + "8400ffffff" + value + kThird, options),
              (Found{{"0 01 1 aaaa", "47 03 1 cc"}, holds(0xFF'FFFF, 47)}));
    // One whose length ends where the next triplet begins is not seen to be another's value.
    EXPECT_EQ(readInPieces(kFirst + key("04") + "07" + value + kThird, options),
              (Found{{"0 01 1 aaaa", "19 04 1 7 bytes", "43 03 1 cc"}, {}}));
}

TEST(KlvReader, LooksAheadToTheEndOfALongValue) {
    // The value is another file: only what stands behind it tells that it is one.
    const std::string inner = kFirst + kThird;
    const auto look = [](const std::vector<std::uint8_t>& bytes) {
        return [&bytes](std::uint64_t place, std::span<std::uint8_t> room) {
            const std::size_t begin = static_cast<std::size_t>(std::min<std::uint64_t>(place, bytes.size()));
            const std::size_t count = std::min(room.size(), bytes.size() - begin);
            std::copy_n(bytes.begin() + static_cast<std::ptrdiff_t>(begin), count, room.begin());
            return count;
        };
    };
    const auto found = [&](const std::string& digits) {
        const auto bytes = fromHex(digits);
        return readInPieces(digits, {2, look(bytes)});
    };
    const std::string foreign = key("04") + "25" + inner;
    EXPECT_EQ(found(foreign + kFirst), (Found{{"0 04 1 37 bytes", "54 01 1 aaaa"}, {}}));
    EXPECT_EQ(found(foreign), (Found{{"0 04 1 37 bytes"}, {}}));
    EXPECT_EQ(found(foreign + "060e"), (Found{{"0 04 1 37 bytes"}, {error(FindingCode::KlvCut, 54, 17, 2)}}));
    // Too long by a byte, too long for the file, and too long for any: the same triplets are read in all of them.
    for (const auto& [digits, length] : {std::pair("26", 38LL), std::pair("7f", 127LL)}) {
        EXPECT_EQ(found(key("04") + digits + inner + kFirst),
                  (Found{{"17 01 1 aaaa", "36 03 1 cc", "54 01 1 aaaa"},
                         {warning(FindingCode::KlvValueHoldsTriplets, 0, length, 17),
                          error(FindingCode::KlvSkipped, 0, 17)}}));
    }
    EXPECT_EQ(found(key("04") + "88ffffffffffffffff" + inner).triplets,
              (std::vector<std::string>{"25 01 1 aaaa", "44 03 1 cc"}));
}

TEST(KlvReader, GivesBackEveryByteOfARandomStream) {
    std::mt19937 random(1);
    for (int round = 0; round < 300; ++round) {
        std::vector<std::uint8_t> stream;
        for (std::size_t count = random() % 6; count > 0; --count) {
            std::vector<std::uint8_t> value(random() % 300);
            std::generate(value.begin(), value.end(), [&random] { return static_cast<std::uint8_t>(random()); });
            Key one = ancFrameElementKey(static_cast<std::uint8_t>(random()), static_cast<std::uint8_t>(random()));
            const auto bytes = static_cast<std::uint8_t>(shortestLengthBytes(value.size()) +
                                                         random() % (10 - shortestLengthBytes(value.size())));
            const auto triplet = writeTriplet(one, value, bytes);
            ASSERT_TRUE(triplet);
            stream.insert(stream.end(), triplet->begin(), triplet->end());
        }
        Findings findings;
        Reader reader({}, &findings);
        std::vector<std::uint8_t> written;
        const auto take = [&] {
            while (const auto triplet = reader.next()) {
                const auto again = writeTriplet(triplet->header.key, triplet->value, triplet->header.length.bytes);
                ASSERT_TRUE(again);
                written.insert(written.end(), again->begin(), again->end());
            }
        };
        for (std::size_t done = 0; done < stream.size();) {
            const std::size_t piece = std::min<std::size_t>(1 + random() % 200, stream.size() - done);
            reader.push(std::span(stream).subspan(done, piece));
            done += piece;
            take();
        }
        reader.finish();
        take();
        ASSERT_TRUE(findings.empty());
        ASSERT_EQ(toHex(written), toHex(stream));
    }
}

TEST(KlvReader, FindsEveryTripletButTheDamagedOne) {
    // One byte of key or length of one triplet is changed: the others are given, and all that is not given is said.
    const std::size_t count = 5;
    std::vector<std::uint8_t> stream;
    std::vector<std::size_t> ends;
    for (std::size_t index = 0; index < count; ++index) {
        const auto triplet = writeTriplet(ancFrameElementKey(1, static_cast<std::uint8_t>(index)),
                                          std::vector<std::uint8_t>(40, std::uint8_t{0xA5}));
        stream.insert(stream.end(), triplet->begin(), triplet->end());
        ends.push_back(stream.size());
    }
    for (std::size_t place = 60; place < 80; ++place) {
        for (unsigned change = 1; change < 256; ++change) {
            auto damaged = stream;
            damaged[place] ^= static_cast<std::uint8_t>(change);
            Findings findings;
            Reader reader({}, &findings);
            reader.push(damaged);
            reader.finish();
            std::vector<std::size_t> given;
            std::uint64_t bytes = 0;
            while (const auto triplet = reader.next()) {
                given.push_back(triplet->offset);
                bytes += triplet->header.size() + triplet->header.length.value;
            }
            for (const Finding& finding : findings) {
                bytes += finding.code == FindingCode::KlvSkipped ? static_cast<std::uint64_t>(finding.first) : 0;
            }
            ASSERT_EQ(bytes, stream.size()) << place << ' ' << change;
            for (const unsigned begin : {0U, 120U, 180U, 240U}) {
                // A length that leads exactly to a later triplet takes those in front of it for its value.
                const std::size_t end = place < 76 ? 120 : endOfTriplet(damaged, 60);
                const bool isSwallowed = end % 60 == 0 && end <= stream.size() && begin > 60 && begin < end;
                ASSERT_EQ(std::count(given.begin(), given.end(), begin), isSwallowed ? 0 : 1)
                    << place << ' ' << change << ' ' << begin;
            }
        }
    }
}

// A quadratic step would take many minutes on these.
TEST(KlvReader, ReadsLongHostileStreams) {
    constexpr std::size_t kSize = std::size_t{1} << 16U;
    const auto repeated = [](const std::string& digits, std::size_t size) {
        const auto part = fromHex(digits);
        std::vector<std::uint8_t> bytes;
        while (bytes.size() + part.size() <= size) {
            bytes.insert(bytes.end(), part.begin(), part.end());
        }
        return bytes;
    };
    // Beginnings of labels; keys that lead into the next one, behind the end, and to places where no key is; triplets
    // behind which damage stands, and in whose values others lead on.
    const std::array parts{std::string("06"),
                           std::string("060e2b"),
                           std::string("060e2b34"),
                           key("01") + "05",
                           key("01") + "83400000",
                           key("01") + "8301fffe",
                           key("01") + "8300ff 060e",
                           key("01") + "8800000000003ffff0",
                           kFirst + "00",
                           key("01") + "7f" + kThird + kThird};
    const auto readParts = [&](const std::string& part, std::uint64_t greatestValue,
                               std::initializer_list<std::size_t> sizes) {
        for (const std::size_t size : sizes) {
            auto bytes = fromHex("ff");
            const auto rest = repeated(part, size);
            bytes.insert(bytes.end(), rest.begin(), rest.end());
            std::uint64_t told = 0;
            for (const std::size_t piece : {std::size_t{4099}, bytes.size()}) {
                Findings findings(1);
                Reader reader({greatestValue}, &findings);
                std::uint64_t given = 0;
                const auto take = [&] {
                    while (const auto triplet = reader.next()) {
                        given += triplet->header.size() + triplet->header.length.value;
                    }
                };
                for (std::size_t done = 0; done < bytes.size(); done += piece) {
                    reader.push(std::span(bytes).subspan(done, std::min(piece, bytes.size() - done)));
                    take();
                }
                reader.finish();
                take();
                ASSERT_EQ(reader.offset(), bytes.size()) << part;
                ASSERT_EQ(findings[0].code, FindingCode::KlvKeyWrong) << part;
                // However the bytes come, the same is found.
                ASSERT_TRUE(piece == 4099 || given == told) << part;
                told = given;
            }
        }
    };
    for (const std::string& part : parts) {
        // All values are kept, and hardly any.
        readParts(part, ReaderOptions().greatestValue, {kSize, 2 * kSize, 4 * kSize});
        readParts(part, 4, {2 * kSize});
    }
}

TEST(KlvReader, EndsAtItsLimits) {
    const std::string three = key("01") + "01 aa" + key("02") + "01 bb" + key("03") + "01 cc";
    EXPECT_EQ(readInPieces(three, {.limits = {.bytes = 54, .items = 3}}), readInPieces(three));
    EXPECT_EQ(readInPieces(three, {.limits = {.items = 2}}),
              (Found{{"0 01 1 aa", "18 02 1 bb"}, {error(FindingCode::LimitOfItemsReached, 36, 2)}}));
    const Found cut = read(fromHex(three), 54, {.limits = {.bytes = 36}});
    EXPECT_EQ(cut.triplets, (std::vector<std::string>{"0 01 1 aa", "18 02 1 bb"}));
    ASSERT_EQ(cut.findings.size(), 1U);
    EXPECT_EQ(cut.findings[0].text(), "reading ends at the limit of 36 bytes");
}

TEST(KlvReader, LeavesOutWhatALimitCuts) {
    // The last value holds triplets itself, which are none of the stream's.
    const std::string inner = key("04") + "01 dd" + key("05") + "01 ee";
    const std::string digits = key("01") + "01 aa" + key("02") + "01 bb" + key("03") + "24" + inner + key("06") + "00";
    const auto bytes = fromHex(digits);
    ASSERT_EQ(bytes.size(), 36U + 17 + 36 + 17);
    for (std::size_t limit = 36; limit < 36 + 17 + 36; ++limit) {
        for (const std::size_t piece : {std::size_t{1}, bytes.size()}) {
            const Found cut = read(bytes, piece, {.limits = {.bytes = limit}});
            EXPECT_EQ(cut.triplets, (std::vector<std::string>{"0 01 1 aa", "18 02 1 bb"})) << limit;
            ASSERT_EQ(cut.findings.size(), 1U) << limit;
            EXPECT_EQ(cut.findings[0].code, FindingCode::LimitOfBytesReached);
        }
    }
    // Of damage in front of the limit it is said how much it is.
    const Found damaged = read(fromHex("00 00 00 00 00" + digits), 3, {.limits = {.bytes = 12}});
    EXPECT_EQ(damaged.triplets, std::vector<std::string>{});
    ASSERT_EQ(damaged.findings.size(), 3U);
    EXPECT_EQ(damaged.findings[1].code, FindingCode::LimitOfBytesReached);
    EXPECT_EQ(damaged.findings[2], (Finding{FindingCode::KlvSkipped, Severity::Error, 0, 5, 0}));
}
