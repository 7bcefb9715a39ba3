// Caption packets and samples written out as hexadecimal digits, independently of the library's own writers.
#pragma once

#include <QLXClosedCaptionsUtilities/platform/FourCC.h>
#include <QLXClosedCaptionsUtilities/platform/MediaObjects.h>

#include "ExactBuffer.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace qlxtest {

inline constexpr qlx::MediaTime k23976 = qlx::MediaTime::make(1001, 24'000);
inline constexpr qlx::MediaTime k24 = qlx::MediaTime::make(1, 24);
inline constexpr qlx::MediaTime k25 = qlx::MediaTime::make(1, 25);
inline constexpr qlx::MediaTime k2997 = qlx::MediaTime::make(1001, 30'000);
inline constexpr qlx::MediaTime k50 = qlx::MediaTime::make(1, 50);
inline constexpr qlx::MediaTime k5994 = qlx::MediaTime::make(1001, 60'000);

/// A frame duration of `ccCount` and a half six hundredths of a second: it has exactly that count, and rate code 0 for
/// every count.
inline qlx::MediaTime durationOfCount(std::int64_t ccCount) {
    return qlx::MediaTime::make(2 * ccCount + 1, 1200);
}

/// Digits without the spaces that make them readable.
inline std::string digits(std::string_view spaced) {
    return toHex(fromHex(spaced));
}

inline std::string repeated(std::string_view text, std::size_t count) {
    std::string result;
    for (std::size_t index = 0; index < count; ++index) {
        result += text;
    }
    return result;
}

inline std::string byteDigits(std::size_t value) {
    const auto byte = static_cast<std::uint8_t>(value);
    return toHex({&byte, 1});
}

/// DTVCC triplets with their number: fe0000, fe0101, ...
inline std::string numbered(std::size_t first, std::size_t end) {
    std::string result;
    for (std::size_t index = first; index < end; ++index) {
        result += "fe" + byteDigits(index) + byteDigits(index);
    }
    return result;
}

inline std::string padding(std::size_t count) {
    return repeated("fa0000", count);
}

inline std::string digitsOf(const std::shared_ptr<qlx::SampleBuffer>& sample) {
    return sample && sample->dataBuffer ? toHex({sample->dataBuffer->data(), sample->dataBuffer->size()}) : "no data";
}

/// The service information section: line 21 on field 1 without language, digital service 1 in English.
inline const std::string kServiceDigits = "73f2e02020207e3fffe1656e67c13fff";

/// `packet` and the byte that makes its bytes from `firstSummed` on add up to 0.
inline std::string withChecksum(const std::string& packet, std::size_t firstSummed = 0) {
    unsigned sum = 0;
    const std::vector<std::uint8_t> bytes = fromHex(packet);
    for (std::size_t index = firstSummed; index < bytes.size(); ++index) {
        sum += bytes[index];
    }
    return packet + byteDigits(256 - sum % 256);
}

/// What differs between caption distribution packets.
struct ExpectedPacket {
    std::size_t length = 0;
    unsigned rateCode = 0;
    std::string counter = "0000";
    std::size_t ccCount = 0;
    std::string triplets;
    bool hasService = true;

    [[nodiscard]] std::string withoutChecksum() const {
        return "9669" + byteDigits(length) + byteDigits(rateCode * 16 + 15) + "7f" + counter + "72" +
               byteDigits(0xE0U | ccCount) + digits(triplets) + (hasService ? kServiceDigits : "") + "74" + counter;
    }
    [[nodiscard]] std::string digitsOfPacket() const { return withChecksum(withoutChecksum()); }
};

/// A packet in a caption sample: an atom whose size has only its low byte.
inline std::string atomDigits(const std::string& packet) {
    return "000000" + byteDigits(packet.size() / 2 + 8) + "63636470" + packet;
}

/// A sample of any format and any bytes, with a timing entry.
inline std::shared_ptr<qlx::SampleBuffer> sampleOf(std::uint32_t mediaType, std::uint32_t subType,
                                                   std::span<const std::uint8_t> bytes,
                                                   const qlx::SampleTimingInfo& timing = {}) {
    auto sample = std::make_shared<qlx::SampleBuffer>();
    sample->formatDescription =
        std::make_shared<qlx::FormatDescription>(qlx::FormatDescription{mediaType, subType, {}});
    sample->dataBuffer = std::make_shared<qlx::BlockBuffer>(bytes.size());
    std::copy(bytes.begin(), bytes.end(), sample->dataBuffer->data());
    sample->timingInfo = timing;
    return sample;
}

}  // namespace qlxtest
