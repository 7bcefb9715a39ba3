// KLV triplets (SMPTE ST 336): a key of 16 bytes, a length in one of its BER forms, and a value of that length.
#pragma once

#include <qlx/base/finding.h>
#include <qlx/base/limits.h>
#include <qlx/base/result.h>
#include <qlx/klv/keys.h>

#include <QLXClosedCaptionsUtilities/platform/Data.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <vector>

namespace qlx::klv {

/// A length as it stands in front of a value.
struct Length {
    std::uint64_t value = 0;  ///< Bytes of the value.
    /// Bytes that it takes: 1 (values below 128), or 2 to 9: the first one, 80h and the number of the others, included.
    std::uint8_t bytes = 1;

    /// Whether all fields are equal.
    [[nodiscard]] friend constexpr bool operator==(const Length&, const Length&) noexcept = default;
};

/// Most bytes of a length.
inline constexpr std::size_t kGreatestLengthBytes = 9;

/// The fewest bytes in which a length can be written.
[[nodiscard]] constexpr std::uint8_t shortestLengthBytes(std::uint64_t value) noexcept {
    std::uint8_t bytes = 1;
    for (std::uint64_t rest = value < 0x80 ? 0 : value; rest != 0; rest >>= 8U) {
        ++bytes;
    }
    return bytes;
}

/// What stands in front of a value.
struct TripletHeader {
    Key key{};      ///< What the value is.
    Length length;  ///< How long it is.

    /// Bytes of key and length.
    [[nodiscard]] constexpr std::size_t size() const noexcept { return key.size() + length.bytes; }

    /// Whether all fields are equal.
    [[nodiscard]] friend constexpr bool operator==(const TripletHeader&, const TripletHeader&) noexcept = default;
};

/// Reads the length at the beginning of `bytes`. A Finding says that it is cut (KlvCut), indefinite (80h), which
/// triplets cannot be (KlvLengthIndefinite), or has more than eight bytes behind the first (KlvLengthTooLong).
[[nodiscard]] QLX_EXPORT Result<Length> parseLength(std::span<const std::uint8_t> bytes);

/// Reads the key and length at the beginning of `bytes`. A Finding says that there is no universal label
/// (KlvKeyWrong), that they are cut (KlvCut), or what parseLength() says.
[[nodiscard]] QLX_EXPORT Result<TripletHeader> parseTripletHeader(std::span<const std::uint8_t> bytes);

/// Writes a key and a length into `room` and gives the bytes used; a Finding when the value needs more bytes of length
/// (KlvLengthDoesNotFit) or `room` is too small (OutputTooSmall).
[[nodiscard]] QLX_EXPORT Result<std::size_t> writeTripletHeader(const TripletHeader& header,
                                                                std::span<std::uint8_t> room);

/// As many bytes lengths usually have in MXF files: 83h and three bytes.
inline constexpr std::uint8_t kUsualLengthBytes = 4;

/// Writes a triplet into `room` and gives the bytes used; failure is as with writeTripletHeader().
[[nodiscard]] QLX_EXPORT Result<std::size_t> writeTriplet(const Key& key, std::span<const std::uint8_t> value,
                                                          std::span<std::uint8_t> room,
                                                          std::uint8_t lengthBytes = kUsualLengthBytes);
/// The same as bytes of their own.
[[nodiscard]] QLX_EXPORT Result<Data> writeTriplet(const Key& key, std::span<const std::uint8_t> value,
                                                   std::uint8_t lengthBytes = kUsualLengthBytes);

/// A triplet that a Reader has found. The value is the reader's and lives up to its next call.
struct TripletView {
    TripletHeader header;                 ///< Key and length.
    std::uint64_t offset = 0;             ///< Byte of the stream at which the key begins.
    std::span<const std::uint8_t> value;  ///< Empty where it is not kept.
    bool isValueKept = true;              ///< False for a value that is longer than the reader keeps.
};

/// How triplets are read.
struct ReaderOptions {
    /// Longer values are passed over: their triplets are given without them.
    std::uint64_t greatestValue = std::uint64_t{32} * 1024 * 1024;
    /// Of a stream that can be looked at where it has not been pushed yet, as a file can: copies what is there from
    /// byte `place` of the stream on into `room`, and gives how many bytes that are; 0 at the end and behind it. It is
    /// asked where a value that is not kept ends.
    std::function<std::size_t(std::uint64_t place, std::span<std::uint8_t> room)> lookAhead = nullptr;
    ReadLimits limits{};  ///< Of the stream; the items are triplets.
};

/// The longest value of an ANC frame element: 65,535 packets of the longest size, with room to spare.
inline constexpr std::uint64_t kGreatestAncFrameElement = std::uint64_t{32} * 1024 * 1024;

/// Reads triplets from a stream whose bytes come in pieces of any size.
///
///     qlx::klv::Reader reader({}, &findings);
///     const auto take = [&] {
///         while (const auto triplet = reader.next()) {
///             if (qlx::klv::isAncFrameElement(triplet->header.key)) {
///                 use(triplet->value);
///             }
///         }
///     };
///     while (more(piece)) {
///         reader.push(piece);
///         take();
///     }
///     reader.finish();
///     take();
///
/// A triplet is given when it is known that another key, or the end of the stream, stands behind it. Where that is not
/// so its length is in doubt: when a triplet that leads on stands inside it, reading goes on there, and otherwise it is
/// given as it is. Where no key with a length is, the next one is looked for that leads to another key or to the end.
/// A value that is longer than is kept is believed when ReaderOptions::lookAhead() shows another key, or the end,
/// behind it. Otherwise it is looked through while it passes: where a triplet that leads on stands inside it, reading
/// goes on there. What was skipped is a finding, with its place and size. Reading takes linear time whatever the bytes
/// are, and memory for two of the longest values that are kept and the longest piece.
class Reader {
public:
    /// Reads from the beginning of a stream. `findings` is told what is wrong, with the byte offset in the stream; it
    /// may be null, else it must outlive this.
    explicit Reader(const ReaderOptions& options = {}, FindingSink* findings = nullptr)
        : _options(options), _findings(findings), _budget(options.limits) {
        // A triplet's size stays a number.
        _options.greatestValue = std::min(_options.greatestValue, UINT64_MAX / 2);
    }

