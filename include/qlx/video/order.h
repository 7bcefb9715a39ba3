// The order in which coded pictures are presented, told by their own headers: for streams without times, or with times
// that nobody can rely on.
//
//     qlx::video::PictureOrder<Captions> order({qlx::video::Codec::H264});
//     order.add(unit->bytes, captionsOf(*unit));
//     while (auto captions = order.take()) { show(*captions); }
#pragma once

#include <qlx/base/finding.h>
#include <qlx/video/h264.h>
#include <qlx/video/hevc.h>
#include <qlx/video/nal.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <map>
#include <optional>
#include <span>
#include <utility>

namespace qlx::video {

namespace detail {
struct H264Slice;
}  // namespace detail

/// Counts the places of pictures in the order of presentation, from what their headers say: temporal_reference over the
/// groups of pictures (ISO/IEC 13818-2, 6.3.9), or the picture order count over the coded video sequences (ITU-T H.264,
/// 8.2.1.1 and 8.2.1.2; ITU-T H.265, 8.3.1). Pictures of H.264's type 2 are presented as they stand (8.2.1.3), and so are
/// taken those without their parameters. Of a frame the field counts that is presented first. A picture of H.264 whose
/// memory management control operation is 5 begins the count anew: all in front of it are presented before it, and its own
/// count becomes 0 when it has been decoded (8.2.1, C.4.4).
class PictureCount {
public:
    /// Counts the pictures of a stream from its beginning.
    explicit PictureCount(const StreamForm& form) noexcept : _form(form) {}

    /// Takes the parameter sets of a container's record of H.264 (AVCDecoderConfigurationRecord, ISO/IEC 14496-15,
    /// 5.3.3.1), as far as it is whole; there may be others in front of the pictures. Nothing is taken of other codecs.
    QLX_EXPORT void takeConfiguration(std::span<const std::uint8_t> configuration);

    /// The place of the next picture of the stream.
    /// @param unit Its access unit.
    [[nodiscard]] QLX_EXPORT std::int64_t placeOf(std::span<const std::uint8_t> unit);

    /// Whether the last picture was a field whose other one may come next.
    [[nodiscard]] bool isFirstField() const noexcept { return _field.has_value(); }
    /// Whether the last picture was the second field of the frame that the picture in front of it began: two field pictures
    /// of opposite parity with one temporal_reference (ISO/IEC 13818-2, 6.1.1.4.1 and 6.3.9), or with one frame_num and
    /// no new count in the second one (ITU-T H.264, 3.30 and 3.31). Pictures of H.265 are taken as frames.
    [[nodiscard]] bool isSecondField() const noexcept { return _isSecondField; }

    /// Whether the last picture stands as in the stream because its parameter sets are missing: it may have to be presented
    /// elsewhere.
    [[nodiscard]] bool lacksParameters() const noexcept { return _lacksParameters; }

    /// Where the places begin of the sequence or group that came last. What stands in front of it is complete, but for
    /// the first pictures of an open group, which have places of their own in it.
    [[nodiscard]] std::int64_t base() const noexcept { return _base; }

private:
    /// A field picture.
    struct Field {
        bool isBottom = false;
        std::int64_t frame = 0;    ///< temporal_reference or frame_num
        bool canBeSecond = false;  ///< Nothing begins anew with it.
    };

    [[nodiscard]] std::optional<std::int64_t> mpeg2Place(std::span<const std::uint8_t> unit);
    [[nodiscard]] std::int64_t temporalPlace(std::int64_t reference);
    void takeH264Parameters(std::span<const std::uint8_t> unit);
    template <class Units>
    [[nodiscard]] std::optional<std::int64_t> h264Place(const Units& units);
    [[nodiscard]] std::optional<std::int64_t> cycleCount(const H264Sequence& sequence,
                                                         const detail::H264Slice& slice) noexcept;
    [[nodiscard]] std::int64_t turnedCount(const H264Sequence& sequence, const detail::H264Slice& slice) noexcept;
    [[nodiscard]] const H264Sequence* sequenceOf(std::span<const std::uint8_t> slice) const;
    [[nodiscard]] std::optional<detail::H264Slice> headerOf(std::span<const std::uint8_t> slice) const;
    [[nodiscard]] std::optional<std::int64_t> slicePlace(std::span<const std::uint8_t> slice);
    template <class Units>
    [[nodiscard]] std::optional<std::int64_t> h265Place(const Units& units);
    [[nodiscard]] std::optional<std::int64_t> h265SlicePlace(std::span<const std::uint8_t> slice);
    [[nodiscard]] std::int64_t unwrapped(std::int64_t low, std::uint32_t bits) const noexcept;
    void beginAnew() noexcept;

