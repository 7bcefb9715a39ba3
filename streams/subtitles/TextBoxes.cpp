#include "TextBoxes.h"

#include "../Boxes.h"

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

    std::string text(const BoxSpan& span) {
        // The reader of such texts says what is too long.
        constexpr std::uint64_t kGreatest = std::uint64_t{2} << 20U;
        std::vector<std::uint8_t> bytes(static_cast<std::size_t>(std::min(span.end - span.begin, kGreatest)));
        const std::size_t got = _read(span.begin, bytes);
        _isCut = _isCut || got < bytes.size();
        return {bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(got)};
    }

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

BoxSpan behind(const BoxSpan& span, std::uint64_t bytes) noexcept {
    return {std::min(span.begin + bytes, span.end), span.end};
}

/// The head that a sample description has, if it is one of WebVTT.
std::optional<std::string> headIn(BoxWalk& walk, const BoxSpan& table) {
    // Version, flags and count; what all sample entries begin with.
    constexpr std::uint64_t kCount = 8;
    constexpr std::uint64_t kEntry = 8;
    std::optional<std::string> head;
    walk.each(table, boxes::kSampleDescriptions, [&](const BoxSpan& descriptions) {
        walk.each(behind(descriptions, kCount), boxes::kWebVttSamples, [&](const BoxSpan& entry) {
            head = head.value_or(std::string());
            walk.each(behind(entry, kEntry), boxes::kWebVttHead,
                      [&](const BoxSpan& text) { head = head->empty() ? walk.text(text) : *head; });
        });
    });
    return head;
}

}  // namespace

std::optional<std::vector<std::string>> webVttHeads(ByteSource& source) {
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
    std::vector<std::string> heads;
    bool hasIndex = false;
    BoxSpan file{0, size.value_or(first.size())};
    walk.each(file, boxes::kIndex, [&](const BoxSpan& index) {
        hasIndex = true;
        walk.each(index, boxes::kTrack, [&](const BoxSpan& track) {
            walk.each(track, boxes::kTrackMedia, [&](const BoxSpan& media) {
                walk.each(media, boxes::kTrackInformation, [&](const BoxSpan& information) {
                    walk.each(information, boxes::kSampleTable, [&](const BoxSpan& table) {
                        if (auto head = headIn(walk, table)) {
                            heads.push_back(std::move(*head));
                        }
                    });
                });
            });
        });
        walk.stop();
    });
    if (size) {
        (void)source.seek(0);
    }
    return hasIndex && !walk.isCut() ? std::optional(std::move(heads)) : std::nullopt;
}

}  // namespace qlx::streams::detail
