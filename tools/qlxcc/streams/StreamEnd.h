// Whether the pieces of a container stand one behind the other, and whether the last one is whole.
#pragma once

#include "io/InputFile.h"
#include "streams/ContainerIndex.h"
#include "streams/InputKind.h"
#include "streams/StreamWalk.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace qlx::tool {

struct CutPacket {
    std::size_t begin = 0;  ///< Where it begins.
    std::size_t there = 0;  ///< Bytes that are there.
    std::size_t size = 0;   ///< Bytes that it would have; 0 when its length is not there either.
};

/// Whether a triplet's key or length is cut off at the end of `rest`, which begins with it. What is no triplet is not cut.
/// @param size Gets the bytes of the whole triplet, 0 when they are not known.
[[nodiscard]] bool isTripletHeaderCut(std::span<const std::uint8_t> rest, std::uint64_t& size) noexcept;

/// The last packet of a transport stream when its end is missing. The sync bytes in front of it tell where it begins,
/// wherever the stream itself does.
/// @param tail The stream's last bytes: all of it, or those of twenty packets or so.
/// @param packetSize The distance of the sync bytes; 0 when it is not known.
[[nodiscard]] std::optional<CutPacket> cutTransportPacket(std::span<const std::uint8_t> tail,
                                                          std::size_t packetSize) noexcept;

/// Looks at the structure of a container while it is read: whether its packets (ISO/IEC 13818-1, ISO/IEC 11172-1), triplets
/// (SMPTE ST 336) or atoms (ISO/IEC 14496-12) stand one behind the other, and whether the last one is whole.
class StreamCheck {
public:
    /// @param source At its beginning; must outlive this.
    StreamCheck(InputFile& source, InputKind kind);
    StreamCheck(const StreamCheck&) = delete;
    StreamCheck& operator=(const StreamCheck&) = delete;

    /// Takes bytes that have been read.
    void take(std::uint64_t place, std::span<const std::uint8_t> bytes) {
        if (_walk) {
            _walk->take(place, bytes);
        }
    }

    /// The container has been opened: from now on it is read from front to back.
    void beginReading() {
        if (_walk) {
            _walk->passGaps();
        }
    }

    /// What is to be said of the bytes since the last call.
    [[nodiscard]] std::vector<std::string> takeRemarks();

    /// What a QuickTime or MP4 file lacks; none when it is whole, or nobody can tell.
    [[nodiscard]] std::optional<std::string> remarkOnIndex();

    /// What is to be said of the end of a stream that has been read to it; none when it is whole, or nobody can tell.
    /// @param tail Of a transport stream its last bytes.
    [[nodiscard]] std::optional<std::string> remarkOnEnd(std::span<const std::uint8_t> tail);

private:
    InputFile& _source;
    InputKind _kind;
    std::size_t _transportPacket = 0;  ///< Bytes from one sync byte to the next, where the file begins with one.
    std::string_view _piece;
    AtomWalk _atoms;
    std::optional<StreamWalk> _walk;
};

}  // namespace qlx::tool
