// Teletext and line-21 captions of a transport stream, while a demuxer reads the same bytes for its pictures.
#pragma once

#include <qlx/base/finding.h>
#include <qlx/streams/byte_source.h>
#include <qlx/streams/frame.h>
#include <qlx/streams/ts/vbi_reader.h>

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <span>
#include <vector>

namespace qlx::streams::detail {

/// Reads along, and keeps what comes until it is time for it.
class TransportTeletext {
public:
    explicit TransportTeletext(const ts::VbiReaderOptions& options = {}) : _reader(options, &_findings) {}
    TransportTeletext(const TransportTeletext&) = delete;
    TransportTeletext& operator=(const TransportTeletext&) = delete;

    /// Takes bytes that have been read. What has been taken before is passed over, and so is what stands behind a gap:
    /// whoever goes there comes back.
    void take(std::uint64_t place, std::span<const std::uint8_t> bytes);

    /// The stream has ended.
    void finish();

    /// Reads on, from where it has read to; false at the end, or when that fails.
    bool readFrom(ByteSource& source);

    /// Looks in the rest of the stream for something that it reads, up to a bound where no map names it; whether there is
    /// anything.
    [[nodiscard]] bool lookIn(ByteSource& source);

    /// The next frame that is not later than this; none when there is none, or later ones may be earlier.
    /// @param limit Of what comes next of the pictures; none when that is not known.
    /// @param isAll Whatever there is.
    [[nodiscard]] std::optional<Frame> takeUpTo(const std::optional<MediaTime>& limit, bool isAll);

    /// Gives what is wrong with the stream since the last call, where it has teletext at all.
    /// @param isAlone Nobody else says that the end is missing.
    void report(FindingSink* findings, bool isAlone);

    /// Why a stream that was found brought nothing; none where there is no such stream, or nothing is known.
    [[nodiscard]] std::optional<Finding> whyNothing() const;

    /// The pages that the program's map names.
    [[nodiscard]] std::vector<ts::TeletextPage> pages() const { return _reader.pages(); }

private:
    void drain();

    Findings _findings{20};
    ts::VbiReader _reader;
    std::deque<Frame> _frames;
    std::uint64_t _next = 0;             ///< Byte of the stream that is taken next.
    std::optional<std::int64_t> _shift;  ///< Ticks by which the demuxer's times are later: as often as they begin anew.
    std::vector<std::uint8_t> _piece;
    bool _isFound = false;  ///< There is, or was, a stream that is read.
    bool _isFinished = false;
};

}  // namespace qlx::streams::detail
