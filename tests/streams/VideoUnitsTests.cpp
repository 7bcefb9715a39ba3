// Cutting an elementary stream of a source into access units.
#include "ExactBuffer.h"

#include <gtest/gtest.h>

#include <qlx/streams/video.h>

#include <cstdint>
#include <optional>
#include <random>
#include <span>
#include <string>
#include <vector>

namespace {

using qlx::streams::VideoUnits;
using qlx::video::Codec;
using qlxtest::fromHex;
using Bytes = std::vector<std::uint8_t>;

const std::string kLong = "00000001";
const std::string kShort = "000001";
const std::string kIdr = "65 88 80 aa";
const std::string kSlice = "41 9a 22 bb";

/// The units that a stream is cut into.
std::vector<Bytes> unitsOf(const Bytes& stream, std::optional<Codec> codec, std::uint64_t firstOffset = 0) {
    qlx::streams::MemorySource source(stream);
    VideoUnits reader(source, codec);
    std::vector<Bytes> units;
    std::uint64_t offset = firstOffset;
    for (auto unit = reader.next(); unit && *unit; unit = reader.next()) {
        EXPECT_EQ((*unit)->number, units.size());
        EXPECT_EQ((*unit)->offset, offset);
        offset += (*unit)->bytes.size();
        units.emplace_back((*unit)->bytes.begin(), (*unit)->bytes.end());
    }
    EXPECT_EQ(offset, stream.size());
    return units;
}

TEST(VideoUnits, PassesOverWhatStandsInFrontOfTheFirst) {
    const Bytes unit = fromHex(kLong + "09f0" + kShort + kIdr);
    for (const std::size_t lead : {std::size_t{1}, std::size_t{3}, std::size_t{7}, std::size_t{262140},
                                   std::size_t{262143}, std::size_t{262144}, std::size_t{300000}}) {
        Bytes stream(lead, 0);
        stream.insert(stream.end(), unit.begin(), unit.end());
        EXPECT_EQ(unitsOf(stream, std::nullopt, lead), std::vector<Bytes>{unit}) << lead;
    }
}

TEST(VideoUnits, FindsStartCodesWhereverReadingStops) {
    // The second unit begins at every place around the end of what is read at once (256 KiB).
    const Bytes second = fromHex(kLong + kSlice);
    for (std::size_t size = 262144 - 8; size <= 262144 + 8; ++size) {
        Bytes first = fromHex(kLong + kIdr);
        first.resize(size, 0x55);
        Bytes stream = first;
        stream.insert(stream.end(), second.begin(), second.end());
        EXPECT_TRUE(unitsOf(stream, std::nullopt) == (std::vector<Bytes>{first, second})) << size;
    }
}

TEST(VideoUnits, TakesRandomBytesCalmly) {
    std::mt19937 random(1);
    for (int run = 0; run < 20; ++run) {
        Bytes stream = fromHex("000001");
        stream.push_back(run % 2 == 0 ? 0x65 : 0xB3);
        for (int index = 0; index < 20000; ++index) {
            // Few values, so that start codes are frequent.
            stream.push_back(static_cast<std::uint8_t>(random() % 3 == 0 ? random() : random() % 2));
        }
        const auto units = unitsOf(stream, std::nullopt);
        EXPECT_GT(units.size(), 1U);
        EXPECT_EQ(unitsOf(stream, run % 2 == 0 ? Codec::H264 : Codec::Mpeg2), units);
    }
}

/// A start code, and bytes without end behind it.
class EndlessSource final : public qlx::streams::ByteSource {
public:
    std::size_t read(std::span<std::uint8_t> to) override {
        constexpr std::uint8_t kStart[] = {0, 0, 1, 0x65};
        for (std::uint8_t& byte : to) {
            byte = _offset < sizeof kStart ? kStart[_offset] : std::uint8_t{0xFF};
            ++_offset;
        }
        return to.size();
    }
    std::span<const std::uint8_t> peek(std::size_t /*count*/) override { return {}; }
    std::uint64_t skip(std::uint64_t count) override {
        _offset += count;
        return count;
    }
    bool seek(std::uint64_t /*offset*/) override { return false; }
    [[nodiscard]] std::uint64_t offset() const override { return _offset; }
    [[nodiscard]] std::optional<std::uint64_t> size() const override { return std::nullopt; }
    [[nodiscard]] std::optional<qlx::Finding> error() const override { return std::nullopt; }

private:
    std::uint64_t _offset = 0;
};

TEST(VideoUnits, EndAtAUnitThatNeverEnds) {
    EndlessSource source;
    VideoUnits reader(source, std::nullopt);
    const auto unit = reader.next();
    ASSERT_FALSE(unit);
    EXPECT_EQ(unit.error().code, qlx::FindingCode::VideoUnitTooLong);
    EXPECT_EQ(unit.error().offset, 0U);
    EXPECT_EQ(reader.codec(), Codec::H264);
    EXPECT_LT(source.offset(), 66U * 1024 * 1024);
}

/// A source that cannot be read any more.
class BrokenSource final : public qlx::streams::ByteSource {
public:
    explicit BrokenSource(std::span<const std::uint8_t> bytes) : _bytes(bytes) {}

    std::size_t read(std::span<std::uint8_t> to) override { return _bytes.read(to); }
    std::span<const std::uint8_t> peek(std::size_t count) override { return _bytes.peek(count); }
    std::uint64_t skip(std::uint64_t count) override { return _bytes.skip(count); }
    bool seek(std::uint64_t offset) override { return _bytes.seek(offset); }
    [[nodiscard]] std::uint64_t offset() const override { return _bytes.offset(); }
    [[nodiscard]] std::optional<std::uint64_t> size() const override { return std::nullopt; }
    [[nodiscard]] std::optional<qlx::Finding> error() const override {
        return qlx::Finding{qlx::FindingCode::StreamReadFailed, qlx::Severity::Error, _bytes.offset(), 5, 0};
    }

private:
    qlx::streams::MemorySource _bytes;
};

TEST(VideoUnits, SayThatReadingFailsBehindWhatWasRead) {
    const Bytes first = fromHex(kLong + kIdr);
    const Bytes stream = fromHex(kLong + kIdr + kLong + kSlice);
    BrokenSource source(stream);
    VideoUnits units(source, std::nullopt);
    for (const std::size_t size : {first.size(), stream.size() - first.size()}) {
        const auto unit = units.next();
        ASSERT_TRUE(unit && *unit);
        EXPECT_EQ((*unit)->bytes.size(), size);
    }
    for (int time = 0; time < 2; ++time) {
        const auto end = units.next();
        ASSERT_FALSE(end);
        EXPECT_EQ(end.error().code, qlx::FindingCode::StreamReadFailed);
        EXPECT_EQ(end.error().first, 5);
    }
    // Nothing that begins a stream, and nothing at all.
    for (const Bytes& less : {Bytes{0xAA}, Bytes{}}) {
        BrokenSource early(less);
        const auto end = VideoUnits(early, std::nullopt).next();
        ASSERT_FALSE(end);
        EXPECT_EQ(end.error().code, qlx::FindingCode::StreamReadFailed);
    }
}

}  // namespace
