// How much a reader takes of its input.
//
//     qlx::subtitles::SrtOptions options;
//     options.limits = {.bytes = 64 * 1024 * 1024, .items = 100'000};   // what a host has room and time for
//     qlx::subtitles::SrtReader reader(options, &findings);
#pragma once

#include <qlx/base/finding.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <span>

namespace qlx {

/// What a reader takes at most. A reader that is fed with pieces reads nothing behind the limit that it comes to first,
/// and says so: LimitOfBytesReached or LimitOfItemsReached. What is in front of it is given as without a limit; what the
/// limit of bytes cuts is left out, and nothing else is said of it.
struct ReadLimits {
    std::uint64_t bytes = std::numeric_limits<std::uint64_t>::max();  ///< Of the input.
    std::uint64_t items =
        std::numeric_limits<std::uint64_t>::max();  ///< Of what the reader gives: cues, units, triplets.

    /// Whether both are equal.
    [[nodiscard]] friend constexpr bool operator==(const ReadLimits&, const ReadLimits&) noexcept = default;
};

/// What is left of limits while something is read.
class ReadBudget {
public:
    /// All of it.
    explicit constexpr ReadBudget(const ReadLimits& limits = {}) noexcept : _limits(limits), _left(limits) {}

    /// The bytes of the next piece of the input that are read; fewer than it has where a limit is reached.
    [[nodiscard]] constexpr std::span<const std::uint8_t> take(std::span<const std::uint8_t> piece) noexcept {
        const auto taken = static_cast<std::size_t>(std::min<std::uint64_t>(piece.size(), _left.bytes));
        _left.bytes -= taken;
        if (taken < piece.size()) {
            reach(FindingCode::LimitOfBytesReached, _limits.bytes);
        }
        return _hasEnded ? piece.first(0) : piece.first(taken);
    }

    /// Whether one more item is given; none is behind the first that is not.
    [[nodiscard]] constexpr bool takeItem() noexcept {
        if (_left.items == 0) {
            _hasEnded = true;
            reach(FindingCode::LimitOfItemsReached, _limits.items);
            return false;
        }
        --_left.items;
        return !_hasEnded;
    }

    /// Whether no further item is given.
    [[nodiscard]] constexpr bool hasEnded() const noexcept { return _hasEnded; }

    /// Whether the limit of bytes was reached first: what is read at last may go on behind it.
    [[nodiscard]] constexpr bool isCut() const noexcept { return _code == FindingCode::LimitOfBytesReached; }

    /// What is to be said of the limit that was reached first, once; none as long as there is none.
    /// @param offset The place at which it was reached.
    [[nodiscard]] constexpr std::optional<Finding> takeFinding(std::uint64_t offset) noexcept {
        if (_code == FindingCode::None || _isSaid) {
            return std::nullopt;
        }
        _isSaid = true;
        return Finding{_code, Severity::Error, offset, static_cast<std::int64_t>(_reached), 0};
    }

private:
    constexpr void reach(FindingCode code, std::uint64_t limit) noexcept {
        if (_code == FindingCode::None) {
            _code = code;
            _reached = limit;
        }
    }

    ReadLimits _limits;
    ReadLimits _left;
    FindingCode _code = FindingCode::None;
    std::uint64_t _reached = 0;
    bool _hasEnded = false;
    bool _isSaid = false;
};

}  // namespace qlx