    StreamForm _form;
    std::int64_t _base = 0;       ///< Where the pictures of this sequence or group begin.
    std::int64_t _greatest = -1;  ///< The last one so far.
    std::int64_t _high = 0;       ///< What the counter in the headers has passed, in whole turns.
    std::int64_t _low = 0;        ///< Its last value; of H.264's type 1 both are of frame_num.
    bool _isEnded = false;        ///< H.265: an end of sequence was the last unit.
    std::optional<Field> _field;  ///< The last picture, as long as its other field has not come.
    bool _isSecondField = false;
    bool _lacksParameters = false;
    std::map<std::uint32_t, H264Sequence> _sequences;
    std::map<std::uint32_t, H264Picture> _pictures;
    std::map<std::uint32_t, H265Sequence> _h265Sequences;
    std::map<std::uint32_t, H265Picture> _h265Pictures;
};

/// Says how many pictures stand as in the stream for want of their parameter sets: those in front of the first ones, where a
/// recording begins between them.
class PicturesWithoutParameters {
public:
    /// Takes the next picture of the stream.
    /// @param lacksParameters What PictureCount says of it.
    /// @param offset Its byte of the stream.
    /// @param findings Gets VideoParametersNotYetThere, at the first one of those in front of it; may be null.
    void take(bool lacksParameters, std::uint64_t offset, FindingSink* findings) {
        if (!lacksParameters) {
            finish(findings);
            return;
        }
        _first = _count++ == 0 ? offset : _first;
    }

    /// No picture follows: the same of the last ones.
    void finish(FindingSink* findings) {
        if (const std::int64_t count = std::exchange(_count, 0); count > 0 && findings != nullptr) {
            findings->add({FindingCode::VideoParametersNotYetThere, Severity::Warning, _first, count, 0});
        }
    }

private:
    std::int64_t _count = 0;
    std::uint64_t _first = 0;
};

/// As many pictures wait at most: H.264 lets 16 frames overtake another, which may be 32 fields. A field whose other one
/// has not come may wait beside them.
inline constexpr std::size_t kLongestPictureWait = 33;

/// Takes what belongs to coded pictures in the order of the stream, and gives it in the order of presentation: picture by
/// picture, or frame by frame where the caller says how what belongs to two fields is joined.
template <class Item>
class PictureOrder {
public:
    /// Orders the pictures of a stream from its beginning.
    explicit PictureOrder(const StreamForm& form) : _count(form) {}

    /// Takes what rides along with the next picture of the stream, whose access unit is looked at, and not kept.
    void add(std::span<const std::uint8_t> unit, Item item) { _waiting.emplace(_count.placeOf(unit), std::move(item)); }

    /// The same, but for the second field of a frame, which becomes part of the first one: join(Item& first, Item second).
    /// @return Whether it did.
    template <class Join>
    bool add(std::span<const std::uint8_t> unit, Item item, const Join& join) {
        const std::int64_t place = _count.placeOf(unit);
        if (_first && _count.isSecondField()) {
            join(std::prev(_waiting.upper_bound(*_first))->second, std::move(item));
            _first.reset();
            return true;
        }
        _waiting.emplace(place, std::move(item));
        _first = _count.isFirstField() ? std::optional(place) : std::nullopt;
        return false;
    }

    /// Of the picture that was added last, as PictureCount says it.
    [[nodiscard]] bool lacksParameters() const noexcept { return _count.lacksParameters(); }

    /// No picture follows.
    void finish() noexcept { _isFinished = true; }

    /// What belongs to the next picture; none as long as that is not known.
    [[nodiscard]] std::optional<Item> take() {
        if (_waiting.empty()) {
            return std::nullopt;
        }
        const std::int64_t place = _waiting.begin()->first;
        const bool isKnown = _waiting.size() > kLongestPictureWait || place < _count.base();
        if (!_isFinished && (!isKnown || place == _first)) {
            return std::nullopt;
        }
        std::optional<Item> item = std::move(_waiting.begin()->second);
        _waiting.erase(_waiting.begin());
        return item;
    }

private:
    PictureCount _count;
    std::multimap<std::int64_t, Item> _waiting;
    std::optional<std::int64_t> _first;  ///< The place of a field that waits for its other one, the last one there.
    bool _isFinished = false;
};

}  // namespace qlx::video
