#include "FieldFrames.h"

#include <utility>
#include <vector>

namespace qlx::streams::detail {

void joinSecondField(Frame& first, const Frame& second) {
    if (!first.triplets) {
        first.triplets = second.triplets;
    } else if (!second.triplets.empty()) {
        std::vector<std::uint8_t> both(first.triplets.begin(), first.triplets.end());
        both.insert(both.end(), second.triplets.begin(), second.triplets.end());
        first.triplets = Data(both);
    }
}

FieldFrames::FieldFrames(const video::StreamForm& form, std::span<const std::uint8_t> configuration) : _count(form) {
    _count.takeConfiguration(configuration);
}

void FieldFrames::add(std::span<const std::uint8_t> unit, FrameSample sample, FrameOrder& order) {
    (void)_count.placeOf(unit);
    if (_first && _count.isSecondField()) {
        joinSecondField(_first->frame, sample.frame);
        finish(order);
        return;
    }
    finish(order);
    if (_count.isFirstField()) {
        _first = std::move(sample);
    } else {
        order.add(std::move(sample));
    }
}

void FieldFrames::finish(FrameOrder& order) {
    if (std::optional<FrameSample> first = std::exchange(_first, std::nullopt)) {
        order.add(std::move(*first));
    }
}

}  // namespace qlx::streams::detail
