#include "anc/QuickTimeCaptionAtom.h"

#include <QLXClosedCaptionsUtilities/platform/FourCC.h>

#include "base/Bytes.h"

namespace qlx::captionatom {

namespace {

constexpr std::size_t kHeaderBytes = 8;
constexpr std::size_t kTypeOffset = 4;
constexpr std::size_t kFirstCEA708Size = 10;

}  // namespace

std::optional<Atom> parse(std::span<const std::uint8_t> buffer) noexcept {
    if (buffer.size() < kHeaderBytes) {
        return std::nullopt;
    }
    const Kind kind = buffer.size() < kFirstCEA708Size ? Kind::CEA608 : Kind::CEA708;
    const std::uint32_t wantedType = kind == Kind::CEA608 ? fourCC("cdat") : fourCC("ccdp");
    const auto atomSize = static_cast<std::int32_t>(loadBig<std::uint32_t>(buffer.data()));
    if (loadBig<std::uint32_t>(buffer.data() + kTypeOffset) != wantedType || atomSize < std::int32_t{kHeaderBytes} ||
        static_cast<std::size_t>(atomSize) > buffer.size()) {
        return std::nullopt;
    }
    return Atom{kind, buffer.subspan(kHeaderBytes, static_cast<std::size_t>(atomSize) - kHeaderBytes)};
}

}  // namespace qlx::captionatom
