#include "facade/QuickTimeCaptionAtom.h"

#include <qlx/anc/atom.h>
#include <qlx/anc/caption_atom.h>

#include <algorithm>

namespace qlx::captionatom {

namespace {

constexpr std::size_t kFirstCEA708Size = 10;

}  // namespace

std::optional<Atom> parse(std::span<const std::uint8_t> buffer) noexcept {
    constexpr std::uint64_t kGreatestSize = INT32_MAX;  // Sizes have a sign for deployed hosts.
    const Result<anc::AtomHeader> header = anc::parseAtomHeader(buffer);
    if (!header || header->headerBytes != anc::kAtomHeaderBytes) {
        return std::nullopt;
    }
    const Kind kind = buffer.size() < kFirstCEA708Size ? Kind::CEA608 : Kind::CEA708;
    const std::uint32_t wantedType = kind == Kind::CEA608 ? anc::kFieldOneAtom : anc::kCdpAtom;
    if (header->type != wantedType || header->size == 0 ||
        header->size > std::min<std::uint64_t>(buffer.size(), kGreatestSize)) {
        return std::nullopt;
    }
    return Atom{kind, buffer.first(static_cast<std::size_t>(header->size)).subspan(header->headerBytes)};
}

}  // namespace qlx::captionatom
