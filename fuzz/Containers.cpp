// Containers as a whole, their text tracks and the samples of these, and what brings samples into the order of
// presentation. The first byte says which.
#include "streams/FrameOrder.h"
#include "streams/PictureTimes.h"
#include "streams/subtitles/TextSamples.h"

#include <qlx/streams/byte_source.h>
#include <qlx/streams/container.h>
#include <qlx/streams/text_tracks.h>

#include "FuzzSupport.h"

#include <array>
#include <optional>
#include <string>

using qlx::streams::Frame;
using qlx::streams::InputKind;
using qlxfuzz::Input;
using qlxfuzz::require;
namespace detail = qlx::streams::detail;

namespace {

/// Ends with a finding or the end of the file, and frames are counted.
void readContainer(Input& input, InputKind kind) {
    const std::vector<std::uint8_t> bytes = input.rest();
    qlx::streams::MemorySource source(bytes);
    qlx::streams::ContainerReader reader(source, kind);
    qlx::Findings findings;
    Frame frame;
    std::uint64_t frames = 0;
    auto more = reader.next(frame, &findings);
    for (; more && *more; more = reader.next(frame, &findings)) {
        require(frame.number == frames++);
        if (frames > bytes.size()) {
            // Samples of a movie may lie over one another.
            require(kind == InputKind::Mov);
            return;
        }
    }
    require(more || !more.error().text().empty());
    for (const qlx::Finding& finding : findings) {
        require(!finding.text().empty());
        (void)reader.placeOf(finding);
    }
    (void)reader.takeLibraryTexts();
}

/// A time near others, or any.
std::int64_t timeOf(Input& input) {
    const std::uint8_t kind = input.takeByte();
    const std::int64_t time = std::int64_t{input.takeByte()} * 40'000 + input.takeByte() - 128;
    return kind < 250 ? time : (kind % 2 == 0 ? 1 : -1) * (std::int64_t{1} << (kind - 250) * 7) * time;
}

/// Every sample is in a frame, and frames are counted and later from one to the next, but where a stream begins anew.
void orderFrames(Input& input) {
    const std::size_t streams = 1 + input.takeByte() % 3;
    detail::FrameOrder order(streams);
    std::size_t given = 0;
    std::size_t taken = 0;
    std::uint64_t frames = 0;
    const auto take = [&] {
        while (const std::optional<Frame> frame = order.take()) {
            require(frame->number == frames++);
            taken += frame->packets.size();
        }
    };
    while (!input.empty()) {
        const std::uint8_t what = input.takeByte();
        detail::FrameSample sample;
        sample.stream = what % streams;
        if ((what & 0x10U) == 0) {
            sample.presentation = timeOf(input);
        }
        if ((what & 0x20U) == 0) {
            sample.decoding = timeOf(input);
        }
        sample.tolerance = (what & 0x40U) == 0 ? 0 : 500;
        sample.frame.packets.emplace_back();
        order.add(std::move(sample));
        ++given;
        take();
    }
    order.finish();
    take();
    require(taken == given && frames <= given);
}

/// As many pictures come out as went in, counted on; times that contradict each other may come out so.
void orderPictures(Input& input) {
    const std::uint8_t form = input.takeByte();
    const std::int64_t duration = form % 4 == 0 ? 0 : 3600;
    const auto codec = (form & 0x10U) == 0 ? qlx::video::Codec::Mpeg2 : qlx::video::Codec::H264;
    detail::PictureTimes pictures({codec, std::size_t{0}}, duration);
    std::size_t given = 0;
    std::size_t taken = 0;
    const auto take = [&] {
        while (const std::optional<Frame> frame = pictures.take()) {
            require(frame->number == taken++);
        }
    };
    while (!input.empty()) {
        const std::uint8_t what = input.takeByte();
        Frame frame;
        if (what % 3 != 0) {
            frame.pts = qlx::MediaTime::make(timeOf(input), 90'000);
        }
        const std::uint8_t first = input.takeByte();
        const std::array<std::uint8_t, 8> picture{0, 0, 1, 0, first, input.takeByte(), 0xFF, 0xF8};
        const std::array<std::uint8_t, 8> slice{0,     0,    1,    static_cast<std::uint8_t>(0x61U | (first & 4U)),
                                                first, 0x88, 0x80, 0x80};
        pictures.add(codec == qlx::video::Codec::Mpeg2 ? picture : slice, std::move(frame));
        ++given;
        take();
    }
    pictures.finish();
    take();
    require(taken == given);
}

/// The cues of all text tracks have times, and reading ends.
void readTextTracks(Input& input) {
    const InputKind kind = input.takeByte() % 2 == 0 ? InputKind::Mov : InputKind::Mkv;
    const std::vector<std::uint8_t> bytes = input.rest();
    qlx::streams::MemorySource source(bytes);
    qlx::streams::TextTrackReader reader(source, kind);
    if (const auto error = reader.open()) {
        require(!error->text().empty());
        return;
    }
    qlx::Findings findings;
    const auto takeCue = [](const qlx::subtitles::Cue& cue) { require(cue.start.isValid() && cue.end.isValid()); };
    const auto error = reader.read(0, takeCue, &findings);
    require(!error || !error->text().empty());
    require(!reader.tracks().empty() || error);
}

/// Any bytes as a sample: cues of its time, and nothing else.
void readTextSample(Input& input) {
    const std::uint8_t form = input.takeByte();
    const std::vector<std::uint8_t> bytes = input.rest();
    const detail::SampleSpan span{qlx::MediaTime::make(90'000, 90'000), qlx::MediaTime::make(200'000, 90'000)};
    const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    qlx::Findings findings;
    const auto take = [&span](const qlx::subtitles::Cue& cue) {
        require(cue.start == span.begin && cue.end == span.end);
    };
    const std::string name(text.substr(0, form % 8));
    const detail::SampleHead regions{"STYLE\n::cue(.a) { color: red }\n\n", {{name, "REGION\nid:" + name + "\n\n"}}};
    switch (form % 5) {
    case 0:
        detail::readTimedText(bytes, detail::timedTextDefaults(bytes), span, take, findings);
        break;
    case 1:
        detail::readWvtt(bytes, span, regions, take, findings);
        break;
    case 2:
        detail::readSubRipText(text, span, take, findings);
        break;
    case 3: {
        const std::size_t half = text.size() / 2;
        detail::SubStationSamples samples(text.substr(0, half), findings);
        samples.read(text.substr(half), span, take);
        samples.finish();
        break;
    }
    default:
        detail::readWebVttText(text, text.substr(0, form), text.substr(text.size() / 2), span,
                               form % 8 == 4 ? std::optional<std::int64_t>(form * 1000) : std::nullopt, regions, take,
                               findings);
        break;
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::array kKinds{InputKind::Mxf,           InputKind::Mov, InputKind::TransportStream,
                                InputKind::ProgramStream, InputKind::Mkv, InputKind::Flv};
    Input input(data, size);
    const std::size_t which = input.takeByte() % (kKinds.size() + 4);
    if (which < kKinds.size()) {
        readContainer(input, kKinds[which]);
        return 0;
    }
    switch (which - kKinds.size()) {
    case 0:
        readTextTracks(input);
        break;
    case 1:
        readTextSample(input);
        break;
    case 2:
        orderFrames(input);
        break;
    default:
        orderPictures(input);
        break;
    }
    return 0;
}
