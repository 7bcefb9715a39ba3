#include <qlx/video/captions.h>
#include <qlx/video/mpeg2.h>
#include <qlx/video/scte20.h>

#include "base/OffsetSink.h"

#include <algorithm>

namespace qlx::video {

namespace {

/// Passes findings on, but for the zeros that fill up the space in front of a start code.
class UserDataSink final : public FindingSink {
public:
    UserDataSink(FindingSink* sink, std::span<const std::uint8_t> payload) noexcept : _sink(sink), _payload(payload) {}

    void add(const Finding& finding) override {
        const auto behind =
            _payload.subspan(static_cast<std::size_t>(std::min<std::uint64_t>(finding.offset, _payload.size())));
        if (finding.code != FindingCode::UserDataBytesBehind || !withoutTrailingZeros(behind).empty()) {
            _sink->add(finding);
        }
    }

private:
    FindingSink* _sink;
    std::span<const std::uint8_t> _payload;
};

}  // namespace

CaptionMessages::CaptionMessages(std::span<const std::uint8_t> picture, const StreamForm& form, FindingSink* findings)
    : _form(form), _findings(findings), _units(StartCodeWalker(picture)) {
    // MPEG-2 video always has start codes.
    if (form.lengthBytes > 0 && form.codec != Codec::Mpeg2) {
        _units = LengthPrefixedWalker(picture, form.lengthBytes, findings);
    }
}

void CaptionMessages::readMessage(std::span<const std::uint8_t> payload, cc::UserDataForm kind, std::size_t unit,
                                  std::size_t offset) {
    OffsetSink placed(_findings, offset);
    UserDataSink told(&placed, payload);
    FindingSink* const sink = _findings == nullptr ? nullptr : &told;
    const Result<cc::CaptionUserData> captions = cc::parseCaptionUserData(payload, kind, sink);
    if (captions) {
        _ready.push_back({CaptionCarriage::A53, unit, *captions});
    } else if (captions.error().code != FindingCode::UserDataUnlikeCaptions && sink != nullptr) {
        sink->add(captions.error());
    }
}

/// User data of MPEG-2 video: those by A/53 begin with an identifier, those by SCTE 20 with a type code.
void CaptionMessages::readUserData(const UnitView& unit) {
    const std::span<const std::uint8_t> payload = unit.bytes.subspan(1);
    OffsetSink placed(_findings, unit.offset + 1);
    const Result<Scte20Pairs> pairs = parseScte20(payload, _findings == nullptr ? nullptr : &placed);
    if (!pairs) {
        readMessage(payload, cc::UserDataForm::Mpeg2, unit.offset, unit.offset + 1);
        return;
    }
    CaptionMessage message{CaptionCarriage::Scte20, unit.offset, {}};
    for (const Scte20Pair& pair : pairs->items()) {
        if (pair.field != 0) {
            const cc::Triplet triplet = scte20Triplet(pair, _coding);
            // There is room for as many as are counted.
            (void)message.captions.triplets.append(std::span(&triplet, 1));
        }
    }
    _ready.push_back(message);
}

void CaptionMessages::readUnit(const UnitView& unit) {
    if (unit.bytes.empty()) {
        return;
    }
    const std::uint8_t header = unit.bytes.front();
    if (_form.codec == Codec::Mpeg2) {
        if (header == kMpeg2UserData) {
            readUserData(unit);
        } else if (header == kMpeg2Extension) {
            if (const Result<Mpeg2PictureCoding> coding = parseMpeg2PictureCoding(unit.bytes)) {
                _coding = *coding;
            }
        }
        return;
    }
    if (!isSei(nalUnitType(header, _form.codec), _form.codec)) {
        return;
    }
    _room.resize(std::max(_room.size(), unit.bytes.size()));
    OffsetSink placed(_findings, unit.offset);
    FindingSink* const sink = _findings == nullptr ? nullptr : &placed;
    for (const SeiMessageView& message : SeiMessages(unit.bytes, _form.codec, _room, sink)) {
        if (message.type == kUserDataRegistered) {
            readMessage(message.payload, cc::UserDataForm::ItuT35, unit.offset, unit.offset + message.offset);
        }
    }
}

std::optional<CaptionMessage> CaptionMessages::next() {
    while (_given == _ready.size()) {
        _ready.clear();
        _given = 0;
        UnitView unit;
        if (!std::visit([&unit](auto& units) { return units.next(unit); }, _units)) {
            return std::nullopt;
        }
        readUnit(unit);
    }
    return _ready[_given++];
}

}  // namespace qlx::video
