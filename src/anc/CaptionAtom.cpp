#include <qlx/anc/caption_atom.h>

#include <qlx/anc/atom.h>

#include "base/Bytes.h"
#include "base/MakeFinding.h"

#include <algorithm>
#include <limits>
#include <optional>
#include <vector>

namespace qlx::anc {

namespace {

constexpr std::size_t kPairBytes = 2;

constexpr bool holdsPairs(std::uint32_t type) noexcept {
    return type == kFieldOneAtom || type == kFieldTwoAtom;
}

constexpr bool isCaptionAtom(std::uint32_t type) noexcept {
    return holdsPairs(type) || type == kCdpAtom;
}

/// What stands in an atom's place where nothing is to be said (ISO/IEC 14496-12, 8.1.2).
constexpr bool isFreeSpace(std::uint32_t type) noexcept {
    return type == fourCC("free") || type == fourCC("skip");
}

/// Why an atom cannot be written; none when it can.
std::optional<Finding> refusal(std::uint32_t type, std::size_t contentBytes) noexcept {
    constexpr std::size_t kGreatestContent = std::numeric_limits<std::uint32_t>::max() - kAtomHeaderBytes;
    if (!isCaptionAtom(type)) {
        return makeFinding(FindingCode::AtomTypeUnknown, Severity::Error, 0, type, kAtomHeaderBytes + contentBytes);
    }
    if (holdsPairs(type) && contentBytes % kPairBytes != 0) {
        return makeFinding(FindingCode::AtomPairHalf, Severity::Error, 0, contentBytes);
    }
    if (contentBytes > kGreatestContent) {
        return makeFinding(FindingCode::AtomSizeWrong, Severity::Error, 0, kAtomHeaderBytes + contentBytes,
                           kAtomHeaderBytes);
    }
    return std::nullopt;
}

void putAtom(std::uint32_t type, std::span<const std::uint8_t> content, std::uint8_t* to) {
    storeBig(to, static_cast<std::uint32_t>(kAtomHeaderBytes + content.size()));
    storeBig(to + sizeof(std::uint32_t), type);
    std::ranges::copy(content, to + kAtomHeaderBytes);
}

}  // namespace

bool CaptionAtomReader::next(CaptionAtomView& atom) {
    const auto tell = [this](FindingCode code, Severity severity, std::uint64_t first, std::uint64_t second = 0) {
        if (_findings != nullptr) {
            _findings->add(makeFinding(code, severity, _offset, first, second));
        }
    };
    while (_offset < _sample.size()) {
        const std::span<const std::uint8_t> rest = _sample.subspan(_offset);
        const Result<AtomHeader> header = parseAtomHeader(rest);
        if (!header) {
            tell(header.error().code, header.error().severity, static_cast<std::uint64_t>(header.error().first),
                 static_cast<std::uint64_t>(header.error().second));
            _offset = _sample.size();
            return false;
        }
        const auto size = static_cast<std::size_t>(
            header->size == 0 ? rest.size() : std::min<std::uint64_t>(header->size, rest.size()));
        if (header->size > rest.size()) {
            tell(FindingCode::AtomContentCut, Severity::Warning, header->size, rest.size());
        }
        atom = {header->type, _offset, rest.first(size).subspan(header->headerBytes)};
        if (isCaptionAtom(atom.type)) {
            if (holdsPairs(atom.type) && atom.content.size() % kPairBytes != 0) {
                tell(FindingCode::AtomPairHalf, Severity::Error, atom.content.size());
                atom.content = atom.content.first(atom.content.size() - 1);
            }
            _offset += size;
            return true;
        }
        if (!isFreeSpace(atom.type)) {
            tell(FindingCode::AtomTypeUnknown, Severity::Error, atom.type, size);
        }
        _offset += size;
    }
    return false;
}

Result<std::size_t> writeCaptionAtom(std::uint32_t type, std::span<const std::uint8_t> content,
                                     std::span<std::uint8_t> room) {
    if (const auto reason = refusal(type, content.size())) {
        return *reason;
    }
    const std::size_t size = kAtomHeaderBytes + content.size();
    if (room.size() < size) {
        return makeFinding(FindingCode::OutputTooSmall, Severity::Error, 0, size, room.size());
    }
    putAtom(type, content, room.data());
    return size;
}

Result<Data> writeCaptionAtom(std::uint32_t type, std::span<const std::uint8_t> content) {
    if (const auto reason = refusal(type, content.size())) {
        return *reason;
    }
    std::vector<std::uint8_t> bytes(kAtomHeaderBytes + content.size());
    putAtom(type, content, bytes.data());
    return Data(bytes);
}

}  // namespace qlx::anc
