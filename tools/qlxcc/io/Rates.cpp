#include "io/Rates.h"

#include <charconv>
#include <cmath>
#include <limits>
#include <system_error>

namespace qlx::tool {

namespace {

/// The whole number that a text of decimal digits is; 0 for any other text.
std::int64_t wholeNumber(std::string_view text) noexcept {
    std::int64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    const bool isWhole = error == std::errc{} && end == text.data() + text.size() && number > 0 &&
                         number <= std::numeric_limits<std::int32_t>::max();
    return isWhole ? number : 0;
}

}  // namespace

std::optional<Rate> rateNamed(std::string_view name) noexcept {
    if (name == "23.98") {
        name = kRates.front().name;
    }
    const std::size_t slash = name.find('/');
    const bool isQuotient = slash != std::string_view::npos;
    const std::int64_t frames = isQuotient ? wholeNumber(name.substr(0, slash)) : 0;
    const std::int64_t seconds = isQuotient ? wholeNumber(name.substr(slash + 1)) : 0;
    for (const Rate& rate : kRates) {
        if (rate.name == name || (seconds > 0 && frames * rate.value == seconds * rate.timescale)) {
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
