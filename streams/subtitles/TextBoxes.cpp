#include "TextBoxes.h"

#include "../Boxes.h"
#include "BoxNumbers.h"

#include <qlx/anc/atom.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <utility>

namespace qlx::streams::detail {

namespace {

/// From byte `begin` of a file up to byte `end`.
struct BoxSpan {
    std::uint64_t begin = 0;
    std::uint64_t end = 0;
};

/// Goes through the boxes of an ISO file (ISO/IEC 14496-12, 4.2).
class BoxWalk {
public:
    using Read = std::function<std::size_t(std::uint64_t place, std::span<std::uint8_t> to)>;

    explicit BoxWalk(Read read) : _read(std::move(read)) {}

    /// Calls `take` for what each box of this type holds.
    template <class Take>
    void each(BoxSpan span, std::uint32_t type, const Take& take) {
        constexpr std::size_t kMostBoxes = 100'000;
        while (span.begin < span.end && !_isCut && !_isStopped) {
            std::array<std::uint8_t, anc::kLongAtomHeaderBytes> bytes{};
            const std::size_t most =
                static_cast<std::size_t>(std::min<std::uint64_t>(bytes.size(), span.end - span.begin));
            const std::size_t got = _read(span.begin, std::span(bytes).first(most));
            const Result<anc::AtomHeader> header = anc::parseAtomHeader(std::span(bytes).first(got));
            const std::uint64_t size = !header ? 0 : header->size == 0 ? span.end - span.begin : header->size;
            _isCut = !header || got < most || size > span.end - span.begin || ++_boxes > kMostBoxes;
            if (_isCut) {
                return;
            }
            if (header->type == type) {
                take(BoxSpan{span.begin + header->headerBytes, span.begin + size});
            }
            span.begin += size;
        }
    }

    /// As many bytes from the front of what a box holds, or fewer.
    std::vector<std::uint8_t> bytes(const BoxSpan& span, std::uint64_t most) {
        std::vector<std::uint8_t> bytes(static_cast<std::size_t>(std::min(span.end - span.begin, most)));
        const std::size_t got = _read(span.begin, bytes);
        _isCut = _isCut || got < bytes.size();
        bytes.resize(got);
        return bytes;
    }

    /// What is found does not make sense: nothing of it is taken.
    void fail() noexcept { _isCut = true; }

    /// Goes no further: all that is looked for has been seen.
    void stop() noexcept { _isStopped = true; }

