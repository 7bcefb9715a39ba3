#include "streams/ServiceWords.h"

#include "io/Text.h"

#include <qlx/base/utf8.h>
#include <qlx/cea708/commands.h>

#include <optional>
#include <span>
#include <utility>
#include <variant>

namespace qlx::tool {

namespace {

using namespace cea708;

/// The windows of a command: `01`.
std::string windows(const WindowsCommand& command) {
    const char* const name = command.action == WindowsAction::Clear     ? "CLW"
                             : command.action == WindowsAction::Display ? "DSW"
                             : command.action == WindowsAction::Hide    ? "HDW"
                             : command.action == WindowsAction::Toggle  ? "TGW"
                                                                        : "DLW";
    std::string text(name);
    for (std::size_t window = 0; window < kWindows; ++window) {
        text += (command.windows >> window & 1U) != 0 ? " " + std::to_string(window) : std::string();
    }
    return text;
}

std::string nameOf(Control control) {
    switch (control) {
    case Control::Null:
        return "NUL";
    case Control::EndOfText:
        return "ETX";
    case Control::Backspace:
        return "BS";
    case Control::FormFeed:
        return "FF";
    case Control::CarriageReturn:
        return "CR";
    case Control::HorizontalCarriageReturn:
        return "HCR";
    case Control::DelayCancel:
        return "DLC";
    case Control::Reset:
        return "RST";
    }
    return {};
}

/// A command that is no character.
struct ServiceCommandWords {
    std::string operator()(Control control) const { return nameOf(control); }
    std::string operator()(const CharacterCode&) const { return {}; }
    std::string operator()(const WideCharacter&) const { return {}; }
    std::string operator()(const SetCurrentWindow& command) const { return "CW" + std::to_string(int{command.window}); }
    std::string operator()(const WindowsCommand& command) const { return windows(command); }
    std::string operator()(const Delay& command) const { return "DLY " + std::to_string(int{command.tenths}); }
    std::string operator()(const PenAttributes&) const { return "SPA"; }
    std::string operator()(const PenColor&) const { return "SPC"; }
    std::string operator()(const PenLocation& command) const {
        return "SPL " + std::to_string(int{command.row}) + " " + std::to_string(int{command.column});
    }
    std::string operator()(const WindowAttributes&) const { return "SWA"; }
    std::string operator()(const DefineWindow& command) const {
        return "DF" + std::to_string(int{command.window}) + (command.isVisible ? " visible" : " hidden");
    }
    std::string operator()(const ReservedCommand& command) const { return hex(command.bytes.items()); }
};

char32_t shown(char32_t character) {
    return character == kTransparentSpace || character == kNonBreakingTransparentSpace ? U' ' : character;
}

}  // namespace

std::string ServiceWords::wordsOf(std::vector<std::uint8_t>& bytes) {
    std::string words;
    std::string text;
    const auto add = [&words](const std::string& word) { words += (words.empty() ? "" : ", ") + word; };
    const auto endText = [&] {
        if (!text.empty()) {
            add("\"" + printable(text) + "\"");
        }
        text.clear();
    };
    std::span<const std::uint8_t> rest = bytes;
    char32_t half = 0;  // The first half of a pair of UTF-16.
    while (!rest.empty()) {
        const Result<SizedCommand> next = parseCommand(rest);
        if (!next) {
            break;
        }
        rest = rest.subspan(next->size);
        if (const auto* const character = std::get_if<CharacterCode>(&next->command)) {
            appendUtf8(text, shown(characterOf(*character).value_or(kReplacement)));
            continue;
        }
        if (const auto* const wide = std::get_if<WideCharacter>(&next->command)) {
            const bool isFirstHalf = !_wideCharacters && (wide->code & 0xFC00U) == 0xD800U;
            const bool isSecondHalf = !_wideCharacters && (wide->code & 0xFC00U) == 0xDC00U && half != 0;
            if (!isFirstHalf) {
                const char32_t code = isSecondHalf      ? 0x10000U + ((half & 0x3FFU) << 10U) + (wide->code & 0x3FFU)
                                      : _wideCharacters ? _wideCharacters(wide->code)
                                                        : char32_t{wide->code};
                const bool isHalf = (code & ~char32_t{0x7FF}) == 0xD800U;
                appendUtf8(text, code == 0 || isHalf ? kReplacement : code);
            }
            half = isFirstHalf ? char32_t{wide->code} : 0;
            continue;
        }
        endText();
        add(std::visit(ServiceCommandWords{}, next->command));
    }
    endText();
    bytes.assign(rest.begin(), rest.end());
    return words;
}

std::vector<std::string> ServiceWords::linesOf(const ReceivedPacket& packet) {
    if (packet.isBehindLoss) {
        _cut.clear();
    }
    std::vector<std::string> lines;
    for (const ServiceBlockView block : packet.packet.blocks()) {
        std::vector<std::uint8_t>& bytes = _cut[block.service];
        bytes.insert(bytes.end(), block.data.begin(), block.data.end());
        const std::string words = wordsOf(bytes);
        lines.push_back("service " + std::to_string(int{block.service}) + ": " +
                        (words.empty() ? "part of a command" : words));
    }
    return lines;
}

}  // namespace qlx::tool
