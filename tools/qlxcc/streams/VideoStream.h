// Cutting an elementary video stream into access units.
#pragma once

#include "io/InputFile.h"

#include <qlx/video/access_unit.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace qlx::tool {

using VideoCodec = video::Codec;

/// `H.264`, `MPEG-2`.
[[nodiscard]] std::string_view nameOf(VideoCodec codec) noexcept;

/// What belongs to one coded picture.
struct AccessUnit {
    std::uint64_t number = 0;         ///< Counted from 0, in the stream's order.
    std::uint64_t offset = 0;         ///< Bytes in front of it.
    std::vector<std::uint8_t> bytes;  ///< Begins with a start code of three or four bytes.
};

/// Reads the access units of the H.264 or MPEG-2 video stream of a file. Bytes in front of the first start code are
/// passed over, up to 64 MiB of them, and no access unit is longer: nothing that is broadcast comes near it. Memory holds
/// one access unit and what was read ahead.
class AccessUnitReader {
public:
    /// @param source Read from where it stands; must outlive the reader.
    /// @param codec None: the first start code tells.
    AccessUnitReader(ByteSource& source, std::optional<VideoCodec> codec)
        : _source(source), _begin(source.offset()), _reader({.codec = codec}) {}

    /// Reads the next access unit.
    /// @return False at the end of the stream.
    /// @throws Failure when there is no start code there, or an access unit is too long.
    bool next(AccessUnit& unit);

    /// What the stream is, known once next() has given a unit.
    [[nodiscard]] VideoCodec codec() const noexcept { return _reader.codec().value_or(VideoCodec::H264); }

private:
    [[noreturn]] void fail(const Finding& why) const;

    ByteSource& _source;
    std::uint64_t _begin;  ///< Where the stream begins in it.
    video::AccessUnitReader _reader;
    std::vector<std::uint8_t> _piece;
    bool _isAtEnd = false;
};

}  // namespace qlx::tool
