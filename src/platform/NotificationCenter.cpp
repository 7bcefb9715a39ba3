#include <QLXClosedCaptionsUtilities/platform/NotificationCenter.h>

#include <array>
#include <random>
#include <string_view>
#include <utility>

namespace qlx {

NotificationCenter::~NotificationCenter() = default;

NotificationCenter& NotificationCenter::defaultInstance() {
    static auto* const instance = new NotificationCenter;
    return *instance;
}

void NotificationCenter::getAuthorizationStatus(std::function<void(AuthorizationStatus)> answer) {
    const auto reply = std::move(answer);
    reply(kAuthorizationDenied);
}

void NotificationCenter::requestAuthorization(std::uint64_t /*options*/, std::function<void(bool)> answer) {
    const auto reply = std::move(answer);
    reply(false);
}

void NotificationCenter::post(const Notification& /*notification*/) {}

UUIDs::~UUIDs() = default;

UUIDs& UUIDs::defaultInstance() {
    static auto* const instance = new UUIDs;
    return *instance;
}

std::string UUIDs::make() {
    constexpr std::string_view kDigits = "0123456789ABCDEF";
    std::random_device random;
    std::array<std::uint8_t, 16> bytes{};
    for (std::uint8_t& byte : bytes) {
        byte = static_cast<std::uint8_t>(random());
    }
    bytes[6] = static_cast<std::uint8_t>((bytes[6] & 0x0FU) | 0x40U);
    bytes[8] = static_cast<std::uint8_t>((bytes[8] & 0x3FU) | 0x80U);
    std::string text;
    for (std::size_t index = 0; index < bytes.size(); ++index) {
        if (index == 4 || index == 6 || index == 8 || index == 10) {
            text += '-';
        }
        text += kDigits[bytes[index] >> 4U];
        text += kDigits[bytes[index] & 0x0FU];
    }
    return text;
}

}  // namespace qlx
