#include "facade/LumaPackets.h"

#include "anc/AncWord.h"
#include "anc/RowKernels.h"

namespace qlx::anc {

namespace {

constexpr std::size_t kHeaderBytes = 6;

}  // namespace

std::optional<LumaPacket> LumaPackets::next() noexcept {
    if (_luma.size() < kMinLumaBytes) {
        return std::nullopt;
    }
    const std::size_t end = _luma.size() - kWordsAroundData;
    if (_position >= end) {
        return std::nullopt;
    }
    const std::size_t start = rowKernels().findDataFlag(_luma.data(), _position, end);
    if (start == end) {
        _position = end;
        return std::nullopt;
    }
    LumaPacket packet;
    packet.did = _luma[start + 3];
    packet.sdid = _luma[start + 4];
    packet.dataCount = _luma[start + 5];
    packet.remaining = _luma.size() - start - kHeaderBytes;
    if (packet.isWhole()) {
        packet.userData = _luma.subspan(start + kHeaderBytes, packet.dataCount);
    }
    _position = start + kWordsAroundData + packet.dataCount;
    return packet;
}

}  // namespace qlx::anc
