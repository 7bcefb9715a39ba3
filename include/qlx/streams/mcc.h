// MCC files, versions 1.0 and 2.0: a line of text an ancillary packet, with its timecode.
//
//   00:00:59:01.0,9<TAB>T49S494F43Z0172F4QROO74Z01BDAB
//
// The line has DID, SDID (or DBN), data count and user data, and in most files the lower eight bits of the sum of all of
// them; a letter from G on stands for several bytes. The parity bits and the checksum of SMPTE ST 291-1 are not in it.
// Version 2.0 adds the field and the line number behind the timecode.
//
//     qlx::streams::MccReader reader(source);
//     qlx::streams::MccWriter writer(sink, {.version = 2, .rate = qlx::FrameRate::Fps2997, .dropsFrames = true});
//     qlx::streams::Frame frame;
//     for (auto more = reader.next(frame, nullptr); more && *more; more = reader.next(frame, nullptr)) {
//         if (const auto failure = writer.write(frame, nullptr)) {
//             report(failure->text());
//         }
//     }
//     const auto failure = writer.finish();
#pragma once

#include <qlx/base/frame_rate.h>
#include <qlx/cc/time_code.h>
#include <qlx/streams/byte_source.h>
#include <qlx/streams/export.h>
#include <qlx/streams/frame_reader.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace qlx::streams {

/// The line number of packets where a file does not say it.
inline constexpr std::uint32_t kUsualMccLine = 9;

/// What a file says of itself in front of its packets.
struct MccHeader {
    std::uint8_t version = 1;             ///< 1 or 2.
    FrameRate rate = FrameRate::Fps2997;  ///< The frames that its timecodes count.
    bool dropsFrames = false;             ///< How they count; the timecodes themselves do not say it.
    std::string uuid{};                   ///< `UUID`; may be empty, as all texts.
    std::string creationProgram{};        ///< `Creation Program`
    std::string creationDate{};           ///< `Creation Date`: `Thursday, June 04, 2015`
    std::string creationTime{};           ///< `Creation Time`: `13:48:25`

    /// Whether all fields are equal.
    [[nodiscard]] friend bool operator==(const MccHeader&, const MccHeader&) = default;
};

/// Reads the packets of a timecode as one frame, whatever their DID: lines with the timecode of the line before belong to
/// its frame. Frames have the number that their timecode counts, from midnight, and that time; where the timecodes go on
/// behind midnight, numbers do so as well.
///
/// A header of 24, 30 or 60 frames a second (without numbers that are dropped) does not say whether 1000/1001 of that is
/// meant: the first CDP (SMPTE ST 334-2) says it by its frame rate, else the caller, else it is not; a remark says so
/// (MccRateTaken). It is looked for in 1 MiB from the first packet on, which is read before the first frame is given: those
/// lines wait in memory, so that a pipe is read as a file is. The first CDP whose rate is not the one that is taken is a
/// warning (MccRateOfCdpOther). Lines that cannot be read are left out: a finding says where and why.
class QLX_STREAMS_EXPORT MccReader final : public FrameReader {
public:
    /// @param source Read from where it stands; must outlive the reader.
    /// @param rate What the timecodes count where neither header nor CDPs say it.
    explicit MccReader(ByteSource& source, std::optional<FrameRate> rate = std::nullopt);
    ~MccReader() override;

    /// Fails with MccTitleMissing, MccRateMissing or MccRateWrong where the header is none, with the line as the offset.
    Result<bool> next(Frame& frame, FindingSink* findings) override;
    [[nodiscard]] PlaceUnit placeUnit() const noexcept override { return PlaceUnit::TextLine; }
    [[nodiscard]] std::optional<cc::TimeCodeCounting> counting() const override;

    /// What stands in front of the packets: as far as has been read, that is whole with the first frame.
    [[nodiscard]] const MccHeader& header() const noexcept;

private:
    class Lines;
    std::unique_ptr<Lines> _lines;
};

/// Writes a line a packet. What has no place in it is a finding: captions that are in no packet (StreamCaptionsLeftOut),
/// horizontal offsets and channels but luma, the wrapping type but for frames and field 2, and in version 1.0 both field
/// and line (StreamLineLeftOut, unless it is kUsualMccLine).
class QLX_STREAMS_EXPORT MccWriter final : public FrameWriter {
public:
    /// @param sink Must outlive the writer.
    /// @param header What is written in front of the packets: line ends in its texts become blanks. Numbers are dropped only
    ///   where the rate may.
    explicit MccWriter(ByteSink& sink, MccHeader header = {});

    /// Frames have the timecode of their time, where they have one, otherwise of their number, both counted from midnight;
    /// behind the last one of a day comes the first one.
    /// Fails when a packet has more than 255 user data words (AncTooManyUserDataWords).
    [[nodiscard]] std::optional<Finding> write(const Frame& frame, FindingSink* findings) override;

    /// Writes the header where there has been no frame.
    [[nodiscard]] std::optional<Finding> finish() override;

private:
    [[nodiscard]] std::optional<Finding> send();
    void appendHeader();

    ByteSink& _sink;
    MccHeader _header;
    std::string _text;
    bool _isBegun = false;
};

}  // namespace qlx::streams
