// The first caption or OP-47 packet in SDI lines, cut out as the payload of a sample.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace qlx::captionlines {

enum class Kind { CDP, OP47 };

/// What a packet becomes: the bytes of a `c708` sample (atom header and CDP) or of an `op47` one.
struct Payload {
    Kind kind;
    std::vector<std::uint8_t> bytes;
};

/// The first packet of 8-bit (`2vuy`) lines. The third user data word, the packet's own length byte, gives its size;
/// a line that ends before it is filled up with zeros.
[[nodiscard]] std::optional<Payload> find8Bit(std::span<const std::uint8_t> lines, std::uint64_t bytesPerRow);

/// The first packet of 10-bit (`v210`) lines. Its user data words are taken from word 4 of the line, wherever in the
/// line the packet stands, as hosts expect; an OP-47 payload has a 19-byte header.
[[nodiscard]] std::optional<Payload> find10Bit(std::span<const std::uint8_t> lines, std::uint64_t bytesPerRow);

}  // namespace qlx::captionlines
