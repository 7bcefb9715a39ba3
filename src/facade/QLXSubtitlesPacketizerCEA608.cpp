// Mode 1: pop-on captions, one byte pair a frame.
#include <QLXClosedCaptionsUtilities/QLXSubtitlesPacketizer.h>

#include <QLXClosedCaptionsUtilities/QLXSubtitleRecord.h>
#include <QLXClosedCaptionsUtilities/QLXSubtitleTextLine.h>

#include "facade/CEA608Caption.h"
#include "facade/CaptionSample.h"

#include <span>
#include <utility>
#include <vector>

qlx::Data QLXSubtitlesPacketizer::nextCaptionPair(const qlx::MediaTime& pts) {
    constexpr std::uint64_t kPairBytes = 2;
    const std::lock_guard lock(_captionMutex);
    if (!_cea608DataToSend) {
        std::shared_ptr<QLXSubtitleRecord> subtitle = subtitleForTime(qlx::secondsFrom(pts));
        if (subtitle == lastSubtitleRecord()) {
            return {};
        }
        _cea608DataToSend = cea608PageDataWithSubtitleRecord(subtitle);
        _cea608DataOffset = 0;
        setLastSubtitleRecord(std::move(subtitle));
    }
    const std::span<const std::uint8_t> caption = _cea608DataToSend;
    qlx::Data pair = caption.subspan(static_cast<std::size_t>(_cea608DataOffset), kPairBytes);
    _cea608DataOffset += kPairBytes;
    if (_cea608DataOffset >= caption.size()) {
        _cea608DataToSend = {};
        _cea608DataOffset = 0;
    }
    return pair;
}

std::shared_ptr<qlx::SampleBuffer> QLXSubtitlesPacketizer::copyNextCEA608SampleBufferAtPTS_frameDuration(
    const qlx::MediaTime& pts, const qlx::MediaTime& frameDuration) {
    const qlx::Data pair = nextCaptionPair(pts);
    return pair ? qlx::captionsample::fromPayload({frameDuration, pts, {}}, frameDuration, 0, pair) : nullptr;
}

qlx::Data QLXSubtitlesPacketizer::cea608PageDataWithSubtitleRecord(const std::shared_ptr<QLXSubtitleRecord>& record) {
    std::vector<std::uint8_t> caption;
    qlx::facade::appendBeginning(caption);
    if (record) {
        std::size_t row = 0;
        for (const auto& line : record->subtitleLines()) {
            if (line && row < qlx::facade::kMaxRows) {
                qlx::facade::appendRow(caption, row++, line->textString().value_or(std::string()));
            }
        }
    }
    qlx::facade::appendEnd(caption);
    return caption;
}

qlx::Data QLXSubtitlesPacketizer::cea608DataWithText(std::string_view text) {
    std::vector<std::uint8_t> data;
    qlx::facade::appendText(data, text);
    return data;
}

void QLXSubtitlesPacketizer::cea608BytesWithUTF32Character_highByte_lowByte(std::uint32_t character,
                                                                            std::uint8_t* highByte,
                                                                            std::uint8_t* lowByte) noexcept {
    const qlx::facade::SentCharacter code = qlx::facade::sentCharacter(character);
    if (highByte) {
        *highByte = code.high;
    }
    if (lowByte) {
        *lowByte = code.low;
    }
}

std::uint8_t QLXSubtitlesPacketizer::addOddParity(std::uint8_t byte) noexcept {
    return qlx::facade::deployedOddParity(byte);
}
