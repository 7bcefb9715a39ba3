// What pairs and channels are called.
#include <QLXClosedCaptionsUtilities/platform/Text.h>
#include <qlx/base/utf8.h>
#include <qlx/cea608/codes.h>

#include "cea608/ByteKinds.h"

#include <algorithm>

namespace qlx::cea608 {

namespace {

/// The miscellaneous control codes, from 20h on.
constexpr std::array<std::string_view, 16> kControlNames{
    "resume caption loading",
    "backspace",
    "alarm off",
    "alarm on",
    "delete to end of row",
    "roll-up captions, 2 rows",
    "roll-up captions, 3 rows",
    "roll-up captions, 4 rows",
    "flash on",
    "resume direct captioning",
    "text restart",
    "resume text display",
    "erase displayed memory",
    "carriage return",
    "erase non-displayed memory",
    "end of caption",
};

void append(std::string& text, CharacterSet set, std::uint8_t code) {
    const auto character = characterOf(set, code);
    if (character) {
        appendUtf8(text, *character == kTransparentSpace ? U'\u00A0' : *character);
    }
}

std::string characterName(std::string_view kind, const CharacterCode& character) {
    std::string name = std::string(kind) + " character \"";
    append(name, character.set, character.code);
    return name + "\"";
}

std::string textName(std::uint8_t first, std::uint8_t second) {
    std::string name = "text \"";
    append(name, CharacterSet::Basic, first);
    append(name, CharacterSet::Basic, second);
    return name + "\"";
}

/// A first byte that has no meaning in field 1, and what stands behind it.
std::string unknownName(std::uint8_t second) {
    if (second == 0) {
        return "unknown code";
    }
    return second < kFirstCharacter ? "unknown codes" : "unknown code, " + textName(second, 0);
}

std::string controlName(const Code& code) {
    switch (code.kind) {
    case CodeKind::Control:
        return std::string(nameOf(code.control));
    case CodeKind::Preamble:
        return "preamble row " + std::to_string(code.row);
    case CodeKind::MidRow:
        return "mid-row code";
    case CodeKind::Background:
        return code.opacity == screen::Opacity::Transparent ? "foreground or background attribute"
                                                            : "background colour";
    case CodeKind::Foreground:
        return "foreground or background attribute";
    case CodeKind::Tab:
        return "tab offset " + std::to_string(code.columns);
    case CodeKind::Special:
        return characterName("special", code.character);
    case CodeKind::Extended:
        return characterName("extended", code.character);
    default:
        return {};
    }
}

}  // namespace

std::string_view nameOf(Control control) noexcept {
    return kControlNames[static_cast<std::size_t>(control) & 0xFU];
}

std::string_view nameOf(Channel channel) noexcept {
    constexpr std::array<std::string_view, 8> kNames{"CC1", "CC2", "CC3", "CC4", "T1", "T2", "T3", "T4"};
    return kNames[(channel.isText ? 4U : 0U) + (channel.field == 2 ? 2U : 0U) + (channel.channel == 2 ? 1U : 0U)];
}

std::optional<Channel> channelNamed(std::string_view name) {
    for (const auto& channels : {kChannels, kTextChannels}) {
        for (const Channel channel : channels) {
            if (asciiLowercased(name) == asciiLowercased(nameOf(channel))) {
                return channel;
            }
        }
    }
    return std::nullopt;
}

std::string nameOfPair(std::uint8_t first, std::uint8_t second) {
    return nameOfPair(first, second, 2);
}

std::string nameOfPair(std::uint8_t first, std::uint8_t second, std::uint8_t field) {
    if (first == 0 && second == 0) {
        return "nothing";
    }
    const Code code = codeOf(first, second);
    switch (code.kind) {
    case CodeKind::Null:
        return "null";
    case CodeKind::Text:
        return textName(first & 0x7FU, second & 0x7FU);
    case CodeKind::ExtendedData:
        return field == 1 ? unknownName(second & 0x7FU) : "extended data services";
    case CodeKind::Unknown:
        return (first & 0x7FU) == 0 ? "unknown" : "unknown control code";
    default:
        return controlName(code) + (code.channel == 2 ? " (channel 2)" : "");
    }
}

}  // namespace qlx::cea608
