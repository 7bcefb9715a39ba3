#include "PictureStream.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace qlx::streams::detail {

namespace {

// With times for each packet of a stream, or for the first picture in it alone, a few pictures would do: one in 0.7 s at
// least has a time (ISO/IEC 13818-1, 2.7.4).
constexpr std::size_t kMostHeld = 64;
constexpr std::size_t kMostHeldBytes = std::size_t{16} * 1024 * 1024;

/// Frames of a stream between two pictures that have a time of decoding.
struct Stretch {
    std::int64_t microseconds = 0;
    std::int64_t frames = 0;

    [[nodiscard]] double ofFrame() const { return static_cast<double>(microseconds) / static_cast<double>(frames); }
};

}  // namespace

PictureStream::PictureStream(PictureStreamForm form)
    : _form(std::move(form)), _fields(_form.form, _form.configuration),
      _times(_form.form, _form.frameDuration, _form.first) {}

void PictureStream::add(std::span<const std::uint8_t> unit, FrameSample sample, FrameOrder& order) {
    if (_form.trust != PictureTrust::Told) {
        passOn(unit, std::move(sample), order);
        return;
    }
    _held.push_back({{unit.begin(), unit.end()}, std::move(sample)});
    _heldBytes += unit.size();
    if (_held.size() == kMostHeld || _heldBytes > kMostHeldBytes) {
        decide(order);
    }
}

void PictureStream::decide(FrameOrder& order) {
    const bool isWhole =
        std::all_of(_held.begin(), _held.end(), [](const Held& held) { return held.sample.frame.pts.has_value(); });
    _form.trust = isWhole ? PictureTrust::Whole : PictureTrust::None;
    if (!isWhole) {
        takeDuration();
        _times = PictureTimes(_form.form, _form.frameDuration, _form.first);
    }
    for (Held& held : std::exchange(_held, {})) {
        passOn(held.unit, std::move(held.sample), order);
    }
}

/// What a frame lasts: what the times of decoding of the first ones say, but for steps that are longer, where some are
/// missing.
void PictureStream::takeDuration() {
    video::PictureCount count(_form.form);
    std::vector<Stretch> stretches;
    std::optional<std::int64_t> last;
    std::int64_t frames = 0;
    for (const Held& held : _held) {
        (void)count.placeOf(held.unit);
        frames += count.isSecondField() ? 0 : 1;
        if (const std::optional<std::int64_t> time = held.sample.decoding; time && !count.isSecondField()) {
            if (last && *time > *last) {
                stretches.push_back({*time - *last, frames});
            }
            last = time;
            frames = 0;
        }
    }
    if (stretches.empty()) {
        return;
    }
    const auto isShorter = [](const Stretch& one, const Stretch& other) { return one.ofFrame() < other.ofFrame(); };
    const double longest = 1.5 * std::min_element(stretches.begin(), stretches.end(), isShorter)->ofFrame();
    Stretch whole;
    for (const Stretch& stretch : stretches) {
        if (stretch.ofFrame() < longest) {
            whole.microseconds += stretch.microseconds;
            whole.frames += stretch.frames;
        }
    }
    constexpr double kMicrosecond = 1e-6;
    _form.frameDuration = std::llround(whole.ofFrame() * kMicrosecond * _form.timescale);
}

void PictureStream::passOn(std::span<const std::uint8_t> unit, FrameSample sample, FrameOrder& order) {
    if (_form.trust == PictureTrust::None) {
        _times.add(unit, std::move(sample.frame));
        takeTimes(order);
        return;
    }
    if (!sample.frame.pts && _latest && _form.frameDuration > 0) {
        sample.frame.pts = MediaTime::make(_latest->value + _form.frameDuration, _latest->timescale);
        sample.presentation = microseconds(*sample.frame.pts);
    }
    if (sample.presentation && (!_latest || sample.frame.pts->value > _latest->value)) {
        _latest = sample.frame.pts;
    }
    _fields.add(unit, std::move(sample), order);
}

void PictureStream::takeTimes(FrameOrder& order) {
    while (std::optional<Frame> frame = _times.take()) {
        FrameSample sample;
        if (frame->pts) {
            sample.presentation = microseconds(*frame->pts);
            sample.decoding = sample.presentation;
        }
        sample.tolerance = _form.tolerance;
        sample.frame = std::move(*frame);
        order.add(std::move(sample));
    }
}

void PictureStream::finish(FrameOrder& order) {
    if (_form.trust == PictureTrust::Told) {
        decide(order);
    }
    _fields.finish(order);
    _times.finish();
    takeTimes(order);
}

}  // namespace qlx::streams::detail
