// Files of SDI rows: frame after frame, and in each frame the same lines, one row each.
#pragma once

#include "io/InputFile.h"
#include "streams/Frame.h"

#include <QLXClosedCaptionsUtilities/platform/FourCC.h>

#include <qlx/anc/row.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace qlx::tool {

inline constexpr std::uint32_t kUsualRowWidth = 1920;

/// How the rows of a file lie.
struct RowLayout {
    std::uint32_t pixelFormat = 0;     ///< kPixelFormatV210 or kPixelFormat2vuy.
    std::uint32_t width = 0;           ///< Pixels of a row; an odd one is counted up to a whole pair.
    std::vector<std::uint64_t> lines;  ///< The line number of each row of a frame, ascending.

    /// How the samples are packed.
    [[nodiscard]] anc::RowFormat format() const noexcept {
        return pixelFormat == kPixelFormatV210 ? anc::RowFormat::V210 : anc::RowFormat::TwoVuy;
    }
};

/// Where packets are looked for.
enum class RowSearch : std::uint8_t {
    WholeRow,   ///< Everywhere on the row, in luma and chroma; as one stream as well up to kWidestMultiplex pixels.
    NearStart,  ///< As the fixed operation does it: near the row's start, in one byte of each sample, nothing verified.
};

/// The widest row that may be one of standard definition, whose packets stand in luma and chroma together.
inline constexpr std::uint32_t kWidestMultiplex = 720;

/// Finds the packets of each frame's rows. A packet that is damaged is a problem, one that only stands in an unusual
/// place or has no checksum a remark.
class RowReader final : public FrameReader {
public:
    /// @param source Read from where it stands; must outlive the reader.
    RowReader(ByteSource& source, RowLayout layout, RowSearch search = RowSearch::WholeRow);

    bool next(Frame& frame, std::vector<std::string>& problems) override;
    [[nodiscard]] std::vector<std::string> takeRemarks() override;

private:
    struct Found;

    void readRow(Frame& frame, std::uint64_t line, std::vector<std::string>& problems);
    void readNearStart(Frame& frame, std::uint64_t line, std::vector<std::string>& problems) const;
    [[nodiscard]] Found find(anc::Channels channels, std::uint64_t line) const;
    void take(Frame& frame, std::uint64_t line, Found found, std::vector<std::string>& problems);

    ByteSource& _source;
    RowLayout _layout;
    RowSearch _search;
    std::vector<std::uint8_t> _row;
    std::vector<std::string> _remarks;
    std::uint64_t _frames = 0;
    std::optional<std::string> _failure;
    std::uint64_t _failureOffset = 0;
};

}  // namespace qlx::tool
