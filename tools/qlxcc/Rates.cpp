#include "Rates.h"

#include <cmath>

namespace qlx::tool {

std::optional<Rate> rateNamed(std::string_view name) noexcept {
    for (const Rate& rate : kRates) {
        if (rate.name == name) {
            return rate;
        }
    }
    return std::nullopt;
}

std::uint64_t firstFrameAtOrAfter(const Rate& rate, double seconds) noexcept {
    if (!(seconds > 0.0)) {
        return 0;
    }
    const double estimate = seconds * rate.timescale / static_cast<double>(rate.value);
    auto frame = static_cast<std::uint64_t>(std::floor(estimate));
    // The product above is rounded: the decision is made on the times that the frames really get.
    while (frame > 0 && secondsFrom(rate.timeOfFrame(frame - 1)) >= seconds) {
        --frame;
    }
    while (secondsFrom(rate.timeOfFrame(frame)) < seconds) {
        ++frame;
    }
    return frame;
}

}  // namespace qlx::tool
