// Ruby in TTML, which is that of WebVTT in cues.
#pragma once

#include <qlx/subtitles/cue.h>
#include <qlx/subtitles/webvtt.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>

namespace qlx::streams::detail {

inline constexpr std::string_view kRuby = "ttml.tts:ruby";  ///< Of a run that is read.

/// Makes what a run is of ruby (TTML2, tts:ruby) what WebVTT says of it; delimiters and whatever else stay as they are.
inline void takeRuby(subtitles::Properties& all) {
    const auto ruby = std::find_if(all.begin(), all.end(),
                                   [](const subtitles::Property& property) { return property.name == kRuby; });
    if (ruby == all.end() || (ruby->value != "base" && ruby->value != "text")) {
        return;
    }
    const bool isText = ruby->value == "text";
    all.erase(ruby);
    all.push_back({std::string(subtitles::properties::kWebVttRuby), {}});
    if (isText) {
        all.push_back({std::string(subtitles::properties::kWebVttRubyText), {}});
    }
}

/// Whether blanks stand between the parts of ruby, where they are not shown (TTML2, tts:ruby).
[[nodiscard]] inline bool isBetweenRuby(const subtitles::Properties& all) {
    const std::string* const ruby = subtitles::valueOf(all, kRuby);
    return ruby != nullptr && (*ruby == "container" || *ruby == "baseContainer" || *ruby == "textContainer");
}

/// What a run is of ruby (TTML2, tts:ruby).
enum class Ruby : std::uint8_t { None, Base, Text };

[[nodiscard]] inline Ruby rubyOf(const subtitles::Run& run) noexcept {
    return subtitles::valueOf(run.properties, subtitles::properties::kWebVttRubyText) != nullptr ? Ruby::Text
           : subtitles::valueOf(run.properties, subtitles::properties::kWebVttRuby) != nullptr   ? Ruby::Base
                                                                                                 : Ruby::None;
}

/// The spans around the runs of a row that are ruby: a container, and one of its base and one of its text in it.
class RubySpans {
public:
    explicit RubySpans(std::string& text) noexcept : _text(text) {}

    /// In front of a run, and behind the last one of a row.
    void change(Ruby to) {
        if (to == _ruby) {
            return;
        }
        _text += _ruby != Ruby::None ? "</span>" : "";
        const bool isSamePair = _ruby == Ruby::Base && to == Ruby::Text;
        if (!isSamePair) {
            _text += _ruby != Ruby::None ? "</span>" : "";
            _text += to != Ruby::None ? "<span tts:ruby=\"container\">" : "";
            // A text has a base.
            _text += to == Ruby::Text ? "<span tts:ruby=\"base\"></span>" : "";
        }
        _text += to == Ruby::Base ? "<span tts:ruby=\"base\">" : to == Ruby::Text ? "<span tts:ruby=\"text\">" : "";
        _ruby = to;
    }

private:
    std::string& _text;
    Ruby _ruby = Ruby::None;
};

}  // namespace qlx::streams::detail