    /// Takes the next bytes of the stream. Triplets that were given before are no longer valid.
    QLX_EXPORT void push(std::span<const std::uint8_t> bytes);

    /// Says that the stream has ended: nothing is pushed any more.
    void finish() noexcept { _isFinished = true; }

    /// The next triplet; none when more bytes are needed, or at the end.
    [[nodiscard]] QLX_EXPORT std::optional<TripletView> next();

    /// The fewest bytes with which next() may have more to give, when it has given none; in a value that is not kept,
    /// those up to its end.
    [[nodiscard]] QLX_EXPORT std::uint64_t wanted() const;

    /// Bytes of the stream in front of what is read next.
    [[nodiscard]] std::uint64_t offset() const noexcept { return _offset + _given; }

private:
    enum class State : std::uint8_t {
        AtTriplet,  ///< A triplet should begin here.
        Searching,  ///< None did.
        Passing,    ///< In a value that is not kept.
    };
    enum class Leads : std::uint8_t { On, Nowhere, Unknown };
    enum class Step : std::uint8_t { Again, Give, Wait };

    Step readTriplet();
    Step readDoubtful(const TripletHeader& header);
    Step passValue();
    Step search();
    [[nodiscard]] Leads searchInside(std::size_t end);
    /// Whether nothing stands behind what is there; behind what a limit has cut something does.
    [[nodiscard]] bool isEndThere() const noexcept { return _isFinished && !_budget.isCut(); }
    [[nodiscard]] bool endsAtKey(std::uint64_t end) const;
    [[nodiscard]] Leads leadsOn(std::size_t at) const;
    [[nodiscard]] Leads leadsOn(const TripletHeader& header, std::span<const std::uint8_t> bytes) const;
    Step give(const TripletHeader& header, bool isValueKept);
    void doubt(const Finding& why);
    void drop(std::size_t count) noexcept;
    void report(FindingCode code, Severity severity, std::uint64_t offset, std::uint64_t first, std::uint64_t second);
    [[nodiscard]] std::span<const std::uint8_t> rest() const noexcept {
        return std::span<const std::uint8_t>(_buffer).subspan(_begin);
    }

    ReaderOptions _options;
    FindingSink* _findings;
    std::vector<std::uint8_t> _buffer;
    std::size_t _begin = 0;       ///< Of what is read next in `_buffer`.
    std::uint64_t _offset = 0;    ///< The same in the stream.
    std::size_t _given = 0;       ///< Bytes of a triplet that was given: they go with the next call.
    std::size_t _searched = 0;    ///< Behind `_begin`, up to here no triplet that leads on begins.
    std::uint64_t _damageAt = 0;  ///< Where the search began.
    std::uint64_t _left = 0;      ///< Of a value that is not kept.
    TripletView _triplet;
    State _state = State::AtTriplet;
    bool _isInDoubt = false;  ///< Of a value that is not kept: it is looked through.
    bool _isFinished = false;
    ReadBudget _budget;
};

}  // namespace qlx::klv
