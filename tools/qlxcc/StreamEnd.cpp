#include "StreamEnd.h"

#include "ContainerIndex.h"
#include "Text.h"

#include <algorithm>
#include <array>
#include <vector>

namespace qlx::tool {

namespace {

constexpr std::array<std::uint8_t, 4> kPackStart{0x00, 0x00, 0x01, 0xBA};
constexpr std::size_t kStartCode = 4;
/// Three of the longest packets, so that a pack begins in it.
constexpr std::uint64_t kTail = std::uint64_t{192} * 1024;

std::size_t findPack(std::span<const std::uint8_t> bytes, std::size_t from) {
    const auto begin = bytes.begin() + static_cast<std::ptrdiff_t>(std::min(from, bytes.size()));
    return static_cast<std::size_t>(std::search(begin, bytes.end(), kPackStart.begin(), kPackStart.end()) -
                                    bytes.begin());
}

/// The size of what begins with a start code of a program stream: 0 when not enough of it is there, none when it is no
/// such start code.
std::optional<std::size_t> packetSize(std::span<const std::uint8_t> bytes) {
    constexpr std::uint8_t kPack = 0xBA;
    constexpr std::uint8_t kEnd = 0xB9;
    constexpr std::size_t kLongPack = 14;
    constexpr std::size_t kShortPack = 12;
    constexpr std::size_t kLengthEnd = 6;
    if (!std::equal(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(std::min<std::size_t>(bytes.size(), 3)),
                    kPackStart.begin())) {
        return std::nullopt;
    }
    if (bytes.size() < kStartCode) {
        return 0;
    }
    const std::uint8_t code = bytes[3];
    if (code < kEnd) {
        return std::nullopt;
    }
    if (code == kEnd) {
        return kStartCode;
    }
    if (code == kPack) {
        if (bytes.size() < kShortPack) {
            return 0;
        }
        const bool isLong = bytes[4] >> 6U == 1;
        return !isLong ? kShortPack : bytes.size() < kLongPack ? 0 : kLongPack + (bytes[kLongPack - 1] & 7U);
    }
    return bytes.size() < kLengthEnd ? 0 : kLengthEnd + (std::size_t{bytes[4]} << 8U | bytes[5]);
}

}  // namespace

std::optional<CutPacket> cutProgramPacket(std::span<const std::uint8_t> tail) noexcept {
    for (std::size_t place = findPack(tail, 0); place < tail.size();) {
        const std::size_t rest = tail.size() - place;
        const std::optional<std::size_t> size = packetSize(tail.subspan(place));
        if (!size) {
            place = findPack(tail, place + 1);
        } else if (*size == 0 || *size > rest) {
            return CutPacket{place, rest, *size};
        } else {
            place += *size;
        }
    }
    return std::nullopt;
}

bool isTripletHeaderCut(std::span<const std::uint8_t> rest, std::uint64_t& size) noexcept {
    constexpr std::array<std::uint8_t, 4> kLabel{0x06, 0x0E, 0x2B, 0x34};
    constexpr std::size_t kKey = 16;
    size = 0;
    const auto compared = static_cast<std::ptrdiff_t>(std::min(rest.size(), kLabel.size()));
    if (!std::equal(kLabel.begin(), kLabel.begin() + compared, rest.begin())) {
        return false;
    }
    if (rest.size() <= kKey) {
        return true;
    }
    const std::uint8_t first = rest[kKey];
    const std::size_t count = first < 0x80 ? 0 : first & 0x7FU;
    if (count > sizeof(std::uint64_t)) {
        return false;
    }
    if (rest.size() < kKey + 1 + count) {
        return true;
    }
    std::uint64_t length = first < 0x80 ? first : 0;
    for (std::size_t index = 0; index < count; ++index) {
        length = length << 8U | rest[kKey + 1 + index];
    }
    size = kKey + 1 + count + length;
    return false;
}

namespace {

/// Follows the triplets from the last one that is known to the end.
std::optional<std::string> remarkOnTriplets(InputFile& source, std::uint64_t place) {
    const std::uint64_t end = source.size().value_or(0);
    while (place < end && source.seek(place)) {
        std::array<std::uint8_t, 25> header{};
        const auto rest = std::span(header).first(source.read(header));
        std::uint64_t size = 0;
        if (isTripletHeaderCut(rest, size)) {
            return "byte " + std::to_string(place) + ": the last triplet is cut short: " + counted(rest.size(), "byte");
        }
        if (size > end - place) {
            return "byte " + std::to_string(place) + ": the last triplet is cut short: " + std::to_string(end - place) +
                   " of " + counted(size, "byte");
        }
        if (size == 0) {
            break;
        }
        place += size;
    }
    return std::nullopt;
}

}  // namespace

namespace {

/// How the packets of a transport stream follow each other.
struct TransportLayout {
    std::size_t size = 0;   ///< From one sync byte to the next.
    std::size_t first = 0;  ///< Bytes of a packet in front of its sync byte: a time.
};

constexpr std::array<TransportLayout, 3> kTransportLayouts{{{188, 0}, {192, 4}, {204, 0}}};

/// Sync bytes, one a packet, with which a stream ends.
struct SyncRun {
    std::size_t count = 0;
    std::size_t last = 0;  ///< Where the last one is.
};

SyncRun longestSyncRun(std::span<const std::uint8_t> tail, std::size_t packetSize) {
    constexpr std::uint8_t kSyncByte = 0x47;
    constexpr std::size_t kFewest = 5;
    SyncRun longest;
    for (std::size_t back = 1; back <= std::min(packetSize, tail.size()); ++back) {
        SyncRun run{0, tail.size() - back};
        std::size_t next = run.last + 1;
        while (next > 0 && tail[next - 1] == kSyncByte) {
            ++run.count;
            next = next > packetSize ? next - packetSize : 0;
        }
        // A short stream has fewer of them, but no other byte in between.
        const bool isEnough = run.count >= kFewest || (run.count >= 2 && next == 0);
        longest = isEnough && run.count > longest.count ? run : longest;
    }
    return longest;
}

}  // namespace

std::optional<CutPacket> cutTransportPacket(std::span<const std::uint8_t> tail, std::size_t packetSize) noexcept {
    SyncRun run;
    TransportLayout layout;
    for (const TransportLayout& one : kTransportLayouts) {
        const SyncRun found = packetSize == 0 || packetSize == one.size ? longestSyncRun(tail, one.size) : SyncRun{};
        if (found.count > run.count) {
            run = found;
            layout = one;
        }
    }
    if (run.count == 0 || run.last < layout.first) {
        return std::nullopt;
    }
    std::size_t begin = run.last - layout.first;
    if (tail.size() - begin > layout.size) {
        begin += layout.size;
    }
    const std::size_t there = tail.size() - begin;
    return there < layout.size ? std::optional(CutPacket{begin, there, layout.size}) : std::nullopt;
}

namespace {

std::string remarkOnCut(const CutPacket& cut, std::uint64_t tailBegin) {
    return "byte " + std::to_string(tailBegin + cut.begin) + ": the last packet is cut short: " +
           (cut.size == 0 ? counted(cut.there, "byte")
                          : std::to_string(cut.there) + " of " + counted(cut.size, "byte"));
}

}  // namespace

std::optional<std::string> remarkOnEnd(InputFile& source, InputKind kind, std::span<const std::uint8_t> tail,
                                       std::size_t transportPacket, std::uint64_t lastPacket) {
    if (kind == InputKind::Mxf) {
        return remarkOnTriplets(source, lastPacket);
    }
    if (kind == InputKind::Mov) {
        return remarkOnAtoms(source);
    }
    if (kind == InputKind::TransportStream) {
        const std::optional<CutPacket> cut = cutTransportPacket(tail, transportPacket);
        return cut ? std::optional(remarkOnCut(*cut, source.offset() - tail.size())) : std::nullopt;
    }
    const std::uint64_t size = source.size().value_or(0);
    const std::uint64_t begin = size - std::min(size, kTail);
    if (kind != InputKind::ProgramStream || size == 0 || !source.seek(begin)) {
        return std::nullopt;
    }
    std::vector<std::uint8_t> bytes(static_cast<std::size_t>(size - begin));
    bytes.resize(source.read(bytes));
    const std::optional<CutPacket> cut = cutProgramPacket(bytes);
    return cut ? std::optional(remarkOnCut(*cut, begin)) : std::nullopt;
}

}  // namespace qlx::tool
