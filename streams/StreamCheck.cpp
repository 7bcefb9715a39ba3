#include "StreamCheck.h"

#include "ts/TransportStream.h"

#include <qlx/klv/klv.h>

#include <algorithm>
#include <array>

namespace qlx::streams::detail {

namespace {

constexpr std::array<std::uint8_t, 4> kPackStart{0x00, 0x00, 0x01, 0xBA};
constexpr std::size_t kStartCode = 4;
/// A pack header up to the number of stuffing bytes: the longest piece whose size is not known yet.
constexpr std::size_t kLongPack = 14;
/// Zero bytes in front of a start code, as Video CDs have 20 of them behind a packet of sound.
std::optional<std::uint64_t> stuffingSize(std::span<const std::uint8_t> bytes, std::size_t zeros) {
    constexpr std::size_t kMost = 32;
    const std::size_t size = zeros - 2;
    if (size > kMost) {
        return std::nullopt;
    }
    return zeros == bytes.size() ? std::optional<std::uint64_t>(0)
           : bytes[zeros] == 1   ? std::optional<std::uint64_t>(size)
                                 : std::nullopt;
}

/// The size of what begins with a start code of a program stream: 0 when not enough of it is there, none when it is no
/// such start code.
std::optional<std::uint64_t> programPacketSize(std::span<const std::uint8_t> bytes) {
    constexpr std::uint8_t kPack = 0xBA;
    constexpr std::uint8_t kEnd = 0xB9;
    constexpr std::size_t kShortPack = 12;
    constexpr std::size_t kLengthEnd = 6;
    const auto zeros = static_cast<std::size_t>(
        std::find_if(bytes.begin(), bytes.end(), [](std::uint8_t byte) { return byte != 0; }) - bytes.begin());
    if (zeros > 2) {
        return stuffingSize(bytes, zeros);
    }
    if (!std::equal(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(std::min<std::size_t>(bytes.size(), 3)),
                    kPackStart.begin())) {
        return std::nullopt;
    }
    if (bytes.size() < kStartCode) {
        return 0;
    }
    const std::uint8_t code = bytes[3];
    if (code < kEnd) {
        return std::nullopt;
    }
    if (code == kEnd) {
        return kStartCode;
    }
    if (code == kPack) {
        if (bytes.size() < kShortPack) {
            return 0;
        }
        const bool isLong = bytes[4] >> 6U == 1;
        return !isLong ? kShortPack : bytes.size() < kLongPack ? 0 : kLongPack + (bytes[kLongPack - 1] & 7U);
    }
    return bytes.size() < kLengthEnd ? 0 : kLengthEnd + (std::size_t{bytes[4]} << 8U | bytes[5]);
}

}  // namespace

bool isTripletHeaderCut(std::span<const std::uint8_t> rest, std::uint64_t& size) noexcept {
    size = 0;
    const Result<klv::TripletHeader> header = klv::parseTripletHeader(rest);
    if (!header) {
        return header.error().code == FindingCode::KlvCut;
    }
    const std::uint64_t length = header->length.value;
    size = length > StreamWalk::kGreatestSize ? 0 : header->size() + length;
    return false;
}

namespace {

std::optional<std::uint64_t> tripletSize(std::span<const std::uint8_t> bytes) {
    std::uint64_t size = 0;
    const bool isCut = isTripletHeaderCut(bytes, size);
    return isCut || size > 0 ? std::optional(size) : std::nullopt;
}

Finding cutOf(const CutPiece& cut, FindingCode code, FindingCode codeOfHeader) {
    return {cut.size == 0 ? codeOfHeader : code, Severity::Error, cut.begin, static_cast<std::int64_t>(cut.there),
            static_cast<std::int64_t>(cut.size)};
}

Finding strayOf(const Stray& stray, FindingCode code) {
    return {code, Severity::Error, stray.begin, static_cast<std::int64_t>(stray.size), 0};
}

}  // namespace

StreamCheck::StreamCheck(ByteSource& source, InputKind kind) : _source(source), _kind(kind) {
    if (kind == InputKind::TransportStream) {
        _transportPacket = transportPacketSize(source.peek(kBytesThatTellKind));
    } else if (kind == InputKind::ProgramStream) {
        _walk.emplace([](std::uint64_t /*place*/, auto bytes) { return programPacketSize(bytes); }, kPackStart);
    } else if (kind == InputKind::Mxf) {
        _walk.emplace([](std::uint64_t /*place*/, auto bytes) { return tripletSize(bytes); }, klv::kLabelStart);
    } else if (kind == InputKind::Mov && !source.size()) {
        _walk.emplace([this](std::uint64_t place, auto bytes) { return _atoms.add(place, bytes); },
                      std::span<const std::uint8_t>());
    }
}

void StreamCheck::report(FindingSink& findings) {
    if (!_walk) {
        return;
    }
    const bool isPacket = _kind == InputKind::ProgramStream;
    std::uint64_t end = 0;
    for (const Stray& stray : _walk->takeStrays()) {
        findings.add(strayOf(stray, isPacket ? FindingCode::ContainerPacketStray : FindingCode::ContainerTripletStray));
        end = stray.begin + stray.size;
    }
    if (const std::uint64_t rest = _walk->takeStraysLeftOut(); rest > 0) {
        findings.add({FindingCode::ContainerStraysLeftOut, Severity::Error, end, static_cast<std::int64_t>(rest), 0});
    }
}

std::optional<Finding> StreamCheck::missingIndex() {
    if (_kind != InputKind::Mov) {
        return std::nullopt;
    }
    if (_source.size()) {
        return lookAtAtoms(_source);
    }
    return _source.peek(1).empty() ? _atoms.obstacle(_source.offset()) : std::nullopt;
}

std::optional<Finding> StreamCheck::wrongEnd(std::span<const std::uint8_t> tail) {
    using enum FindingCode;
    if (_kind == InputKind::Mov) {
        return missingIndex();
    }
    if (_kind == InputKind::TransportStream) {
        const std::optional<CutPacket> cut = cutTransportPacket(tail, _transportPacket);
        return cut ? std::optional(cutOf({_source.offset() - tail.size() + cut->begin, cut->there, cut->size},
                                         ContainerPacketCut, ContainerPacketHeaderCut))
                   : std::nullopt;
    }
    if (!_walk) {
        // What has no structure of its own here: the library says it.
        return std::nullopt;
    }
    const std::uint64_t end = _source.size().value_or(_source.offset());
    const std::optional<CutPiece> cut = _walk->cutAt(end);
    if (_kind != InputKind::ProgramStream) {
        return cut ? std::optional(cutOf(*cut, ContainerTripletCut, ContainerTripletHeaderCut)) : std::nullopt;
    }
    // Behind the end code may be what fills up a medium, and behind any packet a few zero bytes.
    const bool isFilled = cut && cut->size == 0 && cut->there >= kLongPack;
    if (isFilled || (_walk->last() && _walk->last()->size == kStartCode)) {
        return std::nullopt;
    }
    if (cut) {
        return cutOf(*cut, ContainerPacketCut, ContainerPacketHeaderCut);
    }
    const std::optional<Stray> stray = _walk->strayAt(end);
    return stray ? std::optional(strayOf(*stray, ContainerPacketStray)) : std::nullopt;
}

}  // namespace qlx::streams::detail
