#include <qlx/anc/atom.h>

#include "base/Bytes.h"
#include "base/MakeFinding.h"

namespace qlx::anc {

Result<AtomHeader> parseAtomHeader(std::span<const std::uint8_t> bytes) {
    constexpr std::uint32_t kLongSize = 1;
    constexpr std::size_t kTypeOffset = 4;
    if (bytes.size() < kAtomHeaderBytes) {
        return makeFinding(FindingCode::AtomCut, Severity::Error, 0, kAtomHeaderBytes, bytes.size());
    }
    AtomHeader header{loadBig<std::uint32_t>(bytes.data()), loadBig<std::uint32_t>(bytes.data() + kTypeOffset)};
    if (header.size == kLongSize) {
        if (bytes.size() < kLongAtomHeaderBytes) {
            return makeFinding(FindingCode::AtomCut, Severity::Error, 0, kLongAtomHeaderBytes, bytes.size());
        }
        header.headerBytes = kLongAtomHeaderBytes;
        header.size = loadBig<std::uint64_t>(bytes.data() + kAtomHeaderBytes);
    } else if (header.size == 0) {
        return header;
    }
    if (header.size < header.headerBytes) {
        return makeFinding(FindingCode::AtomSizeWrong, Severity::Error, 0, header.size, header.headerBytes);
    }
    return header;
}

}  // namespace qlx::anc
