// Telling what a file is, the headers that order pictures, and the ends of streams: any bytes give an answer that fits.
#include "InputKind.h"
#include "PictureOrder.h"
#include "StreamEnd.h"
#include "VideoCaptions.h"

#include "FuzzSupport.h"

#include <string_view>
#include <vector>

using qlx::tool::InputKind;
using qlxfuzz::require;

namespace {

void checkKinds(std::span<const std::uint8_t> bytes) {
    const auto told = qlx::tool::inputKindOfBytes(bytes);
    // What a longer file begins with tells the same, as no more is looked at.
    if (bytes.size() > qlx::tool::kBytesThatTellKind) {
        require(told == qlx::tool::inputKindOfBytes(bytes.first(qlx::tool::kBytesThatTellKind)));
    }
    require(!told || !qlx::tool::hasRows(*told));
    require(told != InputKind::Mxf || qlx::tool::hasBeginningOf(InputKind::Mxf, bytes));
    require(told != InputKind::Mov || qlx::tool::hasBeginningOf(InputKind::Mov, bytes));
    require(told != InputKind::TransportStream || qlx::tool::hasBeginningOf(InputKind::TransportStream, bytes));
    (void)qlx::tool::hasBeginningOf(InputKind::ProgramStream, bytes);
    const std::string_view name(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    const auto named = qlx::tool::inputKindOfName(name);
    require(!named || qlx::tool::inputKindNamed(qlx::tool::nameOf(*named)) == named);
    require(qlx::tool::inputKind(bytes, "a.v210") == InputKind::V210);
    require(qlx::tool::inputKind(bytes, "a") == told);
}

void checkEnds(std::span<const std::uint8_t> bytes) {
    if (const auto cut = qlx::tool::cutProgramPacket(bytes)) {
        require(cut->begin + cut->there == bytes.size() && cut->there > 0);
        require(cut->size == 0 || cut->size > cut->there);
    }
    std::uint64_t size = 0;
    require(!qlx::tool::isTripletHeaderCut(bytes, size) || bytes.size() < 25);
}

/// Every picture that goes in comes out, numbered one after the other.
void checkOrder(std::span<const std::uint8_t> bytes, qlx::tool::VideoCodec codec) {
    qlx::tool::PictureOrder order(codec);
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
        order.add(unit, {});
        ++added;
        take();
        require(added - given <= qlx::tool::PictureOrder::kLongestWait);
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
    checkOrder(bytes, qlx::tool::VideoCodec::H264);
    checkOrder(bytes, qlx::tool::VideoCodec::Mpeg2);
    for (std::size_t lengthBytes = 1; lengthBytes <= 4; ++lengthBytes) {
        require(qlx::tool::captionTripletsOfLengths(bytes, lengthBytes).size() <= size);
    }
    return 0;
}
