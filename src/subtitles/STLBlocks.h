// The blocks of an EBU STL file (EBU Tech 3264): one General Subtitle Information block (GSI), then Text and Timing
// Information blocks (TTI).
//
//   GSI, 1024 bytes: ... DFC at 3 (8, ASCII) ... TNB at 238 (5, ASCII digits) ...
//   TTI, 128 bytes:  SGN 1 | SN 2, little-endian | EBN 1 | CS 1 | TCI 4 | TCO 4 | VP 1 | JC 1 | CF 1 | TF 112
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace qlx::stl {

inline constexpr std::size_t kInformationSize = 1024;
inline constexpr std::size_t kBlockSize = 128;
inline constexpr std::size_t kTimeCodeSize = 4;
/// The last byte of the text field is always unused space: it is not part of the text.
inline constexpr std::size_t kTextSize = 111;

// Codes of the text field beside characters and colours.
inline constexpr std::uint8_t kLineBreak = 0x8A;
inline constexpr std::uint8_t kUnusedSpace = 0x8F;

/// What is read of the GSI block.
struct Information {
    double framesPerSecond = 0;
    std::uint64_t blockCount = 0;  ///< At most 99,999: the field has five digits.
};

/// The GSI block of `file`; none when it is cut short, or its disk format code or block count is of no use.
[[nodiscard]] std::optional<Information> readInformation(std::span<const std::uint8_t> file);

/// One TTI block; refers to somebody else's bytes.
class Block {
public:
    explicit Block(std::span<const std::uint8_t, kBlockSize> bytes) noexcept : _bytes(bytes) {}

    /// False for a block that is a comment or carries user data.
    [[nodiscard]] bool isSubtitle() const noexcept;

    [[nodiscard]] std::uint16_t subtitleNumber() const noexcept;
    [[nodiscard]] std::span<const std::uint8_t, kTimeCodeSize> timeCodeIn() const noexcept;
    [[nodiscard]] std::span<const std::uint8_t, kTimeCodeSize> timeCodeOut() const noexcept;
    /// The justification code: 0 unchanged, 1 left, 2 centred, 3 right; any number can stand there.
    [[nodiscard]] std::uint8_t justification() const noexcept;
    /// The row of the first line on the screen of the subtitle records: teletext rows are of double height.
    [[nodiscard]] std::uint8_t firstRow() const noexcept;
    [[nodiscard]] std::span<const std::uint8_t, kTextSize> text() const noexcept;

private:
    std::span<const std::uint8_t, kBlockSize> _bytes;
};

/// Block `index` of `file`, which holds it whole.
[[nodiscard]] Block blockAt(std::span<const std::uint8_t> file, std::uint64_t index) noexcept;

/// The seconds of a time code.
[[nodiscard]] double secondsOf(std::span<const std::uint8_t, kTimeCodeSize> timeCode, double framesPerSecond) noexcept;

/// The colour constant (1 red to 7 white) that a byte below 0x20 switches to; 0 for one that does something else.
[[nodiscard]] std::int32_t colorOfCode(std::uint8_t code) noexcept;

}  // namespace qlx::stl
