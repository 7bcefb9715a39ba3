#include "cli/CommandLineSCTE.h"

#include "cli/CommandLineRows.h"
#include "cli/RawOptions.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <iterator>

namespace qlx::tool {

namespace {

constexpr std::uint32_t kGreatestWidth = 32768;

constexpr const char* kScte104Description = "Build SCTE-104 messages, and say what they hold";

constexpr const char* kScte104Footer = "Each explains itself: qlxcc scte104 build --help, qlxcc scte104 parse --help\n"
                                       "\n"
                                       "Examples:\n"
                                       "  qlxcc scte104 build splice-start --event-id 1 --duration 30 -o start.klv\n"
                                       "  qlxcc scte104 parse start.klv";

constexpr const char* kBuildDescription = "Build a message of one operation or several";

constexpr const char* kBuildFooter =
    "OPERATION is splice-start, splice-start-immediate, splice-end, splice-end-immediate, splice-cancel, splice-null,\n"
    "time-signal or segmentation; several stand in the message in their order, and each takes the options that are "
    "for it.\n"
    "N is a decimal number, or a hexadecimal one behind 0x.\n"
    "  hex   hexadecimal digits and a line feed\n"
    "  raw   the message's bytes, from the payload descriptor 08 on\n"
    "  klv   an MXF ANC frame element with the message in an ANC packet (DID 41, SDID 07)\n"
    "  v210  a row with that packet\n"
    "A JSON file has what parse --json prints: {\"messageNumber\":1,\"asIndex\":0,\"dpiPID\":0,\"operations\":[...]}, "
    "or "
    "the array\n"
    "alone. Its times are in the units of the fields: tenths of a second for a splice's duration, seconds for a "
    "segment's.\n"
    "\n"
    "Examples:\n"
    "  qlxcc scte104 build splice-start --event-id 1 --program-id 7 --pre-roll 4000 --duration 30 --auto-return\n"
    "  qlxcc scte104 build time-signal segmentation --event-id 9 --segmentation-type ProgramStart --upid-type TID\n"
    "                      --upid EP0123456789 -o start.v210 --line 13\n"
    "  qlxcc scte104 build --json-file operations.json -o break.klv";

constexpr const char* kParseDescription = "Say what messages hold";

constexpr const char* kParseFooter =
    "INPUT is a file, or the hexadecimal digits of a message. Of a file of elements or rows every SCTE-104 packet "
    "is\n"
    "shown. What cannot be read gets a line on standard error with its byte offset, and makes the exit code 1.\n"
    "\n"
    "Examples:\n"
    "  qlxcc scte104 parse 08ffff0010000001000000000101020000\n"
    "  qlxcc scte104 parse anc.klv --json";

constexpr const char* kScte35Description = "Turn an SCTE-104 splice request into an SCTE-35 section";

constexpr const char* kScte35Footer =
    "INPUT is as for scte104 parse; a file of elements or rows must have one SCTE-104 packet. The section is a\n"
    "splice_info_section with a splice_insert() at the time of --pts, a segmentation descriptor and the CRC. The "
    "break\n"
    "duration is carried over as it is, in tenths of a second; pre-roll and auto return are not used.\n"
    "\n"
    "Examples:\n"
    "  qlxcc scte35 start.klv --pts 900000\n"
    "  qlxcc scte104 build splice-start --event-id 1 | qlxcc scte35 - --pts 900000 --format base64";

constexpr const char* kOutputDescription = "Write to FILE, which appears when it is complete (-: standard output)";

void addSource(CLI::App& command, RawScte104Source& source, const char* formatNames) {
    command.add_option("INPUT", source.input, "A file (-: standard input), or hexadecimal digits")
        ->required()
        ->type_name("");
    command
        .add_option(formatNames, source.format,
                    "hex, raw, klv, v210 or 2vuy (default: by the first bytes, or the name)")
        ->type_name("FORMAT")
        ->check(CLI::IsMember({"hex", "raw", "klv", "v210", "2vuy"}).description(""));
    addRows(command, source.rows);
}

}  // namespace

ScteCommands::ScteCommands(CLI::App& app) {
    CLI::App& scte104 = *app.add_subcommand("scte104", kScte104Description);
    scte104.footer(kScte104Footer);
    scte104.require_subcommand(1);
    addBuild(scte104);
    addParse(scte104);
    addScte35(app);
}

void ScteCommands::addBuild(CLI::App& scte104) {
    std::vector<std::string> names;
    std::transform(kOperationNames.begin(), kOperationNames.end(), std::back_inserter(names),
                   [](const OperationName& operation) { return std::string(operation.name); });
    CLI::App& build = *scte104.add_subcommand("build", kBuildDescription);
    _build = &build;
    build.footer(kBuildFooter);
    build.add_option("OPERATION", _rawBuild.operations, "What the message asks for, see below")
        ->type_name("")
        ->check(CLI::IsMember(names).description(""));
    build.add_option("--json-file", _rawBuild.jsonFile, "Read the operations from FILE (-: standard input)")
        ->type_name("FILE");
    for (const ParameterOption& option : kParameterOptions) {
        const std::string name(option.name);
        const auto keep = [this, &option](const std::string& text) { _rawBuild.values[option.name] = text; };
        if (option.type.empty()) {
            build.add_flag_callback(
                name, [keep] { keep(""); }, std::string(option.description));
        } else {
            build.add_option_function<std::string>(name, keep, std::string(option.description))
                ->type_name(std::string(option.type));
        }
    }
    build.add_option("--message-number", _rawBuild.messageNumber, "message_number (default: 1)")->type_name("N");
    build.add_option("--as-index", _rawBuild.asIndex, "AS_index (default: 0)")->type_name("N");
    build.add_option("--dpi-pid", _rawBuild.dpiPID, "DPI_PID_index (default: 0)")->type_name("N");
    build.add_option("-o,--output", _rawBuild.output, kOutputDescription)->type_name("FILE");
    build.add_option("--format", _rawBuild.format, "hex, raw, klv or v210 (default: by the name of FILE, or hex)")
        ->type_name("FORMAT")
        ->check(CLI::IsMember({"hex", "raw", "klv", "v210"}).description(""));
    build.add_option("--line", _rawBuild.line, "The packet's video line (klv, v210; default: 13)")
        ->type_name("L")
        ->check(CLI::Range(std::uint64_t{0}, kGreatestLine).description(""));
    build.add_option("--width", _rawBuild.width, "Pixels of the v210 row (default: 1920)")
        ->type_name("W")
        ->check(CLI::Range(1U, kGreatestWidth).description(""));
}

void ScteCommands::addParse(CLI::App& scte104) {
    CLI::App& parse = *scte104.add_subcommand("parse", kParseDescription);
    _parse = &parse;
    parse.footer(kParseFooter);
    addSource(parse, _rawParse.source, "--from-format,--format");
    parse.add_option("-o,--output", _rawParse.output, kOutputDescription)->type_name("FILE");
    parse.add_flag("--json", _rawParse.asJson, "A JSON line for each message in place of the text");
}

void ScteCommands::addScte35(CLI::App& app) {
    CLI::App& scte35 = *app.add_subcommand("scte35", kScte35Description);
    _scte35 = &scte35;
    scte35.footer(kScte35Footer);
    addSource(scte35, _rawScte35.source, "--from-format");
    scte35.add_option("--pts", _rawScte35.pts, "When to splice, in 90 kHz ticks: 0 to 8589934591")
        ->required()
        ->type_name("N");
    scte35.add_option("--format", _rawScte35.format, "hex, base64 or raw (default: by the name of FILE, or hex)")
        ->type_name("FORMAT")
        ->check(CLI::IsMember({"hex", "base64", "raw"}).description(""));
    scte35.add_option("-o,--output", _rawScte35.output, kOutputDescription)->type_name("FILE");
}

std::optional<ScteCommand> ScteCommands::chosen() const {
    if (_build->parsed()) {
        return checked(_rawBuild);
    }
    if (_parse->parsed()) {
        return checked(_rawParse);
    }
    if (_scte35->parsed()) {
        return checked(_rawScte35);
    }
    return std::nullopt;
}

}  // namespace qlx::tool
