#include <QLXClosedCaptionsUtilities/QLXSRTFileReader.h>

#include "subtitles/LinePlacement.h"
#include "subtitles/SrtCue.h"
#include "subtitles/SrtTimecode.h"
#include "subtitles/SubtitleMode.h"

#include <QLXClosedCaptionsUtilities/QLXSubtitleRecord.h>
#include <QLXClosedCaptionsUtilities/QLXSubtitleTextLine.h>
#include <QLXClosedCaptionsUtilities/platform/Services.h>
#include <QLXClosedCaptionsUtilities/platform/Text.h>
#include <qlx/base/utf8.h>

#include <algorithm>
#include <exception>
#include <iterator>
#include <optional>
#include <string_view>
#include <utility>

namespace {

/// The file's bytes as text, without a byte-order mark; none when a byte of it is not UTF-8.
std::optional<std::string_view> textIn(const qlx::Data& file) {
    const std::string_view text(reinterpret_cast<const char*>(file.data()), file.size());
    if (qlx::firstInvalidUTF8Byte(text)) {
        return std::nullopt;
    }
    return qlx::withoutByteOrderMark(text);
}

/// The lines up to the next empty one.
std::size_t linesUpToEmptyOne(std::string_view text) {
    std::size_t count = 0;
    while (!text.empty()) {
        const std::size_t length = std::min(text.find('\n'), text.size());
        if (text.substr(0, length).find_first_not_of('\r') == std::string_view::npos) {
            break;
        }
        ++count;
        text.remove_prefix(std::min(length + 1, text.size()));
    }
    return count;
}

/// Adds to a list that is to be little longer than what it holds.
template <class Item>
void addClosely(std::vector<Item>& list, Item item) {
    if (list.size() == list.capacity()) {
        constexpr std::size_t kLeast = 16;
        list.reserve(list.size() + std::max(list.size() / 4, kLeast));
    }
    list.push_back(std::move(item));
}

}  // namespace

/// Walks the lines of a file and collects its records.
class QLXSRTFileReader::Parser {
public:
    Parser(std::int32_t subtitleMode, double frameDuration)
        : _subtitleMode(subtitleMode), _frameDuration(frameDuration) {}

    /// The records of `text`.
    std::vector<std::shared_ptr<QLXSubtitleRecord>> run(std::string_view text) {
        while (!text.empty()) {
            const std::size_t length = std::min(text.find('\n'), text.size());
            const std::string_view line = text.substr(0, length);
            text.remove_prefix(std::min(length + 1, text.size()));
            _rest = text;
            takeLine(qlx::srt::withoutCarriageReturns(line, _scratch));
        }
        closeBlock();
        return std::move(_records);
    }

private:
    void takeLine(std::string_view line) {
        using enum qlx::srt::LineKind;
        switch (qlx::srt::kindOfLine(line, _linesOfBlock++)) {
        case Empty:
            closeBlock();
            break;
        case Number:
            _index = static_cast<std::uint64_t>(qlx::integerValue(line));
            break;
        case Timing:
            takeTiming(line);
            break;
        case Text:
            takeText(line);
            break;
        }
    }

    void takeTiming(std::string_view line) {
        if (const auto span = qlx::srt::timeSpanFromTimingLine(line)) {
            _span = *span;
            _blockIsValid = _span.end > _span.start;
        }
    }

    void takeText(std::string_view text) {
        if (!_blockIsValid) {
            return;
        }
        auto line = QLXSubtitleTextLine::initWithSRTLine(text);
        if (!_lines.empty()) {
            inherit(*line, *_lines.back());
        }
        _colorCarries = line->_colorNeedsToBeAppliedToNextLine.load(std::memory_order_relaxed);
        if (_lines.size() == _lines.capacity()) {
            // A file of nothing but short lines: the list of them would take several times its bytes while it grows.
            constexpr std::size_t kUsual = 2;
            _lines.reserve(_lines.empty() ? kUsual : _lines.size() + 1 + linesUpToEmptyOne(_rest));
        }
        _lines.push_back(std::move(line));
    }

