#include "cues/CaptionFrames.h"

#include "cues/Schedule.h"
#include "io/Errors.h"
#include "io/Text.h"
#include "io/Times.h"
#include "streams/Cdp.h"
#include "streams/PacketNames.h"

#include <QLXClosedCaptionsUtilities/QLXCCUtilities.h>
#include <qlx/cc/a53.h>
#include <qlx/cc/cdp.h>

#include <algorithm>
#include <array>

namespace qlx::tool {

namespace {

constexpr std::size_t kPairsWidth = 5;

// End of caption, which shows the caption that was loaded (CTA-608, data channel 1), with parity.
constexpr std::array<std::uint8_t, 2> kEndOfCaption{0x94, 0x2F};

/// The frame's pairs of field 1 that are no fillers; empty when it has none.
Data pairOf(const Frame& frame) {
    std::vector<std::uint8_t> pairs;
    if (!frame.packets.empty()) {
        if (const Result<cc::Cdp> cdp = cc::parseCdp(frame.packets.front().userData)) {
            for (const cc::Triplet& pair : cc::fieldPairs(cdp->triplets(), cc::CcType::Field1)) {
                if (!pair.isNullPair()) {
                    pairs.insert(pairs.end(), {pair.first, pair.second});
                }
            }
        }
    }
    return Data(pairs);
}

}  // namespace

std::vector<anc::Packet> captionPackets(const std::shared_ptr<SampleBuffer>& sample) {
    if (!sample) {
        return {};
    }
    const Data cdp = QLXCCUtilities::extractCaptionsDataFromSampleBuffer(sample);
    return {packetOf(anc::ids::kCdp, cdp, kCaptionLine)};
}

void CaptionScheduleWriter::writeTitles(const std::string& summary) {
    _output.write(printable(summary) + "\n\n" + padded("sent from", kTimeWidth) + "     first      last  pairs  " +
                  padded("shown at", kTimeWidth) + "  subtitle\n");
}

void CaptionScheduleWriter::writeCaption(const Frame* shown) {
    _output.write(timecode(_firstTime) + "  " + rightAligned(_firstFrame, kFrameWidth) + "  " +
                  rightAligned(_lastFrame, kFrameWidth) + "  " +
                  rightAligned(_lastFrame + 1 - _firstFrame, kPairsWidth) + "  " +
                  (shown != nullptr ? timecode(shown->pts.value_or(MediaTime{})) : padded("not yet", kTimeWidth)) +
                  "  " + (_subtitle ? printable(*_subtitle) : "-") + "\n");
    _isSending = false;
}

void CaptionScheduleWriter::write(const Frame& frame) {
    const Data pair = pairOf(frame);
    if (pair.empty()) {
        return;
    }
    if (!_isSending) {
        _isSending = true;
        _subtitle = frame.subtitle;
        _firstTime = frame.pts.value_or(MediaTime{});
        _firstFrame = frame.number;
    }
    _lastFrame = frame.number;
    if (std::equal(pair.begin(), pair.end(), kEndOfCaption.begin(), kEndOfCaption.end())) {
        writeCaption(&frame);
    }
}

void CaptionScheduleWriter::finish() {
    if (_isSending) {
        writeCaption(nullptr);
    }
}

void A53Writer::write(const Frame& frame) {
    cc::CaptionUserData captions;
    if (!frame.packets.empty()) {
        if (const Result<cc::Cdp> cdp = cc::parseCdp(frame.packets.front().userData)) {
            (void)captions.triplets.append(cdp->triplets());
        }
    }
    _output.write(hex(cc::writeCaptionUserData(captions, cc::UserDataForm::TypeCode)) + "\n");
}

}  // namespace qlx::tool
