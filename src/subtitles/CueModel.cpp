// All of a cue as a dictionary, and back.
#include "base/MakeFinding.h"
#include "base/Seconds.h"

#include <qlx/subtitles/colors.h>
#include <qlx/subtitles/value.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace qlx::subtitles {

namespace {

// To dictionaries

Dictionary timeModel(const MediaTime& time) {
    return {{"value", time.value}, {"timescale", time.timescale}, {"seconds", secondsOf(time)}};
}

void setTexts(Dictionary& dictionary, std::initializer_list<std::pair<std::string_view, const std::string*>> texts) {
    for (const auto& [key, text] : texts) {
        if (!text->empty()) {
            dictionary.set(key, *text);
        }
    }
}

void setNumbers(Dictionary& dictionary, std::initializer_list<std::pair<std::string_view, std::uint64_t>> numbers) {
    for (const auto& [key, number] : numbers) {
        if (number != 0) {
            dictionary.set(key, number);
        }
    }
}

void setProperties(Dictionary& dictionary, const Properties& properties) {
    if (properties.empty()) {
        return;
    }
    Array list;
    list.reserve(properties.size());
    for (const Property& property : properties) {
        list.emplace_back(Dictionary{{"name", property.name}, {"value", property.value}});
    }
    dictionary.set("properties", std::move(list));
}

std::string colorModel(screen::Color color) {
    return hexColorText(bitsOf(color));
}

constexpr std::array<std::string_view, 3> kEdgeNames{"top", "middle", "bottom"};

/// What a box has, by the keys of its numbers.
constexpr std::pair<std::string_view, double Box::*> kBoxNumbers[] = {
    {"left", &Box::left}, {"top", &Box::top}, {"width", &Box::width}, {"height", &Box::height}};

Dictionary boxModel(const Box& box) {
    Dictionary model;
    for (const auto& [key, number] : kBoxNumbers) {
        model.set(key, box.*number);
    }
    const auto edge = std::min(static_cast<std::size_t>(box.edge), kEdgeNames.size() - 1);
    model.set("edge", kEdgeNames[edge]);
    return model;
}

bool isMoment(const MediaTime& time) noexcept {
    return time.isValid() && time.timescale > 0;
}

Dictionary runModel(const Run& run) {
    Dictionary model{{"text", run.text}, {"color", colorModel(run.style.foreground)}};
    if (run.style.background) {
        model.set("background", colorModel(*run.style.background));
    }
    const std::pair<std::string_view, bool> flags[] = {{"bold", run.style.isBold},
                                                       {"italic", run.style.isItalic},
                                                       {"underline", run.style.isUnderlined},
                                                       {"flash", run.style.isFlashing}};
    for (const auto& [key, isSet] : flags) {
        if (isSet) {
            model.set(key, true);
        }
    }
    if (isMoment(run.from)) {
        model.set("from", timeModel(run.from));
    }
    setProperties(model, run.properties);
    return model;
}

Dictionary rowModel(const Row& row) {
    Dictionary model;
    const auto alignment = static_cast<std::size_t>(row.alignment);
    if (alignment < kAlignmentNames.size()) {
        model.set("alignment", kAlignmentNames[alignment]);
    } else {
        model.set("alignment", std::uint64_t{alignment});
    }
    setNumbers(model, {{"number", row.number}, {"anchor", row.anchor}, {"column", row.column}});
    Array runs;
    runs.reserve(row.runs.size());
    for (const Run& run : row.runs) {
        runs.emplace_back(runModel(run));
    }
    model.set("runs", std::move(runs));
    return model;
}

// From dictionaries

class ModelReader {
public:
    ModelReader(FindingSink* findings, std::uint64_t offset) noexcept : _findings(findings), _offset(offset) {}

    Result<Cue> read(const Dictionary& model) {
        Cue cue;
        for (const auto& [key, value] : model) {
            if (key == "number") {
                takeNumber(value, cue.number);
            } else if (key == "start") {
                takeTime(value, cue.start);
            } else if (key == "end") {
                takeTime(value, cue.end);
            } else if (key == "rows") {
                takeRows(value, cue);
            } else if (key == "screenRows") {
                takeNumber(value, cue.screenRows);
            } else if (key == "screenColumns") {
                takeNumber(value, cue.screenColumns);
            } else if (key == "id") {
                takeText(value, cue.identifier);
            } else if (key == "language") {
                takeText(value, cue.language);
            } else if (key == "region") {
                takeText(value, cue.region);
            } else if (key == "box") {
                takeBox(value, cue.box);
            } else if (key == "properties") {
                takeProperties(value, cue.properties);
            } else {
                passOver(value);
            }
        }
        constexpr std::uint64_t kStart = 1;
        constexpr std::uint64_t kEnd = 2;
        if (!isMoment(cue.start) || !isMoment(cue.end)) {
            return finding(FindingCode::SubtitleValueTimeMissing, Severity::Error, isMoment(cue.start) ? kEnd : kStart);
        }
        if (secondsOf(cue.end) < secondsOf(cue.start)) {
            return finding(FindingCode::SubtitleValueEndNotLater, Severity::Error, inMilliseconds(cue.start),
                           inMilliseconds(cue.end));
        }
        return cue;
    }

private:
    [[nodiscard]] Finding finding(FindingCode code, Severity severity, std::uint64_t first,
                                  std::uint64_t second = 0) const noexcept {
        return makeFinding(code, severity, _offset, first, second);
    }

