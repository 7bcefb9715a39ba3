// Files of SMPTE ST 336 triplets (key, length, value) that carry SMPTE ST 436-1 ANC frame elements, one a frame or several.
//
//     qlx::streams::KlvReader reader(source);
//     qlx::streams::KlvWriter writer(sink);
//     qlx::streams::Frame frame;
//     for (auto more = reader.next(frame, &findings); more && *more; more = reader.next(frame, &findings)) {
//         if (const auto failure = writer.write(frame, nullptr)) {
//             report(failure->text());
//         }
//     }
#pragma once

#include <QLXClosedCaptionsUtilities/platform/Data.h>

#include <qlx/base/finding.h>
#include <qlx/base/result.h>
#include <qlx/klv/klv.h>
#include <qlx/streams/byte_source.h>
#include <qlx/streams/export.h>
#include <qlx/streams/frame_reader.h>

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace qlx::streams {

/// As many findings of a frame's element are given; StreamMoreFindings counts the rest.
inline constexpr std::size_t kMostElementFindings = 10;

/// Adds the packets of an ANC frame element's value to a frame; those that cannot be used are passed over, with a finding.
/// @param place Byte of the file at which the value begins: findings have places in the file.
QLX_STREAMS_EXPORT void readAncFrameElement(std::span<const std::uint8_t> element, std::uint64_t place, Frame& frame,
                                            FindingSink* findings);

/// Reads triplets; the ANC frame elements of the n-th content package that has any are frame n, and triplets with other
/// keys are passed over. Most files have one in each. A package ends behind the last element of its data item, or where
/// an element with no greater number (SMPTE ST 379-1), one of another item or a partition stands. An element with which
/// the frame would have more packets than an element counts (65,535) begins another frame (KlvFilePackageTooGreat): the
/// numbers of those behind it are one greater.
///
/// Behind damage it goes on with the next triplet that leads to another one, also at the beginning: what was skipped is
/// a finding. A source that knows its size is read in longer pieces, and looked at behind values that are not kept.
class QLX_STREAMS_EXPORT KlvReader final : public FrameReader {
public:
    /// @param source Read from where it stands; must outlive the reader.
    explicit KlvReader(ByteSource& source);

    Result<bool> next(Frame& frame, FindingSink* findings) override;
    [[nodiscard]] PlaceUnit placeUnit() const noexcept override { return PlaceUnit::Byte; }
    /// With the number of the frame where the finding is in its element.
    [[nodiscard]] Place placeOf(const Finding& finding) const override;

private:
    static klv::ReaderOptions optionsFor(ByteSource& source);
    Result<bool> read(Frame& frame, FindingSink* findings);
    [[nodiscard]] std::optional<Finding> fill();
    [[nodiscard]] std::optional<Finding> otherFile() const;
    [[nodiscard]] std::optional<Finding> report(FindingSink* findings);
    [[nodiscard]] bool hasRoomFor(const klv::TripletView& triplet, const Frame& frame, FindingSink* findings) const;
    [[nodiscard]] bool take(const klv::TripletView& triplet, Frame& frame, FindingSink* findings);
    [[nodiscard]] Result<bool> end(const std::optional<Finding>& failure);

    ByteSource& _source;
    std::uint64_t _start;  ///< Where the file begins in it.
    Findings _findings;    ///< Of the triplets.
    klv::Reader _reader;
    std::vector<std::uint8_t> _piece;
    std::uint64_t _frames = 0;
    /// The number of the last data element of the frame that is being read; none between frames.
    std::optional<std::uint8_t> _element;
    std::optional<klv::TripletView> _next;  ///< What begins the package behind it.
    bool _hasTriplet = false;
    bool _isAtEnd = false;
    std::optional<Finding> _readError;  ///< What the source failed with: it ends what is there.
    std::optional<Finding> _failure;
};

/// Writes a triplet a frame: the ANC frame element key, the length as 83h and three bytes, the frame's element. Captions
/// that are in no packet (StreamCaptionsLeftOut) and places on a row (StreamHorizontalOffsetLeftOut) have none in it: each
/// is a finding.
class QLX_STREAMS_EXPORT KlvWriter : public FrameWriter {
public:
    /// @param sink Must outlive the writer.
    explicit KlvWriter(ByteSink& sink) : _sink(sink) {}

    /// Fails when an element has no place for a packet (AncTooManyUserDataWords, AncElementLineTooGreat), for so many
    /// (AncElementTooManyPackets) or for so much (KlvLengthDoesNotFit).
    [[nodiscard]] std::optional<Finding> write(const Frame& frame, FindingSink* findings) override;

protected:
    /// The element of a frame, for writers of another form.
    [[nodiscard]] virtual Result<Data> elementOf(const Frame& frame) const;

private:
    ByteSink& _sink;
};

}  // namespace qlx::streams
