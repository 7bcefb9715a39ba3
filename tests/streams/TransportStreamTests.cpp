// The packets of transport streams: how far they are apart, and whether the last one is whole.
#include "ExactBuffer.h"
#include "streams/ts/TransportStream.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace {

using qlx::streams::detail::cutTransportPacket;
using qlx::streams::detail::transportPacketSize;
using qlxtest::fromHex;
using Bytes = std::vector<std::uint8_t>;

/// How packets lie: bytes of each, and in front of its sync byte.
struct Layout {
    std::size_t size;
    std::size_t sync;
};

/// Packets alone, with a time in front, with parity behind.
constexpr Layout kLayouts[] = {{188, 0}, {192, 4}, {204, 0}};

/// Packets of a transport stream with a sync byte each.
Bytes transportStream(std::size_t packets, std::size_t size, std::size_t sync) {
    Bytes stream(packets * size, 0x11);
    for (std::size_t place = sync; place < stream.size(); place += size) {
        stream[place] = 0x47;
    }
    return stream;
}

TEST(TransportStream, IsToldByTheDistanceOfItsSyncBytes) {
    for (const Layout& layout : kLayouts) {
        const std::size_t size = layout.size;
        const std::size_t sync = layout.sync;
        const Bytes stream = transportStream(4, size, sync);
        qlxtest::forEachTruncation(stream, [&](const qlxtest::ExactBuffer& part) {
            // Two sync bytes tell it, wherever the second packet ends.
            EXPECT_EQ(transportPacketSize(part.span()), part.size() > size + sync ? size : 0) << part.size();
        });
        EXPECT_EQ(transportPacketSize(std::span(stream).subspan(sync + 1)), 0U);
    }
    Bytes behind = transportStream(4, 188, 0);
    behind.insert(behind.begin(), 100, 0x00);
    EXPECT_EQ(transportPacketSize(behind), 0U);
    EXPECT_EQ(transportPacketSize(std::span(behind).subspan(100)), 188U);
    // A packet with neither an adaptation field nor data is none.
    Bytes empty = transportStream(4, 188, 0);
    empty[188 + 3] = 0x0F;
    EXPECT_EQ(transportPacketSize(empty), 0U);
}

TEST(TransportStream, SeesThatAPacketIsCut) {
    for (const auto& [size, sync] : kLayouts) {
        const Bytes stream = transportStream(9, size, sync);
        for (const std::size_t first : {std::size_t{0}, std::size_t{100}, size - 1}) {
            for (std::size_t end = 8 * size; end <= stream.size(); ++end) {
                const Bytes tail(stream.begin() + static_cast<std::ptrdiff_t>(first),
                                 stream.begin() + static_cast<std::ptrdiff_t>(end));
                for (const std::size_t known : {std::size_t{0}, size}) {
                    const qlxtest::ExactBuffer exact(tail);
                    const auto cut = cutTransportPacket(exact.span(), known);
                    ASSERT_EQ(cut.has_value(), end % size != 0) << size << " from " << first << " to " << end;
                    if (cut) {
                        EXPECT_EQ(cut->begin, end / size * size - first);
                        EXPECT_EQ(cut->there, end % size);
                        EXPECT_EQ(cut->size, size);
                    }
                }
            }
        }
    }
}

TEST(TransportStream, CountsPacketsFromTheLastDamage) {
    Bytes stream = transportStream(10, 188, 0);
    const Bytes junk(1000, 0x22);
    stream.insert(stream.begin() + 3 * 188 + 50, junk.begin(), junk.end());
    EXPECT_FALSE(cutTransportPacket(stream, 188));
    stream.resize(stream.size() - 24);
    const auto cut = cutTransportPacket(stream, 188);
    ASSERT_TRUE(cut);
    EXPECT_EQ(cut->begin, 9U * 188 + 1000);
    EXPECT_EQ(cut->there, 164U);
}

TEST(TransportStream, SaysNothingOfWhatHasNoPackets) {
    EXPECT_FALSE(cutTransportPacket({}, 188));
    EXPECT_FALSE(cutTransportPacket(fromHex("47"), 188));
    EXPECT_FALSE(cutTransportPacket(Bytes(4096, 0x11), 0));
    // Damage in the last packets: too few of them are left to tell.
    Bytes stream = transportStream(12, 188, 0);
    stream.insert(stream.end() - 4 * 188, 500, 0x22);
    stream.resize(stream.size() - 24);
    EXPECT_FALSE(cutTransportPacket(std::span(stream).last(2000), 188));
}

}  // namespace
