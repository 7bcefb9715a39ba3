// Whether a stream that says nothing of its length ends with a whole packet.
#pragma once

#include "InputFile.h"
#include "InputKind.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace qlx::tool {

struct CutPacket {
    std::size_t begin = 0;  ///< Where it begins.
    std::size_t there = 0;  ///< Bytes that are there.
    std::size_t size = 0;   ///< Bytes that it would have; 0 when its length is not there either.
};

/// The last packet of a program stream (ISO/IEC 13818-1, ISO/IEC 11172-1) when its end is missing.
/// @param tail The stream's last bytes: all of it, or more than the longest packet (64 KiB).
[[nodiscard]] std::optional<CutPacket> cutProgramPacket(std::span<const std::uint8_t> tail) noexcept;

/// Whether a triplet's key or length is cut off at the end of `rest`, which begins with it. What is no triplet is not cut.
/// @param size Gets the bytes of the whole triplet, 0 when they are not known.
[[nodiscard]] bool isTripletHeaderCut(std::span<const std::uint8_t> rest, std::uint64_t& size) noexcept;

/// The last packet of a transport stream when its end is missing. The sync bytes in front of it tell where it begins,
/// wherever the stream itself does.
/// @param tail The stream's last bytes: all of it, or those of twenty packets or so.
/// @param packetSize The distance of the sync bytes; 0 when it is not known.
[[nodiscard]] std::optional<CutPacket> cutTransportPacket(std::span<const std::uint8_t> tail,
                                                          std::size_t packetSize) noexcept;

/// What is to be said of the end of a stream that has been read to it; none when it is whole, or nobody can tell.
/// @param tail Of a transport stream its last bytes.
/// @param transportPacket Of a transport stream that begins with a whole packet the size of one, else 0.
/// @param lastPacket Of MXF the place of the last triplet (SMPTE ST 336) that is known.
[[nodiscard]] std::optional<std::string> remarkOnEnd(InputFile& source, InputKind kind,
                                                     std::span<const std::uint8_t> tail, std::size_t transportPacket,
                                                     std::uint64_t lastPacket);

}  // namespace qlx::tool
