#include <qlx/base/section_crc.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace qlx {

namespace {

using SectionCRCTable = std::array<std::array<std::uint32_t, 256>, 4>;

/// What a byte comes to, bit by bit; and with one, two or three bytes of zeros behind it.
constexpr SectionCRCTable makeSectionCRCTable() noexcept {
    constexpr std::uint32_t kPolynomial = 0x04C11DB7;
    SectionCRCTable table{};
    for (std::uint32_t byte = 0; byte < table[0].size(); ++byte) {
        std::uint32_t crc = byte << 24U;
        for (int bit = 0; bit < 8; ++bit) {
            crc = crc << 1U ^ (kPolynomial & (0U - (crc >> 31U)));
        }
        table[0][byte] = crc;
    }
    for (std::size_t zeros = 1; zeros < table.size(); ++zeros) {
        for (std::size_t byte = 0; byte < table[0].size(); ++byte) {
            const std::uint32_t crc = table[zeros - 1][byte];
            table[zeros][byte] = crc << 8U ^ table[0][crc >> 24U];
        }
    }
    return table;
}

constexpr SectionCRCTable kSectionCRCTable = makeSectionCRCTable();

}  // namespace

// Four bytes at a time.
std::uint32_t sectionCRC32(std::span<const std::uint8_t> bytes) noexcept {
    constexpr const auto& kTable = kSectionCRCTable;
    std::uint32_t crc = 0xFFFFFFFF;
    std::size_t index = 0;
    for (; bytes.size() - index >= 4; index += 4) {
        crc ^= std::uint32_t{bytes[index]} << 24U | std::uint32_t{bytes[index + 1]} << 16U |
               std::uint32_t{bytes[index + 2]} << 8U | bytes[index + 3];
        crc = kTable[3][crc >> 24U] ^ kTable[2][crc >> 16U & 0xFFU] ^ kTable[1][crc >> 8U & 0xFFU] ^
              kTable[0][crc & 0xFFU];
    }
    for (; index < bytes.size(); ++index) {
        crc = crc << 8U ^ kTable[0][(crc >> 24U ^ bytes[index]) & 0xFFU];
    }
    return crc;
}

}  // namespace qlx
