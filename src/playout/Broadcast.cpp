// CEA-608 and CEA-708 in one packet.
#include <qlx/cc/slots.h>
#include <qlx/playout/broadcast.h>

#include "base/MakeFinding.h"
#include "playout/CueRows.h"

#include <algorithm>
#include <array>
#include <utility>

namespace qlx::playout {

namespace {

/// Where the window is held, so that text of another size stays where it is asked for.
cea708::AnchorPoint heldAt(const subtitles::Cue& cue, const cea608::Caption& caption) noexcept {
    constexpr std::size_t kPointsOfLine = 3;
    std::size_t across = 0;
    for (const subtitles::Row& row : cue.rows) {
        across = row.alignment == subtitles::Alignment::Center  ? 1
                 : row.alignment == subtitles::Alignment::Right ? 2
                                                                : across;
    }
    constexpr std::size_t kMiddleRow = 8;
    const bool isAbove = !caption.rows.empty() && caption.rows.back().row < kMiddleRow;
    return static_cast<cea708::AnchorPoint>((isAbove ? 0 : 2 * kPointsOfLine) + across);
}

}  // namespace

Result<cea708::Caption> serviceCaptionOf(const subtitles::Cue& cue, FrameRate rate, const ServiceOptions& options,
                                         FindingSink* findings) {
    Result<cea608::Caption> line21 =
        detail::captionOnScreen(cue, rate, {.findingsOffset = options.findingsOffset}, options.aspectRatio, findings);
    if (!line21) {
        return line21.error();
    }
    cea708::Caption caption;
    caption.start = line21->start;
    caption.end = line21->end;
    caption.service = options.service;
    caption.style = options.style;
    caption.rollUpRows = options.rollUpRows;
    caption.anchor = heldAt(cue, *line21);
    for (cea608::CaptionRow& row : line21->rows) {
        caption.rows.push_back({row.row, row.column, std::move(row.cells)});
    }
    return caption;
}

/// A text begins an empty box where it is the first one of its channel.
void BroadcastPlayout::addText(cea608::Caption& caption, FindingSink* findings) {
    const auto bit =
        static_cast<std::uint8_t>(1U << (2U * (caption.channel.field - 1U) + caption.channel.channel - 1U));
    cea608::TextMessage text{.start = caption.start, .channel = caption.channel, .restarts = (_textsBegun & bit) == 0};
    text.rows = std::move(caption.rows);
    _textsBegun = static_cast<std::uint8_t>(_textsBegun | bit);
    _line21.addText(text, findings);
}

bool BroadcastPlayout::add(const subtitles::Cue& cue, const BroadcastTargets& targets, FindingSink* findings) {
    const std::uint64_t number = _cues++;
    bool isTaken = true;
    // Both writers go on counting: they leave an empty caption out.
    cea608::Caption line21;
    if (targets.line21) {
        CaptionOptions options = *targets.line21;
        options.findingsOffset = number;
        Result<cea608::Caption> made = captionOf(cue, _rate, options, findings);
        if (made) {
            line21 = std::move(*made);
        } else {
            addTo(findings, made.error());
        }
        if (options.channel.isText && made && !line21.rows.empty()) {
            addText(line21, findings);
        } else {
            isTaken = _line21.add(line21, made ? findings : nullptr);
        }
    } else {
        (void)_line21.add(line21);
    }
    cea708::Caption service;
    if (targets.service) {
        ServiceOptions options = *targets.service;
        options.findingsOffset = number;
        options.aspectRatio = _options.services.aspectRatio;
        // What is wrong with the cue has been told.
        FindingSink* const cueFindings = targets.line21 ? nullptr : findings;
        Result<cea708::Caption> made = serviceCaptionOf(cue, _rate, options, cueFindings);
        if (made) {
            service = std::move(*made);
        } else {
            addTo(cueFindings, made.error());
        }
        isTaken = _services.add(service, made ? findings : nullptr) && isTaken;
    } else {
        (void)_services.add(service);
    }
    return isTaken;
}

Result<std::size_t> BroadcastPlayout::setServices(std::span<const cc::CaptionService> services) {
    if (services.empty()) {
        _information.removeServiceInformation();
        return std::size_t{0};
    }
    return _information.setServices(services);
}

cc::Cdp BroadcastPlayout::next(FindingSink* findings) {
    const auto counter = static_cast<std::uint16_t>(_line21.frame());
    cc::Cdp cdp = cdpOf(_line21.next(findings), _rate, counter);
    const std::span<const cc::Triplet> dtvcc = _services.next(findings);
    if (!dtvcc.empty()) {
        std::array<cc::Triplet, cc::kGreatestTriplets> triplets{};
        const std::span<const cc::Triplet> line21 = cdp.triplets();
        std::copy(line21.begin(), line21.end(), triplets.begin());
        // The pairs of CEA-608 stand in front; behind them is room for all that the rate has for DTVCC.
        const auto place = std::find_if(triplets.begin(), triplets.end(),
                                        [](const cc::Triplet& triplet) { return triplet.isDtvcc(); });
        std::copy(dtvcc.begin(), dtvcc.end(), place);
        (void)cdp.setTriplets(std::span(triplets).first(line21.size()));
    }
    if (_information.hasServiceInformation()) {
        // As many as there are have room beside the triplets of any rate.
        (void)cdp.setServices(_information.services(), _information.serviceInformationFlags());
    }
    return cdp;
}

}  // namespace qlx::playout
