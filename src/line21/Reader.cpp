#include <qlx/base/parity.h>
#include <qlx/line21/line21.h>

#include "base/MakeFinding.h"
#include "line21/RowPixels.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>

namespace qlx::line21 {

namespace {

/// The levels of a row. Very wide ones, whose cycles are wide as well, are looked at every few pixels.
class Levels {
public:
    Levels(detail::RowPixels& pixels, std::size_t width) noexcept
        : _step((width + kMost - 1) / kMost), _size(_step == 0 ? 0 : width / _step) {
        for (std::size_t index = 0; index < _size; ++index) {
            _levels[index] = pixels.luma(index * _step);
        }
    }

    [[nodiscard]] std::span<const std::uint8_t> all() const noexcept { return {_levels.data(), _size}; }
    [[nodiscard]] std::size_t pixelOf(double place) const noexcept {
        return static_cast<std::size_t>(std::max(place, 0.0)) * _step;
    }

    /// The mean within an eighth of a cycle around a place; none when that is not all in the row.
    [[nodiscard]] std::optional<double> around(double place, double cycle) const noexcept {
        const double reach = cycle / 8;
        if (place < reach || place + reach >= static_cast<double>(_size)) {
            return std::nullopt;
        }
        const auto first = static_cast<std::size_t>(std::ceil(place - reach));
        const auto last = std::max(first, static_cast<std::size_t>(place + reach));
        unsigned sum = 0;
        for (std::size_t index = first; index <= last; ++index) {
            sum += _levels[index];
        }
        return static_cast<double>(sum) / static_cast<double>(last - first + 1);
    }

private:
    static constexpr std::size_t kMost = 2048;

    std::size_t _step;
    std::size_t _size;
    std::array<std::uint8_t, kMost> _levels{};
};

/// The clock of a row.
struct Clock {
    double cycle = 0;             ///< Its width.
    std::optional<double> first;  ///< Where its first cycle rises through the middle.
    double last = 0;              ///< Where its last cycle does.
    double next = 0;    ///< The next rise behind it, which should be that of the start bit; 0 when there is none.
    double middle = 0;  ///< Level.
};

/// Walks along the places where the levels rise through the middle; they must have gone clearly below it before, and
/// clearly above it behind, so that noise makes none.
class Rises {
public:
    Rises(std::span<const std::uint8_t> levels, double middle, double swing) noexcept
        : _levels(levels), _middle(middle), _low(middle - swing / 8), _high(middle + swing / 8) {}

    [[nodiscard]] std::optional<double> next() noexcept {
        for (; _index < _levels.size(); ++_index) {
            const double level = _levels[_index];
            if (_isHigh) {
                _isHigh = level > _low;
                continue;
            }
            const double former = _index == 0 ? level : _levels[_index - 1];
            if (former < _middle && level >= _middle) {
                _place = static_cast<double>(_index) - (level - _middle) / (level - former);
            }
            if (level >= _high) {
                _isHigh = true;
                return _place;
            }
        }
        return std::nullopt;
    }

private:
    std::span<const std::uint8_t> _levels;
    double _middle;
    double _low;
    double _high;
    std::size_t _index = 0;
    double _place = 0;
    bool _isHigh = true;  ///< Until it has been low.
};

/// The lowest and the highest level of a part of a row.
struct Swing {
    int lowest = 0;
    int highest = 0;

