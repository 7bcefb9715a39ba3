// What the packets that describe a frame say, in words.
#pragma once

#include <qlx/anc/packet.h>

#include <string>

namespace qlx::tool {

/// `AFD 10 (16:9, centred), frame 16:9`, `12:34:56:17, LTC` ...; of a packet that is not read who defines it, `SMPTE ST
/// 2020-1, VANC`; nothing for one that is not registered.
[[nodiscard]] std::string packetInWords(const anc::Packet& packet);

}  // namespace qlx::tool
