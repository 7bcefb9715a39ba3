// The order in which coded pictures are presented, told by their own headers: for streams without times, or with times
// that nobody can rely on.
//
//     qlx::video::PictureOrder<Captions> order({qlx::video::Codec::H264});
//     order.add(unit->bytes, captionsOf(*unit));
//     while (auto captions = order.take()) { show(*captions); }
#pragma once

#include <qlx/video/h264.h>
#include <qlx/video/hevc.h>
#include <qlx/video/nal.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
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

    /// The place of the next picture of the stream.
    /// @param unit Its access unit.
    [[nodiscard]] QLX_EXPORT std::int64_t placeOf(std::span<const std::uint8_t> unit);

    /// Where the places begin of the sequence or group that came last. What stands in front of it is complete, but for
    /// the first pictures of an open group, which have places of their own in it.
    [[nodiscard]] std::int64_t base() const noexcept { return _base; }

private:
    [[nodiscard]] std::optional<std::int64_t> mpeg2Place(std::span<const std::uint8_t> unit);
    [[nodiscard]] std::int64_t temporalPlace(std::int64_t reference);
    template <class Units>
    [[nodiscard]] std::optional<std::int64_t> h264Place(const Units& units);
    [[nodiscard]] std::optional<std::int64_t> cycleCount(const H264Sequence& sequence,
                                                         const detail::H264Slice& slice) noexcept;
    [[nodiscard]] std::int64_t turnedCount(const H264Sequence& sequence, const detail::H264Slice& slice) noexcept;
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
    std::map<std::uint32_t, H264Sequence> _sequences;
    std::map<std::uint32_t, H264Picture> _pictures;
    std::map<std::uint32_t, H265Sequence> _h265Sequences;
    std::map<std::uint32_t, H265Picture> _h265Pictures;
};

/// As many pictures wait at most: H.264 lets 16 frames overtake another, which may be 32 fields.
inline constexpr std::size_t kLongestPictureWait = 33;

/// Takes what belongs to coded pictures in the order of the stream, and gives it in the order of presentation.
template <class Item>
class PictureOrder {
public:
    /// Orders the pictures of a stream from its beginning.
    explicit PictureOrder(const StreamForm& form) : _count(form) {}

    /// Takes what rides along with the next picture of the stream, whose access unit is looked at, and not kept.
    void add(std::span<const std::uint8_t> unit, Item item) { _waiting.emplace(_count.placeOf(unit), std::move(item)); }

    /// No picture follows.
    void finish() noexcept { _isFinished = true; }

    /// What belongs to the next picture; none as long as that is not known.
    [[nodiscard]] std::optional<Item> take() {
        const bool isKnown = _isFinished || _waiting.size() > kLongestPictureWait ||
                             (!_waiting.empty() && _waiting.begin()->first < _count.base());
        if (_waiting.empty() || !isKnown) {
            return std::nullopt;
        }
        std::optional<Item> item = std::move(_waiting.begin()->second);
        _waiting.erase(_waiting.begin());
        return item;
    }

private:
    PictureCount _count;
    std::multimap<std::int64_t, Item> _waiting;
    bool _isFinished = false;
};

}  // namespace qlx::video
