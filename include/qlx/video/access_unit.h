// Cutting a stream of coded video into the units of its pictures.
#pragma once

#include <qlx/base/finding.h>
#include <qlx/base/limits.h>
#include <qlx/video/nal.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace qlx::video {

/// What belongs to one coded picture. The bytes are the reader's and live up to its next call.
struct AccessUnitView {
    std::uint64_t number = 0;             ///< Counted from 0, in the stream's order.
    std::uint64_t offset = 0;             ///< Bytes of the stream in front of it.
    std::span<const std::uint8_t> bytes;  ///< Begins with a start code of three or four bytes.
};

/// How a stream is cut.
struct AccessUnitOptions {
    /// None: what is behind the first start code tells it (codecOfStartCode()).
    std::optional<Codec> codec;
    /// A longer access unit, or as much in front of the first start code, ends the reading: it is something else.
    std::size_t greatest = std::size_t{64} * 1024 * 1024;
    ReadLimits limits{};  ///< Of the stream; the items are access units.
};

/// The codec of a stream, by the bytes behind its first start code, three if there are as many; none for those of a
/// multiplex (ISO/IEC 13818-1), and for no bytes.
///
/// H.265 begins with a delimiter, a parameter set or a message of its lowest layer (ITU-T H.265, 7.3.1.2). In H.264 the
/// same bytes are no first unit, but for the delimiter, which as a message would be one of timing with 16 bytes or more.
[[nodiscard]] constexpr std::optional<Codec> codecOfStartCode(std::span<const std::uint8_t> bytes) noexcept {
    constexpr std::uint8_t kFirstSystemCode = 0xB9;
    constexpr std::uint8_t kFirstOfMpeg2 = 0x80;
    if (bytes.empty() || bytes[0] >= kFirstSystemCode) {
        return std::nullopt;
    }
    constexpr std::uint8_t kLowestLayer = 0x01;
    if (bytes.size() > 1 && bytes[1] == kLowestLayer) {
        constexpr std::uint8_t kVideoParameters = 0x40;
        constexpr std::uint8_t kSequenceParameters = 0x42;
        constexpr std::uint8_t kPictureParameters = 0x44;
        constexpr std::uint8_t kDelimiter = 0x46;
        constexpr std::uint8_t kMessage = 0x4E;
        // pic_type, 0 to 2, and the bit that ends it.
        const bool isPictureType = bytes.size() > 2 && (bytes[2] == 0x10 || bytes[2] == 0x30 || bytes[2] == 0x50);
        if (bytes[0] == kVideoParameters || bytes[0] == kSequenceParameters || bytes[0] == kPictureParameters ||
            bytes[0] == kMessage || (bytes[0] == kDelimiter && isPictureType)) {
            return Codec::H265;
        }
    }
    // The header of an H.264 NAL unit has its highest bit clear, and type 0 is not used.
    return bytes[0] == 0 || bytes[0] >= kFirstOfMpeg2 ? Codec::Mpeg2 : Codec::H264;
}

/// Whether bytes have what no stream of pictures can be read without: a sequence header of MPEG-2 video (ISO/IEC 13818-2,
/// 6.2.2.1), or a sequence parameter set of H.264 or H.265, that makes sense behind a start code. Other files have start
/// codes too, by chance.
[[nodiscard]] QLX_EXPORT bool hasVideoParameters(std::span<const std::uint8_t> bytes);

/// Cuts an H.264 byte stream (as ITU-T H.264, 7.4.1.2.3, says), an H.265 one (ITU-T H.265, 7.4.2.4.4) or an MPEG-2 video
/// stream (a picture with the sequence and group headers in front of it), whose bytes come in pieces of any size.
///
///     qlx::video::AccessUnitReader reader;
///     while (more(piece)) {
///         reader.push(piece);
///         while (const auto unit = reader.next()) { use(unit->bytes); }
///     }
///     reader.finish();
///     while (const auto unit = reader.next()) { use(unit->bytes); }
///
/// Bytes in front of the first start code are passed over. Memory holds one access unit and what is pushed
/// between two calls of next(); what comes out does not depend on how the stream is cut into pieces.
class AccessUnitReader {
public:
    /// Reads from the beginning of a stream.
    explicit AccessUnitReader(const AccessUnitOptions& options = {})
        : _options(options), _codec(options.codec), _budget(options.limits) {}

    /// Takes the next bytes of the stream. Units that were given before are no longer valid.
    QLX_EXPORT void push(std::span<const std::uint8_t> bytes);

    /// Says that the stream has ended: nothing is pushed any more.
    void finish() noexcept { _isFinished = true; }

    /// The next access unit; none when more bytes are needed, at the end, or behind an error.
    [[nodiscard]] QLX_EXPORT std::optional<AccessUnitView> next();

    /// Why nothing more is read: VideoStartCodeMissing, VideoSystemStartCode, VideoUnitTooLong, LimitOfBytesReached or
    /// LimitOfItemsReached; none as long as reading goes on. A stream that has ended without any byte has no error.
    [[nodiscard]] const std::optional<Finding>& error() const noexcept { return _error; }

    /// What the stream is: as it was said, or told by the first start code.
    [[nodiscard]] std::optional<Codec> codec() const noexcept { return _codec; }

private:
    [[nodiscard]] std::optional<AccessUnitView> nextUnit();
    [[nodiscard]] std::optional<std::size_t> nextStartCode();
    [[nodiscard]] bool allows(std::size_t end);
    [[nodiscard]] bool chooseCodec(std::size_t startCode);
    [[nodiscard]] bool beginsUnit(std::size_t startCode);
    [[nodiscard]] bool beginsH264(std::size_t startCode);
    [[nodiscard]] bool beginsH265(std::size_t startCode);
    [[nodiscard]] AccessUnitView give(std::size_t end);
    void fail(FindingCode code, std::uint64_t offset, std::uint64_t first, std::uint64_t second);
    [[nodiscard]] std::uint8_t byteAt(std::size_t index) const { return index < _bytes.size() ? _bytes[index] : 0; }
    [[nodiscard]] std::uint64_t offsetOf(std::size_t index) const noexcept { return _offset + index; }

    AccessUnitOptions _options;
    std::optional<Codec> _codec;
    std::optional<Finding> _error;
    std::vector<std::uint8_t> _bytes;  ///< What has been pushed and not given, with a given part in front.
    std::uint64_t _offset = 0;         ///< Of these bytes in the stream.
    std::size_t _begin = 0;            ///< Where the current unit begins in them.
    std::size_t _position = 0;         ///< Searched up to here.
    bool _isInUnit = false;            ///< The first start code has been found.
    bool _hasPicture = false;          ///< The current unit has its coded picture.
    bool _isFinished = false;
    std::uint64_t _units = 0;
    ReadBudget _budget;
};

}  // namespace qlx::video
