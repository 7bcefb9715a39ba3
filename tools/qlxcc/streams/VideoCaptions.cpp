#include "streams/VideoCaptions.h"

#include <QLXClosedCaptionsUtilities/QLXCCUtilities.h>
#include <qlx/video/nal.h>

#include <algorithm>
#include <array>
#include <utility>

namespace qlx::tool {

namespace {

/// Notes a unit whose length leads behind the end.
struct CutUnits final : FindingSink {
    void add(const Finding& finding) override { any = any || finding.code == FindingCode::VideoUnitCut; }
    bool any = false;
};

/// An access unit with lengths of `bytes` bytes as the same one with lengths of 4.
std::vector<std::uint8_t> withLongLengths(std::span<const std::uint8_t> unit, std::size_t bytes) {
    std::vector<std::uint8_t> result;
    for (const video::UnitView& nal : video::LengthPrefixedUnits(unit, bytes)) {
        for (unsigned shift = 32; shift > 0; shift -= 8) {
            result.push_back(static_cast<std::uint8_t>(nal.bytes.size() >> (shift - 8)));
        }
        result.insert(result.end(), nal.bytes.begin(), nal.bytes.end());
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
    CutUnits cut;
    video::LengthPrefixedWalker units(unit, lengthBytes, &cut);
    video::UnitView nal;
    const bool beginsEmpty = units.next(nal) && nal.bytes.empty();
    if (lengthBytes == 0 || beginsEmpty) {
        return lengthBytes == 0;
    }
    while (units.next(nal)) {
    }
    return !cut.any;
}

std::size_t lengthBytesOf(std::span<const std::uint8_t> parameters) noexcept {
    const Result<std::size_t> bytes = video::parseLengthBytes(parameters, VideoCodec::H264);
    return bytes ? *bytes : 0;
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
