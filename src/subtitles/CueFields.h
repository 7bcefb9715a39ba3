// The values of subtitle dictionaries as deployed hosts have them read: leniently, and without a word.
#pragma once

#include <qlx/subtitles/value.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace qlx::subtitles::fields {

/// The keys of a time.
struct TimeKeys {
    std::string_view seconds;
    std::string_view timecode;
};

inline constexpr TimeKeys kStart{keys::kStartSeconds, keys::kStartTimecode};
inline constexpr TimeKeys kEnd{keys::kEndSeconds, keys::kEndTimecode};

/// The value under `key`; null when it is missing or a null.
[[nodiscard]] const Value* valueIn(const Dictionary& dictionary, std::string_view key) noexcept;

/// The lines; null when they are missing, none, or no array.
[[nodiscard]] const Array* linesIn(const Dictionary& dictionary) noexcept;

/// A time given in seconds or, failing that, as a time code; 0 without either.
[[nodiscard]] double secondsIn(const Dictionary& dictionary, const TimeKeys& names);

/// A row.
struct Line {
    std::string text;
    std::optional<std::int32_t> color;  ///< Of a text that is given: the number in teletext, 1 to 7.
    std::optional<Alignment> alignment;
    std::uint64_t row = 0;  ///< More lines than rows wrap around, as unsigned numbers do.
};

/// The row of a line; none for one without text.
/// @param index Its place among the dictionaries of the array, from 0.
/// @param count Entries of the array.
[[nodiscard]] std::optional<Line> lineIn(const Dictionary& dictionary, std::uint64_t index, std::uint64_t count);

}  // namespace qlx::subtitles::fields
