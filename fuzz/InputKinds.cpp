// Telling what a file is, the headers that order pictures, and the ends of streams: any bytes give an answer that fits.
#include "streams/PictureTimes.h"
#include "streams/StreamCheck.h"

#include "FuzzSupport.h"
#include "streams/StreamWalk.h"
#include "streams/ts/TransportStream.h"

#include <qlx/streams/input_kind.h>
#include <qlx/streams/video.h>

#include <algorithm>
#include <array>
#include <optional>
#include <string_view>
#include <vector>

using qlx::streams::InputKind;
using qlxfuzz::require;

namespace {

void checkKinds(std::span<const std::uint8_t> bytes) {
    const auto told = qlx::streams::inputKindOfBytes(bytes);
    // What a longer file begins with tells the same, as no more is looked at.
    if (bytes.size() > qlx::streams::kBytesThatTellKind) {
        require(told == qlx::streams::inputKindOfBytes(bytes.first(qlx::streams::kBytesThatTellKind)));
    }
    require(!told || !qlx::streams::hasRows(*told));
    require(told != InputKind::Mxf || qlx::streams::hasBeginningOf(InputKind::Mxf, bytes));
    require(told != InputKind::Mov || qlx::streams::hasBeginningOf(InputKind::Mov, bytes));
    require(told != InputKind::TransportStream || qlx::streams::hasBeginningOf(InputKind::TransportStream, bytes));
    (void)qlx::streams::hasBeginningOf(InputKind::ProgramStream, bytes);
    const std::string_view name(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    const auto named = qlx::streams::inputKindOfName(name);
    require(!named || qlx::streams::inputKindNamed(qlx::streams::nameOf(*named)) == named);
    require(qlx::streams::inputKind(bytes, "a.v210") == InputKind::V210);
    require(qlx::streams::inputKind(bytes, "a") == told);
}

void checkEnds(std::span<const std::uint8_t> bytes) {
    for (const std::size_t packetSize : {0U, 188U, 192U, 204U}) {
        if (const auto cut = qlx::streams::detail::cutTransportPacket(bytes, packetSize)) {
            require(cut->begin + cut->there == bytes.size() && cut->there < cut->size);
            require(packetSize == 0 || cut->size == packetSize);
        }
    }
    std::uint64_t size = 0;
    require(!qlx::streams::detail::isTripletHeaderCut(bytes, size) || bytes.size() < 25);
}

/// What a walk over pieces of a start byte, a size and as many bytes finds.
struct Findings {
    std::vector<qlx::streams::detail::Stray> strays;
    std::optional<qlx::streams::detail::CutPiece> cut;
};

/// @param step Bytes that are handed over at once.
Findings walk(std::span<const std::uint8_t> bytes, std::size_t step) {
    constexpr std::uint8_t kStart = 0x47;
    const auto measure = [](std::uint64_t /*place*/, std::span<const std::uint8_t> rest) {
        if (rest.empty() || (rest[0] == kStart && rest.size() < 2)) {
            return std::optional<std::uint64_t>(0);
        }
        return rest[0] == kStart ? std::optional<std::uint64_t>(2U + rest[1]) : std::nullopt;
    };
    qlx::streams::detail::StreamWalk pieces(measure, std::array{kStart});
    Findings findings;
    for (std::size_t place = 0; place < bytes.size(); place += step) {
        pieces.take(place, bytes.subspan(place, std::min(step, bytes.size() - place)));
        for (const qlx::streams::detail::Stray& stray : pieces.takeStrays()) {
            require(stray.size > 0 && stray.begin + stray.size <= bytes.size());
            findings.strays.push_back(stray);
        }
    }
    findings.cut = pieces.cutAt(bytes.size());
    return findings;
}

/// A stream gives the same however it comes in.
void checkWalk(std::span<const std::uint8_t> bytes) {
    const Findings whole = walk(bytes, std::max<std::size_t>(bytes.size(), 1));
    const Findings single = walk(bytes, 1);
    const std::size_t common = std::min(whole.strays.size(), single.strays.size());
    require(std::equal(whole.strays.begin(), whole.strays.begin() + static_cast<std::ptrdiff_t>(common),
                       single.strays.begin()));
    require(whole.cut == single.cut);
    require(!whole.cut || whole.cut->begin + whole.cut->there == bytes.size());
}

/// Every frame that goes in, in one picture or in two fields, comes out, numbered one after the other.
void checkOrder(std::span<const std::uint8_t> bytes, qlx::video::Codec codec) {
    qlx::streams::detail::PictureOrder order({codec, 0});
    std::uint64_t added = 0;
    std::uint64_t given = 0;
    const auto take = [&] {
        while (const auto frame = order.take()) {
            require(frame->number == given++);
        }
    };
    constexpr std::size_t kUnit = 24;
    for (std::size_t place = 0; place < bytes.size(); place += kUnit) {
        const auto unit = bytes.subspan(place, std::min(kUnit, bytes.size() - place));
        added += order.add(unit, {}) ? 0 : 1;
        take();
        // A field may wait for its other one beside them.
        require(added - given <= qlx::streams::detail::PictureOrder::kLongestWait + 1);
    }
    order.finish();
    take();
    require(given == added);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::vector<std::uint8_t> bytes(data, data + size);
    checkKinds(bytes);
    checkEnds(bytes);
    checkWalk(bytes);
    checkOrder(bytes, qlx::video::Codec::H264);
    checkOrder(bytes, qlx::video::Codec::Mpeg2);
    for (std::size_t lengthBytes = 1; lengthBytes <= 4; ++lengthBytes) {
        require(qlx::streams::captionTriplets(bytes, {qlx::video::Codec::H264, lengthBytes}).size() <= size);
    }
    return 0;
}
