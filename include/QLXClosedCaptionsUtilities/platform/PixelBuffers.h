// Pictures: pixel buffers, views of their rows, and the transfer from one pixel format to another.
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>
#include <QLXClosedCaptionsUtilities/platform/FourCC.h>
#include <QLXClosedCaptionsUtilities/platform/MediaObjects.h>
#include <QLXClosedCaptionsUtilities/platform/Range.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

namespace qlx {

/// Statuses of the portable pixel buffers. A host's own factory may give any other number.
inline constexpr MediaStatus kPixelStatusSuccess = 0;
inline constexpr MediaStatus kPixelStatusBadParameter = -1;       ///< A side, stride, plane or range that cannot be.
inline constexpr MediaStatus kPixelStatusUnsupportedFormat = -2;  ///< A pixel format that is not listed below.
inline constexpr MediaStatus kPixelStatusNoMemory = -3;           ///< The picture's memory cannot be had.

/// The longest side of a picture, in pixels or rows.
inline constexpr std::uint64_t kMaximumPictureSide = 65536;

/// The most bytes that a picture is made with: far more than one of the largest video, and within every address space.
inline constexpr std::uint64_t kMaximumPictureBytes = std::uint64_t{1} << 30U;

/// The rows of one plane of a picture in memory.
struct PixelPlane {
    std::uint8_t* bytes = nullptr;  ///< The first row; no alignment is assumed.
    std::size_t bytesPerRow = 0;    ///< From the start of one row to that of the next.
    std::size_t size = 0;           ///< Bytes that are there; what lies behind the last row's pixels may be missing.
};

/// One picture, or a view of some of its rows that shares its memory.
///
/// Formats: `BGRA`, `ARGB`, `v210`, `2vuy`, `yuvs` in one plane and `420v` in two (luma; Cb Cr pairs, each for two
/// columns of two rows). Luma and chroma have video range (16 to 235 and 16 to 240), RGB has full range.
///
/// A picture's shape never changes. Its bytes are not locked: whoever changes them is alone with the rows in question
/// (in `420v` with both rows of a chroma row).
class QLX_EXPORT PixelBuffer {
public:
    /// Planes of a picture at most.
    static constexpr std::size_t kMaximumPlanes = 2;

    PixelBuffer(const PixelBuffer&) = delete;
    PixelBuffer& operator=(const PixelBuffer&) = delete;
    ~PixelBuffer();

    /// Four-character code.
    [[nodiscard]] std::uint32_t pixelFormat() const noexcept { return _pixelFormat; }
    [[nodiscard]] std::size_t width() const noexcept { return _width; }    ///< In pixels.
    [[nodiscard]] std::size_t height() const noexcept { return _height; }  ///< In rows.

    /// The first row of the first plane, valid while the picture or a view of it lives.
    [[nodiscard]] std::uint8_t* baseAddress() noexcept { return _planes[0].bytes; }
    /// The first row, to be read only.
    [[nodiscard]] const std::uint8_t* baseAddress() const noexcept { return _planes[0].bytes; }

    /// From one row of the first plane to the next.
    [[nodiscard]] std::size_t bytesPerRow() const noexcept { return _planes[0].bytesPerRow; }

    /// Bytes of all planes.
    [[nodiscard]] std::size_t dataSize() const noexcept { return _planes[0].size + _planes[1].size; }

    /// The first plane's part of the 0-based row `index`, which must be below height().
    [[nodiscard]] std::uint8_t* row(std::size_t index) noexcept { return baseAddress() + index * bytesPerRow(); }
    /// The row, to be read only.
    [[nodiscard]] const std::uint8_t* row(std::size_t index) const noexcept {
        return baseAddress() + index * bytesPerRow();
    }

    /// The chroma row of row `index`, which must be below height(); null for a format of one plane. A view knows where
    /// it lies in its picture: one that begins on an odd row shares its first chroma row with the row above it.
    [[nodiscard]] std::uint8_t* chromaRow(std::size_t index) noexcept {
        return _planes[1].bytes ? _planes[1].bytes + chromaOffset(index) : nullptr;
    }
    /// The chroma row, to be read only.
    [[nodiscard]] const std::uint8_t* chromaRow(std::size_t index) const noexcept {
        return _planes[1].bytes ? _planes[1].bytes + chromaOffset(index) : nullptr;
    }

    /// The row of the whole picture that row 0 is: 0 unless this is a view.
    [[nodiscard]] std::size_t firstRowInPicture() const noexcept { return _firstRow; }

    /// Rows of the whole picture. They decide the colour matrix: ITU-R BT.601 below 720 rows, BT.709 from there on.
    [[nodiscard]] std::size_t pictureHeight() const noexcept { return _pictureHeight; }

private:
    friend class PixelBufferFactory;

    PixelBuffer() = default;

