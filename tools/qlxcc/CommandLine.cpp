#include "CommandLine.h"

#include "Errors.h"
#include "OutputFile.h"
#include "Times.h"

#include <QLXClosedCaptionsUtilities/QLXClosedCaptionsUtilities.h>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <charconv>
#include <iostream>
#include <optional>
#include <string_view>

namespace qlx::tool {

namespace {

constexpr std::uint32_t kWidthHD = 1920;
constexpr std::uint32_t kWidthSD = 720;
constexpr std::uint32_t kGreatestWidth = 32768;
constexpr std::uint64_t kGreatestLine = 65535;

constexpr const char* kDescription =
    "Plays subtitles out as ancillary packets, and finds the packets in what was recorded.";

constexpr const char* kFooter =
    "Every command explains itself: qlxcc play --help, qlxcc scan --help\n"
    "Exit codes: 0 all went well, 1 broken input or output that cannot be written, 2 wrong usage";

constexpr const char* kPlayDescription = "Play a subtitle file out frame by frame";

constexpr const char* kPlayFooter =
    "Without -o and --format the schedule is printed: a line for each frame at which something changes, with what the\n"
    "packets of both fields carry. \"erase\" is a page header that clears page 888, \"close\" the header behind its "
    "rows.\n"
    "\n"
    "TIME is seconds (10.5) or HH:MM:SS,mmm (00:00:10,500). Frame n is at n frame durations, from 0. A cue goes on "
    "air\n"
    "with the first frame that is later than its start. The rows of a v210 file are, in every frame, those of the "
    "lines\n"
    "12 and 575, or 21 and 334 with --sd.\n"
    "\n"
    "Examples:\n"
    "  qlxcc play film.srt --mode teletext --rate 25\n"
    "  qlxcc play film.srt --mode teletext --rate 29.97 --from 00:10:00,000 --duration 60 -o film.v210\n"
    "  qlxcc play film.srt --mode teletext --rate 25 --format klv | qlxcc scan - --format klv";

constexpr const char* kScanDescription = "Find the ancillary packets in SDI rows or ANC frame elements";

constexpr const char* kScanFooter = "v210 and 2vuy files hold SDI rows, the same lines in every frame; klv files hold "
                                    "MXF ANC frame elements, one a frame.\n"
                                    "Each packet is listed with frame, line, DID/SDID, name, number of bytes and data. "
                                    "What cannot be read gets a line on\n"
                                    "standard error with its frame and place, and makes the exit code 1.\n"
                                    "\n"
                                    "Examples:\n"
                                    "  qlxcc scan film.v210 --lines 12,575\n"
                                    "  qlxcc scan vanc.2vuy --width 720 --rows 14 --json\n"
                                    "  qlxcc scan anc.klv";

/// What the options are before they have been checked against each other.
struct RawPlay {
    std::string subtitles;
    std::string mode;
    std::string rate;
    bool isSD = false;
    std::string from;
    std::string duration;
    std::optional<std::string> output;
    std::optional<std::string> format;
    std::optional<std::uint32_t> width;
};

struct RawScan {
    std::string file;
    std::optional<std::string> format;
    std::optional<std::uint32_t> width;
    std::optional<std::string> lines;
    std::optional<std::uint64_t> rows;
    bool asJson = false;
};

/// A CLI11 check: an empty text, or what is wrong.
std::string checkTime(const std::string& text) {
    return parseTime(text) ? "" : "\"" + text + "\" is not a TIME (10.5 or 00:00:10,500; at most 1000 hours)";
}

void addPlay(CLI::App& app, RawPlay& raw) {
    std::vector<std::string> rates;
    std::transform(kRates.begin(), kRates.end(), std::back_inserter(rates),
                   [](const Rate& rate) { return std::string(rate.name); });
    CLI::App& play = *app.add_subcommand("play", kPlayDescription);
    play.footer(kPlayFooter);
    play.add_option("SUBTITLES", raw.subtitles, "An SRT file in UTF-8 (-: standard input)")->required()->type_name("");
    play.add_option("--mode", raw.mode, "What is made of the subtitles: teletext (OP-47 on both fields)")
        ->required()
        ->type_name("MODE")
        ->check(CLI::IsMember({"teletext"}).description(""));
    play.add_option("--rate", raw.rate, "Frames a second: 23.976, 24, 25, 29.97, 30, 50, 59.94 or 60")
        ->required()
        ->type_name("RATE")
        ->check(CLI::IsMember(rates).description(""));
    play.add_flag("--sd", raw.isSD, "Standard definition: lines 21 and 334, rows of 720 pixels");
    play.add_option("--from", raw.from,
                    "Start with the first frame at or after TIME; cues that have ended by then are left out")
        ->type_name("TIME")
        ->check(checkTime);
    play.add_option("--duration", raw.duration, "Length of the playout (default: to 1 s behind the last cue's end)")
        ->type_name("TIME")
        ->check(checkTime);
    play.add_option("-o,--output", raw.output, "Write to FILE, which appears when it is complete (-: standard output)")
        ->type_name("FILE");
    play.add_option("--format", raw.format, "v210, klv or jsonl (default: by the name of FILE)")
        ->type_name("FORMAT")
        ->check(CLI::IsMember({"v210", "klv", "jsonl"}).description(""));
    play.add_option("--width", raw.width, "Pixels of a v210 row (default: 1920, with --sd 720)")
        ->type_name("W")
        ->check(CLI::Range(1U, kGreatestWidth).description(""));
}

void addScan(CLI::App& app, RawScan& raw) {
    CLI::App& scan = *app.add_subcommand("scan", kScanDescription);
    scan.footer(kScanFooter);
    scan.add_option("FILE", raw.file, "What is searched (-: standard input)")->required()->type_name("");
    scan.add_option("--format", raw.format, "v210, 2vuy or klv (default: by the name of FILE)")
        ->type_name("FORMAT")
        ->check(CLI::IsMember({"v210", "2vuy", "klv"}).description(""));
    scan.add_option("--width", raw.width, "Pixels of a row (default: 1920)")
        ->type_name("W")
        ->check(CLI::Range(1U, kGreatestWidth).description(""));
    scan.add_option("--lines", raw.lines, "The line numbers of a frame's rows, ascending")->type_name("L1,L2,...");
    scan.add_option("--rows", raw.rows, "Rows in a frame, numbered from 0 (default: one row is a frame)")
        ->type_name("N")
        ->check(CLI::Range(std::uint64_t{1}, kGreatestLine + 1).description(""));
    scan.add_flag("--json", raw.asJson, "A JSON line for each frame in place of the list");
}

/// The part of a file name behind its last dot.
std::string_view extension(std::string_view path) {
    const std::size_t dot = path.find_last_of("./");
    return dot == std::string_view::npos || path[dot] == '/' ? std::string_view() : path.substr(dot + 1);
}

/// The format that was given, or else the file's extension.
std::string formatName(const std::optional<std::string>& format, const std::string& file,
                       const std::vector<std::string_view>& known) {
    if (format) {
        return *format;
    }
    const std::string_view name = extension(file);
    if (std::find(known.begin(), known.end(), name) == known.end()) {
        throw UsageError("--format is needed: the name of " + (file == "-" ? "a pipe" : file) +
                         " does not tell the format");
    }
    return std::string(name);
}

PlayFormat playFormat(const RawPlay& raw) {
    if (!raw.output && !raw.format) {
        return PlayFormat::Schedule;
    }
    const std::string name = formatName(raw.format, raw.output.value_or("-"), {"v210", "klv", "jsonl"});
    if (name == "jsonl") {
        return PlayFormat::Jsonl;
    }
    if (raw.output.value_or("-") == "-" && standardOutputIsTerminal()) {
        throw UsageError("--format " + name + " is not for a terminal: name a file with -o");
    }
    return name == "klv" ? PlayFormat::Klv : PlayFormat::V210;
}

PlayOptions playOptions(const RawPlay& raw) {
    PlayOptions options;
    options.subtitles = raw.subtitles;
    options.rate = rateNamed(raw.rate).value();
    options.isHD = !raw.isSD;
    if (!raw.from.empty()) {
        options.fromSeconds = parseTime(raw.from).value();
    }
    if (!raw.duration.empty()) {
        options.durationSeconds = parseTime(raw.duration);
        if (options.durationSeconds == 0.0) {
            throw UsageError("--duration must be longer than 0");
        }
    }
    options.output = raw.output;
    options.format = playFormat(raw);
    if (raw.width && options.format != PlayFormat::V210) {
        throw UsageError("--width is for the format v210 only");
    }
    options.width = raw.width.value_or(raw.isSD ? kWidthSD : kWidthHD);
    return options;
}

std::vector<std::uint64_t> lineNumbers(std::string_view text) {
    std::vector<std::uint64_t> lines;
    for (bool more = true; more;) {
        const std::size_t comma = text.find(',');
        const std::string_view item = text.substr(0, comma);
        std::uint64_t line = 0;
        const auto [end, error] = std::from_chars(item.data(), item.data() + item.size(), line);
        if (error != std::errc{} || end != item.data() + item.size() || line > kGreatestLine) {
            throw UsageError("--lines: \"" + std::string(item) + "\" is not a line number (0 to 65535)");
        }
        if (!lines.empty() && line <= lines.back()) {
            throw UsageError("--lines must be ascending: the rows of a frame stand in the order of their lines");
        }
        lines.push_back(line);
        more = comma != std::string_view::npos;
        text.remove_prefix(more ? comma + 1 : text.size());
    }
    return lines;
}

ScanOptions scanOptions(const RawScan& raw) {
    ScanOptions options;
    options.file = raw.file;
    options.asJson = raw.asJson;
    const std::string name = formatName(raw.format, raw.file, {"v210", "2vuy", "klv"});
    options.format = name == "klv" ? ScanFormat::Klv : name == "v210" ? ScanFormat::V210 : ScanFormat::Yuv8;
    if (options.format == ScanFormat::Klv && (raw.width || raw.lines || raw.rows)) {
        throw UsageError("--width, --lines and --rows are for the formats v210 and 2vuy: a klv file says its lines");
    }
    if (raw.lines && raw.rows) {
        throw UsageError("--lines and --rows cannot be given together");
    }
    options.width = raw.width.value_or(kWidthHD);
    if (raw.lines) {
        options.lines = lineNumbers(*raw.lines);
    } else {
        options.lines.resize(static_cast<std::size_t>(raw.rows.value_or(1)));
        for (std::size_t row = 0; row < options.lines.size(); ++row) {
            options.lines[row] = row;
        }
    }
    return options;
}

ExitNow usageError(const std::string& what, const CLI::App& app) {
    const auto chosen = app.get_subcommands();
    const auto rest = app.remaining();
    if (chosen.empty() && !rest.empty()) {
        printMessage("unknown command or option " + rest.front() + " (see qlxcc --help)");
        return {kExitUsage};
    }
    const std::string command = chosen.empty() ? "" : " " + chosen.front()->get_name();
    printMessage(what + " (see qlxcc" + command + " --help)");
    return {kExitUsage};
}

}  // namespace

Command parseCommandLine(int argc, const char* const* argv) {
    CLI::App app(kDescription, "qlxcc");
    app.footer(kFooter);
    app.set_version_flag("--version", "qlxcc " + std::string(QLXClosedCaptionsUtilitiesVersionString));
    app.set_help_flag("-h,--help", "Print this help");
    app.require_subcommand(1);
    RawPlay rawPlay;
    RawScan rawScan;
    addPlay(app, rawPlay);
    addScan(app, rawScan);
    try {
        app.parse(argc, argv);
        if (app.got_subcommand("play")) {
            return playOptions(rawPlay);
        }
        return scanOptions(rawScan);
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success)) {
            (void)app.exit(error, std::cout, std::cerr);
            std::cout.flush();
            return ExitNow{kExitSuccess};
        }
        return usageError(error.what(), app);
    } catch (const UsageError& error) {
        return usageError(error.what(), app);
    }
}

}  // namespace qlx::tool
