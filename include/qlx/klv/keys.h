// Keys of KLV triplets: the universal labels of SMPTE ST 298 that MXF files and their ancillary data use.
//
//     if (const auto partition = qlx::klv::partitionKey(key)) { use(partition->kind, partition->status); }
//     else if (qlx::klv::isAncFrameElement(key)) { use(key[15]); }   // the number of the element
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace qlx::klv {

/// The 16 bytes in front of a triplet's length.
using Key = std::array<std::uint8_t, 16>;

/// What every universal label, and so every key, begins with.
inline constexpr std::array<std::uint8_t, 4> kLabelStart{0x06, 0x0E, 0x2B, 0x34};

/// Whether `bytes` begin with a universal label; fewer than four bytes do when the label may go on behind them.
[[nodiscard]] constexpr bool beginsLabel(std::span<const std::uint8_t> bytes) noexcept {
    const auto compared = static_cast<std::ptrdiff_t>(std::min(bytes.size(), kLabelStart.size()));
    return std::equal(kLabelStart.begin(), kLabelStart.begin() + compared, bytes.begin());
}

/// The byte of a key that has the version of the register that names it: labels are the same whatever it is.
inline constexpr std::size_t kRegisterVersionByte = 7;

/// Whether two keys are the same label, whatever the version of the register.
[[nodiscard]] constexpr bool isSameLabel(const Key& left, const Key& right) noexcept {
    for (std::size_t index = 0; index < left.size(); ++index) {
        if (left[index] != right[index] && index != kRegisterVersionByte) {
            return false;
        }
    }
    return true;
}

/// The item of a content package whose data elements have ancillary data in them, among others.
inline constexpr std::uint8_t kDataItem = 0x17;

/// What the key of an element of the generic container (SMPTE ST 379-1) says, in which a content package has what belongs
/// to a frame.
struct ElementKey {
    /// 14h system, 15h picture, 16h sound, 17h data, 18h compound item; of the older 04h to 07h system, picture, sound,
    /// data. What the others are means something else in keys of system items.
    std::uint8_t item = kDataItem;
    std::uint8_t count = 1;   ///< Elements that the item has in each content package.
    std::uint8_t type = 0;    ///< What the element holds.
    std::uint8_t number = 1;  ///< Which element of the item it is, the same in all content packages.

    /// Whether all fields are equal.
    [[nodiscard]] friend constexpr bool operator==(const ElementKey&, const ElementKey&) noexcept = default;
};

/// What a key of the generic container says; none for any other key.
[[nodiscard]] constexpr std::optional<ElementKey> elementKey(const Key& key) noexcept {
    constexpr std::array<std::uint8_t, 4> kGenericContainer{0x0D, 0x01, 0x03, 0x01};
    if (!beginsLabel(key) || !std::equal(kGenericContainer.begin(), kGenericContainer.end(), key.begin() + 8)) {
        return std::nullopt;
    }
    return ElementKey{.item = key[12], .count = key[13], .type = key[14], .number = key[15]};
}

/// The key of an ANC frame element (SMPTE ST 436-1) in an essence container: `count` data elements, this is `number`.
[[nodiscard]] constexpr Key ancFrameElementKey(std::uint8_t count = 1, std::uint8_t number = 1) noexcept {
    return {0x06, 0x0E, 0x2B, 0x34, 0x01, 0x02, 0x01, 0x01, 0x0D, 0x01, 0x03, 0x01, 0x17, count, 0x02, number};
}

/// Whether it is the key of an ANC frame element, of whichever count and number.
[[nodiscard]] constexpr bool isAncFrameElement(const Key& key) noexcept {
    return isSameLabel(key, ancFrameElementKey(key[13], key[15]));
}

/// What the keys of partition packs (SMPTE ST 377-1) begin with; those of primer packs and random index packs as well.
inline constexpr std::array<std::uint8_t, 13> kPackKeyStart{0x06, 0x0E, 0x2B, 0x34, 0x02, 0x05, 0x01,
                                                            0x01, 0x0D, 0x01, 0x02, 0x01, 0x01};

/// Which part of a file a partition is.
enum class PartitionKind : std::uint8_t {
    Header = 0x02,
    Body = 0x03,
    Footer = 0x04,
};

/// Whether the metadata of a partition are final, and all of them known.
enum class PartitionStatus : std::uint8_t {
    OpenIncomplete = 0x01,
    ClosedIncomplete = 0x02,
    OpenComplete = 0x03,
    ClosedComplete = 0x04,
    GenericStream = 0x11,  ///< A body partition of a generic stream (SMPTE ST 410).
};

/// What the key of a partition pack says.
struct PartitionKey {
    PartitionKind kind = PartitionKind::Header;                ///< Which part of the file.
    PartitionStatus status = PartitionStatus::ClosedComplete;  ///< A number that is none of these is kept.

    /// Whether all fields are equal.
    [[nodiscard]] friend constexpr bool operator==(const PartitionKey&, const PartitionKey&) noexcept = default;
};

/// The key of a partition pack.
[[nodiscard]] constexpr Key partitionPackKey(const PartitionKey& partition) noexcept {
    Key key{};
    std::copy(kPackKeyStart.begin(), kPackKeyStart.end(), key.begin());
    key[13] = static_cast<std::uint8_t>(partition.kind);
    key[14] = static_cast<std::uint8_t>(partition.status);
    return key;
}

/// What the key of a partition pack says; none for any other key.
[[nodiscard]] constexpr std::optional<PartitionKey> partitionKey(const Key& key) noexcept {
    const PartitionKey partition{static_cast<PartitionKind>(key[13]), static_cast<PartitionStatus>(key[14])};
    const bool isKind = partition.kind >= PartitionKind::Header && partition.kind <= PartitionKind::Footer;
    return isKind && isSameLabel(key, partitionPackKey(partition)) ? std::optional(partition) : std::nullopt;
}

/// The key of a primer pack (SMPTE ST 377-1): local tags and the labels that they stand for.
inline constexpr Key kPrimerPackKey{0x06, 0x0E, 0x2B, 0x34, 0x02, 0x05, 0x01, 0x01,
                                    0x0D, 0x01, 0x02, 0x01, 0x01, 0x05, 0x01, 0x00};

/// The key of a random index pack (SMPTE ST 377-1): where the partitions are.
inline constexpr Key kRandomIndexPackKey{0x06, 0x0E, 0x2B, 0x34, 0x02, 0x05, 0x01, 0x01,
                                         0x0D, 0x01, 0x02, 0x01, 0x01, 0x11, 0x01, 0x00};

/// The key of a fill item (SMPTE ST 377-1), whose value says nothing.
inline constexpr Key kFillItemKey{0x06, 0x0E, 0x2B, 0x34, 0x01, 0x01, 0x01, 0x02,
                                  0x03, 0x01, 0x02, 0x10, 0x01, 0x00, 0x00, 0x00};

/// Whether it is the key of a fill item, by old registers (version 1) and new ones.
[[nodiscard]] constexpr bool isFillItem(const Key& key) noexcept {
    return isSameLabel(key, kFillItemKey);
}

}  // namespace qlx::klv
