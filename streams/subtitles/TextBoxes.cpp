#include "TextBoxes.h"

#include "../Boxes.h"
#include "BoxNumbers.h"

#include <qlx/anc/atom.h>

#include <algorithm>
#include <array>
#include <bit>
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
        // Fewer bytes than a box has fill it up.
        while (span.begin + anc::kAtomHeaderBytes <= span.end && !_isCut && !_isStopped) {
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

    /// Goes on behind what is damaged.
    /// @return Whether there was something.
    bool takeDamage() noexcept { return std::exchange(_isCut, false); }

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
            if (head) {
                return;
            }
            head.emplace();
            walk.each(behind(entry, kEntry), boxes::kWebVttHead, [&](const BoxSpan& span) {
                if (head->empty()) {
                    const std::vector<std::uint8_t> text = walk.bytes(span, kGreatestText);
                    head->assign(text.begin(), text.end());
                }
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
    constexpr std::uint32_t kNormalRate = 0x10000;
    const std::vector<std::uint8_t> bytes = walk.bytes(span, kHead + kMost * kLongestEntry);
    std::span<const std::uint8_t> rest = bytes;
    const std::uint32_t version = takeNumber<std::uint32_t>(rest) >> kFlagBits;
    const bool isLong = version == 1;
    const std::size_t count = takeNumber<std::uint32_t>(rest);
    const std::size_t entry = isLong ? kLongestEntry : 12;
    if (bytes.size() < kHead || version > 1 || count > kMost || rest.size() < count * entry) {
        walk.fail();
        return {};
    }
    std::vector<Edit> edits(count);
    for (Edit& edit : edits) {
        edit.duration = isLong ? takeNumber<std::uint64_t>(rest) : takeNumber<std::uint32_t>(rest);
        edit.mediaTime = isLong ? takeNumber<std::int64_t>(rest) : takeNumber<std::int32_t>(rest);
        const auto rate = takeNumber<std::uint32_t>(rest);
        edit.isStill = rate == 0;
        if (edit.mediaTime < -1 || (edit.mediaTime >= 0 && rate != 0 && rate != kNormalRate)) {
            walk.fail();
            return {};
        }
    }
    return edits;
}

/// The duration that the last samples in a table of times have.
std::optional<std::uint32_t> lastTimeIn(BoxWalk& walk, const BoxSpan& span) {
    constexpr std::uint64_t kHead = 8;
    constexpr std::uint64_t kEntry = 8;
    const std::vector<std::uint8_t> head = walk.bytes(span, kHead);
    std::span<const std::uint8_t> rest = head;
    takeNumber<std::uint32_t>(rest);
    const std::uint64_t count = takeNumber<std::uint32_t>(rest);
    if (count == 0) {
        return std::nullopt;
    }
    const std::vector<std::uint8_t> entry = walk.bytes(behind(span, kHead + (count - 1) * kEntry), kEntry);
    rest = entry;
    takeNumber<std::uint32_t>(rest);
    return rest.empty() ? std::nullopt : std::optional(takeNumber<std::uint32_t>(rest));
}

TrackBoxes trackIn(BoxWalk& walk, const BoxSpan& span) {
    TrackBoxes track;
    walk.each(span, boxes::kTrackHead, [&](const BoxSpan& head) { track.number = fieldBehindTimes(walk, head); });
    walk.each(span, boxes::kTrackEdits, [&](const BoxSpan& edits) {
        walk.each(edits, boxes::kEditList, [&](const BoxSpan& list) { track.edits = editsIn(walk, list); });
    });
    walk.each(span, boxes::kTrackMedia, [&](const BoxSpan& media) {
        walk.each(media, boxes::kTrackInformation, [&](const BoxSpan& information) {
            walk.each(information, boxes::kSampleTable, [&](const BoxSpan& table) {
                track.webVttHead = headIn(walk, table);
                walk.each(table, boxes::kSampleTimes,
                          [&](const BoxSpan& times) { track.lastDuration = lastTimeIn(walk, times); });
            });
        });
    });
    if (walk.takeDamage()) {
        track = {track.number, false, {}, {}, {}};
    }
    return track;
}

/// What a file says of the last sample of a track: the duration that is usual for it, and that of its last one.
struct LastSample {
    std::optional<std::uint32_t> usual;
    std::optional<std::uint32_t> last;
};

/// A run of samples (ISO/IEC 14496-12, 8.8.8).
void takeRun(BoxWalk& walk, const BoxSpan& span, LastSample& sample) {
    constexpr std::uint32_t kDuration = 0x100;
    constexpr std::uint64_t kField = 4;
    const std::vector<std::uint8_t> head = walk.bytes(span, 2 * kField);
    std::span<const std::uint8_t> rest = head;
    const auto flags = takeNumber<std::uint32_t>(rest);
    const std::uint64_t count = takeNumber<std::uint32_t>(rest);
    if (count == 0) {
        return;
    }
    // A place of the data and flags of the first sample; of each sample its duration, size, flags and offset.
    const auto inFront = static_cast<std::uint64_t>(std::popcount(flags & 0x5U));
    const auto ofEach = static_cast<std::uint64_t>(std::popcount(flags & 0xF00U));
    const std::uint64_t place = (2 + inFront + (count - 1) * ofEach) * kField;
    const std::vector<std::uint8_t> entry = walk.bytes(behind(span, place), kField);
    rest = entry;
    sample.last = (flags & kDuration) == 0 ? sample.usual
                  : rest.size() < kField   ? std::nullopt
                                           : std::optional(takeNumber<std::uint32_t>(rest));
}

/// A part of a fragment (8.8.6), if it is one of this track; takes no other one.
void takeFragment(BoxWalk& walk, const BoxSpan& span, std::uint32_t track, LastSample& sample) {
    constexpr std::uint32_t kDuration = 0x8;
    constexpr std::uint64_t kMost = 24;
    bool isOfTrack = false;
    LastSample own = sample;
    walk.each(span, boxes::kTrackFragmentHead, [&](const BoxSpan& head) {
        const std::vector<std::uint8_t> bytes = walk.bytes(head, kMost);
        std::span<const std::uint8_t> rest = bytes;
        const auto flags = takeNumber<std::uint32_t>(rest);
        isOfTrack = takeNumber<std::uint32_t>(rest) == track;
        // In front of it the place of the data and the number of the description.
        const std::size_t before = ((flags & 0x1U) != 0 ? 8 : 0) + ((flags & 0x2U) != 0 ? 4 : 0);
        if ((flags & kDuration) != 0 && rest.size() >= before + sizeof(std::uint32_t)) {
            rest = rest.subspan(before);
            own.usual = takeNumber<std::uint32_t>(rest);
        }
    });
    if (isOfTrack) {
        walk.each(span, boxes::kTrackRun, [&](const BoxSpan& run) { takeRun(walk, run, own); });
        sample.last = own.last;
    }
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
        walk.each(index, boxes::kIndexExtends, [&](const BoxSpan&) { result.hasFragments = true; });
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

std::optional<std::uint32_t> lastFragmentDuration(ByteSource& source, std::uint32_t track) {
    const auto size = source.size();
    if (!size) {
        return std::nullopt;
    }
    const std::uint64_t before = source.offset();
    BoxWalk walk([&source](std::uint64_t place, std::span<std::uint8_t> to) {
        return source.seek(place) ? source.read(to) : std::size_t{0};
    });
    LastSample sample;
    std::vector<BoxSpan> fragments;
    const BoxSpan file{0, *size};
    walk.each(file, boxes::kFragment, [&](const BoxSpan& fragment) { fragments.push_back(fragment); });
    // What is behind damage is not read either.
    (void)walk.takeDamage();
    walk.each(file, boxes::kIndex, [&](const BoxSpan& index) {
        walk.each(index, boxes::kIndexExtends, [&](const BoxSpan& extends) {
            walk.each(extends, boxes::kTrackExtends, [&](const BoxSpan& one) {
                constexpr std::uint64_t kMost = 16;
                const std::vector<std::uint8_t> bytes = walk.bytes(one, kMost);
                std::span<const std::uint8_t> rest = bytes;
                takeNumber<std::uint32_t>(rest);
                const bool isOfTrack = takeNumber<std::uint32_t>(rest) == track;
                takeNumber<std::uint32_t>(rest);
                const auto duration = takeNumber<std::uint32_t>(rest);
                sample.usual = isOfTrack ? std::optional(duration) : sample.usual;
            });
        });
    });
    (void)walk.takeDamage();
    while (!fragments.empty() && !sample.last) {
        walk.each(fragments.back(), boxes::kTrackFragment,
                  [&](const BoxSpan& part) { takeFragment(walk, part, track, sample); });
        fragments.pop_back();
    }
    (void)source.seek(before);
    return sample.last;
}

}  // namespace qlx::streams::detail
