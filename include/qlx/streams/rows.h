// Files of SDI rows: frame after frame, and in each frame the same lines, one row each.
//
//     const qlx::streams::RowLayout layout{.format = qlx::anc::RowFormat::V210, .width = 1920, .lines = {9, 572}};
//     qlx::streams::RowReader reader(source, layout);
//     qlx::streams::RowWriter writer(sink, layout);
//     qlx::streams::Frame frame;
//     for (auto more = reader.next(frame, &findings); more && *more; more = reader.next(frame, &findings)) {
//         if (const auto failure = writer.write(frame, nullptr)) {
//             report(failure->text());
//         }
//     }
#pragma once

#include <qlx/anc/row.h>
#include <qlx/base/finding.h>
#include <qlx/base/result.h>
#include <qlx/streams/byte_source.h>
#include <qlx/streams/export.h>
#include <qlx/streams/frame_reader.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace qlx::streams {

/// The width of rows of high definition.
inline constexpr std::uint32_t kUsualRowWidth = 1920;

/// The widest row that may be one of standard definition, whose packets stand in luma and chroma together.
inline constexpr std::uint32_t kWidestMultiplex = 720;

/// The widest row that is read and written.
inline constexpr std::uint32_t kGreatestRowWidth = 1'000'000;

/// How the rows of a file lie; nothing in it says so.
struct RowLayout {
    anc::RowFormat format = anc::RowFormat::V210;  ///< How the samples are packed.
    std::uint32_t width = kUsualRowWidth;    ///< Pixels of a row, 1 to kGreatestRowWidth; an odd one is counted up to a
                                             ///< whole pair.
    std::vector<std::uint64_t> lines = {0};  ///< The line number of each row of a frame, ascending; one at least.

    /// Why no file can have such rows (RowLayoutWrong): there are none in a frame, or of no width, or too wide.
    [[nodiscard]] QLX_STREAMS_EXPORT std::optional<Finding> check() const noexcept;
};

/// A row of a file.
struct FileRow {
    std::span<const std::uint8_t> bytes;  ///< Whole, with its padding.
    std::uint64_t offset = 0;             ///< Where it begins in the file.
    std::uint64_t line = 0;               ///< Its line number.
};

/// Finds the packets of each frame's rows: everywhere on the row, in luma and chroma, and as one stream as well up to
/// kWidestMultiplex pixels. A packet that is damaged is an error or a warning, one that only stands in an unusual place
/// or has no checksum a remark.
class QLX_STREAMS_EXPORT RowReader : public FrameReader {
public:
    /// @param source Read from where it stands; must outlive the reader.
    /// @param layout How the rows lie; next() refuses one that is none (RowLayout::check()).
    RowReader(ByteSource& source, RowLayout layout);

    Result<bool> next(Frame& frame, FindingSink* findings) override;
    [[nodiscard]] PlaceUnit placeUnit() const noexcept override { return PlaceUnit::Byte; }
    /// The frame, the row's line number and the byte of the row.
    [[nodiscard]] Place placeOf(const Finding& finding) const override;

protected:
    /// Adds the packets of a row to the frame, for readers that look for them in another way. Findings have their place
    /// in the file.
    virtual void search(const FileRow& row, Frame& frame, FindingSink* findings);

    /// How the rows lie.
    [[nodiscard]] const RowLayout& layout() const noexcept { return _layout; }

private:
    struct Found;

    [[nodiscard]] Found find(anc::Channels channels, const FileRow& row) const;

    ByteSource& _source;
    std::uint64_t _start;  ///< Where the file begins in it.
    RowLayout _layout;
    std::vector<std::uint8_t> _row;
    std::uint64_t _frames = 0;
    std::optional<Finding> _failure;
};

/// Writes each frame's lines, filled with its packets one behind the other, each in its channel (SMPTE ST 291-1). Captions
/// that are in no packet (StreamCaptionsLeftOut), the wrapping of packets (StreamWrappingLeftOut) and gaps between them
/// (StreamHorizontalOffsetLeftOut) have no place on rows: each is a finding.
class QLX_STREAMS_EXPORT RowWriter : public FrameWriter {
public:
    /// @param sink Must outlive the writer.
    /// @param layout How the rows lie.
    RowWriter(ByteSink& sink, RowLayout layout);

    /// Fails when the layout is none (RowLayoutWrong), or a packet has no place: there is no row for its line
    /// (RowFileLineMissing), that is too narrow (AncPacketDoesNotFit), or has packets of the multiplex beside those of
    /// luma or chroma (RowFileChannelsMixed).
    [[nodiscard]] std::optional<Finding> write(const Frame& frame, FindingSink* findings) override;

protected:
    /// Puts the packets of a line on a blank row, for writers of another form.
    /// @return As write().
    [[nodiscard]] virtual std::optional<Finding> fill(std::span<std::uint8_t> row, const Frame& frame,
                                                      std::uint64_t line);

    /// How the rows lie.
    [[nodiscard]] const RowLayout& layout() const noexcept { return _layout; }

private:
    [[nodiscard]] std::optional<Finding> checkLines(const Frame& frame) const;
    [[nodiscard]] std::optional<Finding> checkChannels(const Frame& frame, std::uint64_t line) const;
    [[nodiscard]] std::optional<Finding> fillOneByOne(std::span<std::uint8_t> row, const Frame& frame,
                                                      std::uint64_t line) const;

    ByteSink& _sink;
    RowLayout _layout;
    std::vector<std::uint8_t> _blankRow;
    std::vector<std::uint8_t> _row;
    std::vector<anc::PacketContentView> _contents;
};

}  // namespace qlx::streams
