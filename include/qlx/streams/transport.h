// The frames of an MPEG transport stream: captions of its pictures (with ContainerReader), and its teletext.
//
//     qlx::streams::TransportReader reader(source);
//     qlx::streams::Frame frame;
//     const auto onAir = qlx::streams::teletextOnAir(0x888);
//     for (auto more = reader.next(frame, &findings); more && *more; more = reader.next(frame, &findings)) {
//         if (onAir->receive(frame, &findings)) { show(onAir->screen(), frame.pts); }
//     }
#pragma once

#include <qlx/base/finding.h>
#include <qlx/base/result.h>
#include <qlx/streams/byte_source.h>
#include <qlx/streams/container.h>
#include <qlx/streams/export.h>
#include <qlx/streams/frame.h>
#include <qlx/streams/frame_reader.h>
#include <qlx/streams/ts/tables.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace qlx::streams {

/// How a transport stream is read.
struct TransportOptions {
    ContainerOptions container{};  ///< What is in its pictures.
    /// The PID whose teletext is read; none for the first one that has some (qlx::streams::ts::VbiReader).
    std::optional<std::uint16_t> teletextPid{};
};

/// Reads the frames of a transport stream in the order of presentation: those of its pictures, and beside them one for each
/// PES packet of teletext (ETSI EN 300 472) or other lines of the vertical blanking interval (EN 301 775), with their times.
/// A stream without pictures, and one whose pictures cannot be read here, is read for its teletext alone.
///
/// Findings: those of ContainerReader; where there is teletext those of qlx::streams::ts::VbiReader too, twenty of those
/// that come at once. A library that is missing is a Warning (ContainerLibraryMissing) when there is teletext.
class QLX_STREAMS_EXPORT TransportReader final : public FrameReader {
public:
    /// @param source At the beginning of the file; must outlive the reader.
    /// @param options How it is read.
    explicit TransportReader(ByteSource& source, const TransportOptions& options = {});
    ~TransportReader() override;

    /// Reads what is in front of the frames. next() calls it when nobody has.
    /// @return Why there is nothing to be read; none when there may be. The same when it is called again.
    [[nodiscard]] std::optional<Finding> open();

    [[nodiscard]] Result<bool> next(Frame& frame, FindingSink* findings) override;
    [[nodiscard]] PlaceUnit placeUnit() const noexcept override { return PlaceUnit::Byte; }
    /// No byte where a finding is about the file as a whole.
    [[nodiscard]] Place placeOf(const Finding& finding) const override;
    [[nodiscard]] std::vector<std::string> takeLibraryTexts() override;

    /// The teletext pages that the program's map names so far, with their languages.
    [[nodiscard]] std::vector<ts::TeletextPage> teletextPages() const;

private:
    class Reading;

    std::unique_ptr<Reading> _reading;
};

}  // namespace qlx::streams