    /// Whether a box, or what it holds, was not there as it says.
    [[nodiscard]] bool isCut() const noexcept { return _isCut; }

private:
    Read _read;
    std::size_t _boxes = 0;
    bool _isCut = false;  ///< Something of a file that is looked for is not there.
    bool _isStopped = false;
};

/// In front of them stands the version of a box (ISO/IEC 14496-12, 4.2).
constexpr unsigned kFlagBits = 24;

BoxSpan behind(const BoxSpan& span, std::uint64_t bytes) noexcept {
    return {std::min(span.begin + bytes, span.end), span.end};
}

/// The head that a sample description has, if it is one of WebVTT.
std::optional<std::string> headIn(BoxWalk& walk, const BoxSpan& table) {
    // Version, flags and count; what all sample entries begin with.
    constexpr std::uint64_t kCount = 8;
    constexpr std::uint64_t kEntry = 8;
    // The reader of such texts says what is too long.
    constexpr std::uint64_t kGreatestText = std::uint64_t{2} << 20U;
    std::optional<std::string> head;
    walk.each(table, boxes::kSampleDescriptions, [&](const BoxSpan& descriptions) {
        walk.each(behind(descriptions, kCount), boxes::kWebVttSamples, [&](const BoxSpan& entry) {
            head = head.value_or(std::string());
            walk.each(behind(entry, kEntry), boxes::kWebVttHead, [&](const BoxSpan& span) {
                const std::vector<std::uint8_t> text = walk.bytes(span, kGreatestText);
                head = head->empty() ? std::string(text.begin(), text.end()) : *head;
            });
        });
    });
    return head;
}

/// The field behind the two times that the heads of movies and tracks begin with.
std::uint32_t fieldBehindTimes(BoxWalk& walk, const BoxSpan& span) {
    constexpr std::uint64_t kMost = 24;
    const std::vector<std::uint8_t> bytes = walk.bytes(span, kMost);
    std::span<const std::uint8_t> rest = bytes;
    const bool isLong = takeNumber<std::uint32_t>(rest) >> kFlagBits == 1;
    for (int time = 0; time < 2; ++time) {
        (void)(isLong ? takeNumber<std::uint64_t>(rest) : takeNumber<std::uint32_t>(rest));
    }
    return takeNumber<std::uint32_t>(rest);
}

std::vector<Edit> editsIn(BoxWalk& walk, const BoxSpan& span) {
    constexpr std::size_t kMost = 1000;
    constexpr std::size_t kHead = 8;
    constexpr std::size_t kLongestEntry = 20;
    const std::vector<std::uint8_t> bytes = walk.bytes(span, kHead + kMost * kLongestEntry);
    std::span<const std::uint8_t> rest = bytes;
    const bool isLong = takeNumber<std::uint32_t>(rest) >> kFlagBits == 1;
    const std::size_t count = takeNumber<std::uint32_t>(rest);
    const std::size_t entry = isLong ? kLongestEntry : 12;
    if (bytes.size() < kHead || count > kMost || rest.size() < count * entry) {
        walk.fail();
        return {};
    }
    std::vector<Edit> edits(count);
    for (Edit& edit : edits) {
        edit.duration = isLong ? takeNumber<std::uint64_t>(rest) : takeNumber<std::uint32_t>(rest);
        edit.mediaTime = isLong ? takeNumber<std::int64_t>(rest) : takeNumber<std::int32_t>(rest);
        edit.isStill = takeNumber<std::uint32_t>(rest) == 0;
    }
    return edits;
}

TrackBoxes trackIn(BoxWalk& walk, const BoxSpan& span) {
    TrackBoxes track;
    walk.each(span, boxes::kTrackHead, [&](const BoxSpan& head) { track.number = fieldBehindTimes(walk, head); });
    walk.each(span, boxes::kTrackEdits, [&](const BoxSpan& edits) {
        walk.each(edits, boxes::kEditList, [&](const BoxSpan& list) { track.edits = editsIn(walk, list); });
    });
    walk.each(span, boxes::kTrackMedia, [&](const BoxSpan& media) {
        walk.each(media, boxes::kTrackInformation, [&](const BoxSpan& information) {
            walk.each(information, boxes::kSampleTable,
                      [&](const BoxSpan& table) { track.webVttHead = headIn(walk, table); });
        });
    });
    return track;
}

}  // namespace

std::optional<TextBoxes> textBoxesOf(ByteSource& source) {
    const auto size = source.size();
    const std::span<const std::uint8_t> first = size ? std::span<const std::uint8_t>() : source.peek(kLongestPeek);
    BoxWalk walk([&](std::uint64_t place, std::span<std::uint8_t> to) {
        if (size) {
            return source.seek(place) ? source.read(to) : 0;
        }
        const auto begin = first.subspan(static_cast<std::size_t>(std::min<std::uint64_t>(place, first.size())));
        const std::size_t count = std::min(begin.size(), to.size());
        std::copy_n(begin.begin(), count, to.begin());
        return count;
    });
    TextBoxes result;
    std::uint32_t timescale = 0;
    walk.each({0, size.value_or(first.size())}, boxes::kIndex, [&](const BoxSpan& index) {
        walk.each(index, boxes::kIndexHead, [&](const BoxSpan& head) { timescale = fieldBehindTimes(walk, head); });
        walk.each(index, boxes::kTrack, [&](const BoxSpan& track) { result.tracks.push_back(trackIn(walk, track)); });
        walk.stop();
    });
    if (size) {
        (void)source.seek(0);
    }
    constexpr std::uint32_t kGreatest = INT32_MAX;
    if (walk.isCut() || timescale == 0 || timescale > kGreatest) {
        return std::nullopt;
    }
    result.timescale = static_cast<std::int32_t>(timescale);
    return result;
}

}  // namespace qlx::streams::detail
