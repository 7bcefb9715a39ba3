#include <qlx/klv/partition.h>

#include "base/Bytes.h"

#include <algorithm>

namespace qlx::klv {

namespace {

// Offsets in the value.
constexpr std::size_t kMajorVersion = 0;
constexpr std::size_t kMinorVersion = 2;
constexpr std::size_t kKagSize = 4;
constexpr std::size_t kThisPartition = 8;
constexpr std::size_t kPreviousPartition = 16;
constexpr std::size_t kFooterPartition = 24;
constexpr std::size_t kHeaderByteCount = 32;
constexpr std::size_t kIndexByteCount = 40;
constexpr std::size_t kIndexSid = 48;
constexpr std::size_t kBodyOffset = 52;
constexpr std::size_t kBodySid = 60;
constexpr std::size_t kOperationalPattern = 64;
constexpr std::size_t kContainerCount = 80;
constexpr std::size_t kContainerLength = 84;
constexpr std::size_t kContainers = partitionPackSize();

Key loadKey(const std::uint8_t* bytes) noexcept {
    Key key{};
    std::copy_n(bytes, key.size(), key.begin());
    return key;
}

void write(const PartitionPack& pack, std::uint8_t* bytes) noexcept {
    storeBig(bytes + kMajorVersion, pack.majorVersion);
    storeBig(bytes + kMinorVersion, pack.minorVersion);
    storeBig(bytes + kKagSize, pack.kagSize);
    storeBig(bytes + kThisPartition, pack.thisPartition);
    storeBig(bytes + kPreviousPartition, pack.previousPartition);
    storeBig(bytes + kFooterPartition, pack.footerPartition);
    storeBig(bytes + kHeaderByteCount, pack.headerByteCount);
    storeBig(bytes + kIndexByteCount, pack.indexByteCount);
    storeBig(bytes + kIndexSid, pack.indexSid);
    storeBig(bytes + kBodyOffset, pack.bodyOffset);
    storeBig(bytes + kBodySid, pack.bodySid);
    std::copy(pack.operationalPattern.begin(), pack.operationalPattern.end(), bytes + kOperationalPattern);
    storeBig(bytes + kContainerCount, static_cast<std::uint32_t>(pack.essenceContainers.size()));
    storeBig(bytes + kContainerLength, static_cast<std::uint32_t>(sizeof(Key)));
    bytes += kContainers;
    for (const Key& container : pack.essenceContainers) {
        bytes = std::copy(container.begin(), container.end(), bytes);
    }
}

/// Reads the list of essence containers, as many as are there.
void readContainers(std::span<const std::uint8_t> value, std::vector<Key>& containers, FindingSink* findings) {
    const auto report = [findings](FindingCode code, std::size_t offset, std::size_t first, std::size_t second) {
        if (findings != nullptr) {
            findings->add(
                {code, Severity::Warning, offset, static_cast<std::int64_t>(first), static_cast<std::int64_t>(second)});
        }
    };
    const std::size_t announced = loadBig<std::uint32_t>(&value[kContainerCount]);
    const std::size_t length = loadBig<std::uint32_t>(&value[kContainerLength]);
    const std::size_t there = (value.size() - kContainers) / sizeof(Key);
    const std::size_t count = length == sizeof(Key) ? std::min(announced, there) : 0;
    if (count < announced) {
        report(FindingCode::MxfListCut, kContainerCount, announced, count);
    }
    if (length != sizeof(Key)) {
        report(FindingCode::MxfListItemLengthWrong, kContainerLength, length, sizeof(Key));
    }
    for (std::size_t index = 0; index < count; ++index) {
        containers.push_back(loadKey(&value[kContainers + index * sizeof(Key)]));
    }
    const std::size_t end = kContainers + count * sizeof(Key);
    if (end < value.size()) {
        report(FindingCode::MxfTrailingBytes, end, value.size() - end, 0);
    }
}

}  // namespace

Result<PartitionPack> parsePartitionPack(std::span<const std::uint8_t> value, FindingSink* findings) {
    if (value.size() < kContainers) {
        return Finding{FindingCode::MxfPartitionTooShort, Severity::Error, 0, static_cast<std::int64_t>(kContainers),
                       static_cast<std::int64_t>(value.size())};
    }
    PartitionPack pack;
    pack.majorVersion = loadBig<std::uint16_t>(&value[kMajorVersion]);
    pack.minorVersion = loadBig<std::uint16_t>(&value[kMinorVersion]);
    pack.kagSize = loadBig<std::uint32_t>(&value[kKagSize]);
    pack.thisPartition = loadBig<std::uint64_t>(&value[kThisPartition]);
    pack.previousPartition = loadBig<std::uint64_t>(&value[kPreviousPartition]);
    pack.footerPartition = loadBig<std::uint64_t>(&value[kFooterPartition]);
    pack.headerByteCount = loadBig<std::uint64_t>(&value[kHeaderByteCount]);
    pack.indexByteCount = loadBig<std::uint64_t>(&value[kIndexByteCount]);
    pack.indexSid = loadBig<std::uint32_t>(&value[kIndexSid]);
    pack.bodyOffset = loadBig<std::uint64_t>(&value[kBodyOffset]);
    pack.bodySid = loadBig<std::uint32_t>(&value[kBodySid]);
    pack.operationalPattern = loadKey(&value[kOperationalPattern]);
    readContainers(value, pack.essenceContainers, findings);
    return pack;
}

Result<std::size_t> writePartitionPack(const PartitionPack& pack, std::span<std::uint8_t> room) {
    const std::size_t size = partitionPackSize(pack.essenceContainers.size());
    if (size > room.size()) {
        return Finding{FindingCode::OutputTooSmall, Severity::Error, 0, static_cast<std::int64_t>(size),
                       static_cast<std::int64_t>(room.size())};
    }
    write(pack, room.data());
    return size;
}

Data writePartitionPack(const PartitionPack& pack) {
    return Data::make(partitionPackSize(pack.essenceContainers.size()),
                      [&pack](std::uint8_t* bytes) { write(pack, bytes); });
}

}  // namespace qlx::klv