    /// Hands on what an earlier line of the block left open: its colour, and its place unless `line` has its own.
    void inherit(QLXSubtitleTextLine& line, const QLXSubtitleTextLine& previous) const {
        constexpr auto kRelaxed = std::memory_order_relaxed;
        if (_colorCarries) {
            line._textColor.store(previous._textColor.load(kRelaxed), kRelaxed);
        }
        if (qlx::srt::inheritsPlace(line._positioningType.load(kRelaxed), line._verticalPosition.load(kRelaxed))) {
            line._positioningType.store(previous._positioningType.load(kRelaxed), kRelaxed);
            line._alignment.store(previous._alignment.load(kRelaxed), kRelaxed);
        }
    }

    void closeBlock() {
        if (_blockIsValid) {
            addClosely(_records, makeRecord());
        }
        _lines.clear();
        _blockIsValid = false;
        _linesOfBlock = 0;
    }

    std::shared_ptr<QLXSubtitleRecord> makeRecord() {
        auto record = std::make_shared<QLXSubtitleRecord>();
        record->_index.store(_index, std::memory_order_relaxed);
        record->_isValid.store(true, std::memory_order_relaxed);
        record->_subtitleLines = std::move(_lines);
        QLXSubtitleRecord::placeLines(record->_subtitleLines, _subtitleMode);
        if (_subtitleMode == qlx::subtitles::kCEA608Mode) {
            // The pairs are sent one a frame: start so early that the caption stands complete at its time.
            const auto pairCount = static_cast<double>(record->numberOfCEA608Packets());
            _span.start = std::max(0.0, _span.start - pairCount * _frameDuration);
            _span.end = std::max(0.0, _span.end - _frameDuration);
        }
        record->_startTimeInSeconds.store(_span.start, std::memory_order_relaxed);
        record->_endTimeInSeconds.store(_span.end, std::memory_order_relaxed);
        return record;
    }

    const std::int32_t _subtitleMode;
    const double _frameDuration;
    std::vector<std::shared_ptr<QLXSubtitleRecord>> _records;

    // The block in hand
    std::uint64_t _linesOfBlock = 0;
    std::uint64_t _index = 0;
    qlx::srt::TimeSpan _span;
    bool _blockIsValid = false;
    bool _colorCarries = false;
    std::vector<std::shared_ptr<QLXSubtitleTextLine>> _lines;

    std::string_view _rest;  ///< Behind the line in hand.
    std::string _scratch;
};

std::vector<std::shared_ptr<QLXSubtitleRecord>>
QLXSRTFileReader::subtitleRecordsFromSRTFileAtPath_subtitleMode_frameDuration(const std::string& path,
                                                                              std::int32_t subtitleMode,
                                                                              double frameDuration) {
    const qlx::Data file = qlx::services().get<qlx::FileReader>().contentsOfFile(path);
    const auto text = textIn(file);
    return text ? Parser(subtitleMode, frameDuration).run(*text) : std::vector<std::shared_ptr<QLXSubtitleRecord>>();
}

void QLXSRTFileReader::subtitleRecordsFromSRTFileAtPath_subtitleMode_frameDuration_withCompletionHandler(
    std::string path, std::int32_t subtitleMode, double frameDuration,
    std::function<void(std::vector<std::shared_ptr<QLXSubtitleRecord>>)> completionHandler) {
    if (!completionHandler) {
        return;
    }
    auto read = [path = std::move(path), subtitleMode, frameDuration,
                 handler = std::move(completionHandler)]() mutable {
        std::vector<std::shared_ptr<QLXSubtitleRecord>> records;
        try {
            records = subtitleRecordsFromSRTFileAtPath_subtitleMode_frameDuration(path, subtitleMode, frameDuration);
        } catch (...) {
            // Memory has run out, or the file reader of a host throws. What waits for the records is told that there are none.
            records.clear();
        }
        qlx::services().get<qlx::MainQueue>().post(
            [handler = std::move(handler), records = std::move(records)]() mutable { handler(std::move(records)); });
    };
    qlx::services().get<qlx::BackgroundQueue>().async(std::move(read));
}
