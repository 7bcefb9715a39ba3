#include "subtitles/STLBlocks.h"

#include <QLXClosedCaptionsUtilities/platform/Text.h>
#include <QLXClosedCaptionsUtilities/platform/TextEncoding.h>

#include <array>
#include <string_view>

namespace qlx::stl {

namespace {

// Offsets in the GSI block.
constexpr std::size_t kDiskFormatCode = 3;
constexpr std::size_t kDiskFormatCodeSize = 8;
constexpr std::size_t kBlockCount = 238;
constexpr std::size_t kBlockCountSize = 5;

// Offsets in a TTI block.
constexpr std::size_t kSubtitleNumber = 1;
constexpr std::size_t kExtensionBlockNumber = 3;
constexpr std::size_t kTimeCodeIn = 5;
constexpr std::size_t kTimeCodeOut = 9;
constexpr std::size_t kVerticalPosition = 13;
constexpr std::size_t kJustification = 14;
constexpr std::size_t kCommentFlag = 15;
constexpr std::size_t kText = 16;

constexpr std::uint8_t kUserData = 0xFE;

struct DiskFormat {
    std::string_view code;
    double framesPerSecond;
};

constexpr std::array kDiskFormats{DiskFormat{"STL25.01", 25.0}, DiskFormat{"STL30.01", 30.0}};

constexpr std::int32_t kWhite = 7;
constexpr std::uint8_t kFirstMosaicColor = 0x10;
constexpr std::uint8_t kColorCodes = 8;

std::optional<double> framesPerSecondOf(std::string_view diskFormatCode) {
    for (const DiskFormat& format : kDiskFormats) {
        if (format.code == diskFormatCode) {
            return format.framesPerSecond;
        }
    }
    return std::nullopt;
}

}  // namespace

std::optional<Information> readInformation(std::span<const std::uint8_t> file) {
    if (file.size() < kInformationSize) {
        return std::nullopt;
    }
    const auto code = decodedText(file.subspan(kDiskFormatCode, kDiskFormatCodeSize), TextEncoding::ASCII);
    const auto framesPerSecond = code ? framesPerSecondOf(*code) : std::nullopt;
    const auto count = decodedText(file.subspan(kBlockCount, kBlockCountSize), TextEncoding::ASCII);
    const std::int64_t blockCount = count ? integerValue(*count) : 0;
    if (!framesPerSecond || blockCount <= 0) {
        return std::nullopt;
    }
    return Information{*framesPerSecond, static_cast<std::uint64_t>(blockCount)};
}

bool Block::isSubtitle() const noexcept {
    return _bytes[kCommentFlag] == 0 && _bytes[kExtensionBlockNumber] != kUserData;
}

std::uint16_t Block::subtitleNumber() const noexcept {
    return static_cast<std::uint16_t>(_bytes[kSubtitleNumber] | _bytes[kSubtitleNumber + 1] << 8U);
}

std::span<const std::uint8_t, kTimeCodeSize> Block::timeCodeIn() const noexcept {
    return _bytes.subspan<kTimeCodeIn, kTimeCodeSize>();
}

std::span<const std::uint8_t, kTimeCodeSize> Block::timeCodeOut() const noexcept {
    return _bytes.subspan<kTimeCodeOut, kTimeCodeSize>();
}

std::uint8_t Block::justification() const noexcept {
    return _bytes[kJustification];
}

std::uint8_t Block::firstRow() const noexcept {
    // A position of 0 wraps around to the largest row.
    return static_cast<std::uint8_t>(((_bytes[kVerticalPosition] - 1U) & 0xFFU) / 2);
}

std::span<const std::uint8_t, kTextSize> Block::text() const noexcept {
    return _bytes.subspan<kText, kTextSize>();
}

Block blockAt(std::span<const std::uint8_t> file, std::uint64_t index) noexcept {
    return Block(file.subspan(static_cast<std::size_t>(kInformationSize + index * kBlockSize)).first<kBlockSize>());
}

double secondsOf(std::span<const std::uint8_t, kTimeCodeSize> timeCode, double framesPerSecond) noexcept {
    return timeCode[0] * 3600.0 + timeCode[1] * 60.0 + timeCode[2] + timeCode[3] / framesPerSecond;
}

std::int32_t colorOfCode(std::uint8_t code) noexcept {
    const bool isColor = code < kColorCodes || (code >= kFirstMosaicColor && code < kFirstMosaicColor + kColorCodes);
    if (!isColor) {
        return 0;
    }
    // Black text would not be seen.
    const std::int32_t color = code % kColorCodes;
    return color == 0 ? kWhite : color;
}

}  // namespace qlx::stl
