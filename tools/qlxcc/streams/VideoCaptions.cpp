#include "streams/VideoCaptions.h"

#include <QLXClosedCaptionsUtilities/QLXCCUtilities.h>

#include <algorithm>
#include <array>
#include <utility>

namespace qlx::tool {

namespace {

/// The length in front of a NAL unit.
std::size_t leadingLength(std::span<const std::uint8_t> unit, std::size_t bytes) noexcept {
    std::size_t length = 0;
    for (const std::uint8_t byte : unit.first(bytes)) {
        length = length << 8U | byte;
    }
    return length;
}

/// An access unit with lengths of `bytes` bytes as the same one with lengths of 4.
std::vector<std::uint8_t> withLongLengths(std::span<const std::uint8_t> unit, std::size_t bytes) {
    std::vector<std::uint8_t> result;
    while (unit.size() > bytes) {
        const std::size_t length = std::min(leadingLength(unit, bytes), unit.size() - bytes);
        for (unsigned shift = 32; shift > 0; shift -= 8) {
            result.push_back(static_cast<std::uint8_t>(length >> (shift - 8)));
        }
        const auto nal = unit.subspan(bytes, length);
        result.insert(result.end(), nal.begin(), nal.end());
        unit = unit.subspan(bytes + length);
    }
    return result;
}

}  // namespace

Data captionTriplets(std::span<const std::uint8_t> unit, VideoCodec codec) {
    if (codec == VideoCodec::Mpeg2) {
        return QLXCCUtilities::extractCCDataFromMPEG2Packet_pts(Data(unit), MediaTime{});
    }
    constexpr std::array<std::uint8_t, 4> kLongStartCode{0, 0, 0, 1};
    if (unit.size() >= kLongStartCode.size() &&
        std::equal(kLongStartCode.begin(), kLongStartCode.end(), unit.begin())) {
        return QLXCCUtilities::extractCCDataFromH264Packet(Data(unit));
    }
    // Without the zero byte the library takes the unit for one with lengths in place of start codes.
    std::vector<std::uint8_t> bytes{0};
    bytes.insert(bytes.end(), unit.begin(), unit.end());
    return QLXCCUtilities::extractCCDataFromH264Packet(Data(bytes));
}

Data captionTripletsOfLengths(std::span<const std::uint8_t> unit, std::size_t lengthBytes) {
    // The library knows lengths of 4 bytes, which nearly every file has.
    constexpr std::size_t kUsualLengthBytes = 4;
    return QLXCCUtilities::extractCCDataFromAVCCH264Packet(
        lengthBytes == kUsualLengthBytes ? Data(unit) : Data(withLongLengths(unit, lengthBytes)));
}

bool hasWholeUnits(std::span<const std::uint8_t> unit, std::size_t lengthBytes) noexcept {
    if (unit.size() > lengthBytes && leadingLength(unit, lengthBytes) == 0) {
        return lengthBytes == 0;
    }
    while (lengthBytes > 0 && unit.size() > lengthBytes) {
        const std::size_t length = leadingLength(unit, lengthBytes);
        if (length > unit.size() - lengthBytes) {
            return false;
        }
        unit = unit.subspan(lengthBytes + length);
    }
    return true;
}

std::size_t lengthBytesOf(std::span<const std::uint8_t> parameters) noexcept {
    constexpr std::size_t kRecordHeader = 7;
    constexpr std::uint8_t kVersion = 1;
    if (parameters.size() < kRecordHeader || parameters[0] != kVersion) {
        return 0;
    }
    return 1 + (parameters[4] & 3U);
}

bool VideoFrameReader::next(Frame& frame, std::vector<std::string>& /*problems*/) {
    for (;;) {
        if (std::optional<Frame> ready = _order ? _order->take() : std::nullopt) {
            frame = std::move(*ready);
            return true;
        }
        if (_isAtEnd) {
            return false;
        }
        if (_reader.next(_unit)) {
            if (!_order) {
                _order.emplace(_reader.codec());
            }
            Frame picture;
            picture.triplets = captionTriplets(_unit.bytes, _reader.codec());
            _order->add(_unit.bytes, std::move(picture));
        } else {
            _isAtEnd = true;
            if (_order) {
                _order->finish();
            }
        }
    }
}

}  // namespace qlx::tool
