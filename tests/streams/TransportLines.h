// Random teletext for transport streams, and a sink that keeps what is written.
#pragma once

#include <qlx/streams/byte_source.h>
#include <qlx/teletext/packet.h>
#include <qlx/teletext/sdp.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <random>
#include <span>
#include <vector>

namespace qlxtest {

using StreamBytes = std::vector<std::uint8_t>;

/// Keeps what is written.
class KeptBytes final : public qlx::streams::ByteSink {
public:
    std::optional<qlx::Finding> write(std::span<const std::uint8_t> bytes) override {
        kept.insert(kept.end(), bytes.begin(), bytes.end());
        return std::nullopt;
    }
    StreamBytes kept;
};

/// Lines of a field with random content.
inline std::vector<qlx::teletext::SdpLine> randomLines(std::mt19937& random, std::size_t count, bool isOdd) {
    std::vector<qlx::teletext::SdpLine> lines(count);
    for (std::size_t index = 0; index < count; ++index) {
        qlx::teletext::Packet packet;
        packet.magazine = static_cast<std::uint8_t>(1 + random() % 8);
        packet.number = static_cast<std::uint8_t>(random() % 31);
        std::generate(packet.data.begin(), packet.data.end(), [&] { return static_cast<std::uint8_t>(random()); });
        EXPECT_TRUE(writePacket(packet, lines[index].bytes));
        lines[index].descriptor = qlx::teletext::sdpDescriptor(static_cast<unsigned>(7 + index), isOdd);
    }
    return lines;
}

}  // namespace qlxtest
