#include <qlx/cc/time_code.h>

#include <algorithm>

namespace qlx::cc {

namespace {

/// Above it a time code counts pairs of frames.
constexpr std::uint32_t kGreatestCountedRate = 30;

}  // namespace

bool isPossible(const CdpTimeCode& timeCode, std::optional<FrameRate> rate) noexcept {
    const auto hasDecimalUnits = [](unsigned digits) { return (digits & 0x0FU) <= 9; };
    if (!std::all_of(timeCode.bytes().begin(), timeCode.bytes().end(), hasDecimalUnits)) {
        return false;
    }
    const TimeCodeFields fields = timeCode.fields();
    const std::uint32_t nominal = rate ? nominalFramesPerSecond(*rate) : kGreatestCountedRate;
    const std::uint32_t frames = nominal > kGreatestCountedRate ? nominal / 2 : nominal;
    const bool drops = fields.dropFrame && (!rate || mayDropFrames(*rate));
    const bool isDropped = drops && fields.frames < 2 && fields.seconds == 0 && fields.minutes % 10 != 0;
    return fields.hours < 24 && fields.minutes < 60 && fields.seconds < 60 && fields.frames < frames && !isDropped;
}

FrameLabel labelOf(const CdpTimeCode& timeCode, FrameRate rate) noexcept {
    const TimeCodeFields fields = timeCode.fields();
    const std::uint32_t seconds = (fields.hours * 60U + fields.minutes) * 60U + fields.seconds;
    if (nominalFramesPerSecond(rate) > kGreatestCountedRate) {
        return {seconds, fields.frames * 2U + (fields.fieldFlag ? 1U : 0U)};
    }
    return {seconds, fields.frames};
}

std::uint32_t FrameCount::ofLabel(FrameLabel label) const noexcept {
    const std::uint32_t seconds = label.seconds + label.frame / _nominal;
    const std::uint32_t frame = label.frame % _nominal;
    const std::uint32_t minutes = seconds / 60;
    const bool beginsMinute = seconds % 60 == 0 && minutes % 10 != 0;
    const std::uint32_t shown = beginsMinute ? std::max(frame, _dropped) : frame;
    return seconds * _nominal + shown - _dropped * (minutes - minutes / 10);
}

CdpTimeCode FrameCount::timeCodeOf(std::uint64_t frame) const noexcept {
    const auto ofThisDay = static_cast<std::uint32_t>(frame % ofDay());
    const std::uint32_t tens = ofThisDay / ofTenMinutes();
    // The first of ten minutes is longer: counted as long as the others, what is left over belongs to it.
    const std::uint32_t rest = ofThisDay % ofTenMinutes();
    const std::uint32_t minute = rest < _dropped ? 0 : (rest - _dropped) / ofMinute();
    const std::uint32_t label = (tens * 10 * 60 * _nominal) + rest + minute * _dropped;
    const std::uint32_t seconds = label / _nominal;
    const std::uint32_t inSecond = label % _nominal;
    const bool hasPairs = _nominal > kGreatestCountedRate;
    return CdpTimeCode::make({.hours = static_cast<std::uint8_t>(seconds / 3600),
                              .minutes = static_cast<std::uint8_t>(seconds / 60 % 60),
                              .seconds = static_cast<std::uint8_t>(seconds % 60),
                              .frames = static_cast<std::uint8_t>(hasPairs ? inSecond / 2 : inSecond),
                              .fieldFlag = hasPairs && inSecond % 2 != 0,
                              .dropFrame = _dropped != 0});
}

}  // namespace qlx::cc
