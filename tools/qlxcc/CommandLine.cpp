#include "CommandLine.h"

#include "CommandLineTexts.h"
#include "Errors.h"
#include "RawOptions.h"
#include "Times.h"

#include <QLXClosedCaptionsUtilities/QLXClosedCaptionsUtilities.h>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <iostream>
#include <iterator>
#include <utility>

namespace qlx::tool {

namespace {

constexpr std::uint32_t kGreatestWidth = 32768;

/// A CLI11 check: an empty text, or what is wrong.
std::string checkTime(const std::string& text) {
    return parseTime(text) ? "" : "\"" + text + "\" is not a TIME (10.5 or 00:00:10,500; at most 1000 hours)";
}

std::vector<std::string> rateNames() {
    std::vector<std::string> names;
    std::transform(kRates.begin(), kRates.end(), std::back_inserter(names),
                   [](const Rate& rate) { return std::string(rate.name); });
    return names;
}

void addPlay(CLI::App& app, RawPlay& raw) {
    CLI::App& play = *app.add_subcommand("play", kPlayDescription);
    play.footer(kPlayFooter);
    play.add_option("SUBTITLES", raw.subtitles, "An SRT file in UTF-8, or a JSON file (-: standard input)")
        ->required()
        ->type_name("");
    play.add_option("--mode", raw.mode,
                    "What is made of the cues: teletext (OP-47, both fields) or cea608 (captions, field 1)")
        ->required()
        ->type_name("MODE")
        ->check(CLI::IsMember({"teletext", "cea608"}).description(""));
    play.add_option("--rate", raw.rate, "Frames a second: 23.976, 24, 25, 29.97, 30, 50, 59.94 or 60")
        ->required()
        ->type_name("RATE")
        ->check(CLI::IsMember(rateNames()).description(""));
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
    play.add_option("--format", raw.format, "v210, klv, jsonl or scc (default: by the name of FILE)")
        ->type_name("FORMAT")
        ->check(CLI::IsMember({"v210", "klv", "jsonl", "scc"}).description(""));
    play.add_option("--width", raw.width, "Pixels of a v210 row (default: 1920, with --sd 720)")
        ->type_name("W")
        ->check(CLI::Range(1U, kGreatestWidth).description(""));
    play.add_flag("--no-fill", raw.leavesFramesEmpty, "cea608: frames without a byte pair carry no packet");
    play.add_flag("--non-drop", raw.isNonDrop, "scc: non-drop-frame timecodes (default: drop-frame)");
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

void addExtract(CLI::App& app, RawExtract& raw) {
    CLI::App& extract = *app.add_subcommand("extract", kExtractDescription);
    extract.footer(kExtractFooter);
    extract.add_option("FILE", raw.file, "H.264 in Annex B form, or MPEG-2 video (-: standard input)")
        ->required()
        ->type_name("");
    extract.add_option("--codec", raw.codec, "h264, mpeg2 or auto (default: auto, by the first start code)")
        ->type_name("CODEC")
        ->check(CLI::IsMember({"h264", "mpeg2", "auto"}).description(""));
    extract.add_option("--format", raw.format, "triplets, cc1 or a53, see below (default: triplets)")
        ->type_name("FORMAT")
        ->check(CLI::IsMember({"triplets", "cc1", "a53"}).description(""));
    extract.add_flag("--json", raw.asJson, "A JSON line for each access unit in place of the list");
}

void addRateChange(CLI::App& app, RawRateChange& raw) {
    CLI::App& rate = *app.add_subcommand("rate", kRateDescription);
    rate.footer(kRateFooter);
    rate.add_option("IN", raw.file, "A klv file (-: standard input)")->required()->type_name("");
    rate.add_option("--from", raw.from, "Frames a second of IN")
        ->required()
        ->type_name("RATE")
        ->check(CLI::IsMember(rateNames()).description(""));
    rate.add_option("--to", raw.to, "Frames a second of the result: the double, or half of it")
        ->required()
        ->type_name("RATE")
        ->check(CLI::IsMember(rateNames()).description(""));
    rate.add_option("-o,--output", raw.output, "Write to FILE, which appears when it is complete (-: standard output)")
        ->required()
        ->type_name("FILE");
}

void addLog(CLI::App& app, LogOptions& log) {
    app.add_option("--log-folder", log.folder, "Write the technical log into DIR, a file a day")->type_name("DIR");
    app.add_option("--log-level", log.level, "The most verbose level that is logged: 0 to 9 (default: 2)")
        ->type_name("N")
        ->needs("--log-folder")
        ->check(CLI::Range(0, 9).description(""));
}

ExitNow usageError(const std::string& what, const CLI::App& app) {
    const auto chosen = app.get_subcommands();
    const auto rest = app.remaining();
    if (chosen.empty() && !rest.empty()) {
        printMessage("unknown command or option " + rest.front() + " (see qlxcc --help)");
        return {kExitUsage};
    }
    std::string command;
    for (auto level = chosen; !level.empty(); level = level.front()->get_subcommands()) {
        command += " " + level.front()->get_name();
    }
    printMessage(what + " (see qlxcc" + command + " --help)");
    return {kExitUsage};
}

}  // namespace

Command parseCommandLine(int argc, const char* const* argv, LogOptions& log) {
    CLI::App app(kDescription, "qlxcc");
    app.footer(kFooter);
    app.set_version_flag("--version", "qlxcc " + std::string(QLXClosedCaptionsUtilitiesVersionString));
    app.set_help_flag("-h,--help", "Print this help");
    app.require_subcommand(1);
    // The options of the log may stand in front of the command or behind it.
    app.fallthrough();
    addLog(app, log);
    RawPlay rawPlay;
    RawScan rawScan;
    RawExtract rawExtract;
    RawRateChange rawRateChange;
    addPlay(app, rawPlay);
    addScan(app, rawScan);
    addExtract(app, rawExtract);
    addRateChange(app, rawRateChange);
    const ScteCommands scte(app);
    try {
        app.parse(argc, argv);
        if (auto command = scte.chosen()) {
            return std::move(*command);
        }
        if (app.got_subcommand("play")) {
            return checked(rawPlay);
        }
        if (app.got_subcommand("extract")) {
            return checked(rawExtract);
        }
        if (app.got_subcommand("rate")) {
            return checked(rawRateChange);
        }
        return checked(rawScan);
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
