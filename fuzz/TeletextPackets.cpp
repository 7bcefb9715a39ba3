// Arbitrary bytes as teletext packets: read, written, and read again, with what is coded in them.
#include <qlx/teletext/packet.h>

#include "FuzzSupport.h"

#include <algorithm>

using qlx::Findings;
using qlxfuzz::require;
using namespace qlx::teletext;

namespace {

std::vector<std::uint8_t> bytesOf(const Packet& packet, PacketForm form) {
    std::vector<std::uint8_t> bytes(sizeOf(form));
    const auto size = writePacket(packet, bytes, form);
    require(size.hasValue() && *size == bytes.size());
    return bytes;
}

void checkHeader(const Packet& packet) {
    Findings findings;
    const auto header = parseHeader(packet, &findings);
    if (header) {
        const auto back = packetOf(*header);
        require(back.hasValue() && *parseHeader(*back) == *header);
        require(!findings.empty() || *back == packet);
    }
}

void checkTriplets(const Packet& packet) {
    Findings findings;
    const auto triplets = parseTriplets(packet, &findings);
    if (triplets) {
        const auto back = packetOf(*triplets);
        require(back.hasValue());
        require(!findings.empty() || (*back == packet && *parseTriplets(*back) == *triplets));
        require(triplets->damaged == 0 || !findings.empty());
    }
}

}  // namespace

// The first byte's low bits choose the form and whether run-in and framing code are put right.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    qlxfuzz::Input input(data, size);
    const unsigned how = input.takeByte();
    const PacketForm form = (how & 1U) != 0 ? PacketForm::Line : PacketForm::Address;
    std::vector<std::uint8_t> bytes = input.rest();
    const bool isWhole = (how & 2U) != 0;
    if (isWhole) {
        bytes.resize(sizeOf(form), 0x20);
        if (form == PacketForm::Line) {
            std::copy(kRunInAndFramingCode.begin(), kRunInAndFramingCode.end(), bytes.begin());
        }
    }
    Findings findings;
    const auto packet = parsePacket(bytes, &findings);
    if (!packet) {
        require(!packet.error().text().empty());
        return 0;
    }
    require(bytes.size() == kLineBytes || bytes.size() == kPacketBytes);
    const auto written = bytesOf(*packet, bytes.size() == kLineBytes ? PacketForm::Line : PacketForm::Address);
    require(!findings.empty() || written == bytes);
    require(*parsePacket(written) == *packet);
    checkHeader(*packet);
    checkTriplets(*packet);
    return 0;
}