    static std::uint64_t inMilliseconds(const MediaTime& time) noexcept {
        constexpr std::int32_t kMilliseconds = 1000;
        return static_cast<std::uint64_t>(
            convertScale(time, kMilliseconds, RoundingMethod::RoundHalfAwayFromZero).value);
    }

    void report(FindingCode code, Severity severity) const {
        if (_findings != nullptr) {
            _findings->add(finding(code, severity, _row, _run));
        }
    }

    void wrong() const { report(FindingCode::SubtitleValueFieldWrong, Severity::Error); }

    void passOver(const Value& value) const {
        if (!value.isNull()) {
            report(FindingCode::SubtitleValueKeyUnknown, Severity::Warning);
        }
    }

    /// A whole number from 0 to what there is room for.
    static std::optional<std::uint64_t> whole(const Value& value) noexcept {
        if (const std::uint64_t* const number = value.unsignedInteger()) {
            return *number;
        }
        const std::int64_t* const number = value.signedInteger();
        return number != nullptr && *number >= 0 ? std::optional(static_cast<std::uint64_t>(*number)) : std::nullopt;
    }

    template <class Number>
    void takeNumber(const Value& value, Number& to) const {
        const auto number = whole(value);
        if (number && *number <= std::numeric_limits<Number>::max()) {
            to = static_cast<Number>(*number);
        } else {
            wrong();
        }
    }

    void takeText(const Value& value, std::string& to) const {
        const std::string* const text = value.text();
        text != nullptr ? static_cast<void>(to = *text) : wrong();
    }

    void takeFlag(const Value& value, bool& to) const {
        const bool* const flag = value.boolean();
        flag != nullptr ? static_cast<void>(to = *flag) : wrong();
    }

    void takeTime(const Value& value, MediaTime& to) const {
        const Dictionary* const model = value.dictionary();
        const Value* const units = model == nullptr ? nullptr : model->find("value");
        const Value* const scale = model == nullptr ? nullptr : model->find("timescale");
        const Value* const seconds = model == nullptr ? nullptr : model->find("seconds");
        if (units != nullptr && scale != nullptr) {
            const auto unitsInSecond = whole(*scale);
            const std::uint64_t* const great = units->unsignedInteger();
            const bool isUnits =
                units->signedInteger() != nullptr ||
                (great != nullptr && *great <= std::uint64_t{std::numeric_limits<std::int64_t>::max()});
            if (isUnits && unitsInSecond && *unitsInSecond != 0 &&
                *unitsInSecond <= std::uint64_t{std::numeric_limits<std::int32_t>::max()}) {
                to = MediaTime::make(units->integerValue(), static_cast<std::int32_t>(*unitsInSecond));
                return;
            }
        } else if (seconds != nullptr && seconds->isNumber()) {
            const double number = seconds->doubleValue();
            const MediaTime time = timeOfSeconds(std::abs(number));
            if (isMoment(time)) {
                to = MediaTime::make(number < 0 ? -time.value : time.value, time.timescale);
                return;
            }
        }
        wrong();
    }

    std::optional<std::uint32_t> colorIn(const Value& value) const {
        const auto color = value.text() == nullptr ? std::nullopt : colorNamed(*value.text());
        if (!color) {
            wrong();
        }
        return color;
    }

    void takeProperties(const Value& value, Properties& to) const {
        const Array* const list = value.array();
        if (list == nullptr) {
            wrong();
            return;
        }
        for (const Value& each : *list) {
            const Dictionary* const model = each.dictionary();
            const Value* const name = model == nullptr ? nullptr : model->find("name");
            const Value* const content = model == nullptr ? nullptr : model->find("value");
            if (name == nullptr || name->text() == nullptr || content == nullptr || content->text() == nullptr) {
                wrong();
                continue;
            }
            to.push_back({*name->text(), *content->text()});
        }
    }

    /// A number that is no part of the picture is none: a box with such a one is left out.
    void takeBox(const Value& value, std::optional<Box>& to) const {
        const Dictionary* const model = value.dictionary();
        if (model == nullptr) {
            wrong();
            return;
        }
        constexpr double kGreatest = 1e6;
        Box box;
        bool isRight = true;
        for (const auto& [key, content] : *model) {
            const auto* const number = std::find_if(std::begin(kBoxNumbers), std::end(kBoxNumbers),
                                                    [name = key](const auto& each) { return each.first == name; });
            if (number != std::end(kBoxNumbers)) {
                isRight = isRight && content.isNumber() && std::abs(content.doubleValue()) <= kGreatest;
                box.*number->second = content.doubleValue();
            } else if (key == "edge" && content.text() != nullptr) {
                const auto* const name = std::find(kEdgeNames.begin(), kEdgeNames.end(), *content.text());
                isRight = isRight && name != kEdgeNames.end();
                box.edge = static_cast<BoxEdge>(name - kEdgeNames.begin());
            } else {
                isRight = isRight && key != "edge";
                passOver(content);
            }
        }
        isRight ? static_cast<void>(to = box) : wrong();
    }