    [[nodiscard]] std::size_t chromaOffset(std::size_t index) const noexcept {
        return ((_firstRow + index) / 2 - _firstRow / 2) * _planes[1].bytesPerRow;
    }

    std::uint32_t _pixelFormat = 0;
    std::size_t _width = 0;
    std::size_t _height = 0;
    std::size_t _firstRow = 0;
    std::size_t _pictureHeight = 0;
    std::array<PixelPlane, kMaximumPlanes> _planes;
    std::shared_ptr<void> _owner;  ///< Keeps the bytes alive; may be none for a host's memory.
};

/// Converts pictures from one pixel format to another. This class is the portable one; a host or a test derives from
/// it. A session is for one thread at a time.
class QLX_EXPORT PixelTransferSession {
public:
    PixelTransferSession();
    PixelTransferSession(const PixelTransferSession&) = delete;
    PixelTransferSession& operator=(const PixelTransferSession&) = delete;
    virtual ~PixelTransferSession();

    /// Fills `destination` with `source`: its row y with row floor(y x source rows / destination rows), and its columns
    /// by the same rule. The two must not share memory.
    ///
    /// Every pixel is converted by itself (integer arithmetic, nearest value, limited to the range). A chroma sample is
    /// the mean of the pixels of its row that it stands for, and in `420v` the mean of that of its two rows; where one
    /// of them lies outside the destination, the other decides. In an odd column at the row's end the missing neighbour
    /// does not count. From Y'CbCr the alpha is 255. Bytes that belong to no pixel of the destination stay as they are.
    /// @param source Any picture or view, of any of the six formats.
    /// @param destination Another one, changed in place; it may have another format, width and height.
    /// @return kPixelStatusSuccess, always, from the portable session. A host's session gives any other status when it
    ///         refuses; what the destination then holds is undefined, and the library's operations fail with it.
    virtual MediaStatus transferImage(const PixelBuffer& source, PixelBuffer& destination);

private:
    struct Scratch;
    std::unique_ptr<Scratch> _scratch;
};

/// What the bytes of a locked picture are used for.
enum class PixelAccess { ReadOnly, ReadWrite };

/// Makes pictures, views and transfer sessions; every step can refuse with a status, and an out-argument is then left
/// alone. This class is the portable default; a host or a test derives from it. The operations may be called from any
/// thread.
class QLX_EXPORT PixelBufferFactory {
public:
    PixelBufferFactory() = default;
    PixelBufferFactory(const PixelBufferFactory&) = delete;
    PixelBufferFactory& operator=(const PixelBufferFactory&) = delete;
    virtual ~PixelBufferFactory();

    /// The portable default.
    [[nodiscard]] static PixelBufferFactory& defaultInstance();

    /// A picture of zero bytes in memory of its own. A row has 4 bytes a pixel (`BGRA`, `ARGB`), 128 bytes for every
    /// 48 pixels begun (`v210`), 4 bytes for every 2 pixels begun (`2vuy`, `yuvs`), or 1 byte of luma a pixel and 2 of
    /// chroma for every 2 pixels begun (`420v`). More than kMaximumPictureBytes in all are refused.
    virtual MediaStatus createPixelBuffer(std::uint64_t width, std::uint64_t height, std::uint32_t pixelFormat,
                                          std::shared_ptr<PixelBuffer>* buffer);

    /// A picture in memory of the host's. Nothing is copied.
    /// @param width In pixels.
    /// @param height In rows.
    /// @param pixelFormat Four-character code.
    /// @param planes As many as the format has; each with strides that hold a row, and bytes for all rows.
    /// @param owner Kept until the picture and its views are gone; may be none when the memory outlives them.
    /// @param buffer Written: the picture.
    virtual MediaStatus createPixelBufferWithBytes(std::uint64_t width, std::uint64_t height, std::uint32_t pixelFormat,
                                                   std::span<const PixelPlane> planes, std::shared_ptr<void> owner,
                                                   std::shared_ptr<PixelBuffer>* buffer);

    /// A view of the given rows of `picture`, itself perhaps a view. Nothing is copied, and the view keeps the memory
    /// alive. A range that is empty or reaches past the picture is refused: a view has no row that is not there.
    virtual MediaStatus createView(const std::shared_ptr<PixelBuffer>& picture, const Range& rows,
                                   std::shared_ptr<PixelBuffer>* view);

    /// Makes the bytes of `buffer` reachable. Portable pictures always are: the default has nothing to do, and excludes
    /// no other thread.
    virtual MediaStatus lockBaseAddress(PixelBuffer& buffer, PixelAccess access);

    /// Ends what lockBaseAddress with the same arguments began.
    virtual MediaStatus unlockBaseAddress(PixelBuffer& buffer, PixelAccess access);

    /// A transfer session.
    virtual MediaStatus createTransferSession(std::shared_ptr<PixelTransferSession>* session);
};

}  // namespace qlx
