#include "cli/OptionTable.h"

#include "cli/Completion.h"
#include "io/Rates.h"

namespace qlx::tool {

namespace {

constexpr std::string_view kShells[] = {"bash", "zsh"};

Action checkedCompletion(const RawOptions& raw) {
    return [shell = raw.shell] { return printCompletion(shell); };
}

constexpr std::string_view kCompletionNotes =
    R"(The script completes commands, options, their values and the names of files. An installed qlxcc has it in place.

Examples:
  source <(qlxcc completion bash)
  qlxcc completion zsh >~/.zfunc/_qlxcc)";

constexpr OptionRow kCompletionOptions[] = {
    {.names = "SHELL",
     .kind = ValueKind::Word,
     .words = kShells,
     .isRequired = true,
     .field = &RawOptions::shell,
     .help = "{}"},
};

constexpr CommandRow kCompletionCommand{.name = "completion",
                                        .summary = "Print the completion script of a shell",
                                        .notes = kCompletionNotes,
                                        .options = kCompletionOptions,
                                        .check = checkedCompletion};

/// Those that may stand in front of the command or behind it.
constexpr OptionRow kCommonOptions[] = {
    {.names = "--log-folder",
     .value = "DIR",
     .kind = ValueKind::Folder,
     .field = &RawOptions::logFolder,
     .help = "Write the technical log into DIR, a file a day",
     .more = "It has the command line, what the library logs, and the messages that go to standard error, which are "
             "marked with `!`. When a day's file is begun, log files that are older than 30 days are removed."},
    {.names = "--log-level",
     .value = "N",
     .kind = ValueKind::Number,
     .least = 0,
     .greatest = 9,
     .needs = "--log-folder",
     .field = &RawOptions::logLevel,
     .help = "The most verbose level that is logged: 0 to 9 (default: 2)",
     .more = "Messages of the tool have level 1, information 2. It needs --log-folder."},
    {.names = "-q,--quiet",
     .field = &RawOptions::isQuiet,
     .help = "Say nothing but errors on standard error: no progress, no warnings"},
};

constexpr const CommandRow* kCommands[] = {&kPlayCommand,    &kSubsCommand,    &kConvertCommand,   &kScanCommand,
                                           &kShowCommand,    &kExtractCommand, &kRateCommand,      &kLine21Command,
                                           &kScte104Command, &kScte35Command,  &kCompletionCommand};

constexpr std::string_view kProgramNotes =
    R"(Every command explains itself: qlxcc play --help, qlxcc scan --help, and so on
--quiet, --log-folder and --log-level may stand in front of a command or behind it. Log files older than 30 days are
removed. TIME is seconds (10.5), HH:MM:SS,mmm (00:00:10,500; also with a point), or HH:MM:SS:FF with frames of the
command's rate (00:00:10:12; drop-frame 00:00:10;12). RATE is 23.976, 24, 25, 29.97, 30, 50, 59.94 or 60, or a
quotient (30000/1001). The file - is standard input or standard output.
Exit codes: 0 all went well, 1 broken input or output that cannot be written, 2 wrong usage

Examples:
  qlxcc play film.srt --mode teletext --rate 25
  qlxcc scan film.v210 --lines 12,575)";

}  // namespace

constexpr OptionRow kHelpOption{.names = "-h,--help", .help = "Print this help"};
constexpr OptionRow kVersionOption{.names = "--version", .help = "Print the version"};

constexpr CommandRow kProgram{
    .name = "qlxcc",
    .summary = "Plays subtitles out as ancillary packets, finds the packets in what was recorded, takes captions out "
               "of video\nstreams, brings them from one frame rate to another, and makes ad insertion messages.",
    .notes = kProgramNotes,
    .options = kCommonOptions,
    .commands = kCommands};

std::vector<std::string> shownNamesOf(const OptionRow& row) {
    std::vector<std::string> names;
    std::string_view rest = row.names;
    for (std::size_t comma = rest.find(','); comma != std::string_view::npos; comma = rest.find(',')) {
        names.emplace_back(rest.substr(0, comma));
        rest.remove_prefix(comma + 1);
    }
    names.emplace_back(rest);
    return names;
}

std::vector<std::string> namesOf(const OptionRow& row) {
    std::vector<std::string> names = shownNamesOf(row);
    if (!row.older.empty()) {
        names.emplace_back(row.older);
    }
    return names;
}

std::vector<std::string> wordsOf(const OptionRow& row) {
    if (row.suggestions != nullptr) {
        return row.suggestions();
    }
    std::vector<std::string> words(row.words.begin(), row.words.end());
    if (row.kind == ValueKind::Rate) {
        for (const Rate& rate : kRates) {
            words.emplace_back(rate.name);
        }
    }
    return words;
}

std::string withWords(std::string_view text, const OptionRow& row) {
    constexpr std::string_view kPlace = "{}";
    const std::size_t place = text.find(kPlace);
    if (place == std::string_view::npos) {
        return std::string(text);
    }
    std::string result(text.substr(0, place));
    for (std::size_t index = 0; index < row.words.size(); ++index) {
        result += index == 0 ? "" : index + 1 < row.words.size() ? ", " : " or ";
        result += row.words[index];
    }
    result += text.substr(place + kPlace.size());
    return result;
}

}  // namespace qlx::tool
