#include <qlx/teletext/sdp_stream.h>

#include <algorithm>
#include <array>

namespace qlx::teletext {

namespace {

constexpr std::size_t kFieldPackets = kGreatestFieldSdps * kGreatestSdpLines;
/// The line that fields have been begun with since there are subtitling distribution packets.
constexpr std::uint8_t kUsualFirstLine = 10;
static_assert(kFieldPackets <= kLastVbiLine - kFirstVbiLine + std::size_t{1});

/// As deployed receivers know them: what stands behind the address is nobody's.
constexpr Packet kFillingPacket = []() {
    Packet packet;
    packet.data.fill(0x20);
    constexpr std::array<std::uint8_t, 9> kFirst{0x64, 0x38, 0xC7, 0xC7, 0xC7, 0xC7, 0xC7, 0xC7, 0x86};
    std::copy(kFirst.begin(), kFirst.end(), packet.data.begin());
    return packet;
}();
constexpr std::array<Packet, 3> kFillingPackets{kFillingPacket, kFillingPacket, kFillingPacket};

}  // namespace

FieldSdps SdpStream::next(std::span<const Packet> packets, bool isOddField) {
    FieldSdps field;
    if (packets.empty() && _fillsFields) {
        packets = kFillingPackets;
    }
    packets = packets.first(std::min(packets.size(), kFieldPackets));
    std::size_t line = std::min<std::size_t>(kUsualFirstLine, kLastVbiLine + std::size_t{1} - packets.size());
    while (!packets.empty()) {
        Sdp sdp;
        const std::size_t count = std::min(packets.size(), kGreatestSdpLines);
        for (const Packet& packet : packets.first(count)) {
            static_cast<void>(sdp.add(packet, static_cast<unsigned>(line++), isOddField));
        }
        sdp.counter = _counter++;
        static_cast<void>(field.append({&sdp, 1}));
        packets = packets.subspan(count);
    }
    return field;
}

}  // namespace qlx::teletext
