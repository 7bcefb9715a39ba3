#include "Json.h"

#include "Text.h"

#include <QLXClosedCaptionsUtilities/QLXVANCPacket.h>

#include <nlohmann/json.hpp>

namespace qlx::tool {

std::string jsonLine(const Frame& frame) {
    using Json = nlohmann::ordered_json;
    Json line;
    line["frame"] = frame.number;
    if (frame.pts) {
        line["pts"]["value"] = frame.pts->value;
        line["pts"]["timescale"] = frame.pts->timescale;
    }
    Json& packets = line["packets"] = Json::array();
    for (const auto& packet : frame.packets) {
        Json entry;
        entry["line"] = packet->lineNumber();
        entry["did"] = packet->packetDID();
        entry["sdid"] = packet->packetSDID();
        entry["type"] = QLXVANCPacket::nameOfPacketType(packet->packetType());
        entry["data"] = hex(packet->packetData());
        packets.push_back(std::move(entry));
    }
    // Text that is not UTF-8 gets replacement characters; the default would throw.
    return line.dump(-1, ' ', false, Json::error_handler_t::replace);
}

void JsonlWriter::write(const Frame& frame) {
    _output.write(jsonLine(frame));
    _output.write("\n");
}

}  // namespace qlx::tool
