#include "TransportStream.h"

#include <algorithm>

namespace qlx::streams::detail {

namespace {

constexpr std::uint8_t kSyncByte = 0x47;

/// How the packets of a transport stream follow each other.
struct TransportLayout {
    std::size_t size = 0;   ///< From one sync byte to the next.
    std::size_t first = 0;  ///< Bytes of a packet in front of its sync byte: a time.
};

/// Bare, with a time stamp in front, with parity behind.
constexpr TransportLayout kTransportLayouts[] = {{188, 0}, {192, 4}, {kLongestTransportPacket, 0}};

/// Two sync bytes in a packet's distance, and up to two more where there are as many bytes.
bool hasPackets(std::span<const std::uint8_t> bytes, const TransportLayout& layout) {
    constexpr std::size_t kPacketsLookedAt = 4;
    std::size_t found = 0;
    for (std::size_t place = layout.first; place < bytes.size() && found < kPacketsLookedAt; place += layout.size) {
        // A packet has an adaptation field, data or both.
        const bool isEmpty = bytes.size() - place > 3 && (bytes[place + 3] & 0x30U) == 0;
        if (bytes[place] != kSyncByte || isEmpty) {
            return false;
        }
        ++found;
    }
    return found >= 2;
}

/// Sync bytes, one a packet, with which a stream ends.
struct SyncRun {
    std::size_t count = 0;
    std::size_t last = 0;  ///< Where the last one is.
};

SyncRun longestSyncRun(std::span<const std::uint8_t> tail, std::size_t packetSize) {
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

std::size_t transportPacketSize(std::span<const std::uint8_t> first) noexcept {
    for (const TransportLayout& layout : kTransportLayouts) {
        if (hasPackets(first, layout)) {
            return layout.size;
        }
    }
    return 0;
}

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

}  // namespace qlx::streams::detail
