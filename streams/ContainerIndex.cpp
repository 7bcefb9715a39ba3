#include "ContainerIndex.h"

#include "Boxes.h"

#include <qlx/anc/atom.h>
#include <qlx/klv/klv.h>
#include <qlx/klv/partition.h>

#include <algorithm>
#include <array>
#include <utility>

namespace qlx::streams::detail {

namespace {

std::uint64_t bigEndian(std::span<const std::uint8_t> bytes) {
    std::uint64_t value = 0;
    for (const std::uint8_t byte : bytes) {
        value = value << 8U | byte;
    }
    return value;
}

/// Up to N bytes of a file from a place on; fewer at its end.
template <std::size_t N>
std::span<const std::uint8_t> readAt(ByteSource& source, std::uint64_t place, std::array<std::uint8_t, N>& bytes) {
    return source.seek(place) ? std::span<const std::uint8_t>(bytes).first(source.read(bytes))
                              : std::span<const std::uint8_t>();
}

template <std::size_t N>
bool beginsWith(std::span<const std::uint8_t> bytes, const std::array<std::uint8_t, N>& start) {
    return bytes.size() >= N && std::equal(start.begin(), start.end(), bytes.begin());
}

/// Whether a random index pack ends the file, which says where its partitions are.
bool hasRandomIndex(ByteSource& source, std::uint64_t size) {
    std::array<std::uint8_t, 4> length{};
    const std::uint64_t packSize = size < length.size() ? 0 : bigEndian(readAt(source, size - length.size(), length));
    klv::Key key{};
    return packSize >= key.size() && packSize <= size &&
           beginsWith(readAt(source, size - packSize, key), klv::kRandomIndexPackKey);
}

}  // namespace

std::optional<MxfFooter> mxfFooter(std::span<const std::uint8_t> first) noexcept {
    const auto found = std::search(first.begin(), first.end(), klv::kPackKeyStart.begin(), klv::kPackKeyStart.end());
    const auto begin = static_cast<std::size_t>(found - first.begin());
    const Result<klv::TripletHeader> header = klv::parseTripletHeader(first.subspan(begin));
    const auto partition = header ? klv::partitionKey(header->key) : std::nullopt;
    if (!partition || partition->kind != klv::PartitionKind::Header) {
        return std::nullopt;
    }
    // What stands behind the places of partitions does not matter here, nor need it be there.
    constexpr std::size_t kPlacesEnd = 32;
    std::array<std::uint8_t, klv::partitionPackSize()> fields{};
    const auto value = first.subspan(begin + header->size());
    if (value.size() < kPlacesEnd) {
        return std::nullopt;
    }
    std::copy_n(value.begin(), kPlacesEnd, fields.begin());
    const std::uint64_t place = klv::parsePartitionPack(fields)->footerPartition;
    // Places are counted from the header on; one beyond all files is damage, and tells nothing.
    constexpr std::uint64_t kGreatestPlace = std::uint64_t{1} << 60U;
    MxfFooter footer;
    footer.place = place == 0 || place > kGreatestPlace ? 0 : begin + place;
    footer.isHeaderOpen = partition->status == klv::PartitionStatus::OpenIncomplete ||
                          partition->status == klv::PartitionStatus::OpenComplete;
    return footer;
}

std::optional<Finding> missingFooter(const MxfFooter& footer, std::uint64_t end) {
    if (footer.place < end) {
        return std::nullopt;
    }
    return Finding{FindingCode::MxfFooterMissing, Severity::Error, end, static_cast<std::int64_t>(footer.place), 0};
}

std::optional<Finding> lookForFooter(ByteSource& source) {
    const std::optional<MxfFooter> footer = mxfFooter(source.peek(kLongestPeek));
    const std::uint64_t size = source.size().value_or(0);
    if (!footer || size == 0) {
        return std::nullopt;
    }
    std::optional<Finding> wrong = missingFooter(*footer, size);
    klv::Key key{};
    if (footer->place == 0 && footer->isHeaderOpen && !hasRandomIndex(source, size)) {
        wrong = Finding{FindingCode::MxfNotFinished, Severity::Error, size, 0, 0};
    } else if (!wrong && footer->place > 0 && !beginsWith(readAt(source, footer->place, key), klv::kPackKeyStart)) {
        wrong = Finding{FindingCode::MxfFooterMoved, Severity::Error, footer->place, 0, 0};
    }
    (void)source.seek(0);
    return wrong;
}

namespace {

/// Types are four characters; those of QuickTime may have a copyright sign in front.
bool isType(std::uint32_t type) {
    constexpr std::uint8_t kCopyright = 0xA9;
    for (unsigned shift = 0; shift < 32; shift += 8) {
        const auto character = static_cast<std::uint8_t>(type >> shift);
        if ((character < ' ' || character > '~') && character != kCopyright) {
            return false;
        }
    }
    return true;
}

/// What is to be said of an atom that is cut at the end of a file; nothing of one that may be something else than an atom.
FindingCode codeOfCut(std::uint32_t type) {
    constexpr std::array<std::pair<std::uint32_t, FindingCode>, 4> kParts{
        {{boxes::kIndex, FindingCode::MovIndexCut},
         {boxes::kMedia, FindingCode::MovMediaCut},
         {boxes::kFragment, FindingCode::MovFragmentCut},
         {boxes::kFragmentList, FindingCode::MovFragmentListCut}}};
    const auto* const part =
        std::find_if(kParts.begin(), kParts.end(), [type](const auto& one) { return one.first == type; });
    return part == kParts.end() ? FindingCode::None : part->second;
}

}  // namespace

bool isIndexBehindMedia(std::span<const std::uint8_t> first) noexcept {
    bool hasMedia = false;
    while (const Result<anc::AtomHeader> atom = anc::parseAtomHeader(first)) {
        if (atom->type == boxes::kIndex) {
            return hasMedia && atom->size > first.size();
        }
        hasMedia = hasMedia || atom->type == boxes::kMedia;
        if (atom->size == 0 || atom->size > first.size()) {
            break;
        }
        first = first.subspan(static_cast<std::size_t>(atom->size));
    }
    return hasMedia;
}

std::optional<std::uint64_t> AtomWalk::add(std::uint64_t place, std::span<const std::uint8_t> header) {
    const Result<anc::AtomHeader> atom = anc::parseAtomHeader(header);
    if (!atom && atom.error().code == FindingCode::AtomCut) {
        return 0;
    }
    if (!atom || !isType(atom->type)) {
        _damagedAt = place;
        return std::nullopt;
    }
    _hasIndex = _hasIndex || atom->type == boxes::kIndex;
    _hasFragments = _hasFragments || atom->type == boxes::kFragment;
    _place = place;
    _size = atom->size;
    _cut = codeOfCut(atom->type);
    return atom->size == 0 ? std::nullopt : std::optional(atom->size);
}

std::optional<Finding> AtomWalk::obstacle(std::uint64_t end) const {
    if (!_hasIndex) {
        return end == 0 ? std::nullopt
                        : std::optional(Finding{FindingCode::MovIndexMissing, Severity::Error, end, 0, 0});
    }
    const std::uint64_t rest = end - std::min(end, _place);
    const bool isCut = _size > rest;
    if (isCut && _cut != FindingCode::None) {
        return Finding{_cut, Severity::Error, end, static_cast<std::int64_t>(rest), static_cast<std::int64_t>(_size)};
    }
    // What stands behind the atoms of a file without fragments does no harm.
    const std::optional<std::uint64_t> damagedAt = isCut ? std::optional(_place) : _damagedAt;
    if (!damagedAt || !_hasFragments) {
        return std::nullopt;
    }
    return Finding{FindingCode::MovAtomWrong, Severity::Error, *damagedAt, 0, 0};
}

std::optional<Finding> lookAtAtoms(ByteSource& source) {
    // A file in fragments has two for each of them.
    constexpr std::size_t kMostAtoms = 200'000;
    const std::uint64_t size = source.size().value_or(0);
    AtomWalk walk;
    std::uint64_t place = 0;
    for (std::size_t count = 0; count < kMostAtoms && place < size; ++count) {
        std::array<std::uint8_t, anc::kLongAtomHeaderBytes> header{};
        const std::uint64_t atomSize = walk.add(place, readAt(source, place, header)).value_or(0);
        if (atomSize == 0 || atomSize > size - place) {
            break;
        }
        place += atomSize;
    }
    return walk.obstacle(size);
}

}  // namespace qlx::streams::detail
