#include "media/PixelPairs.h"

namespace qlx::pixels {

namespace {

constexpr std::size_t kGroupBytes = 4;  ///< Of two pixels.

/// Where the samples of two pixels stand.
struct Layout2vuy {
    static constexpr std::size_t kLuma0 = 1, kLuma1 = 3, kCb = 0, kCr = 2;
};
struct LayoutYuvs {
    static constexpr std::size_t kLuma0 = 0, kLuma1 = 2, kCb = 1, kCr = 3;
};

template <class Layout>
PixelPair loadGroup(const std::uint8_t* group) {
    return pairOfBytes(group[Layout::kLuma0], group[Layout::kLuma1], group[Layout::kCb], group[Layout::kCr]);
}

template <class Layout>
void toBGRA(const std::uint8_t* row, std::size_t width, const ColorMatrix& matrix, std::uint8_t* bgra) {
    const std::size_t pairs = width / 2;
    for (std::size_t pair = 0; pair < pairs; ++pair, row += kGroupBytes, bgra += kPairBytes) {
        if (pair != 0 && loadWord<std::uint32_t>(row) == loadWord<std::uint32_t>(row - kGroupBytes)) {
            std::memcpy(bgra, bgra - kPairBytes, kPairBytes);
        } else {
            storePair(bgra, loadGroup<Layout>(row), matrix);
        }
    }
    if (width % 2 != 0) {
        storeFirst(bgra, loadGroup<Layout>(row), matrix);
    }
}

template <class Layout>
void storeGroup(std::uint8_t* group, const PixelPair& pair) {
    group[Layout::kLuma0] = static_cast<std::uint8_t>(pair.luma0);
    group[Layout::kLuma1] = static_cast<std::uint8_t>(pair.luma1);
    group[Layout::kCb] = static_cast<std::uint8_t>(pair.chroma.cb);
    group[Layout::kCr] = static_cast<std::uint8_t>(pair.chroma.cr);
}

template <class Layout>
void fromBGRA(const std::uint8_t* bgra, std::size_t width, const ColorMatrix& matrix, std::uint8_t* row) {
    const std::size_t pairs = width / 2;
    for (std::size_t pair = 0; pair < pairs; ++pair, row += kGroupBytes, bgra += kPairBytes) {
        if (pair != 0 && loadWord<std::uint64_t>(bgra) == loadWord<std::uint64_t>(bgra - kPairBytes)) {
            std::memcpy(row, row - kGroupBytes, kGroupBytes);
        } else {
            storeGroup<Layout>(row, pairFromBGRA<8>(bgra, matrix));
        }
    }
    if (width % 2 != 0) {
        const PixelPair single = singleFromBGRA<8>(bgra, matrix);
        row[Layout::kLuma0] = static_cast<std::uint8_t>(single.luma0);
        row[Layout::kCb] = static_cast<std::uint8_t>(single.chroma.cb);
        row[Layout::kCr] = static_cast<std::uint8_t>(single.chroma.cr);
    }
}

}  // namespace

void cbyCryToBGRA(const SourceRow& row, std::size_t width, const ColorMatrix& matrix, std::uint8_t* bgra) {
    toBGRA<Layout2vuy>(row.first, width, matrix, bgra);
}

void cbyCryFromBGRA(const std::uint8_t* bgra, std::size_t width, const ColorMatrix& matrix, const DestinationRow& row) {
    fromBGRA<Layout2vuy>(bgra, width, matrix, row.first);
}

void ycbYcrToBGRA(const SourceRow& row, std::size_t width, const ColorMatrix& matrix, std::uint8_t* bgra) {
    toBGRA<LayoutYuvs>(row.first, width, matrix, bgra);
}

void ycbYcrFromBGRA(const std::uint8_t* bgra, std::size_t width, const ColorMatrix& matrix, const DestinationRow& row) {
    fromBGRA<LayoutYuvs>(bgra, width, matrix, row.first);
}

}  // namespace qlx::pixels
