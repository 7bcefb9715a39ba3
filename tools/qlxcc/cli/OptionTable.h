// The table of the commands and their options: what the command line is parsed with, what shells complete with, and
// what the option sections of the manual pages are made of. All of it is constant data.
#pragma once

#include "cli/RawOptions.h"

#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace qlx::tool {

/// What stands behind an option, or in the place of an argument.
enum class ValueKind : std::uint8_t {
    Flag,  ///< Nothing.
    Text,
    Name,  ///< A text that is not empty.
    Word,  ///< One of `words`.
    WordOfAnyCase,
    Number,      ///< From `least` to `greatest`.
    Rate,        ///< Frames a second.
    Time,        ///< See parseTime() and parseFrameTimecode().
    SignedTime,  ///< The same, also with a `-` in front.
    File,
    Folder,
};

/// Where the value goes; nowhere of what asks for the help or the version. A list takes a value each time; the
/// parameters keep it by the option's name.
using Field =
    std::variant<std::monostate, bool RawOptions::*, std::string RawOptions::*, std::int64_t RawOptions::*,
                 std::optional<std::string> RawOptions::*, std::optional<std::uint64_t> RawOptions::*,
                 std::vector<std::string> RawOptions::*, std::map<std::string_view, std::string> RawOptions::*>;

/// An option, or an argument without one.
struct OptionRow {
    std::string_view names{};  ///< `-o,--output`; of an argument what the help calls it, `FILE`.
    std::string_view older{};  ///< What it was called before, which goes on working: only the manual names it.
    std::string_view value{};  ///< What the help calls the value; none of flags and arguments.
    ValueKind kind = ValueKind::Flag;
    std::span<const std::string_view> words{};            ///< All that there are.
    std::vector<std::string> (*suggestions)() = nullptr;  ///< Words among other values.
    std::uint64_t least = 0;                              ///< Of a number.
    std::uint64_t greatest = 0;                           ///< Of a number.
    bool isRequired = false;
    std::string_view needs{};  ///< The option without which it makes no sense.
    Field field{};
    std::string_view help{};  ///< One line; `{}` stands for the words.
    /// What the manual says behind the help. What stands in backquotes is bold there, and lines that are indented by
    /// four stand as they are.
    std::string_view more{};
};

/// A command, or the program around all of them.
struct CommandRow {
    std::string_view name{};
    std::string_view summary{};
    std::string_view notes{};  ///< What stands at the end of its help.
    std::span<const OptionRow> options{};
    std::span<const CommandRow* const> commands{};     ///< Of which one must be given.
    Action (*check)(const RawOptions& raw) = nullptr;  ///< Gives what it does; none with commands inside of it.
};

/// The program. Its options are those of every command, in front of its name or behind it.
extern const CommandRow kProgram;

extern const OptionRow kHelpOption;     ///< Of every command.
extern const OptionRow kVersionOption;  ///< Of the program alone.

// The commands.
extern const CommandRow kPlayCommand;
extern const CommandRow kSubsCommand;
extern const CommandRow kConvertCommand;
extern const CommandRow kScanCommand;
extern const CommandRow kShowCommand;
extern const CommandRow kExtractCommand;
extern const CommandRow kRateCommand;
extern const CommandRow kLine21Command;
extern const CommandRow kScte104Command;
extern const CommandRow kScte35Command;

[[nodiscard]] inline bool isArgument(const OptionRow& row) noexcept {
    return !row.names.starts_with('-');
}

/// Whether it may be given several times, as an argument also several values in a row.
[[nodiscard]] inline bool isRepeated(const OptionRow& row) noexcept {
    return std::holds_alternative<std::vector<std::string> RawOptions::*>(row.field);
}

/// All its names, the older one last.
[[nodiscard]] std::vector<std::string> namesOf(const OptionRow& row);
/// The same without the older one.
[[nodiscard]] std::vector<std::string> shownNamesOf(const OptionRow& row);

/// The words that its value can be, or that are known of it; none of any other value.
[[nodiscard]] std::vector<std::string> wordsOf(const OptionRow& row);

/// `text` with the words of `row` in the places of `{}`: `v210, klv or jsonl`.
[[nodiscard]] std::string withWords(std::string_view text, const OptionRow& row);

/// The help of `row`.
[[nodiscard]] inline std::string helpOf(const OptionRow& row) {
    return withWords(row.help, row);
}

}  // namespace qlx::tool