    [[nodiscard]] bool isGreatEnough() const noexcept {
        constexpr int kLeast = 24;  // Of 219: far below the half of white that it should be.
        return highest - lowest >= kLeast;
    }
    [[nodiscard]] friend bool operator==(const Swing&, const Swing&) noexcept = default;
};

Swing swingOf(std::span<const std::uint8_t> levels) noexcept {
    if (levels.empty()) {
        return {};
    }
    const auto [lowest, highest] = std::minmax_element(levels.begin(), levels.end());
    return {*lowest, *highest};
}

/// The first cycles of equal width and of that swing. Data bits never rise so often in a row at the width of a cycle.
std::optional<Clock> findClock(std::span<const std::uint8_t> levels, const Swing& swing) noexcept {
    constexpr double kNarrowest = 6;       // Cycles, in pixels.
    constexpr double kTolerance = 0.15;    // Of a cycle.
    constexpr unsigned kFewestCycles = 5;  // Of seven; the first may be cut off or still rising.
    Clock clock;
    clock.middle = (swing.highest + swing.lowest) / 2.0;
    Rises rises(levels, clock.middle, swing.highest - swing.lowest);
    unsigned cycles = 0;
    while (const std::optional<double> rise = rises.next()) {
        const double width = *rise - clock.last;
        if (clock.first && width >= kNarrowest &&
            (cycles == 0 || std::abs(width - clock.cycle) <= kTolerance * clock.cycle)) {
            ++cycles;
            clock.cycle = (*rise - *clock.first) / cycles;
        } else if (cycles >= kFewestCycles) {
            clock.next = *rise;
            return clock;
        } else if (cycles > 0 && width >= kNarrowest) {
            // The width of the cycle before may have been the wrong one.
            clock.first = clock.last;
            cycles = 1;
            clock.cycle = width;
        } else {
            clock.first = rise;
            cycles = 0;
        }
        clock.last = *rise;
    }
    return cycles >= kFewestCycles ? std::optional(clock) : std::nullopt;
}

/// Whether two bits of 0 and one of 1 stand behind the clock, whose rise is the border between them.
bool hasStartBits(const Levels& levels, const Clock& clock) noexcept {
    constexpr double kNearest = 2.2;  // Cycles behind the clock's last rise; 2.5 to 3 are seen.
    constexpr double kFarthest = 3.6;
    const double distance = clock.next - clock.last;
    if (distance < kNearest * clock.cycle || distance > kFarthest * clock.cycle) {
        return false;
    }
    const auto before = levels.around(clock.next - 1.25 * clock.cycle, clock.cycle);
    const auto zero = levels.around(clock.next - 0.5 * clock.cycle, clock.cycle);
    const auto one = levels.around(clock.next + 0.5 * clock.cycle, clock.cycle);
    return before && zero && one && *before < clock.middle && *zero<clock.middle&& * one> clock.middle;
}

/// The clock whose levels swing as those of some part of the row, measured again by its own cycles: what is brighter or
/// darker elsewhere in the row says nothing about it.
std::optional<Clock> findClockOfPart(const Levels& levels, const Swing& swing) noexcept {
    const auto all = levels.all();
    const std::optional<Clock> clock = swing.isGreatEnough() ? findClock(all, swing) : std::nullopt;
    if (!clock) {
        return std::nullopt;
    }
    const auto first = static_cast<std::size_t>(std::max(clock->first.value_or(0), 0.0));
    const auto last = static_cast<std::size_t>(std::max(clock->last, 0.0));
    const Swing own = swingOf(all.subspan(first, last - first));
    const std::optional<Clock> again = own == swing ? std::nullopt : findClock(all, own);
    return again && hasStartBits(levels, *again) ? again : clock;
}

/// The first clock with start bits behind it; without one, the first clock.
std::optional<Clock> findClockAndStartBits(const Levels& levels) noexcept {
    // A part of a row that was scaled to any width is longer than a cycle, which is a 26th of it.
    constexpr std::size_t kParts = 16;
    const auto all = levels.all();
    const Swing whole = swingOf(all);
    const std::optional<Clock> first = findClockOfPart(levels, whole);
    if ((first && hasStartBits(levels, *first)) || !whole.isGreatEnough()) {
        return first;
    }
    std::optional<Clock> found = first;
    Swing former = whole;
    for (std::size_t part = 0; part < kParts; ++part) {
        const std::size_t begin = all.size() * part / kParts;
        const Swing swing = swingOf(all.subspan(begin, all.size() * (part + 1) / kParts - begin));
        if (swing == whole || swing == former) {
            continue;
        }
        former = swing;
        const std::optional<Clock> clock = findClockOfPart(levels, swing);
        if (clock && hasStartBits(levels, *clock)) {
            return clock;
        }
        found = found ? found : clock;
    }
    return found;
}

cea608::Pair pairOfBits(unsigned bits) noexcept {
    return {static_cast<std::uint8_t>(bits), static_cast<std::uint8_t>(bits >> 8U)};
}

void checkParity(const cea608::Pair& pair, std::size_t firstBit, std::size_t secondBit, FindingSink* findings) {
    if (findings == nullptr) {
        return;
    }
    if (!hasOddParity(pair.first)) {
        findings->add({FindingCode::Line21ParityWrong, Severity::Warning, firstBit, pair.first, 1});
    }
    if (!hasOddParity(pair.second)) {
        findings->add({FindingCode::Line21ParityWrong, Severity::Warning, secondBit, pair.second, 2});
    }
}

Result<cea608::Pair> readByClock(detail::RowPixels& pixels, std::size_t width, FindingSink* findings) {
    const Levels levels(pixels, width);
    const std::optional<Clock> clock = findClockAndStartBits(levels);
    if (!clock) {
        return makeFinding(FindingCode::Line21RunInMissing, Severity::Error, 0);
    }
    if (!hasStartBits(levels, *clock)) {
        return makeFinding(FindingCode::Line21StartBitsMissing, Severity::Error, levels.pixelOf(clock->last));
    }
    const auto middleOf = [&](unsigned bit) { return clock->next + (1.5 + bit) * clock->cycle; };
    unsigned bits = 0;
    for (unsigned bit = 0; bit < kBits; ++bit) {
        const std::optional<double> level = levels.around(middleOf(bit), clock->cycle);
        if (!level) {
            return makeFinding(FindingCode::Line21RowCut, Severity::Error, width, kBits, bit);
        }
        bits |= (*level > clock->middle ? 1U : 0U) << bit;
    }
    const cea608::Pair pair = pairOfBits(bits);
    checkParity(pair, levels.pixelOf(middleOf(0)), levels.pixelOf(middleOf(kBits / 2)), findings);
    return pair;
}

cea608::Pair readInPlace(detail::RowPixels& pixels, std::size_t width, FindingSink* findings) {
    constexpr std::size_t kFirst = kDataBits + kCellSample;
    unsigned bits = 0;
    for (unsigned bit = 0; bit < kBits; ++bit) {
        const std::size_t column = kFirst + bit * kCellPixels;
        const bool isOne = column < width && pixels.pixel(column)[0] > kGreatestZero;
        bits |= (isOne ? 1U : 0U) << bit;
    }
    const cea608::Pair pair = pairOfBits(bits);
    checkParity(pair, kFirst, kFirst + kBits / 2 * kCellPixels, findings);
    return pair;
}

}  // namespace

Result<cea608::Pair> readPair(const RowView& row, const RowLayout& layout, FindingSink* findings,
                              const ReadOptions& options) {
    const pixels::Format* const format = pixels::formatOf(layout.pixelFormat);
    if (format == nullptr) {
        return makeFinding(FindingCode::Line21FormatUnknown, Severity::Error, 0, layout.pixelFormat, 0);
    }
    // No format has less than a byte a pixel: sizes stay numbers.
    if (row.samples.size() < layout.width) {
        return makeFinding(FindingCode::Line21RowTooShort, Severity::Error, 0, layout.width, row.samples.size());
    }
    const auto chroma = format->twoPlanes ? row.chroma : std::span<const std::uint8_t>();
    const std::size_t chromaSize = chroma.empty() ? 0 : pixels::bytesOfChromaRow(layout.width);
    const std::size_t size = format->bytesOfRow(layout.width);
    if (row.samples.size() < size || chroma.size() < chromaSize) {
        return makeFinding(FindingCode::Line21RowTooShort, Severity::Error, 0, size + chromaSize,
                           row.samples.size() + chroma.size());
    }
    detail::RowPixels pixels({row.samples, chroma}, layout, *format);
    return options.sampling == Sampling::Fixed ? Result<cea608::Pair>(readInPlace(pixels, layout.width, findings))
                                               : readByClock(pixels, layout.width, findings);
}

}  // namespace qlx::line21
