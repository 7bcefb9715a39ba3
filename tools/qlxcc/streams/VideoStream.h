// Cutting an elementary video stream into access units.
#pragma once

#include "io/InputFile.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

namespace qlx::tool {

enum class VideoCodec { H264, Mpeg2 };

/// `H.264`, `MPEG-2`.
[[nodiscard]] std::string_view nameOf(VideoCodec codec) noexcept;

/// The longest access unit that is read. Nothing that is broadcast comes near it, so a longer one is something else.
inline constexpr std::size_t kLongestAccessUnit = std::size_t{64} * 1024 * 1024;

/// What belongs to one coded picture.
struct AccessUnit {
    std::uint64_t number = 0;         ///< Counted from 0, in the stream's order.
    std::uint64_t offset = 0;         ///< Bytes in front of it.
    std::vector<std::uint8_t> bytes;  ///< Begins with a start code of three or four bytes.
};

/// Reads the access units of an H.264 byte stream (ITU-T H.264 Annex B, cut as its 7.4.1.2.3 says) or an MPEG-2 video
/// stream (ISO/IEC 13818-2: a picture with the sequence and group headers in front of it). Bytes in front of the first
/// start code are passed over, up to 64 MiB of them. Memory holds one access unit and what was read ahead.
class AccessUnitReader {
public:
    /// @param source Read from where it stands; must outlive the reader.
    /// @param codec None: the first start code tells.
    AccessUnitReader(ByteSource& source, std::optional<VideoCodec> codec) : _source(source), _codec(codec) {}

    /// Reads the next access unit.
    /// @return False at the end of the stream.
    /// @throws Failure when there is no start code there, or an access unit is longer than kLongestAccessUnit.
    bool next(AccessUnit& unit);

    /// What the stream is, known once next() has given a unit.
    [[nodiscard]] VideoCodec codec() const noexcept { return _codec.value_or(VideoCodec::H264); }

private:
    [[nodiscard]] std::optional<std::size_t> findStartCode();
    bool fill();
    void chooseCodec(std::uint8_t code, std::size_t position);
    [[nodiscard]] bool beginsUnit(std::size_t startCode);
    void give(AccessUnit& unit, std::size_t end);
    [[nodiscard]] std::uint8_t byteAt(std::size_t index) const { return index < _bytes.size() ? _bytes[index] : 0; }

    ByteSource& _source;
    std::optional<VideoCodec> _codec;
    std::vector<std::uint8_t> _bytes;  ///< What has been read and not given away, with a used part in front.
    std::size_t _begin = 0;            ///< Where the current unit begins in it.
    std::size_t _position = 0;         ///< Searched up to here.
    bool _isInUnit = false;            ///< The first start code has been found.
    bool _hasPicture = false;          ///< The current unit has its coded picture.
    bool _isAtEnd = false;
    std::uint64_t _units = 0;
};

}  // namespace qlx::tool
