#include "facade/TeletextPacket.h"

#include <qlx/teletext/page.h>

#include <algorithm>

namespace qlx::facade {

namespace {

constexpr std::uint8_t kEndBox = codeOf(teletext::SpacingAttribute::EndBox);
constexpr std::uint8_t kStartBox = codeOf(teletext::SpacingAttribute::StartBox);
constexpr std::uint8_t kDoubleHeight = codeOf(teletext::SpacingAttribute::DoubleHeight);
constexpr std::uint8_t kSpace = 0x20;

constexpr std::int32_t kAlignmentCenter = 2;
constexpr std::int32_t kAlignmentRight = 3;

static_assert(kMaximumTextSize + 6 == teletext::kDataBytes, "four codes before the text and two behind it fill a row");

std::size_t leadingSpaces(std::int32_t alignment, std::size_t textSize) noexcept {
    const std::size_t room = kMaximumTextSize - textSize;
    switch (alignment) {
    case kAlignmentCenter:
        return room / 2;
    case kAlignmentRight:
        return room;
    default:
        return 0;
    }
}

}  // namespace

void writePageHeader(PacketSpan packet, std::uint8_t pageTens, std::uint8_t pageUnits, std::uint8_t packetAddress,
                     bool erasePage) noexcept {
    auto out = packet.begin();
    const auto put = [&out](const auto& bytes) { out = std::copy(bytes.begin(), bytes.end(), out); };
    put(teletext::kRunInAndFramingCode);
    put(deployedAddressBytes(kMagazine8, packetAddress));
    put(deployedPageNumberBytes(pageUnits, pageTens));
    put(pageControlBytes(erasePage));
    writeFiller(std::span<std::uint8_t>(out, packet.end()));
}

void writeRow(std::span<std::uint8_t, teletext::kPacketBytes> target, const Row& row) noexcept {
    const std::span<const std::uint8_t> text = row.latin1.first(std::min(row.latin1.size(), kMaximumTextSize));
    const auto address = deployedAddressBytes(kMagazine8, row.address);
    auto out = std::copy(address.begin(), address.end(), target.begin());
    out = std::fill_n(out, leadingSpaces(row.alignment, text.size()), kSpace);
    for (const std::uint8_t code : {row.color, kDoubleHeight, kStartBox, kStartBox}) {
        *out++ = teletext::withOddParity(code);
    }
    out = std::transform(text.begin(), text.end(), out,
                         [](std::uint8_t character) { return teletext::withOddParity(frenchCode(character)); });
    *out++ = teletext::withOddParity(kEndBox);
    *out++ = teletext::withOddParity(kEndBox);
    std::fill(out, target.end(), kSpace);
}

}  // namespace qlx::facade
