// Partition packs of MXF files (SMPTE ST 377-1): what begins each part of a file.
//
//     const qlx::Result<qlx::klv::PartitionPack> pack = qlx::klv::parsePartitionPack(value, &findings);
//     if (pack) {
//         for (const qlx::klv::Key& container : pack->essenceContainers) { use(container); }
//         const qlx::Data same = qlx::klv::writePartitionPack(*pack);
//     }
#pragma once

#include <qlx/base/finding.h>
#include <qlx/base/result.h>
#include <qlx/klv/keys.h>

#include <QLXClosedCaptionsUtilities/platform/Data.h>

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace qlx::klv {

/// The value of a partition pack. Places are bytes counted from the first partition of the file.
struct PartitionPack {
    std::uint16_t majorVersion = 1;       ///< Of the format.
    std::uint16_t minorVersion = 3;       ///< The same.
    std::uint32_t kagSize = 1;            ///< Size of the KLV alignment grid, in bytes.
    std::uint64_t thisPartition = 0;      ///< Where this partition begins.
    std::uint64_t previousPartition = 0;  ///< Where the one in front of it begins.
    std::uint64_t footerPartition = 0;    ///< Where the footer begins; 0 when that is not known.
    std::uint64_t headerByteCount = 0;    ///< Bytes of header metadata, with the fill items in them.
    std::uint64_t indexByteCount = 0;     ///< Bytes of index table segments, with the fill items in them.
    std::uint32_t indexSid = 0;           ///< Stream of the index table segments; 0: none.
    std::uint64_t bodyOffset = 0;         ///< Bytes of the essence stream in front of this partition.
    std::uint32_t bodySid = 0;            ///< Stream of the essence; 0: none.
    Key operationalPattern{};             ///< Its label.
    std::vector<Key> essenceContainers;   ///< Labels of the kinds of essence in the file.

    /// Whether all fields are equal.
    [[nodiscard]] friend bool operator==(const PartitionPack&, const PartitionPack&) = default;
};

/// Bytes of a partition pack with so many essence containers.
[[nodiscard]] constexpr std::size_t partitionPackSize(std::size_t essenceContainers = 0) noexcept {
    return 88 + sizeof(Key) * essenceContainers;
}

/// Reads the value of a partition pack (the key in front of it says more: partitionKey()). A Finding says that it is
/// too short (MxfPartitionTooShort); `findings` is told when the list of essence containers is not as it announces.
[[nodiscard]] QLX_EXPORT Result<PartitionPack> parsePartitionPack(std::span<const std::uint8_t> value,
                                                                  FindingSink* findings = nullptr);

/// Writes the value of a partition pack into `room` and gives the bytes used, or OutputTooSmall.
[[nodiscard]] QLX_EXPORT Result<std::size_t> writePartitionPack(const PartitionPack& pack,
                                                                std::span<std::uint8_t> room);
/// The same as bytes of their own.
[[nodiscard]] QLX_EXPORT Data writePartitionPack(const PartitionPack& pack);

}  // namespace qlx::klv
