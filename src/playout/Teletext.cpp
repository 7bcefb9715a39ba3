// Which rows of which cues stand on a page, from when to when.
#include <qlx/playout/teletext.h>

#include "base/MakeFinding.h"

#include <qlx/teletext/packet.h>

#include <algorithm>
#include <array>
#include <limits>
#include <span>
#include <utility>

namespace qlx::playout {

namespace {

using RowMask = std::uint32_t;

/// A bit for each row of the page that they take.
template <class Rows>
RowMask maskOf(const Rows& rows) {
    RowMask mask = 0;
    for (const auto& row : rows) {
        mask |= (row.isDoubleHeight ? RowMask{3} : RowMask{1}) << row.row;
    }
    return mask;
}

teletext::WriterOptions writerOptions(const TeletextPlayoutOptions& options) {
    constexpr std::uint8_t kGreatestSdps = teletext::kGreatestFieldSdps;
    teletext::WriterOptions writer;
    writer.fields = options.fields;
    writer.packetsPerField = static_cast<std::uint8_t>(std::clamp(options.sdps, std::uint8_t{1}, kGreatestSdps) *
                                                       teletext::kGreatestSdpLines);
    writer.repeatAfter = options.repeatAfter;
    writer.isSerial = options.isSerial;
    writer.firstFrame = options.firstFrame;
    writer.region = options.region;
    return writer;
}

}  // namespace

TeletextPlayout::TeletextPlayout(FrameRate rate, const TeletextPlayoutOptions& options)
    : _rate(rate), _options(options), _writer(rate, writerOptions(options)), _stream(options.fillsFields) {}

TeletextPlayout::Page& TeletextPlayout::pageOf(const TeletextOptions& options) {
    const auto page = std::find_if(_pages.begin(), _pages.end(),
                                   [&options](const Page& one) { return one.options.page == options.page; });
    if (page != _pages.end()) {
        return *page;
    }
    _pages.emplace_back().options = options;
    return _pages.back();
}

bool TeletextPlayout::add(const subtitles::Cue& cue, TeletextOptions options, FindingSink* findings) {
    options.findingsOffset = _cues++;
    if (_cues == 1 && nominalFramesPerSecond(_rate) % 25 != 0) {
        addTo(findings,
              makeFinding(FindingCode::PlayoutRateUnusual, Severity::Remark, 0, nominalFramesPerSecond(_rate)));
    }
    const auto start = firstFrameAtOrAfter(cue.start, _rate);
    const auto end = firstFrameAtOrAfter(cue.end, _rate);
    const auto refuse = [&](FindingCode code, std::uint64_t first, std::uint64_t second) {
        addTo(findings, makeFinding(code, Severity::Error, options.findingsOffset, first, second));
        return false;
    };
    if (!start || !end) {
        return refuse(FindingCode::PlayoutTimeWrong, start ? 2 : 1, 0);
    }
    if (*end <= *start) {
        return refuse(FindingCode::TeletextTimesWrong, *start, *end);
    }
    const teletext::PageHeader asked{.page = options.page, .subcode = options.subcode};
    if (!teletext::packetOf(asked) || !asked.isCallable() || options.designation >= teletext::kDesignations) {
        return refuse(FindingCode::TeletextPageNotCallable, options.page, options.subcode);
    }
    Page& page = pageOf(options);
    options.subcode = page.options.subcode;
    options.designation = page.options.designation;
    const std::vector<teletext::PageRow> rows = teletextRowsOf(cue, options, findings);
    if (rows.empty()) {
        addTo(findings, makeFinding(FindingCode::TeletextPageEmpty, Severity::Remark, options.findingsOffset));
        return false;
    }
    if (*start < page.lastStart) {
        return refuse(FindingCode::PlayoutOrderWrong, *start, page.lastStart);
    }
    // What the page shows up to its start is settled; what goes on behind it is made anew with it.
    compose(page, *start, true, findings);
    PlacedCue placed{options.findingsOffset, *start, *end, {}};
    if (!place(page, placed, rows, options, findings)) {
        return false;
    }
    page.lastStart = *start;
    page.composed = *start;
    page.cues.push_back(std::move(placed));
    return true;
}

/// Finds free rows for a cue, beside those that are on air at its start.
bool TeletextPlayout::place(const Page& page, PlacedCue& cue, const std::vector<teletext::PageRow>& rows,
                            const TeletextOptions& options, FindingSink* findings) const {
    RowMask taken = 0;
    for (const PlacedCue& other : page.cues) {
        taken |= other.end > cue.start ? maskOf(other.rows) : RowMask{0};
    }
    const RowMask wanted = maskOf(rows);
    const std::uint8_t first = rows.front().row;
    std::uint8_t up = 0;
    while (up < first && (wanted >> up & taken) != 0) {
        ++up;
    }
    if (up == first) {
        addTo(findings, makeFinding(FindingCode::PlayoutCueLeftOut, Severity::Error, cue.number, first));
        return false;
    }
    if (up > 0) {
        addTo(findings, makeFinding(FindingCode::PlayoutCueMoved, Severity::Warning, cue.number, first, first - up));
    }
    for (teletext::PageRow row : rows) {
        row.row = static_cast<std::uint8_t>(row.row - up);
        if (auto coded = teletext::codeRow(row, options.designation, findings, cue.number)) {
            cue.rows.push_back(std::move(*coded));
        }
    }
    return !cue.rows.empty();
}

/// Tells the writer what the page shows, from where it knows it up to a frame. What is not final may be changed by a cue
/// that is added later: then it is told how long it would go on, too.
void TeletextPlayout::compose(Page& page, std::uint64_t until, bool isFinal, FindingSink* findings) {
    while (page.composed < until && !page.cues.empty()) {
        const std::uint64_t from = page.composed;
        std::uint64_t next = isFinal ? until : std::numeric_limits<std::uint64_t>::max();
        teletext::CodedPage state{.page = page.options.page, .subcode = page.options.subcode, .start = from};
        state.designation = page.options.designation;
        for (const PlacedCue& cue : page.cues) {
            if (cue.start > from) {
                next = std::min(next, cue.start);
            } else if (cue.end > from) {
                next = std::min(next, cue.end);
                state.findingsOffset = cue.number;
                for (const teletext::CodedRow& row : cue.rows) {
                    static_cast<void>(teletext::insertRow(state.rows, row));
                }
            }
        }
        state.end = next;
        if (!state.rows.empty()) {
            // A cue that comes when its frame has been told of is shown later.
            if (page.hasState && state.start <= page.lastState) {
                state.start = page.lastState + 1;
                addTo(findings, makeFinding(FindingCode::TeletextPageLate, Severity::Warning, state.findingsOffset,
                                            from, state.start - from));
            }
            if (state.start < state.end) {
                page.hasState = true;
                page.lastState = state.start;
                static_cast<void>(_writer.add(std::move(state), findings));
            }
        }
        page.composed = next;
    }
    page.composed = std::max(page.composed, until);
    std::erase_if(page.cues, [until](const PlacedCue& cue) { return cue.end <= until; });
}

/// The first frame of which the writer does not know, in which the page changes.
std::optional<std::uint64_t> TeletextPlayout::nextChange(const Page& page) {
    std::optional<std::uint64_t> next;
    for (const PlacedCue& cue : page.cues) {
        for (const std::uint64_t frame : {cue.start, cue.end}) {
            if (frame >= page.composed && (!next || frame < *next)) {
                next = frame;
            }
        }
    }
    return next;
}

std::vector<anc::Packet> TeletextPlayout::next(FindingSink* findings) {
    // The header of a page goes in the frame before its start.
    constexpr std::uint64_t kAhead = 2;
    for (Page& page : _pages) {
        compose(page, _writer.frame() + kAhead, false, findings);
        if (_options.repeatAfter != 0) {
            _writer.expectChange(page.options.page, nextChange(page));
        }
    }
    std::vector<anc::Packet> packets;
    _events.clear();
    for (std::uint8_t field = 0; field < _writer.fieldsPerFrame(); ++field) {
        const teletext::FieldPackets sent = _writer.next(findings);
        _events.insert(_events.end(), _writer.events().begin(), _writer.events().end());
        for (const teletext::Sdp& sdp : _stream.next(sent.packets.items(), sent.isOdd)) {
            std::array<std::uint8_t, teletext::kGreatestSdpBytes> room;
            // There is room, and lines have descriptors.
            const std::size_t size = *teletext::writeSdp(sdp, room);
            packets.push_back({.did = anc::ids::kOp47.did,
                               .sdid = anc::ids::kOp47.sdid,
                               .userData = {room.begin(), room.begin() + static_cast<std::ptrdiff_t>(size)},
                               .line = field == 0 ? _options.firstLine : _options.secondLine});
        }
    }
    return packets;
}

bool TeletextPlayout::isDone() const noexcept {
    return _writer.isDone() &&
           std::all_of(_pages.begin(), _pages.end(), [](const Page& page) { return page.cues.empty(); });
}

}  // namespace qlx::playout
