// What packets X/26, X/28 and M/29 do to a page, and the order in which its rows are read.
#include <qlx/teletext/page.h>

#include "base/MakeFinding.h"
#include "teletext/Direction.h"

#include <algorithm>

namespace qlx::teletext {

namespace {

/// Hands findings on and counts the triplets that were put right or are lost.
class TripletCounter final : public FindingSink {
public:
    TripletCounter(FindingSink* next, ProtectionCounts& counts) : _next(next), _counts(counts) {}

    void add(const Finding& finding) override {
        const bool isLost =
            finding.code == FindingCode::TeletextTripletWrong || finding.code == FindingCode::TeletextByteWrong;
        _counts.count(isLost ? Protection::Wrong : Protection::Corrected);
        if (_next != nullptr) {
            _next->add(finding);
        }
    }

private:
    FindingSink* _next;
    ProtectionCounts& _counts;
};

/// Row triplets (EN 300 706, table 27) that move to a row, beside those that level 1.5 has.
constexpr std::uint8_t kFullRowColour = 0x01;

/// Goes through the triplets of a page's packets.
class PlacementReader {
public:
    explicit PlacementReader(std::vector<Placement>& placements) : _placements(placements) {}

    /// Whether more may follow.
    [[nodiscard]] bool isOpen() const { return _isOpen; }

    /// The row is not known any more: a triplet is lost that may have changed it.
    void loseRow() { _row.reset(); }

    void take(Triplet triplet) {
        if (triplet.address() >= kDataBytes) {
            takeRow(triplet);
        } else if (_row && isCharacter(triplet)) {
            _placements.push_back({*_row, triplet.address(), triplet.mode(), triplet.data()});
        }
    }

private:
    [[nodiscard]] static bool isCharacter(Triplet triplet) {
        return triplet.mode() >= modeOf(ColumnMode::G2Character) && triplet.data() >= kFirstCharacterCode;
    }

    void takeRow(Triplet triplet) {
        constexpr std::uint8_t kRowZeroAddress = 63;
        const auto row = static_cast<std::uint8_t>(triplet.address() - kDataBytes);
        const std::uint8_t mode = triplet.mode();
        // What follows the beginning of an object's definition is that object's.
        constexpr std::uint8_t kFirstObjectDefinition = 0x15;
        constexpr std::uint8_t kLastObjectDefinition = 0x17;
        if (mode == modeOf(RowMode::Termination) || (mode >= kFirstObjectDefinition && mode <= kLastObjectDefinition)) {
            _isOpen = false;
        } else if (mode == modeOf(RowMode::SetActivePosition) || mode == kFullRowColour) {
            _row = row == 0 ? kLastRow : row;
        } else if (mode == modeOf(RowMode::AddressRowZero) && triplet.address() == kRowZeroAddress) {
            _row = std::uint8_t{0};
        }
    }

