#include <qlx/video/mpeg2.h>

#include "base/MakeFinding.h"

namespace qlx::video {

Result<Mpeg2PictureHeader> parseMpeg2Picture(std::span<const std::uint8_t> unit) {
    constexpr std::size_t kNeeded = 3;
    if (unit.size() < kNeeded) {
        return makeFinding(FindingCode::VideoUnitTooShort, Severity::Error, 0, kNeeded, unit.size());
    }
    return Mpeg2PictureHeader{static_cast<std::uint16_t>(unit[1] << 2U | unit[2] >> 6U),
                              static_cast<Mpeg2PictureType>(unit[2] >> 3U & 7U)};
}

Result<Mpeg2PictureCoding> parseMpeg2PictureCoding(std::span<const std::uint8_t> unit) {
    constexpr std::size_t kNeeded = 5;
    constexpr unsigned kPictureCoding = 8;
    if (unit.size() < kNeeded || unit[1] >> 4U != kPictureCoding) {
        return makeFinding(FindingCode::VideoUnitTooShort, Severity::Error, 0, kNeeded, unit.size());
    }
    return Mpeg2PictureCoding{static_cast<Mpeg2PictureStructure>(unit[3] & 3U), (unit[4] & 0x80U) != 0};
}

bool Mpeg2UserDataWalker::next(Mpeg2UserDataView& data) noexcept {
    UnitView unit;
    while (_units.next(unit)) {
        switch (unit.bytes.front()) {
        case kMpeg2UserData:
            data = {_level, unit.offset + 1, unit.bytes.subspan(1)};
            return true;
        case kMpeg2Sequence:
            _level = Mpeg2Level::Sequence;
            break;
        case kMpeg2Group:
            _level = Mpeg2Level::Group;
            break;
        case kMpeg2Picture:
            _level = Mpeg2Level::Picture;
            break;
        default:
            break;
        }
    }
    return false;
}

}  // namespace qlx::video
