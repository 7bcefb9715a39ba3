// Whether the pieces of a container stand one behind the other, and whether the last one is whole.
#pragma once

#include "ContainerIndex.h"
#include "StreamWalk.h"

#include <qlx/base/finding.h>
#include <qlx/streams/byte_source.h>
#include <qlx/streams/input_kind.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace qlx::streams::detail {

/// Whether a triplet's key or length is cut off at the end of `rest`, which begins with it. What is no triplet is not cut.
/// @param size Gets the bytes of the whole triplet, 0 when they are not known.
[[nodiscard]] bool isTripletHeaderCut(std::span<const std::uint8_t> rest, std::uint64_t& size) noexcept;

/// Looks at the structure of a container while it is read: whether its packets (ISO/IEC 13818-1, ISO/IEC 11172-1), triplets
/// (SMPTE ST 336) or atoms (ISO/IEC 14496-12) stand one behind the other, and whether the last one is whole.
class StreamCheck {
public:
    /// @param source At its beginning; must outlive this.
    StreamCheck(ByteSource& source, InputKind kind);
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

    /// Says what is wrong with the bytes since the last call.
    void report(FindingSink& findings);

    /// What a QuickTime or MP4 file lacks; none when it is whole, or nobody can tell.
    [[nodiscard]] std::optional<Finding> missingIndex();

    /// What is wrong with the end of a stream that has been read to it; none when it is whole, or nobody can tell.
    /// @param tail Of a transport stream its last bytes.
    [[nodiscard]] std::optional<Finding> wrongEnd(std::span<const std::uint8_t> tail);

private:
    ByteSource& _source;
    InputKind _kind;
    std::size_t _transportPacket = 0;  ///< Bytes from one sync byte to the next, where the file begins with one.
    AtomWalk _atoms;
    std::optional<StreamWalk> _walk;
};

}  // namespace qlx::streams::detail
