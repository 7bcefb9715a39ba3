// The formatter behind every quoted message, on arbitrary formats and arguments, and the log's lines around its texts.
#include <QLXClosedCaptionsUtilities/platform/Format.h>

#include "FuzzSupport.h"
#include "log/LogText.h"

#include <algorithm>
#include <bit>
#include <deque>
#include <string>
#include <string_view>
#include <vector>

using qlxfuzz::Input;
using qlxfuzz::require;

namespace {

constexpr std::size_t kMaxArguments = 8;

/// A placeholder may be padded to this many characters, its fraction and integer digits included.
constexpr std::size_t kMaxField = 4096 + 512;

std::uint64_t takeBits(Input& input) {
    std::uint64_t bits = 0;
    for (int byte = 0; byte < 8; ++byte) {
        bits = bits << 8U | input.takeByte();
    }
    return bits;
}

std::string takeText(Input& input) {
    std::string text(input.takeByte() % 32, '\0');
    for (char& character : text) {
        character = static_cast<char>(input.takeByte());
    }
    return text;
}

qlx::FormatArgument takeArgument(Input& input, std::deque<std::string>& texts) {
    switch (input.takeByte() % 10) {
    case 0:
        return nullptr;
    case 1:
        return static_cast<std::int8_t>(input.takeByte());
    case 2:
        return static_cast<std::uint32_t>(takeBits(input));
    case 3:
        return static_cast<std::int64_t>(takeBits(input));
    case 4:
        return takeBits(input);
    case 5:
        return std::bit_cast<double>(takeBits(input));
    case 6:
        return qlx::Data(std::vector<std::uint8_t>(input.takeByte() % 16, input.takeByte()));
    case 7:
        return qlx::Value(qlx::Array{takeText(input), takeBits(input), nullptr});
    default:
        return std::string_view(texts.emplace_back(takeText(input)));
    }
}

void checkLines(std::string_view text) {
    const std::string stamp = qlx::log::technicalStamp({2026, 11, 15, 0, 49, 42, 0}, "Sunday");
    const std::string line = qlx::log::messageLine(true, stamp, text);
    require(line.size() == 1 + 1 + stamp.size() + 2 + text.size() + 2);
    require(line.starts_with("!\t" + stamp + "\t\t") && line.ends_with("\r\n"));
    require(std::string_view(line).substr(stamp.size() + 4, text.size()) == text);
    require(qlx::log::initialLine(stamp, text) == line.substr(1));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Input input(data, size);
    std::deque<std::string> texts;  // Arguments refer to them: they stay where they are.
    std::vector<qlx::FormatArgument> arguments;
    std::size_t argumentSize = 0;
    for (std::size_t count = input.takeByte() % (kMaxArguments + 1); count > 0; --count) {
        arguments.push_back(takeArgument(input, texts));
    }
    for (const std::string& text : texts) {
        argumentSize += text.size();
    }
    const std::vector<std::uint8_t> rest = input.rest();
    const std::string_view format(reinterpret_cast<const char*>(rest.data()), rest.size());
    const auto placeholders = static_cast<std::size_t>(std::count(format.begin(), format.end(), '%'));

    const std::string text = qlx::formatText(format, arguments);
    require(text == qlx::formatText(format, arguments));
    require(text.size() <= format.size() + argumentSize + placeholders * kMaxField);
    if (placeholders == 0) {
        require(text == format);
    }

    // A text is no format: whatever its bytes, it comes through whole.
    const std::vector<qlx::FormatArgument> whole{qlx::FormatArgument(text)};
    require(qlx::formatText("%@", whole) == text && qlx::formatText("<%s>", whole) == "<" + text + ">");
    checkLines(text);
    return 0;
}
