#include <qlx/line21/line21.h>

#include "base/Bytes.h"
#include "base/MakeFinding.h"
#include "line21/RowPixels.h"
#include "line21/Waveform.h"

#include <array>

namespace qlx::line21 {

namespace {

/// The waveform of one pair.
class Waveform {
public:
    explicit Waveform(const cea608::Pair& pair)
        : _runIn(detail::runInLevels()), _bits(unsigned{pair.first} | unsigned{pair.second} << 8U) {}

    [[nodiscard]] std::uint8_t at(std::size_t pixel) const noexcept {
        if (pixel < kDataBits) {
            return _runIn[pixel];
        }
        return detail::levelOf(pixel < kWaveformPixels && (_bits >> (pixel - kDataBits) / kCellPixels & 1U) != 0);
    }

private:
    std::array<std::uint8_t, kDataBits> _runIn;
    unsigned _bits;
};

}  // namespace

Result<std::size_t> writePair(const cea608::Pair& pair, const RowLayout& layout, const RowRoom& room) {
    const pixels::Format* const format = pixels::formatOf(layout.pixelFormat);
    if (format == nullptr) {
        return makeFinding(FindingCode::Line21FormatUnknown, Severity::Error, 0, layout.pixelFormat);
    }
    if (layout.width < kWaveformPixels) {
        return makeFinding(FindingCode::Line21RowTooNarrow, Severity::Error, 0, kWaveformPixels, layout.width);
    }
    // No format has less than a byte a pixel: sizes stay numbers.
    if (room.samples.size() < layout.width) {
        return makeFinding(FindingCode::OutputTooSmall, Severity::Error, 0, layout.width, room.samples.size());
    }
    const std::size_t size = format->bytesOfRow(layout.width);
    const std::size_t chromaSize = format->twoPlanes ? pixels::bytesOfChromaRow(layout.width) : 0;
    if (room.samples.size() < size) {
        return makeFinding(FindingCode::OutputTooSmall, Severity::Error, 0, size, room.samples.size());
    }
    if (!room.chroma.empty() && room.chroma.size() < chromaSize) {
        return makeFinding(FindingCode::OutputTooSmall, Severity::Error, 0, chromaSize, room.chroma.size());
    }
    const Waveform waveform(pair);
    const pixels::ColorMatrix& matrix = pixels::matrixForRows(layout.pictureRows);
    std::array<std::uint8_t, detail::kChunkPixels * pixels::kBGRABytes> bgra{};
    std::array<std::uint8_t, detail::kChunkPixels> unusedChroma{};
    for (std::size_t first = 0; first < layout.width; first += detail::kChunkPixels) {
        const std::size_t count = detail::pixelsOfChunk(first, layout.width);
        for (std::size_t pixel = 0; pixel < count; ++pixel) {
            const std::uint8_t level = waveform.at(first + pixel);
            storeLittle32(bgra.data() + pixel * pixels::kBGRABytes, 0xFF000000U | level * 0x010101U);
        }
        std::uint8_t* const chroma =
            room.chroma.empty() || !format->twoPlanes ? unusedChroma.data() : room.chroma.data() + first;
        format->fromBGRA(bgra.data(), count, matrix, {room.samples.data() + format->bytesOfRow(first), chroma, false});
    }
    return size;
}

}  // namespace qlx::line21
