// Line 21 of 525-line pictures: a pair of CEA-608 bytes as a waveform (CTA-608-E; 47 CFR 15.119) in a row of pixels.
//
//     qlx::Findings findings;
//     const qlx::line21::RowLayout layout{.pixelFormat = qlx::kPixelFormatV210, .width = 720};
//     const auto pair = qlx::line21::readPair({row, {}}, layout, &findings);
//     if (pair && findings.empty()) { receiver.receive(pair->first, pair->second); }
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>
#include <QLXClosedCaptionsUtilities/platform/FourCC.h>
#include <qlx/base/result.h>
#include <qlx/cea608/codes.h>

#include <cstddef>
#include <cstdint>
#include <span>

namespace qlx::line21 {

// Where writePair() puts the parts of the waveform, in pixels of 13.5 MHz.

inline constexpr std::size_t kRunInStart = 13;    ///< Seven cycles of the clock.
inline constexpr std::size_t kStartBits = 202;    ///< 0, 0, 1.
inline constexpr std::size_t kStartBitOne = 248;  ///< The 1 of them.
inline constexpr std::size_t kDataBits = 274;     ///< Sixteen bits, the least significant bit of each byte first.
inline constexpr std::size_t kCellPixels = 27;    ///< A bit, and a cycle of the clock.
inline constexpr std::size_t kCellSample = 14;    ///< Where in a bit its level is read when no clock is looked for.
inline constexpr std::size_t kBits = 16;          ///< Bits of a pair.
/// The fewest pixels of a row that holds a pair.
inline constexpr std::size_t kWaveformPixels = kDataBits + kBits * kCellPixels;

/// Grey of a 1 where black is 0 and white 255: about half of white.
inline constexpr std::uint8_t kLevelOfOne = 127;
/// The greatest level of a 0 when no clock is looked for.
inline constexpr std::uint8_t kGreatestZero = 48;

/// How the pixels of a row lie in memory.
struct RowLayout {
    /// `BGRA`, `ARGB`, `v210`, `2vuy`, `yuvs` or `420v`.
    std::uint32_t pixelFormat = kPixelFormatV210;
    std::size_t width = 720;  ///< In pixels.
    /// Rows of the whole picture, which decide the matrix of colours: ITU-R BT.601 below 720, BT.709 from there on.
    std::size_t pictureRows = 486;
};

/// A row that is read. A view: the bytes are the caller's.
struct RowView {
    std::span<const std::uint8_t> samples;  ///< The row; of `420v` its luma.
    std::span<const std::uint8_t> chroma;   ///< Of `420v`: Cb and Cr of the row, or nothing, which is no colour.
};

/// A row that is written.
struct RowRoom {
    std::span<std::uint8_t> samples;  ///< As in RowView.
    std::span<std::uint8_t> chroma;   ///< The same; when it is empty only luma is written.
};

/// How the bits of a row are found.
enum class Sampling : std::uint8_t {
    /// By the clock run-in, wherever it begins and however wide its cycles are: rows of 704 to 720 pixels and what they
    /// were scaled to. A level is the mean of the luma around the middle of a bit, and half of the clock's swing is the
    /// border, whatever is brighter or darker beside the waveform.
    Clock,
    /// Where writePair() puts them, each by one pixel's blue and kGreatestZero, whatever stands in front of them. Bits
    /// behind the end of the row are 0.
    Fixed,
};

/// How a row is read.
struct ReadOptions {
    Sampling sampling = Sampling::Clock;  ///< How bits are found.
};

/// Reads the pair of a row, with the parity bits that it has.
///
/// Fails with Line21FormatUnknown, with Line21RowTooShort where the bytes are fewer than the pixels take, and, when the
/// clock is looked for, with Line21RunInMissing, Line21StartBitsMissing or Line21RowCut. Wrong parity is told to
/// `findings`; an offset is a pixel of the row. Allocates nothing.
[[nodiscard]] QLX_EXPORT Result<cea608::Pair> readPair(const RowView& row, const RowLayout& layout,
                                                       FindingSink* findings = nullptr,
                                                       const ReadOptions& options = {});

/// Writes the waveform of a pair, as it stands with its parity bits, and black up to the row's end, with bits of
/// kCellPixels, within 0.7 % of 1/32 of a line at 13.5 MHz, whatever the width of the row; gives the bytes of
/// `samples` that the pixels take. What no pixel of the row has a part in stays as it is. Allocates nothing.
///
/// Nothing is written, and a Finding says why, for a format that is not known (Line21FormatUnknown), a row of fewer than
/// kWaveformPixels (Line21RowTooNarrow) or of too few bytes (OutputTooSmall).
QLX_EXPORT Result<std::size_t> writePair(const cea608::Pair& pair, const RowLayout& layout, const RowRoom& room);

}  // namespace qlx::line21
