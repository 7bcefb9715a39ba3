#include "subtitles/WebVttText.h"

#include "subtitles/CueWriting.h"
#include "subtitles/Entities.h"
#include "subtitles/TextEditing.h"
#include "subtitles/TextTime.h"
#include "subtitles/WebVttColors.h"

#include <qlx/base/utf8.h>
#include <qlx/subtitles/colors.h>
#include <qlx/subtitles/times.h>
#include <qlx/subtitles/webvtt.h>

#include <algorithm>
#include <utility>

namespace qlx::subtitles {

namespace {

using enum FindingCode;

constexpr std::int32_t kWebVttTimescale = 1000;

/// More spans than these are not open at once: their tags are passed over.
constexpr std::size_t kDeepestSpan = 64;

/// What ends the name and the classes of a tag (W3C WebVTT, 6.4).
constexpr std::string_view kBlanks = " \t\n\f";
constexpr std::string_view kEndsOfName = ". \t\n\f";

/// Bytes of the names of classes and of voices and languages that may be open at once: each run of letters has them.
constexpr std::size_t kGreatestNames = 1024;

/// The names of the spans, by Kind.
constexpr std::string_view kSpanNames[] = {"c", "i", "b", "u", "v", "lang", "ruby", "rt"};

/// `text` without blanks at its ends, and with one space for those within.
std::string collapsed(std::string_view text) {
    std::string result;
    while (!(text = trimmed(text, kBlanks)).empty()) {
        const std::size_t word = std::min(text.find_first_of(kBlanks), text.size());
        result += (result.empty() ? "" : " ") + std::string(text.substr(0, word));
        text.remove_prefix(word);
    }
    return result;
}

/// `text` with its entities as characters.
std::string decoded(std::string_view text) {
    std::string result;
    while (!text.empty()) {
        const std::size_t plain = std::min(text.find('&'), text.size());
        result += text.substr(0, plain);
        text.remove_prefix(plain);
        if (const auto entity = entityIn(text, EntityEnd::MayBeMissing)) {
            appendUtf8(result, entity->character);
            text.remove_prefix(entity->size);
        } else if (!text.empty()) {
            result += '&';
            text.remove_prefix(1);
        }
    }
    return result;
}

}  // namespace

WebVttStyles::Rest WebVttText::takeSheet(std::string_view block) {
    if (isColorSheet(block)) {
        addWebVttColors(block, _colors);
        return {};
    }
    return _styles.add(block);
}

void WebVttText::begin(std::string_view name) {
    _open.clear();
    _lookOfCue = _styles.lookOf({{}, {}, {}, {}, name});
    _tag.clear();
    _from = {};
    _lastTime = -1;
    _isChanged = false;
    _bytesOfNames = 0;
}

void WebVttText::takeRow(std::string_view text, std::uint64_t line, Cue& cue) {
    _line = line;
    std::int64_t ampersands = 0;
    std::string whole = std::exchange(_tag, {});
    if (whole.empty()) {
        cue.rows.emplace_back();
    } else {
        whole += '\n';
        whole += text;
        if (text.find('>') == std::string_view::npos) {
            _tag = std::move(whole);
            return;
        }
        text = whole;
    }
    _isChanged = true;
    while (!text.empty()) {
        const std::size_t plain = std::min(placeOfAny<'<', '&'>(text), text.size());
        append(text.substr(0, plain), cue);
        text.remove_prefix(plain);
        if (text.empty()) {
            break;
        }
        if (text.front() == '<') {
            if (text.find('>') == std::string_view::npos) {
                _tag = text;
                break;
            }
            text.remove_prefix(takeTag(text, cue));
            continue;
        }
        const auto entity = entityIn(text, EntityEnd::MayBeMissing);
        std::string character = "&";
        if (entity) {
            character.clear();
            appendUtf8(character, entity->character);
        } else {
            ++ampersands;
        }
        append(character, cue);
        text.remove_prefix(entity ? entity->size : 1);
    }
    Row& row = cue.rows.back();
    if (row.runs.size() == 1 && row.runs.front() == Run{std::string(kEmptyRowText), {}, {}, {}}) {
        row.runs.clear();
    }
    if (ampersands != 0) {
        report(WebVttEntityUnknown, Severity::Remark, ampersands);
    }
}

void WebVttText::end(std::uint64_t line, const Cue& cue) {
    _line = line;
    if (!_tag.empty()) {
        (void)takeTag(_tag, cue);
    }
    // A voice may be left open when it is that of all of the cue.
    const auto open = std::count_if(_open.begin(), _open.end(), [](const Span& span) {
        return span.kind != Kind::Voice && span.kind != Kind::RubyText;
    });
    if (open != 0) {
        report(WebVttTagUnclosed, Severity::Remark, open);
    }
}

/// @return The bytes of the tag.
std::size_t WebVttText::takeTag(std::string_view text, const Cue& cue) {
    const std::size_t end = std::min(text.find('>'), text.size());
    const std::size_t size = std::min(end + 1, text.size());
    const std::string_view inside = text.substr(1, end - 1);
    const bool isDigit = !inside.empty() && inside.front() >= '0' && inside.front() <= '9';
    const bool isKnown = isDigit                   ? takeTime(inside, cue)
                         : inside.starts_with('/') ? closeSpan(inside.substr(1))
                                                   : openSpan(inside);
    if (!isKnown || size == end) {
        report(WebVttTagWrong, Severity::Warning, static_cast<std::int64_t>(size));
    }
    _isChanged = true;
    return size;
}

bool WebVttText::takeTime(std::string_view inside, const Cue& cue) {
    const auto time = parseTextTime(inside);
    if (!time) {
        return false;
    }
    const bool isWithin = time->milliseconds > unitsOf(cue.start, kWebVttTimescale) &&
                          time->milliseconds < unitsOf(cue.end, kWebVttTimescale);
    if (!isWithin || time->milliseconds <= _lastTime) {
        report(WebVttInnerTimeWrong, Severity::Warning, time->milliseconds);
    }
    if (!time->hasDigits || time->mark != '.') {
        report(WebVttInnerTimeUnusual, Severity::Warning, time->milliseconds);
    }
    _lastTime = time->milliseconds;
    _from = MediaTime::make(time->milliseconds, kWebVttTimescale);
    return true;
}

bool WebVttText::openSpan(std::string_view inside) {
    const std::size_t nameSize = std::min(inside.find_first_of(kEndsOfName), inside.size());
    const std::size_t blank = std::min(inside.find_first_of(kBlanks), inside.size());
    const auto* const name = std::find(std::begin(kSpanNames), std::end(kSpanNames), inside.substr(0, nameSize));
    if (name == std::end(kSpanNames) || _open.size() >= kDeepestSpan) {
        return false;
    }
    Span span;
    span.kind = static_cast<Kind>(name - std::begin(kSpanNames));
    if (span.kind == Kind::RubyText && (_open.empty() || _open.back().kind != Kind::Ruby)) {
        return false;
    }
    const std::string_view classes = inside.substr(nameSize, blank - nameSize);
    takeClasses(classes, span);
    span.annotation = collapsed(decoded(inside.substr(blank)));
    span.look = _styles.isEmpty() ? WebVttLook() : lookOf(span, classes);
    std::size_t names = span.classes.size() + span.annotation.size();
    for (const Span& open : _open) {
        names += open.classes.size() + open.annotation.size();
    }
    if (names > kGreatestNames) {
        return false;
    }
    _open.push_back(std::move(span));
    return true;
}

void WebVttText::takeClasses(std::string_view classes, Span& span) const {
    while (!classes.empty()) {
        const std::string_view name = takePart(classes, '.');
        const bool isBackground = name.starts_with(kWebVttBackground);
        const auto color = colorOfWebVttClass(isBackground ? name.substr(kWebVttBackground.size()) : name, _colors);
        // A sheet may give the name of a colour another look.
        const bool isColor = color && !_styles.hasClass(name);
        if (isColor && isBackground && isWebVttBackground(*color)) {
            span.background = color;
        } else if (isColor && !isBackground) {
            span.foreground = color;
        } else if (!name.empty()) {
            span.classes += (span.classes.empty() ? "" : ".") + std::string(name);
        }
    }
}

WebVttLook WebVttText::lookOf(const Span& span, std::string_view classes) const {
    WebVttElement element;
    element.name = kSpanNames[static_cast<std::size_t>(span.kind)];
    element.classes = classes;
    element.voice = span.annotation;
    const auto around =
        std::find_if(_open.rbegin(), _open.rend(), [](const Span& open) { return open.kind == Kind::Language; });
    element.language = span.kind == Kind::Language ? std::string_view(span.annotation)
                       : around == _open.rend()    ? std::string_view()
                                                   : std::string_view(around->annotation);
    return _styles.lookOf(element);
}

bool WebVttText::closeSpan(std::string_view name) {
    if (_open.empty()) {
        return false;
    }
    if (name == "ruby" && _open.back().kind == Kind::RubyText) {
        _open.pop_back();
    }
    // An end that is not that of the innermost span counts for nothing.
    if (_open.empty() || kSpanNames[static_cast<std::size_t>(_open.back().kind)] != name) {
        return false;
    }
    _open.pop_back();
    return true;
}

void WebVttText::append(std::string_view text, Cue& cue) {
    if (text.empty()) {
        return;
    }
    if (std::exchange(_isChanged, false)) {
        beginRun(cue.rows.back());
    }
    cue.rows.back().runs.back().text += text;
}

/// Begins a run, unless the last one looks like it.
void WebVttText::beginRun(Row& row) {
    Run run;
    run.from = _from;
    const auto add = [&](std::string_view name, const std::string& value) {
        _bytesOfNames += value.size();
        run.properties.push_back({std::string(name), value});
    };
    std::optional<std::uint32_t> color;
    _lookOfCue.applyTo(color, run.style);
    for (const Span& span : _open) {
        color = span.foreground ? span.foreground : color;
        if (span.background) {
            run.style.background = screenColor(*span.background);
        }
        if (!span.classes.empty()) {
            add(span.kind == Kind::Voice ? properties::kWebVttVoiceClass : properties::kWebVttClass, span.classes);
        }
        if (span.kind == Kind::Voice) {
            add(properties::kWebVttVoice, span.annotation);
        } else if (span.kind == Kind::Language) {
            add(properties::kWebVttLanguage, span.annotation);
        } else if (span.kind == Kind::Ruby || span.kind == Kind::RubyText) {
            add(span.kind == Kind::Ruby ? properties::kWebVttRuby : properties::kWebVttRubyText, {});
        }
        run.style.isBold = run.style.isBold || span.kind == Kind::Bold;
        run.style.isItalic = run.style.isItalic || span.kind == Kind::Italic;
        run.style.isUnderlined = run.style.isUnderlined || span.kind == Kind::Underline;
        span.look.applyTo(color, run.style);
    }
    if (color) {
        run.style.foreground = screenColor(*color);
        if (bitsOf(run.style.foreground) != *color) {
            add(properties::kColor, hexColorText(*color));
        }
    }
    if (!row.runs.empty()) {
        const Run& last = row.runs.back();
        if (last.style == run.style && last.from == run.from && last.properties == run.properties) {
            return;
        }
    }
    row.runs.push_back(std::move(run));
}

void WebVttText::report(FindingCode code, Severity severity, std::int64_t first) {
    if (_findings != nullptr) {
        _findings->add({code, severity, _line, first, 0});
    }
}

}  // namespace qlx::subtitles