    void takeRows(const Value& value, Cue& cue) {
        const Array* const rows = value.array();
        if (rows == nullptr) {
            wrong();
            return;
        }
        cue.rows.reserve(rows->size());
        for (const Value& row : *rows) {
            ++_row;
            if (const Dictionary* const model = row.dictionary()) {
                takeRow(*model, cue.rows.emplace_back());
            } else {
                wrong();
            }
        }
        _row = 0;
    }

    void takeRow(const Dictionary& model, Row& row) {
        for (const auto& [key, value] : model) {
            if (key == "runs") {
                takeRuns(value, row);
            } else if (key == "number") {
                takeNumber(value, row.number);
            } else if (key == "anchor") {
                takeNumber(value, row.anchor);
            } else if (key == "column") {
                takeNumber(value, row.column);
            } else if (key == "alignment") {
                takeAlignment(value, row.alignment);
            } else {
                passOver(value);
            }
        }
    }

    void takeAlignment(const Value& value, Alignment& to) const {
        const std::string* const text = value.text();
        if (text == nullptr) {
            std::uint8_t number = static_cast<std::uint8_t>(to);
            takeNumber(value, number);
            to = static_cast<Alignment>(number);
            return;
        }
        const auto* const name = std::find(kAlignmentNames.begin(), kAlignmentNames.end(), *text);
        if (name == kAlignmentNames.end()) {
            wrong();
        } else {
            to = static_cast<Alignment>(name - kAlignmentNames.begin());
        }
    }

    void takeRuns(const Value& value, Row& row) {
        const Array* const runs = value.array();
        if (runs == nullptr) {
            wrong();
            return;
        }
        row.runs.reserve(runs->size());
        for (const Value& run : *runs) {
            ++_run;
            if (const Dictionary* const model = run.dictionary()) {
                takeRun(*model, row.runs.emplace_back());
            } else {
                wrong();
            }
        }
        _run = 0;
    }

    void takeRun(const Dictionary& model, Run& run) {
        std::optional<std::uint32_t> color;
        for (const auto& [key, value] : model) {
            if (key == "text") {
                takeText(value, run.text);
            } else if (key == "color") {
                color = colorIn(value);
            } else if (key == "background") {
                const auto background = colorIn(value);
                run.style.background = background ? std::optional(screenColor(*background)) : std::nullopt;
            } else if (key == "bold") {
                takeFlag(value, run.style.isBold);
            } else if (key == "italic") {
                takeFlag(value, run.style.isItalic);
            } else if (key == "underline") {
                takeFlag(value, run.style.isUnderlined);
            } else if (key == "flash") {
                takeFlag(value, run.style.isFlashing);
            } else if (key == "from") {
                takeTime(value, run.from);
            } else if (key == "properties") {
                takeProperties(value, run.properties);
            } else {
                passOver(value);
            }
        }
        if (color) {
            run.style.foreground = screenColor(*color);
            if (bitsOf(run.style.foreground) != *color && valueOf(run.properties, properties::kColor) == nullptr) {
                run.properties.push_back({std::string(properties::kColor), hexColorText(*color)});
            }
        }
    }

    FindingSink* _findings;
    std::uint64_t _offset;
    std::uint64_t _row = 0;  ///< That is read, counted from 1; 0: the cue.
    std::uint64_t _run = 0;  ///< The same of its runs.
};

}  // namespace

Dictionary modelOf(const Cue& cue) {
    Dictionary model;
    setNumbers(model, {{"number", cue.number}, {"screenRows", cue.screenRows}, {"screenColumns", cue.screenColumns}});
    setTexts(model, {{"id", &cue.identifier}, {"language", &cue.language}, {"region", &cue.region}});
    if (isMoment(cue.start)) {
        model.set("start", timeModel(cue.start));
    }
    if (isMoment(cue.end)) {
        model.set("end", timeModel(cue.end));
    }
    if (cue.box) {
        model.set("box", boxModel(*cue.box));
    }
    setProperties(model, cue.properties);
    Array rows;
    rows.reserve(cue.rows.size());
    for (const Row& row : cue.rows) {
        rows.emplace_back(rowModel(row));
    }
    model.set("rows", std::move(rows));
    return model;
}

bool isModel(const Value& value) noexcept {
    const Dictionary* const dictionary = value.dictionary();
    return dictionary != nullptr && !dictionary->contains(keys::kLines) &&
           (dictionary->contains("rows") || dictionary->contains("start"));
}

Result<Cue> cueOfModel(const Value& value, FindingSink* findings, std::uint64_t offset) {
    const Dictionary* const dictionary = value.dictionary();
    if (dictionary == nullptr) {
        return makeFinding(FindingCode::SubtitleValueNotDictionary, Severity::Error, offset, 0, 0);
    }
    return ModelReader(findings, offset).read(*dictionary);
}

}  // namespace qlx::subtitles
