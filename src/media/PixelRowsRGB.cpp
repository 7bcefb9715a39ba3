#include "media/PixelRows.h"

namespace qlx::pixels {

namespace {

/// The four bytes of each pixel in the opposite order: that is the way from ARGB to BGRA, and the way back.
void reverseBytes(const std::uint8_t* source, std::size_t width, std::uint8_t* destination) {
    for (std::size_t end = width * kBGRABytes, byte = 0; byte < end; byte += kBGRABytes) {
        destination[byte] = source[byte + 3];
        destination[byte + 1] = source[byte + 2];
        destination[byte + 2] = source[byte + 1];
        destination[byte + 3] = source[byte];
    }
}

}  // namespace

void argbToBGRA(const SourceRow& row, std::size_t width, const ColorMatrix& /*matrix*/, std::uint8_t* bgra) {
    reverseBytes(row.first, width, bgra);
}

void argbFromBGRA(const std::uint8_t* bgra, std::size_t width, const ColorMatrix& /*matrix*/,
                  const DestinationRow& row) {
    reverseBytes(bgra, width, row.first);
}

}  // namespace qlx::pixels
