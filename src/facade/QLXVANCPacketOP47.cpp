#include <QLXClosedCaptionsUtilities/QLXVANCPacket.h>

std::optional<std::string> QLXVANCPacket::decodedStringFromOP47VANCPacket(
    const std::shared_ptr<QLXVANCPacket>& /*packet*/) noexcept {
    // Hosts rely on it: nothing of a teletext packet is displayed as plain text.
    return std::nullopt;
}