    std::vector<Placement>& _placements;
    std::optional<std::uint8_t> _row;
    bool _isOpen = true;
};

/// Says which of them no receiver of level 1.5 without the third set shows.
void tellMosaics(const TripletPacket& packet, FindingSink* findings, std::uint64_t offset) {
    std::uint64_t count = 0;
    for (std::size_t place = 0; place < packet.triplets.size(); ++place) {
        const Triplet triplet = packet.triplets[place];
        count += packet.isSound(place) && triplet.address() < kDataBytes &&
                         triplet.mode() == modeOf(ColumnMode::G3Character) && triplet.data() >= kFirstCharacterCode
                     ? 1U
                     : 0U;
    }
    if (count != 0) {
        addTo(findings, makeFinding(FindingCode::TeletextMosaicLeftOut, Severity::Warning, offset, count));
    }
}

}  // namespace

bool PageReader::receiveTriplets(const Packet& packet, FindingSink* findings, std::uint64_t offset) {
    TripletCounter counter(findings, _counts);
    const auto triplets = parseTriplets(packet, &counter, offset);
    if (!triplets) {
        counter.add(triplets.error());
        return false;
    }
    if (packet.number == kEnhancement) {
        return takeEnhancement(*triplets, findings, offset);
    }
    return takeDesignation(packet.number == kPageDesignation ? _pageDesignation : _magazineDesignation, *triplets);
}

bool PageReader::takeDesignation(Designation& place, const TripletPacket& packet) {
    const Designation designation = designationIn(packet);
    if (!designation || place == designation) {
        return false;
    }
    place = designation;
    return _isKnown;
}

bool PageReader::takeEnhancement(const TripletPacket& packet, FindingSink* findings, std::uint64_t offset) {
    tellMosaics(packet, findings, offset);
    // Those behind the first are of the same transmission of the page.
    const unsigned others = packet.designation == 0 || _areEnhancementsOld ? 0U : _enhancementsThere;
    _areEnhancementsOld = false;
    _enhancementsThere = static_cast<std::uint16_t>(others | 1U << packet.designation);
    _enhancements[packet.designation] = packet;
    const bool hadSome = !_placements.empty();
    placeCharacters();
    return hadSome || !_placements.empty();
}

void PageReader::placeCharacters() {
    _placements.clear();
    PlacementReader reader(_placements);
    for (std::size_t index = 0; index < _enhancements.size(); ++index) {
        if ((_enhancementsThere >> index & 1U) == 0) {
            reader.loseRow();
            continue;
        }
        const TripletPacket& packet = _enhancements[index];
        for (std::size_t place = 0; place < packet.triplets.size() && reader.isOpen(); ++place) {
            if (packet.isSound(place)) {
                reader.take(packet.triplets[place]);
            } else {
                reader.loseRow();
            }
        }
    }
    // Of two at one place the last one is seen. Nearly always they are in order as they come.
    const auto isBefore = [](const Placement& one, const Placement& other) {
        return one.row != other.row ? one.row < other.row : one.column < other.column;
    };
    if (!std::is_sorted(_placements.begin(), _placements.end(), isBefore)) {
        std::stable_sort(_placements.begin(), _placements.end(), isBefore);
    }
}

CharacterSet PageReader::characterSet() const noexcept {
    return shownSet(_pageDesignation.value_or(_magazineDesignation.value_or(_region)), _header.nationalOption);
}

char32_t PageReader::characterOf(std::uint8_t mode, std::uint8_t code, const CharacterSet& set) noexcept {
    constexpr std::uint8_t kCommercialAt = 0x2A;
    const std::size_t place = std::size_t{code} - kFirstCharacterCode;
    // Marks that come without a letter stand in cells of their own.
    constexpr std::u32string_view kMarks = U"`´ˆ˜¯˘˙¨.˚¸_˝˛ˇ";
    constexpr std::uint8_t kFirstMark = 0x41;
    if (mode == modeOf(ColumnMode::G2Character)) {
        const bool isMark = code >= kFirstMark && code < kFirstMark + kMarks.size() && set.g2 != G2Set::Arabic;
        return isMark ? kMarks[code - std::size_t{kFirstMark}] : g2Characters(set.g2)[place];
    }
    if (mode == modeOf(ColumnMode::PlainLetter)) {
        return code == kCommercialAt ? U'@' : plainLatin()[place];
    }
    // Letters of the page's own alphabet have marks too; a letter without a character for its mark stands alone.
    const char32_t mark = markCharacter(static_cast<std::uint8_t>(mode - modeOf(ColumnMode::PlainLetter)));
    const char32_t own = set.g0 == G0Set::Latin ? U'\0' : composed(g0Characters(set)[place], mark);
    const char32_t latin = composed(plainLatin()[place], mark);
    return own != U'\0' ? own : latin != U'\0' ? latin : plainLatin()[place];
}

void PageReader::drawPlacements(std::size_t row, std::span<screen::Cell> cells, const CharacterSet& set) const {
    auto next = std::lower_bound(_placements.begin(), _placements.end(), row,
                                 [](const Placement& placement, std::size_t wanted) { return placement.row < wanted; });
    for (; next != _placements.end() && next->row == row; ++next) {
        if (const char32_t character = characterOf(next->mode, next->code, set); character != U'\0') {
            cells[next->column].character = character;
        }
    }
}

std::vector<screen::Cell> readingOrder(std::span<const screen::Cell> row, const CharacterSet& set) {
    std::vector<screen::Cell> result(row.begin(), row.end());
    const auto isText = [](const screen::Cell& cell) { return cell.hasText(); };
    const auto first = std::find_if(result.begin(), result.end(), isText);
    if (!set.isRightToLeft() || first == result.end()) {
        return result;
    }
    const auto last = std::find_if(result.rbegin(), result.rend(), isText).base();
    std::vector<DisplayCell> cells;
    for (auto cell = first; cell != last; ++cell) {
        cells.push_back({cell->character, static_cast<std::size_t>(cell - result.begin())});
    }
    turnBack(cells);
    std::vector<screen::Cell> read;
    for (const DisplayCell& cell : plainCells(cells)) {
        read.push_back(row[cell.source]);
        read.back().character = cell.character;
    }
    const auto place = result.erase(first, last);
    result.insert(place, read.begin(), read.end());
    return result;
}

}  // namespace qlx::teletext
