// Subtitle lines, records and cues from arbitrary dictionaries, and the way back into them.
#include <QLXClosedCaptionsUtilities/QLXSubtitleRecord.h>
#include <QLXClosedCaptionsUtilities/QLXSubtitleTextLine.h>
#include <qlx/facade/cue.h>
#include <qlx/subtitles/value.h>

#include "FuzzSupport.h"

#include <array>
#include <bit>
#include <cmath>
#include <memory>
#include <string>
#include <string_view>

using qlxfuzz::Input;
using qlxfuzz::require;

namespace {

constexpr int kMaxDepth = 4;

constexpr std::array<std::string_view, 22> kKeys{QLXSubtitleRecordStartTimeInSecondsKey,
                                                 QLXSubtitleRecordStartTimecodeKey,
                                                 QLXSubtitleRecordEndTimeInSecondsKey,
                                                 QLXSubtitleRecordEndTimecodeKey,
                                                 QLXSubtitleRecordTextLinesKey,
                                                 QLXSubtitleTextLineTextKey,
                                                 QLXSubtitleTextLineColorKey,
                                                 QLXSubtitleTextLineAlignmentKey,
                                                 QLXSubtitleTextLineVerticalPositionKey,
                                                 "rows",
                                                 "runs",
                                                 "start",
                                                 "end",
                                                 "value",
                                                 "timescale",
                                                 "seconds",
                                                 "properties",
                                                 "name",
                                                 "number",
                                                 "anchor",
                                                 "background",
                                                 "from"};

constexpr std::array<std::string_view, 8> kPhrases{
    "left", "RIGHT", "unchanged", "#00FF00", "rgb(200, 10, 10)", "rgba(0,0,255,0.5)", "00:00:01,500", "01:02:03,004"};

std::uint64_t takeBits(Input& input) {
    std::uint64_t bits = 0;
    for (int byte = 0; byte < 8; ++byte) {
        bits = bits << 8U | input.takeByte();
    }
    return bits;
}

std::vector<std::uint8_t> takeBytes(Input& input) {
    std::vector<std::uint8_t> bytes(input.takeByte() % 64);
    for (std::uint8_t& byte : bytes) {
        byte = input.takeByte();
    }
    return bytes;
}

std::string takeText(Input& input) {
    const auto bytes = takeBytes(input);
    return {bytes.begin(), bytes.end()};
}

qlx::Dictionary takeDictionary(Input& input, int depth);

/// One byte for the kind of value, then what it takes.
qlx::Value takeValue(Input& input, int depth) {
    switch (input.takeByte() % 11) {
    case 0:
        return nullptr;
    case 1:
        return (input.takeByte() & 1U) != 0;
    case 2:
        return static_cast<std::int8_t>(input.takeByte());
    case 3:
        return static_cast<std::int64_t>(takeBits(input));
    case 4:
        return takeBits(input);
    case 5:
        return std::bit_cast<double>(takeBits(input));
    case 6:
        return takeText(input);
    case 7:
        return qlx::Data(takeBytes(input));
    case 8:
        return kPhrases[input.takeByte() % kPhrases.size()];
    case 9: {
        qlx::Array array;
        for (int count = input.takeByte() % 32; count > 0 && depth < kMaxDepth; --count) {
            array.push_back(takeValue(input, depth + 1));
        }
        return array;
    }
    default:
        return depth < kMaxDepth ? takeDictionary(input, depth + 1) : qlx::Dictionary();
    }
}

/// Entries under the keys that matter, and sometimes under others.
qlx::Dictionary takeDictionary(Input& input, int depth) {
    qlx::Dictionary dictionary;
    for (int count = input.takeByte() % 16; count > 0; --count) {
        const std::size_t key = input.takeByte() % (kKeys.size() + 1);
        const std::string text = key < kKeys.size() ? std::string(kKeys[key]) : takeText(input);
        dictionary.set(text, takeValue(input, depth));
    }
    return dictionary;
}

bool sameNumber(double left, double right) {
    return left == right || (std::isnan(left) && std::isnan(right));
}

void checkLine(const qlx::Dictionary& dictionary, std::uint64_t index, std::uint64_t count) {
    std::optional<qlx::Error> error;
    const auto line =
        QLXSubtitleTextLine::initWithJSONDictionary_lineIndex_lineCount_error(dictionary, index, count, &error);
    const qlx::Value* const text = dictionary.find(QLXSubtitleTextLineTextKey);
    require((line != nullptr) == (text && text->stringValue()));
    require((line == nullptr) == error.has_value());
    if (!line) {
        require(error->code == -50);
        return;
    }
    require(line->textString() == text->stringValue());
    require(line->textColor() >= 1 && line->textColor() <= 7);
    require(line->alignment() >= 0 && line->alignment() <= 3);
    require(line->attributedString().string() == *line->textString());

    // What the form holds comes back from it.
    const qlx::Dictionary form = line->JSONDictionary();
    const auto again = QLXSubtitleTextLine::initWithJSONDictionary_lineIndex_lineCount_error(form, index, count);
    require(again && again->JSONDictionary() == form);
}

void checkCopy(const QLXSubtitleRecord& record) {
    const auto copy = record.copyWithZone();
    require((copy == nullptr) == record.subtitleLines().empty());
    if (!copy) {
        return;
    }
    require(copy->subtitleMode() == record.subtitleMode() && !copy->isValid());
    require(sameNumber(copy->endTimeInSeconds(), record.endTimeInSeconds()));
    const qlx::Dictionary form = record.JSONDictionary();
    const qlx::Dictionary copiedForm = copy->JSONDictionary();
    require(!form.contains(QLXSubtitleRecordStartTimeInSecondsKey));
    require(*form.find(QLXSubtitleRecordTextLinesKey) == *copiedForm.find(QLXSubtitleRecordTextLinesKey));
    require(*form.find(QLXSubtitleRecordEndTimecodeKey) == *copiedForm.find(QLXSubtitleRecordEndTimecodeKey));
    const double start = record.startTimeInSeconds();
    if (start >= 0 && start < 1e9) {
        constexpr double kRounding = 1e-6;
        require(copy->startTimeInSeconds() <= start + kRounding);
        require(copy->startTimeInSeconds() >= start - 0.001 - kRounding);
    }
}

void checkRecord(const qlx::Dictionary& dictionary, std::int32_t mode) {
    const auto record = QLXSubtitleRecord::initWithJSONDictionary_subtitleMode_error(dictionary, mode);
    const qlx::Value* const lines = dictionary.find(QLXSubtitleRecordTextLinesKey);
    require((record != nullptr) == (lines && lines->array() && !lines->array()->empty()));
    if (!record) {
        return;
    }
    require(record->subtitleMode() == mode && !record->isValid() && record->index() == 0);
    require(record->subtitleLines().size() <= lines->array()->size());
    checkCopy(*record);
    record->updatePositioningForSubtitleMode(mode);
    require(record->numberOfCEA608Packets() >= 2);
    require(!record->description().empty());
}

/// The core's reader takes what it takes as the fixed operation does, and its writer writes what is read back.
void checkCue(const qlx::Dictionary& dictionary) {
    qlx::Findings findings;
    const auto cue = qlx::subtitles::cueOf(dictionary, &findings);
    if (!cue) {
        require(!cue.error().text().empty());
        return;
    }
    const auto record = QLXSubtitleRecord::initWithJSONDictionary_subtitleMode_error(dictionary, 0);
    require(record != nullptr && record->subtitleLines().size() == cue->rows.size());
    const auto lines = record->subtitleLines();
    for (std::size_t index = 0; index < lines.size(); ++index) {
        const qlx::subtitles::Row& row = cue->rows[index];
        const auto color = row.runs.empty() ? qlx::screen::Color::White : row.runs.front().style.foreground;
        require(lines[index]->textString() == row.text());
        require(static_cast<std::size_t>(lines[index]->textColor()) == qlx::screen::basicIndex(color));
        require(lines[index]->alignment() == static_cast<std::int32_t>(row.alignment));
        require(lines[index]->verticalPosition() == row.number ||
                (lines[index]->verticalPosition() > 11 && row.number == 0));
    }
    const auto again = qlx::subtitles::cueOf(qlx::subtitles::dictionaryOf(*cue));
    require(again.hasValue() != cue->rows.empty());
    if (again) {
        require(again->number == cue->number && again->rows == cue->rows);
        require(qlx::secondsFrom(again->start) == qlx::secondsFrom(cue->start));
        require(qlx::secondsFrom(again->end) == qlx::secondsFrom(cue->end));
    }
}

/// Whatever is read of the form that has all of a cue is written and read back as it is.
void checkModel(const qlx::Dictionary& dictionary) {
    qlx::Findings findings;
    const auto cue = qlx::subtitles::cueOfModel(dictionary, &findings);
    for (const qlx::Finding& finding : findings) {
        require(!finding.text().empty());
    }
    if (!cue) {
        require(!cue.error().text().empty());
        return;
    }
    const auto again = qlx::subtitles::cueOfModel(qlx::subtitles::modelOf(*cue));
    require(again && *again == *cue);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Input input(data, size);
    const auto mode = static_cast<std::int32_t>(input.takeByte()) - 1;
    const std::uint64_t index = input.takeByte();
    const std::uint64_t count = input.takeByte();
    const qlx::Dictionary dictionary = takeDictionary(input, 0);
    checkRecord(dictionary, mode);
    checkLine(dictionary, index, count);
    checkCue(dictionary);
    checkModel(dictionary);
    return 0;
}
