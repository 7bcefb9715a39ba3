// A timed subtitle.
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>
#include <QLXClosedCaptionsUtilities/platform/AttributedString.h>
#include <QLXClosedCaptionsUtilities/platform/Error.h>
#include <QLXClosedCaptionsUtilities/platform/Guarded.h>
#include <QLXClosedCaptionsUtilities/platform/Value.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

class QLXSubtitleTextLine;

inline constexpr std::string_view QLXSubtitleRecordStartTimeInSecondsKey = "start_time_seconds";
inline constexpr std::string_view QLXSubtitleRecordStartTimecodeKey = "start_timecode";
inline constexpr std::string_view QLXSubtitleRecordEndTimeInSecondsKey = "end_time_seconds";
inline constexpr std::string_view QLXSubtitleRecordEndTimecodeKey = "end_timecode";
inline constexpr std::string_view QLXSubtitleRecordTextLinesKey = "text_lines";

/// A time span and the styled lines that are shown in it.
///
/// Records have identity and are changed in place. Every property is read and written whole, from any thread.
class QLX_EXPORT QLXSubtitleRecord {
public:
    /// No lines, mode 0, 0 to 0 seconds, not valid.
    QLXSubtitleRecord() noexcept = default;
    QLXSubtitleRecord(const QLXSubtitleRecord&) = delete;
    QLXSubtitleRecord& operator=(const QLXSubtitleRecord&) = delete;

    /// An empty record of the given mode (1 CEA-608, 2 OP-47 teletext).
    [[nodiscard]] static std::shared_ptr<QLXSubtitleRecord> initWithSubtitleMode(std::int32_t subtitleMode);

    /// A record from a JSON dictionary: times from "start_time_seconds" or "start_timecode" and their end counterparts
    /// (else 0), lines from "text_lines". Lines without text are left out. `isValid` stays false.
    /// An argument has no effect: see docs/COMPATIBILITY.md.
    /// @param dictionary The keys and kinds of value as written above.
    /// @param subtitleMode 1 CEA-608 captions, 2 OP-47 teletext.
    /// @param error Never written.
    /// @return Null when "text_lines" is missing, empty or not an array.
    [[nodiscard]] static std::shared_ptr<QLXSubtitleRecord> initWithJSONDictionary_subtitleMode_error(
        const qlx::Dictionary& dictionary, std::int32_t subtitleMode, std::optional<qlx::Error>* error = nullptr);

    // Properties

    /// The number that the source file gives the record.
    [[nodiscard]] std::uint64_t index() const noexcept { return _index.load(std::memory_order_relaxed); }
    /// Sets index().
    void setIndex(std::uint64_t value) noexcept { _index.store(value, std::memory_order_relaxed); }

    /// 1 CEA-608 captions, 2 OP-47 teletext.
    [[nodiscard]] std::int32_t subtitleMode() const noexcept { return _subtitleMode.load(std::memory_order_relaxed); }
    /// Sets subtitleMode().
    void setSubtitleMode(std::int32_t value) noexcept { _subtitleMode.store(value, std::memory_order_relaxed); }

    /// Set by the file readers for every record that they give.
    [[nodiscard]] bool isValid() const noexcept { return _isValid.load(std::memory_order_relaxed); }
    /// Sets isValid().
    void setIsValid(bool value) noexcept { _isValid.store(value, std::memory_order_relaxed); }

    /// The lines, top to bottom; the record keeps its own copy of the list (the lines themselves are shared), without
    /// null entries.
    [[nodiscard]] std::vector<std::shared_ptr<QLXSubtitleTextLine>> subtitleLines() const {
        return _guard.load(_subtitleLines);
    }
    /// Sets subtitleLines().
    void setSubtitleLines(std::vector<std::shared_ptr<QLXSubtitleTextLine>> value) {
        std::erase(value, nullptr);
        _guard.store(_subtitleLines, std::move(value));
    }

