#include <qlx/base/finding.h>

#include "base/FileFindingTexts.h"
#include "base/FindingTexts.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <span>
#include <string_view>

namespace qlx {

namespace {

constexpr std::int64_t kGreatestCcType = 3;

/// Whether no code stands twice: the second text would never be shown.
template <std::size_t Count>
consteval bool areApart(const detail::FindingText (&texts)[Count]) {
    for (std::size_t index = 1; index < Count; ++index) {
        for (std::size_t before = 0; before < index; ++before) {
            if (texts[before].code == texts[index].code) {
                return false;
            }
        }
    }
    return true;
}
static_assert(areApart(detail::kFindingTexts) && areApart(detail::kFileFindingTexts));

/// Null where there is none.
const detail::FindingText* textOf(std::span<const detail::FindingText> texts, FindingCode code) noexcept {
    const auto entry =
        std::find_if(texts.begin(), texts.end(), [code](const detail::FindingText& one) { return one.code == code; });
    return entry == texts.end() ? nullptr : &*entry;
}

/// Writes the four bytes of a time code.
/// @param mayDrop Whether the highest bit is set in drop-frame counting, and no part of a number.
void appendTimeCode(std::string& text, std::int64_t bytes, bool mayDrop) {
    const std::int64_t dropFrame = mayDrop ? 0x8000'0000 : 0;
    for (int shift = 24; shift >= 0; shift -= 8) {
        const std::int64_t number = (bytes & ~dropFrame) >> shift & 0xFF;
        text += number < 10 ? "0" : "";
        text += std::to_string(number);
        if (shift > 0) {
            text += shift == 8 && (bytes & dropFrame) != 0 ? ';' : ':';
        }
    }
}

void appendNumber(std::string& text, std::int64_t number, char form);

/// Writes what data units with a data_unit_id hold (ETSI EN 301 775, table 3).
void appendUnits(std::string& text, std::int64_t id) {
    switch (id) {
    case 0xC0:
        text += "lines of teletext with an inverted framing code (data units c0)";
        break;
    case 0xC3:
        text += "lines of the video programming system (VPS, data units c3)";
        break;
    case 0xC4:
        text += "lines of widescreen signalling (WSS, data units c4)";
        break;
    case 0xC6:
        text += "samples of lines (data units c6)";
        break;
    default:
        text += "data units ";
        appendNumber(text, id, 'x');
    }
}

/// Writes a rate that is given as frames of 1000 seconds: 29970 is 29.97.
void appendRate(std::string& text, std::int64_t frames) {
    constexpr std::int64_t kSeconds = 1000;
    text += std::to_string(frames / kSeconds);
    if (frames % kSeconds != 0) {
        std::string parts = std::to_string(kSeconds + frames % kSeconds);
        parts.front() = '.';
        text += parts.substr(0, parts.find_last_not_of('0') + 1);
    }
}

/// Writes which field of the information block of EBU STL begins at that byte (EBU Tech 3264).
void appendStlField(std::string& text, std::int64_t place) {
    switch (place) {
    case 16:
        text += "original programme title (OPT)";
        break;
    case 48:
        text += "original episode title (OET)";
        break;
    case 208:
        text += "subtitle list reference code (SLR)";
        break;
    case 224:
        text += "creation date (CD)";
        break;
    case 230:
        text += "revision date (RD)";
        break;
    case 274:
        text += "country of origin (CO)";
        break;
    case 277:
        text += "publisher (PUB)";
        break;
    default:
        text += "field at byte " + std::to_string(place);
    }
}

/// Writes a number in place of a placeholder such as `{2x}`, which ends with `form`.
void appendNumber(std::string& text, std::int64_t number, char form) {
    if (form == 's') {
        text += number == 1 ? "" : "s";
        return;
    }
    if (form == 't' || form == 'b') {
        appendTimeCode(text, number, form == 't');
        return;
    }
    if (form == 'p') {
        constexpr std::int64_t kColumns = 1000;
        text += "row " + std::to_string(number / kColumns) + ", column " + std::to_string(number % kColumns);
        return;
    }
    if (form == 'r') {
        appendRate(text, number);
        return;
    }
    if (form == 'v') {
        appendUnits(text, number);
        return;
    }
    if (form == 'h') {
        constexpr std::string_view kDigits = "0123456789abcdef";
        text += "0x";
        for (unsigned shift = 16; shift > 0; shift -= 4) {
            text += kDigits[static_cast<std::size_t>(number >> (shift - 4) & 0xF)];
        }
        return;
    }
    if (form == 'g') {
        appendStlField(text, number);
        return;
    }
    if (form == 'c') {
        text += number == 1 ? "the section's header" : number == 2 ? "the command" : "an event or component";
        return;
    }
    std::array<char, 24> digits{};
    char* const end = digits.data() + digits.size();
    const bool isHex = form == 'x';
    const bool hasSign = !isHex && form != 'u';
    const auto result = hasSign
                            ? std::to_chars(digits.data(), end, number)
                            : std::to_chars(digits.data(), end, static_cast<std::uint64_t>(number), isHex ? 16 : 10);
    const std::string_view written(digits.data(), static_cast<std::size_t>(result.ptr - digits.data()));
    // A byte has two digits.
    if (isHex && written.size() == 1) {
        text += '0';
    }
    text += written;
}

}  // namespace

std::string Finding::text() const {
    const detail::FindingText* entry = first > kGreatestCcType ? textOf(detail::kSectionTexts, code) : nullptr;
    if (entry == nullptr) {
        entry = textOf(detail::kFindingTexts, code);
    }
    if (entry == nullptr) {
        entry = textOf(detail::kFileFindingTexts, code);
    }
    if (entry == nullptr) {
        return "finding " + std::to_string(static_cast<std::uint32_t>(code));
    }
    std::string text;
    const std::string_view pattern = entry->pattern;
    for (std::size_t index = 0; index < pattern.size(); ++index) {
        if (pattern[index] != '{') {
            text += pattern[index];
            continue;
        }
        const std::size_t close = pattern.find('}', index);
        appendNumber(text, pattern[index + 1] == '1' ? first : second, pattern[close - 1]);
        index = close;
    }
    return text;
}

}  // namespace qlx
