#include "cli/CommandLine.h"

#include "cli/CommandLineRows.h"
#include "cli/CommandLineTexts.h"
#include "cli/Completion.h"
#include "cli/Line21Texts.h"
#include "cli/RawOptions.h"
#include "cli/RawOptionsLine21.h"
#include "cli/RawOptionsShow.h"
#include "io/Errors.h"
#include "io/OutputFile.h"
#include "io/Times.h"

#include <QLXClosedCaptionsUtilities/QLXClosedCaptionsUtilities.h>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <iterator>
#include <sstream>
#include <utility>

namespace qlx::tool {

namespace {

constexpr std::uint32_t kGreatestWidth = 32768;

constexpr const char* kEncodingHelp = "The encoding of an SRT or JSON file, as iconv -l lists them (default: UTF-8)";
constexpr const char* kOutputHelp = "Write to FILE, which appears when it is complete (-: standard output)";

/// A CLI11 check: an empty text, or what is wrong. The frames of a timecode are checked when the rate is known.
std::string checkTime(const std::string& text) {
    return parseTime(text) || parseFrameTimecode(text)
               ? ""
               : "\"" + text + "\" is not a TIME (10.5, 00:00:10,500 or 00:00:10:12; at most 1000 hours)";
}

/// The same of a time in front of a file's beginning as well.
std::string checkSignedTime(const std::string& text) {
    return text.starts_with('-') && checkTime(text.substr(1)).empty() ? "" : checkTime(text);
}

/// A CLI11 check.
std::string checkRate(const std::string& text) {
    return rateNamed(text)
               ? ""
               : "\"" + text + "\" is not a RATE (23.976, 24, 25, 29.97, 30, 50, 59.94 or 60, or as 30000/1001)";
}

CLI::Option& addEncoding(CLI::App& command, std::string& encoding) {
    // An empty name is refused here: further on it stands for none.
    return *command.add_option("--encoding", encoding, kEncodingHelp)
                ->type_name("NAME")
                ->check([](const std::string& name) { return std::string(name.empty() ? "the name is empty" : ""); });
}

std::vector<std::string> rateNames() {
    std::vector<std::string> names;
    std::transform(kRates.begin(), kRates.end(), std::back_inserter(names),
                   [](const Rate& rate) { return std::string(rate.name); });
    return names;
}

/// The files that have frames.
std::vector<std::string> frameFormats() {
    return {"v210", "2vuy", "klv", "jsonl", "scc", "h264", "mpeg2", "mxf", "mov", "ts", "ps"};
}

/// `v210, 2vuy or klv`
std::string inWords(const std::vector<std::string>& values) {
    std::string text;
    for (std::size_t index = 0; index < values.size(); ++index) {
        text += (index == 0 ? "" : index + 1 < values.size() ? ", " : " or ") + values[index];
    }
    return text;
}

void addFromFormat(CLI::App& command, std::optional<std::string>& format, const char* names,
                   const std::vector<std::string>& formats) {
    command.add_option(names, format, inWords(formats) + " (default: by content or name)")
        ->type_name("FORMAT")
        ->check(CLI::IsMember(formats).description(""));
}

void addToFormat(CLI::App& command, std::optional<std::string>& format, const char* help) {
    command.add_option("--to-format", format, help)
        ->type_name("FORMAT")
        ->check(CLI::IsMember({"v210", "klv", "jsonl"}).description(""));
}

void addAsDeployed(CLI::App& command, bool& asDeployed) {
    command.add_flag("--as-deployed", asDeployed, "v210, klv: the bytes that the library's fixed operations write");
}

void addPlay(CLI::App& app, RawPlay& raw) {
    CLI::App& play = *app.add_subcommand("play", kPlayDescription);
    play.footer(kPlayFooter);
    play.add_option("SUBTITLES", raw.subtitles, "An SRT, JSON or EBU STL file (-: standard input)")
        ->required()
        ->type_name("");
    play.add_option("--mode", raw.mode,
                    "What is made of the cues: teletext (OP-47, both fields) or cea608 (captions, field 1)")
        ->required()
        ->type_name("MODE")
        ->check(CLI::IsMember({"teletext", "cea608"}).description(""));
    play.add_option("--rate", raw.rate, "Frames a second: 23.976, 24, 25, 29.97, 30, 50, 59.94 or 60, or as 30000/1001")
        ->required()
        ->type_name("RATE")
        ->check(checkRate);
    play.add_flag("--sd", raw.isSD, "Standard definition: lines 21 and 334, rows of 720 pixels");
    play.add_option("--from", raw.from,
                    "Start with the first frame at or after TIME; cues that have ended by then are left out")
        ->type_name("TIME")
        ->check(checkTime);
    play.add_option("--duration", raw.duration, "Length of the playout (default: to 1 s behind the last cue's end)")
        ->type_name("TIME")
        ->check(checkTime);
    play.add_option("-o,--output", raw.output, kOutputHelp)->type_name("FILE");
    play.add_option("--to-format,--format", raw.format, "v210, klv, jsonl or scc (default: by the name of FILE)")
        ->type_name("FORMAT")
        ->check(CLI::IsMember({"v210", "klv", "jsonl", "scc"}).description(""));
    play.add_option("--width", raw.width, "Pixels of a v210 row (default: 1920, with --sd 720)")
        ->type_name("W")
        ->check(CLI::Range(1U, kGreatestWidth).description(""));
    addAsDeployed(play, raw.asDeployed);
    addEncoding(play, raw.encoding);
    play.add_flag("--no-fill", raw.leavesFramesEmpty, "cea608: frames without a byte pair carry no packet");
    play.add_flag("--non-drop", raw.isNonDrop, "scc: non-drop-frame timecodes (default: drop-frame)");
}

void addSubs(CLI::App& app, RawSubs& raw) {
    CLI::App& subs = *app.add_subcommand("subs", kSubsDescription);
    subs.footer(kSubsFooter);
    subs.add_option("FILE", raw.file, "An SRT, JSON or EBU STL file (-: standard input)")->required()->type_name("");
    subs.add_option("--mode", raw.mode, "What the cues are placed for: teletext or cea608 (default: teletext)")
        ->type_name("MODE")
        ->check(CLI::IsMember({"teletext", "cea608"}).description(""));
    subs.add_option("--rate", raw.rate, "Show times as timecodes of this many frames a second (cea608 needs it)")
        ->type_name("RATE")
        ->check(checkRate);
    addEncoding(subs, raw.encoding);
    subs.add_option("-o,--output", raw.output, kOutputHelp)->type_name("FILE");
    subs.add_flag("--json", raw.asJson, "A JSON object that play can read in place of the list");
}

void addScan(CLI::App& app, RawScan& raw) {
    CLI::App& scan = *app.add_subcommand("scan", kScanDescription);
    scan.footer(kScanFooter);
    scan.add_option("FILE", raw.file, "What is searched (-: standard input)")->required()->type_name("");
    addFromFormat(scan, raw.format, "--from-format,--format", frameFormats());
    addRows(scan, raw.rows);
    scan.add_option("-o,--output", raw.output, kOutputHelp)->type_name("FILE");
    addToFormat(scan, raw.toFormat, "Write frames as v210, klv or jsonl (default: by the name of FILE, or a list)");
    addAsDeployed(scan, raw.asDeployed);
    scan.add_flag("--json", raw.asJson, "A JSON line for each frame in place of the list");
}

void addShow(CLI::App& app, RawShow& raw) {
    CLI::App& show = *app.add_subcommand("show", kShowDescription);
    show.footer(kShowFooter);
    show.add_option("FILE", raw.file, "What is decoded (-: standard input)")->required()->type_name("");
    show.add_option("--at", raw.at, "Show what is on air at TIME")->type_name("TIME")->check(checkSignedTime);
    show.add_flag("--all", raw.isAll, "Show every screen with the time from which and to which it is on air");
    show.add_option("--png", raw.picture, "With --at: write the screen to FILE as a picture (PNG, or PPM by its name)")
        ->type_name("FILE");
    show.add_option("--page", raw.page, "The teletext page (default: 888, unless --channel is given)")
        ->type_name("PAGE");
    show.add_option("--channel", raw.channel, "CC1, CC2, CC3 or CC4 (default: CC1, unless --page is given)")
        ->type_name("CHANNEL")
        ->check(CLI::IsMember({"CC1", "CC2", "CC3", "CC4"}, CLI::ignore_case).description(""));
    show.add_option("--rate", raw.rate,
                    "Frames a second, for files that do not say the times of their frames, and TIME with frames")
        ->type_name("RATE")
        ->check(checkRate);
    addFromFormat(show, raw.format, "--from-format,--format", frameFormats());
    addRows(show, raw.rows);
    show.add_option("-o,--output", raw.output, kOutputHelp)->type_name("FILE");
    show.add_flag("--json", raw.asJson, "A JSON line for each screen in place of the text");
}

void addExtract(CLI::App& app, RawExtract& raw) {
    CLI::App& extract = *app.add_subcommand("extract", kExtractDescription);
    extract.footer(kExtractFooter);
    extract
        .add_option("FILE", raw.file,
                    "Video, a container, or a file of rows, elements or JSON lines (-: standard input)")
        ->required()
        ->type_name("");
    extract.add_option("--codec", raw.codec, "h264, mpeg2 or auto (default: auto, by the content)")
        ->type_name("CODEC")
        ->check(CLI::IsMember({"h264", "mpeg2", "auto"}).description(""));
    extract.add_option("--format", raw.format, "triplets, cc1 or a53, see below (default: triplets)")
        ->type_name("FORMAT")
        ->check(CLI::IsMember({"triplets", "cc1", "a53"}).description(""));
    addFromFormat(extract, raw.fromFormat, "--from-format", frameFormats());
    addRows(extract, raw.rows);
    extract.add_option("-o,--output", raw.output, kOutputHelp)->type_name("FILE");
    extract.add_flag("--json", raw.asJson, "A JSON line for each access unit in place of the list");
}

void addRateChange(CLI::App& app, RawRateChange& raw) {
    CLI::App& rate = *app.add_subcommand("rate", kRateDescription);
    rate.footer(kRateFooter);
    rate.add_option("IN", raw.file, "A klv, v210, 2vuy or jsonl file (-: standard input)")->required()->type_name("");
    rate.add_option("--from-rate,--from", raw.from, "Frames a second of IN")
        ->required()
        ->type_name("RATE")
        ->check(checkRate);
    rate.add_option("--to-rate,--to", raw.to, "Frames a second of the result")
        ->required()
        ->type_name("RATE")
        ->check(checkRate);
    addFromFormat(rate, raw.fromFormat, "--from-format", {"v210", "2vuy", "klv", "jsonl"});
    addRows(rate, raw.rows);
    rate.add_option("-o,--output", raw.output, kOutputHelp)->required()->type_name("FILE");
    addToFormat(rate, raw.toFormat, "v210, klv or jsonl (default: by the name of FILE, or klv)");
    addAsDeployed(rate, raw.asDeployed);
}

void addPictures(CLI::App& app, PictureOptions& raw, std::optional<std::string>& preview) {
    app.add_option("--format", raw.format,
                   "bgra, argb, v210, 2vuy, yuvs, 420v, png or ppm (default: by content or name)")
        ->type_name("FORMAT")
        ->check(CLI::IsMember({"bgra", "argb", "v210", "2vuy", "yuvs", "420v", "png", "ppm"}).description(""));
    app.add_option("--width", raw.width, "Pixels of a row of a raw picture")
        ->type_name("W")
        ->check(CLI::Range(1U, kGreatestWidth).description(""));
    app.add_option("--height", raw.height, "Rows of a raw picture")
        ->type_name("H")
        ->check(CLI::Range(1U, kGreatestWidth).description(""));
    app.add_option("--preview", preview,
                   "Draw the first picture's waveform, enlarged, into FILE (PNG, or PPM by its name)")
        ->type_name("FILE");
}

struct RawLine21 {
    RawLine21Write write;
    RawLine21Read read;
};

CLI::App& addLine21(CLI::App& app, RawLine21& raw) {
    CLI::App& line21 = *app.add_subcommand("line21", kLine21Description);
    line21.footer(kLine21Footer);
    line21.require_subcommand(1);
    CLI::App& write = *line21.add_subcommand("write", kLine21WriteDescription);
    write.footer(kLine21WriteFooter);
    write.add_option("IN", raw.write.input, "The pictures (-: standard input; default: black ones, 720 x 486)")
        ->type_name("");
    write.add_option("--bytes", raw.write.bytes, "What is drawn, see below; may be repeated")
        ->required()
        ->type_name("PAIR")
        ->expected(1)
        ->take_all();
    write.add_option("-o,--output", raw.write.output, kOutputHelp)->required()->type_name("FILE");
    addPictures(write, raw.write.pictures, raw.write.preview);
    CLI::App& read = *line21.add_subcommand("read", kLine21ReadDescription);
    read.footer(kLine21ReadFooter);
    read.add_option("FILE", raw.read.file, "The pictures (-: standard input)")->required()->type_name("");
    read.add_option("-o,--output", raw.read.output, kOutputHelp)->type_name("FILE");
    read.add_flag("--json", raw.read.asJson, "A JSON line for each picture in place of the list");
    addPictures(read, raw.read.pictures, raw.read.preview);
    return line21;
}

void addLog(CLI::App& app, LogOptions& log) {
    app.add_option("--log-folder", log.folder, "Write the technical log into DIR, a file a day")->type_name("DIR");
    app.add_option("--log-level", log.level, "The most verbose level that is logged: 0 to 9 (default: 2)")
        ->type_name("N")
        ->needs("--log-folder")
        ->check(CLI::Range(0, 9).description(""));
}

CLI::App& addCompletion(CLI::App& app, std::string& shell) {
    CLI::App& completion = *app.add_subcommand("completion", kCompletionDescription);
    completion.footer(kCompletionFooter);
    completion.add_option("SHELL", shell, "bash or zsh")
        ->required()
        ->type_name("")
        ->check(CLI::IsMember({"bash", "zsh"}).description(""));
    return completion;
}

/// The values that an option is limited to; empty when it is not. Its check names them when it is asked for another.
std::vector<std::string> allowedValues(CLI::Option& option) {
    constexpr const char* kNoValue = "?";
    const std::string head = std::string(kNoValue) + " not in {";
    try {
        const std::string answer = (*option.get_validator(0))(kNoValue);
        if (!answer.starts_with(head) || !answer.ends_with('}')) {
            return {};
        }
        return CLI::detail::split(answer.substr(head.size(), answer.size() - head.size() - 1), ',');
    } catch (const CLI::OptionNotFound&) {
        return {};  // no check at all
    }
}

/// What kind of value an option or argument takes, and which of them are known.
CompletionValue valueOf(CLI::Option& option, const std::string& typeName, std::vector<std::string>& values) {
    if (option.get_items_expected_max() == 0) {
        return CompletionValue::None;
    }
    values = allowedValues(option);
    if (values.empty() && typeName == "RATE") {
        values = rateNames();
    } else if (values.empty()) {
        values = typeNames(option.get_name());
    }
    if (!values.empty()) {
        return CompletionValue::OneOf;
    }
    if (typeName == "DIR") {
        return CompletionValue::Folder;
    }
    return typeName == "FILE" || !option.nonpositional() ? CompletionValue::File : CompletionValue::Any;
}

/// A command as its definitions stand.
/// @param inherited The options of the commands around it, which it takes as well.
CompletionCommand described(CLI::App& app, const std::vector<CompletionOption>& inherited = {}) {
    CompletionCommand command;
    command.name = app.get_name();
    command.description = app.get_description();
    std::vector<CompletionOption> handedDown = inherited;
    for (CLI::Option* const option : app.get_options()) {
        std::vector<std::string> values;
        const CompletionValue value = valueOf(*option, option->get_type_name(), values);
        if (!option->nonpositional()) {
            const bool repeats = option->get_items_expected_max() > 1;
            command.arguments.push_back({option->get_name(true), value, values, repeats});
            continue;
        }
        CompletionOption known{{}, option->get_description(), option->get_type_name(), value, values};
        for (const std::string& name : option->get_snames()) {
            known.names.push_back("-" + name);
        }
        for (const std::string& name : option->get_lnames()) {
            known.names.push_back("--" + name);
        }
        if (option != app.get_help_ptr() && option != app.get_version_ptr()) {
            handedDown.push_back(known);
        }
        command.options.push_back(std::move(known));
    }
    command.options.insert(command.options.end(), inherited.begin(), inherited.end());
    for (CLI::App* const next : app.get_subcommands(nullptr)) {
        command.commands.push_back(described(*next, handedDown));
    }
    return command;
}

/// What stands on the command line of the commands that are not of a family.
struct RawCommands {
    RawPlay play;
    RawSubs subs;
    RawScan scan;
    RawShow show;
    RawExtract extract;
    RawRateChange rate;
};

void addCommands(CLI::App& app, RawCommands& raw) {
    addPlay(app, raw.play);
    addSubs(app, raw.subs);
    addScan(app, raw.scan);
    addShow(app, raw.show);
    addExtract(app, raw.extract);
    addRateChange(app, raw.rate);
}

/// The one of them that was given.
Command givenCommand(const CLI::App& app, const RawCommands& raw) {
    if (app.got_subcommand("play")) {
        return checked(raw.play);
    }
    if (app.got_subcommand("subs")) {
        return checked(raw.subs);
    }
    if (app.got_subcommand("show")) {
        return checked(raw.show);
    }
    if (app.got_subcommand("extract")) {
        return checked(raw.extract);
    }
    if (app.got_subcommand("rate")) {
        return checked(raw.rate);
    }
    return checked(raw.scan);
}

/// What was called: `qlxcc`, or `qlxcc line21 read`.
std::string calledName(const CLI::App& app) {
    std::string name = app.get_name();
    for (auto level = app.get_subcommands(); !level.empty(); level = level.front()->get_subcommands()) {
        name += " " + level.front()->get_name();
    }
    return name;
}

std::string problemOf(const CLI::ParseError& error, const CLI::App& app) {
    const auto rest = app.remaining();
    return app.get_subcommands().empty() && !rest.empty() ? "unknown command or option " + rest.front() : error.what();
}

/// Prints the help or the version that was asked for.
void printAnswer(const CLI::ParseError& request, const CLI::App& app) {
    std::ostringstream answer;
    (void)app.exit(request, answer, answer);
    OutputFile output(std::nullopt);
    output.write(answer.str());
    output.commit();
}

}  // namespace

void addRows(CLI::App& command, RawRows& rows) {
    command.add_option("--width", rows.width, "v210, 2vuy: pixels of a row (default: 1920)")
        ->type_name("W")
        ->check(CLI::Range(1U, kGreatestWidth).description(""));
    command.add_option("--lines", rows.lines, "v210, 2vuy: the line numbers of a frame's rows, ascending")
        ->type_name("L1,L2,...");
    command.add_option("--rows", rows.rows, "v210, 2vuy: rows in a frame, numbered from 0 (default: one, numbered 0)")
        ->type_name("N")
        ->check(CLI::Range(std::uint64_t{1}, kGreatestLine + 1).description(""));
    command.add_flag("--near-start", rows.nearStart,
                     "v210, 2vuy: look for packets near a row's start only, and verify nothing");
}

Command parseCommandLine(int argc, const char* const* argv, LogOptions& log, std::string& called) {
    CLI::App app(kDescription, called);
    app.footer(kFooter);
    app.set_version_flag("--version", "qlxcc " + std::string(QLXClosedCaptionsUtilitiesVersionString));
    app.set_help_flag("-h,--help", "Print this help");
    app.require_subcommand(1);
    // The options for all commands may stand in front of the command or behind it.
    app.fallthrough();
    addLog(app, log);
    bool isQuiet = false;
    app.add_flag("-q,--quiet", isQuiet, "Say nothing but errors on standard error: no progress, no warnings");
    RawCommands raw;
    addCommands(app, raw);
    RawLine21 rawLine21;
    const CLI::App& line21 = addLine21(app, rawLine21);
    const ScteCommands scte(app);
    std::string shell;
    CLI::App& completion = addCompletion(app, shell);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        called = calledName(app);
        if (error.get_exit_code() != static_cast<int>(CLI::ExitCodes::Success)) {
            throw UsageError(problemOf(error, app));
        }
        printAnswer(error, app);
        return ExitNow{};
    }
    called = calledName(app);
    setQuiet(isQuiet);
    if (auto command = scte.chosen()) {
        return std::move(*command);
    }
    if (line21.parsed()) {
        if (line21.got_subcommand("write")) {
            return checked(rawLine21.write);
        }
        return checked(rawLine21.read);
    }
    if (completion.parsed()) {
        return CompletionOptions{completionScript(shell, described(app))};
    }
    return givenCommand(app, raw);
}

}  // namespace qlx::tool