    /// Start of display, in seconds.
    [[nodiscard]] double startTimeInSeconds() const noexcept {
        return _startTimeInSeconds.load(std::memory_order_relaxed);
    }
    /// Sets startTimeInSeconds().
    void setStartTimeInSeconds(double value) noexcept {
        // In this order for all threads: a packetizer that takes the record sees the time, or is told of it.
        _startTimeInSeconds.store(value);
        if (_isListed.load()) {
            noteStartTimeChange();
        }
    }

    /// End of display, in seconds.
    [[nodiscard]] double endTimeInSeconds() const noexcept { return _endTimeInSeconds.load(std::memory_order_relaxed); }
    /// Sets endTimeInSeconds().
    void setEndTimeInSeconds(double value) noexcept { _endTimeInSeconds.store(value, std::memory_order_relaxed); }

    // SRT timecodes

    /// The seconds of "HH:MM:SS,mmm"; 0 when the text has another shape. The part behind the comma counts
    /// milliseconds: ",5" is 5 ms.
    [[nodiscard]] static double secondsFromSRTTimecode(std::string_view timecode) noexcept;

    /// "HH:MM:SS,mmm", milliseconds truncated; hours may have more than two digits. A negative or not-a-number value
    /// gives "00:00:00,000".
    /// See docs/COMPATIBILITY.md.
    [[nodiscard]] static std::string SRTTimecodeFromSeconds(double seconds);

    // Other forms

    /// "start_timecode", "end_time_seconds", "end_timecode" and "text_lines"; never "start_time_seconds", which
    /// clients of this form do not expect.
    /// See docs/COMPATIBILITY.md.
    [[nodiscard]] qlx::Dictionary JSONDictionary() const;

    /// A copy made through the JSON form: milliseconds, text and alignment survive; index, validity, colour and style
    /// do not, and rows are computed anew. Null for a record without lines.
    /// See docs/COMPATIBILITY.md.
    [[nodiscard]] std::shared_ptr<QLXSubtitleRecord> copyWithZone() const;

    /// The lines, each behind a line feed, then a line with start and end seconds.
    [[nodiscard]] std::string description() const;

    /// -1 when `other` starts later than this record, 0 when they start together, else 1.
    [[nodiscard]] int compareStartTime(const QLXSubtitleRecord& other) const noexcept;

    /// The lines' attributed strings with a plain line feed between them.
    [[nodiscard]] qlx::AttributedString attributedString() const;

    // Placement and length

    /// Gives every unplaced line its row and every line its alignment from its positioning tag. Rows count from the
    /// bottom of 12 (mode 2, teletext) or 15 (any other mode) rows.
    /// See docs/COMPATIBILITY.md.
    void updatePositioningForSubtitleMode(std::int32_t subtitleMode);

    /// An estimate of the CEA-608 byte pairs, one a frame, that the record takes: (sum of UTF-16 lengths + 2 a line
    /// + 4) / 2.
    /// See docs/COMPATIBILITY.md.
    [[nodiscard]] std::uint64_t numberOfCEA608Packets() const;

private:
    friend class QLXSRTFileReader;
    friend class QLXSTLFileReader;
    friend class QLXSubtitlesPacketizer;

    using Lines = std::vector<std::shared_ptr<QLXSubtitleTextLine>>;

    static void placeLines(const Lines& lines, std::int32_t subtitleMode);

    // A list sorted by start time is still in order as long as no record of any list has been given another one.
    static void noteStartTimeChange() noexcept;
    [[nodiscard]] static std::uint64_t startTimeChanges() noexcept;
    void enterList() noexcept;

    std::atomic<std::uint64_t> _index{0};
    std::atomic<std::int32_t> _subtitleMode{0};
    std::atomic<bool> _isValid{false};
    std::atomic<bool> _isListed{false};  ///< It is, or has been, in a packetizer's list.
    Lines _subtitleLines;
    std::atomic<double> _startTimeInSeconds{0.0};
    std::atomic<double> _endTimeInSeconds{0.0};
    qlx::Guarded _guard;
};
