// Cues of all kinds on teletext pages: whatever they are, each packet can be read, headers and rows keep the order that
// receivers need, all is sent within a bounded time, and no page shows anything at the end.
#include "FuzzCues.h"

#include <qlx/playout/teletext.h>
#include <qlx/teletext/page.h>

#include <QLXClosedCaptionsUtilities/platform/Text.h>

#include <algorithm>
#include <array>
#include <optional>

using namespace qlx::teletext;
using qlxfuzz::require;

namespace {

constexpr std::array<std::uint16_t, 4> kPages{0x888, 0x801, 0x100, 0x899};

/// What a magazine may send next.
class MagazineChecker {
public:
    /// @param slot Of the field.
    void take(const Packet& packet, std::uint64_t slot) {
        if (packet.isHeader()) {
            const auto header = parseHeader(packet);
            require(header.hasValue() && header->isTimeFilling() == _page.has_value());
            _page = header->isTimeFilling() ? std::nullopt : std::optional(header->page);
            _erasedAt = header->erasesPage ? slot : ~std::uint64_t{0};
            _last = 0;
            return;
        }
        // X/28 in front of X/26, and both in front of the rows, which ascend behind the field of a header with C4.
        require(_page.has_value());
        const int order = packet.number == kPageDesignation ? 1 : packet.number == kEnhancement ? 2 : 2 + packet.number;
        require(packet.isRow() || packet.number == kPageDesignation || packet.number == kEnhancement);
        require(order > _last || (order == 2 && _last == 2));
        require(!packet.isRow() || _erasedAt != slot);
        _last = order;
    }
    void finish() const { require(!_page); }

private:
    std::optional<std::uint16_t> _page;
    std::uint64_t _erasedAt = ~std::uint64_t{0};
    int _last = 0;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    qlxfuzz::Input input(data, size);
    const std::uint8_t options = input.takeByte();
    const qlx::FrameRate rate = qlx::kFrameRates[options & 7U];
    qlx::playout::TeletextPlayout playout(rate, {.fields = static_cast<FrameFields>((options >> 3U) % 3),
                                                 .sdps = static_cast<std::uint8_t>(options >> 5U),
                                                 .repeatAfter = input.takeByte() % 2U,
                                                 .isSerial = (input.takeByte() & 1U) != 0});
    qlx::Findings findings;
    std::int64_t start = 0;
    std::uint64_t cues = 0;
    while (!input.empty() && cues < 8) {
        const std::uint8_t kind = input.takeByte();
        const qlx::subtitles::Cue cue = qlxfuzz::takeCue(input, start);
        (void)playout.add(cue,
                          {.page = kPages[kind & 3U],
                           .designation = static_cast<std::uint8_t>(input.takeByte() & 0x7FU),
                           .isDoubleHeight = (kind & 4U) != 0},
                          &findings);
        ++cues;
    }
    std::array<MagazineChecker, kGreatestMagazine> magazines;
    std::vector<PageReader> readers(kPages.begin(), kPages.end());
    qlx::Findings damage;
    std::uint64_t sdps = 0;
    // Eight cues of at most 255 of 50 frames a second each, sixteen packets X/26 and 23 rows, one or more a frame.
    constexpr std::uint64_t kMostFrames = 8 * 2 * (512 + 100);
    while (!playout.isDone()) {
        const std::uint64_t frame = playout.frame();
        require(frame < kMostFrames);
        for (const qlx::anc::Packet& packet : playout.next(&findings)) {
            const auto sdp = parseSdp(packet.userData, &damage);
            require(sdp.hasValue() && !sdp->lines.empty() && sdp->counter == static_cast<std::uint16_t>(sdps++));
            for (const SdpLine& line : sdp->lines) {
                require(line.line() >= kFirstVbiLine && line.line() <= kLastVbiLine);
                const auto teletext = parsePacket(line.bytes, &damage);
                require(teletext.hasValue());
                magazines[teletext->magazine - 1U].take(*teletext, 2 * frame + (packet.line == 12 ? 0 : 1));
            }
            for (PageReader& reader : readers) {
                (void)reader.receive(*sdp, &damage);
            }
        }
    }
    require(damage.empty());
    for (const MagazineChecker& magazine : magazines) {
        magazine.finish();
    }
    for (const PageReader& reader : readers) {
        require(!reader.screen().hasText());
    }
    for (const qlx::Finding& finding : findings) {
        require(finding.text().rfind("finding ", 0) != 0);
    }
    return 0;
}
