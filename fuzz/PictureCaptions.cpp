// Arbitrary bytes as a coded picture: units, SEI messages, captions and the place in the order of presentation.
#include <qlx/video/access_unit.h>
#include <qlx/video/captions.h>
#include <qlx/video/hevc.h>
#include <qlx/video/order.h>
#include <qlx/video/scte20.h>

#include "FuzzSupport.h"

#include <algorithm>

using qlx::video::Codec;
using qlxfuzz::require;

namespace {

bool isInside(std::span<const std::uint8_t> part, std::span<const std::uint8_t> whole) {
    return part.empty() || (part.data() >= whole.data() && part.data() + part.size() <= whole.data() + whole.size());
}

void checkMessages(std::span<const std::uint8_t> unit, Codec codec) {
    std::vector<std::uint8_t> room(unit.size());
    qlx::Findings findings;
    std::size_t end = 0;
    for (const qlx::video::SeiMessageView& message : qlx::video::SeiMessages(unit, codec, room, &findings)) {
        require(isInside(message.payload, room));
        require(message.offset >= end && message.offset + message.payload.size() <= unit.size());
        end = message.offset + message.payload.size();
    }
    for (const qlx::Finding& finding : findings) {
        require(finding.offset <= unit.size() && finding.code != qlx::FindingCode::OutputTooSmall);
    }
}

template <class Units>
void checkUnits(const Units& units, std::span<const std::uint8_t> picture, Codec codec) {
    std::size_t end = 0;
    for (const qlx::video::UnitView& unit : units) {
        require(unit.offset >= end && unit.offset + unit.bytes.size() <= picture.size());
        require(isInside(unit.bytes, picture));
        end = unit.offset + unit.bytes.size();
        checkMessages(unit.bytes, codec);
    }
}

}  // namespace

// Codec, bytes of the lengths, then the picture.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    qlxfuzz::Input input(data, size);
    const qlx::video::StreamForm form{static_cast<Codec>(input.takeByte() % 3), input.takeByte() % std::size_t{5}};
    const std::vector<std::uint8_t> picture = input.rest();
    qlx::Findings findings;
    if (form.lengthBytes == 0) {
        checkUnits(qlx::video::StartCodeUnits(picture), picture, form.codec);
    } else {
        checkUnits(qlx::video::LengthPrefixedUnits(picture, form.lengthBytes, &findings), picture, form.codec);
    }
    findings.clear();
    qlx::video::CaptionMessages messages(picture, form, &findings);
    qlx::video::CaptionMessages quiet(picture, form);
    std::size_t end = 0;
    while (const auto message = messages.next()) {
        require(message == quiet.next());
        require(message->offset >= end && message->offset < picture.size());
        end = message->offset;
    }
    require(!messages.next() && !quiet.next());
    for (const qlx::Finding& finding : findings) {
        require(finding.offset <= picture.size() && !finding.text().empty());
    }

    findings.clear();
    if (const auto pairs = qlx::video::parseScte20(picture, &findings)) {
        require(pairs->size() <= qlx::video::kGreatestScte20Pairs && findings.size() <= pairs->size() + 1);
    } else {
        require(findings.empty());
    }
    const auto sequence = qlx::video::parseH265Sequence(picture);
    require(!sequence || (sequence->number < 16 && sequence->orderBits >= 4 && sequence->orderBits <= 16));
    const auto parameters = qlx::video::parseH265Picture(picture);
    require(!parameters || (parameters->number < 64 && parameters->sequence < 16 && parameters->extraHeaderBits < 8));
    (void)qlx::video::hasVideoParameters(picture);
    const auto length = qlx::video::parseLengthBytes(picture, form.codec);
    require(!length || (*length >= 1 && *length <= 4));
    qlx::video::PictureOrder<int> order(form);
    order.add(picture, 0);
    order.add(picture, 1);
    order.finish();
    const auto first = order.take();
    const auto second = order.take();
    require(first && second && *first + *second == 1 && !order.take());
    return 0;
}
