// Arbitrary bytes as a message of ANSI/SCTE 104: what is read is kept, and written as the same bytes. The same bytes cut
// into packets and joined.
#include <qlx/scte/scte104.h>
#include <qlx/scte/scte104_packets.h>

#include "FuzzSupport.h"

#include <algorithm>
#include <array>

using qlxfuzz::require;

namespace {

void checkPackets(const std::vector<std::uint8_t>& message) {
    const qlx::scte::MessagePieces pieces(message);
    qlx::scte::MessageJoiner joiner;
    std::array<std::uint8_t, 255> room{};
    for (std::size_t index = 0; index < pieces.count(); ++index) {
        const auto size = pieces.write(index, room);
        require(size.hasValue());
        const auto joined = joiner.push(std::span(room).first(*size));
        require(joined.has_value() == (index + 1 == pieces.count()));
        require(!joined || std::equal(joined->bytes.begin(), joined->bytes.end(), message.begin(), message.end()));
    }
}

/// The bytes as user data of packets: a byte of length, then as many bytes.
void checkJoiner(const std::vector<std::uint8_t>& bytes) {
    qlx::scte::MessageJoiner joiner;
    qlx::Findings findings;
    std::size_t given = 0;
    for (std::size_t at = 0; at < bytes.size();) {
        const std::size_t size = std::min<std::size_t>(bytes[at], bytes.size() - at - 1);
        const std::vector<std::uint8_t> packet(bytes.begin() + static_cast<std::ptrdiff_t>(at) + 1,
                                               bytes.begin() + static_cast<std::ptrdiff_t>(at + 1 + size));
        const auto message = joiner.push(packet, &findings, at);
        given += message ? message->bytes.size() + message->packets : 0;
        at += 1 + size;
    }
    joiner.endFrame(&findings, bytes.size());
    require(given <= bytes.size());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::vector<std::uint8_t> bytes(data, data + size);
    qlx::Findings findings;
    const auto message = qlx::scte::parseMessage(bytes, &findings);
    if (message) {
        const auto written = writeMessage(*message);
        require(written && std::equal(written->begin(), written->end(), bytes.begin(), bytes.end()));
        qlx::Findings again;
        const auto back = qlx::scte::parseMessage(*written, &again);
        require(back && *back == *message && std::equal(again.begin(), again.end(), findings.begin(), findings.end()));
        for (const qlx::Finding& finding : findings) {
            require(finding.offset <= bytes.size() && !finding.text().empty());
        }
    } else {
        require(findings.empty() && !message.error().text().empty());
    }
    checkPackets(bytes);
    checkJoiner(bytes);
    return 0;
}
