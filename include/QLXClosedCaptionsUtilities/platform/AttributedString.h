// Colours and attributed strings as plain data, for hosts that display subtitles.
#pragma once

#include <QLXClosedCaptionsUtilities/platform/Value.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace qlx {

/// A display colour: the subtitle colour constant (1 red ... 7 white) with its components from 0 to 1.
struct Color {
    std::int32_t constant = 0;  ///< The subtitle colour constant.
    double red = 0;             ///< 0 to 1.
    double green = 0;           ///< 0 to 1.
    double blue = 0;            ///< 0 to 1.

    /// Field by field.
    friend bool operator==(const Color&, const Color&) = default;
};

/// Runs of text, each with its attributes.
class AttributedString {
public:
    /// A piece of text whose characters have the same attributes.
    struct Run {
        std::string text;       ///< UTF-8.
        Dictionary attributes;  ///< Attributes by name.

        /// By text and attributes.
        friend bool operator==(const Run&, const Run&) = default;
    };

    AttributedString() = default;
    /// One run of the whole text.
    AttributedString(std::string text, Dictionary attributes) {
        _runs.push_back({std::move(text), std::move(attributes)});
    }

    /// Adds the runs of `other` behind these.
    void append(const AttributedString& other) { _runs.insert(_runs.end(), other._runs.begin(), other._runs.end()); }

    /// The runs in order; none is empty.
    [[nodiscard]] const std::vector<Run>& runs() const noexcept { return _runs; }

    /// The text of all runs.
    [[nodiscard]] std::string string() const {
        std::string result;
        for (const Run& run : _runs) {
            result += run.text;
        }
        return result;
    }

    /// By the runs.
    friend bool operator==(const AttributedString&, const AttributedString&) = default;

private:
    std::vector<Run> _runs;
};

}  // namespace qlx
