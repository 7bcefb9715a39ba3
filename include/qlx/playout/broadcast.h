// Cues as broadcasters send them: as captions of CEA-608 (CTA-608-E), of a DTVCC service (CTA-708), or both in one
// caption distribution packet (SMPTE ST 334-2), with the service information.
//
//     qlx::playout::BroadcastPlayout playout(qlx::FrameRate::Fps5994);
//     const std::array services{qlx::cc::CaptionService::line21(false, {'e', 'n', 'g'}),
//                               qlx::cc::CaptionService::digital(1, {'e', 'n', 'g'})};
//     if (const auto count = playout.setServices(services); !count) { report(count.error().text()); }
//     const qlx::playout::BroadcastTargets targets{.line21 = qlx::playout::CaptionOptions{},
//                                                  .service = qlx::playout::ServiceOptions{}};
//     playout.add(cue, targets, &findings);
//     while (!playout.isDone()) {
//         std::array<std::uint8_t, qlx::cc::kGreatestCdpBytes> room;
//         const qlx::Result<std::size_t> size = qlx::cc::writeCdp(playout.next(&findings), room);
//         send(std::span(room).first(*size));
//     }
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>
#include <qlx/base/finding.h>
#include <qlx/base/frame_rate.h>
#include <qlx/base/result.h>
#include <qlx/cc/cdp.h>
#include <qlx/cea608/writer.h>
#include <qlx/cea708/writer.h>
#include <qlx/playout/captions.h>
#include <qlx/subtitles/cue.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <utility>
#include <vector>

namespace qlx::playout {

/// In which service, and how, a cue is sent.
struct ServiceOptions {
    std::uint8_t service = 1;                                     ///< 1 to 63.
    cea708::CaptionStyle style = cea708::CaptionStyle::PopOn;     ///< How it comes to the screen.
    std::uint8_t rollUpRows = 2;                                  ///< RollUp: 2 to 4.
    cea708::AspectRatio aspectRatio = cea708::AspectRatio::Wide;  ///< Of the picture.
    std::uint64_t findingsOffset = 0;                             ///< What findings have as their offset.
};

/// The caption of a cue in a service. Its text stands where captionOf() has it on the 32 columns of CEA-608, which are
/// in the middle of the 42 at 16:9; there that of a cue with columns of 42 stands on these, also where a box says them
/// that is on the 42 and not on the 32 as well (subtitles::isOnGrid()). Its window is held where the cue's rows are
/// aligned: left, in the middle, right, and at the top where it is in the upper half of the screen.
///
/// Fails as captionOf() does.
[[nodiscard]] QLX_EXPORT Result<cea708::Caption> serviceCaptionOf(const subtitles::Cue& cue, FrameRate rate,
                                                                  const ServiceOptions& options = {},
                                                                  FindingSink* findings = nullptr);

/// Where a cue is sent: what is none is not.
struct BroadcastTargets {
    /// CC1 to CC4, or T1 to T4: the rows of a cue stand below those of the cue before it there (the first one begins an
    /// empty box), are sent from the cue's start on as captions let them, and stay, whenever the cue ends.
    std::optional<CaptionOptions> line21{};
    std::optional<ServiceOptions> service{};  ///< A service of DTVCC.
};

/// How all of it is sent. The first frame that counts is that of `line21`, the aspect ratio that of `services`.
struct BroadcastOptions {
    cea608::WriterOptions line21{};           ///< CEA-608.
    cea708::ServiceWriterOptions services{};  ///< CEA-708.
};

/// Takes cues, those of a channel and those of a service in the order of their starts, and gives the packet of frame
/// after frame: the pairs of CEA-608 first, then the triplets of DTVCC, then padding up to as many as frames of the
/// rate have (qlx::cc::slotsOf).
///
/// The offset of findings is the number of the cue, counted by add() from 0.
class BroadcastPlayout {
public:
    /// Has nothing to send yet; the next frame is the first one of the options, and frame 0 is at 0 s.
    explicit BroadcastPlayout(FrameRate rate, const BroadcastOptions& options = {})
        : _rate(rate), _options(options), _line21(rate, options.line21), _services(rate, servicesOf(options)) {}

    /// Takes a cue. The offsets and the aspect ratio of `targets` do not count. What is found while rows are placed is
    /// told once.
    /// @return False, with a finding, when it is left out in one of them: its times are none, it has no text, it is
    /// shorter than a frame, or does not start behind the start of the one before it there.
    QLX_EXPORT bool add(const subtitles::Cue& cue, const BroadcastTargets& targets, FindingSink* findings = nullptr);

    /// Takes extended data (qlx::cea608::Writer::setXds()).
    void setXds(std::vector<cea608::XdsPacket> packets, std::uint32_t every = 10, FindingSink* findings = nullptr) {
        _line21.setXds(std::move(packets), every, findings);
    }

    /// The service information that each packet has from now on; none of it for no service. More than
    /// qlx::cc::kGreatestServices: CdpTooManyServices, and nothing is changed.
    QLX_EXPORT Result<std::size_t> setServices(std::span<const cc::CaptionService> services);

    /// The packet of the next frame. Its counter is the low 16 bits of the frame's number.
    [[nodiscard]] QLX_EXPORT cc::Cdp next(FindingSink* findings = nullptr);

    /// What became of cues in CEA-608 with the last frame, in order; valid until the next call of next(). Texts are
    /// only begun.
    [[nodiscard]] std::span<const cea608::CaptionEvent> line21Events() const noexcept { return _line21.events(); }
    /// The same in services.
    [[nodiscard]] std::span<const cea708::CaptionEvent> serviceEvents() const noexcept { return _services.events(); }

    /// The number of the next frame.
    [[nodiscard]] std::uint64_t frame() const noexcept { return _line21.frame(); }
    /// Whether all was sent, and nothing stays on the screen.
    [[nodiscard]] bool isDone() const noexcept { return _line21.isDone() && _services.isDone(); }

private:
    /// Both writers count the same frames.
    static cea708::ServiceWriterOptions servicesOf(const BroadcastOptions& options) noexcept {
        cea708::ServiceWriterOptions services = options.services;
        services.firstFrame = options.line21.firstFrame;
        return services;
    }

    void addText(cea608::Caption& caption, FindingSink* findings);

    FrameRate _rate;
    BroadcastOptions _options;
    cea608::Writer _line21;
    cea708::Writer _services;
    std::uint8_t _textsBegun = 0;  ///< A bit for each of T1 to T4 that has a text.
    cc::Cdp _information;          ///< Of which the service information counts.
    std::uint64_t _cues = 0;
};

}  // namespace qlx::playout
