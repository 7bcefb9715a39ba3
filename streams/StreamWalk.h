// Following the pieces of a container, which stand one behind the other, while its bytes are read.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <vector>

namespace qlx::streams::detail {

/// Bytes between two pieces, where nothing should be.
struct Stray {
    std::uint64_t begin = 0;  ///< Byte of the stream at which they begin.
    std::uint64_t size = 0;   ///< How many they are.

    /// Whether all fields are equal.
    [[nodiscard]] friend constexpr bool operator==(const Stray&, const Stray&) noexcept = default;
};

/// A piece that has begun.
struct Piece {
    std::uint64_t begin = 0;  ///< Byte of the stream at which it begins.
    std::uint64_t size = 0;   ///< Bytes that it has.

    /// Whether all fields are equal.
    [[nodiscard]] friend constexpr bool operator==(const Piece&, const Piece&) noexcept = default;
};

/// A piece whose end is missing.
struct CutPiece {
    std::uint64_t begin = 0;  ///< Byte of the stream at which it begins.
    std::uint64_t there = 0;  ///< Bytes that are there.
    std::uint64_t size = 0;   ///< Bytes that it would have; 0 when its length is not there either.

    /// Whether all fields are equal.
    [[nodiscard]] friend constexpr bool operator==(const CutPiece&, const CutPiece&) noexcept = default;
};

/// Goes from piece to piece, and finds what stands between them and whether the last one is whole.
class StreamWalk {
public:
    /// Tells the size of what begins with these bytes at a place: 0 when more of them are needed, which is so of none;
    /// nothing when no piece does.
    using Measure =
        std::function<std::optional<std::uint64_t>(std::uint64_t place, std::span<const std::uint8_t> bytes)>;

    /// No piece is longer: places stay far from the greatest number.
    static constexpr std::uint64_t kGreatestSize = std::uint64_t{1} << 60U;

    /// Begins at byte 0 of a stream.
    /// @param measure Needs no more than a few dozen bytes.
    /// @param start With what pieces begin, which is looked for behind damage, and at the beginning. Empty: the first
    ///   piece is at 0, and behind damage nothing is followed.
    StreamWalk(Measure measure, std::span<const std::uint8_t> start);

    /// Takes bytes that have been read. What has been taken before is passed over, and so is what stands behind a gap in
    /// which a piece may begin.
    void take(std::uint64_t place, std::span<const std::uint8_t> bytes);

    /// From now on the next piece is looked for behind a gap: nobody goes back to what is in it.
    void passGaps() noexcept { _passesGaps = true; }

    /// As many strays are kept.
    static constexpr std::size_t kMostStrays = 32;

    /// What has been found since the last call, up to the next piece; the first kMostStrays.
    [[nodiscard]] std::vector<Stray> takeStrays();

    /// How many more have been found since the last call of this, and are not kept.
    [[nodiscard]] std::uint64_t takeStraysLeftOut() noexcept;

    /// Whether the stream ends within a piece.
    /// @param end The bytes of the whole stream.
    /// @return The last piece when it is cut; none when it is whole, or nobody can tell.
    [[nodiscard]] std::optional<CutPiece> cutAt(std::uint64_t end) const;

    /// Whether the stream ends with something else than a piece.
    /// @param end The bytes of the whole stream.
    /// @return What stands behind the last piece; none when nothing does, or the last piece is cut.
    [[nodiscard]] std::optional<Stray> strayAt(std::uint64_t end) const;

    /// The last piece that has begun.
    [[nodiscard]] const std::optional<Piece>& last() const noexcept { return _last; }

private:
    void follow();
    void endStray(std::uint64_t end);

    Measure _measure;
    std::vector<std::uint8_t> _start;
    std::vector<std::uint8_t> _bytes;  ///< From _next on.
    std::uint64_t _next = 0;           ///< Where the next piece begins, or may begin.
    bool _isSearching = false;
    bool _passesGaps = false;
    bool _isLost = false;                     ///< For good.
    std::optional<std::uint64_t> _damagedAt;  ///< Where no piece began; none while the first one is looked for.
    std::optional<Piece> _last;
    std::vector<Stray> _strays;
    std::uint64_t _straysLeftOut = 0;
};

}  // namespace qlx::streams::detail
