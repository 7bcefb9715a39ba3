// The options of scte104 and scte35.
#include "cli/RawOptionsSCTE.h"
#include "cli/SharedOptions.h"

#include <algorithm>
#include <iterator>

namespace qlx::tool {

namespace {

constexpr std::string_view kMessageFormats[] = {"hex", "raw", "klv", "v210", "2vuy"};
constexpr std::string_view kBuildFormats[] = {"hex", "raw", "klv", "v210"};
constexpr std::string_view kScte35Inputs[] = {"hex", "raw", "klv", "v210", "2vuy", "section"};
constexpr std::string_view kSectionFormats[] = {"hex", "base64", "raw", "json", "xml", "ts"};

constexpr auto kOperationWords = [] {
    std::array<std::string_view, kOperationNames.size()> words;
    std::transform(kOperationNames.begin(), kOperationNames.end(), words.begin(),
                   [](const OperationName& operation) { return operation.name; });
    return words;
}();

/// An option that gives a parameter of the operations.
[[nodiscard]] constexpr OptionRow parameter(std::string_view name, std::string_view value, std::string_view help,
                                            std::string_view more) {
    return {.names = name,
            .value = value,
            .kind = ValueKind::Text,
            .field = &RawOptions::parameters,
            .help = help,
            .more = more};
}

[[nodiscard]] constexpr OptionRow flagParameter(std::string_view name, std::string_view help, std::string_view more) {
    return {.names = name, .field = &RawOptions::parameters, .help = help, .more = more};
}

[[nodiscard]] constexpr OptionRow typeParameter(std::string_view name, std::vector<std::string> (*suggestions)(),
                                                std::string_view help, std::string_view more) {
    OptionRow row = parameter(name, "TYPE", help, more);
    row.suggestions = suggestions;
    return row;
}

/// A number that is checked with what it is for.
[[nodiscard]] constexpr OptionRow number(std::string_view name, std::optional<std::string> RawOptions::*field,
                                         std::string_view help, std::string_view more) {
    return {.names = name, .value = "N", .kind = ValueKind::Text, .field = field, .help = help, .more = more};
}

constexpr OptionRow kInput = fileArgument("INPUT", "A file (-: standard input), or hexadecimal digits");

[[nodiscard]] constexpr OptionRow fromMessageFormat(std::string_view older) {
    return fromFormat(kMessageFormats, older, "{} (default: by the first bytes, or the name)",
                      "Rows are told by the name alone.");
}

constexpr std::string_view kBuildNotes =
    R"(OPERATION is splice-start, splice-start-immediate, splice-end, splice-end-immediate, splice-cancel, splice-null,
time-signal or segmentation; several stand in the message in their order, and each takes the options that are for it.
N is a decimal number, or a hexadecimal one behind 0x.
  hex   hexadecimal digits and a line feed
  raw   the message's bytes, from the payload descriptor 08 on
  klv   an MXF ANC frame element with the message in an ANC packet (DID 41, SDID 07)
  v210  a row with that packet
A JSON file has what parse --json prints: {"messageNumber":1,"asIndex":0,"dpiPidIndex":0,"operations":[...]}, or the
array alone. A time is {"value":4000,"timescale":1000}, or a number in the unit of its field.

Examples:
  qlxcc scte104 build splice-start --event-id 1 --program-id 7 --pre-roll 4000 --duration 30 --auto-return
  qlxcc scte104 build time-signal segmentation --event-id 9 --segmentation-type ProgramStart --upid-type TID
                      --upid EP0123456789 -o start.v210 --line 13
  qlxcc scte104 build --json-file operations.json -o break.klv
  qlxcc scte104 build --from-scte35 sections.txt --pts 900000 -o break.klv)";

constexpr OptionRow kBuildOptions[] = {
    {.names = "OPERATION",
     .kind = ValueKind::Word,
     .words = kOperationWords,
     .field = &RawOptions::operations,
     .help = "What the message asks for, see below",
     .more = "It is {}. Several stand in the message in their order; each takes the options that are for it. N is a "
             "decimal number, or a hexadecimal one behind 0x."},
    {.names = "--json-file",
     .value = "FILE",
     .kind = ValueKind::File,
     .field = &RawOptions::jsonFile,
     .help = "Read the operations from FILE (-: standard input)",
     .more = "It is in place of OPERATION and of all that is for it; see the JSON messages in qlxcc(1)."},
    {.names = "--from-scte35",
     .value = "FILE",
     .kind = ValueKind::File,
     .field = &RawOptions::fromScte35,
     .help = "Ask for the SCTE-35 sections of FILE (-: standard input)",
     .more =
         "It is in place of OPERATION. FILE has bytes, a section a line in hexadecimal digits or base64, JSON, or XML. "
         "Pre-rolls are whole milliseconds, breaks tenths of a second, segments whole seconds (with --rate and "
         "frames): what is rounded or left out is said."},
    number("--pts", &RawOptions::pts, "For --from-scte35: PTS of the frame that carries the message",
           "In 90 kHz ticks, 0 to 8589934591: a pre-roll is pts_time and pts_adjustment less it, 0 to 65535 ms."),
    rateOption("--rate", {}, &RawOptions::rate, "For --from-scte35: frames/s of duration_extension_frames"),
    parameter("--event-id", "N", "The event's number; every event needs one",
              "For splices and segmentation; that of segmentation must not be 0."),
    parameter("--program-id", "N", "unique_program_id (default: 0)", "For splices."),
    parameter("--pre-roll", "MS", "Milliseconds ahead of the event (default: 0)", "For splices and time-signal."),
    parameter("--duration", "S", "Seconds, in steps of 0.1; segmentation: whole ones (default: 0)",
              "For splices, at most 6553.5, and segmentation, at most 65535."),
    flagParameter("--auto-return", "Return to the network when the duration is over", "For splices."),
    typeParameter("--segmentation-type", segmentationTypeNames,
                  "A number, or a name such as ProviderAdvertisementStart",
                  "Segmentation needs it. The names are those that `qlxcc scte104 parse` shows."),
    parameter("--upid", "TEXT", "At most 64 ASCII characters (default: none)", "For segmentation."),
    typeParameter("--upid-type", upidTypeNames, "A number, or a name such as Ad-ID (default: 0)", "For segmentation."),
    parameter("--segment", "N", "Number of the segment (default: 0)", "For segmentation: segment_num."),
    parameter("--segments", "N", "Segments expected (default: 0)", "For segmentation: segments_expected."),
    parameter("--extension-frames", "N", "Frames that are added to the duration (default: 0)",
              "For segmentation: duration_extension_frames."),
    flagParameter("--cancel", "Cancel the event", "For segmentation."),
    flagParameter("--delivery-not-restricted", "delivery_not_restricted_flag", "For segmentation."),
    flagParameter("--web-delivery-allowed", "web_delivery_allowed_flag", "For segmentation."),
    flagParameter("--no-regional-blackout", "no_regional_blackout_flag", "For segmentation."),
    flagParameter("--archive-allowed", "archive_allowed_flag", "For segmentation."),
    parameter("--device-restrictions", "N", "device_restrictions (default: 3, none)", "For segmentation."),
    number("--message-number", &RawOptions::messageNumber, "message_number (default: 1)",
           "By default that of the JSON file, if there is one."),
    number("--as-index", &RawOptions::asIndex, "AS_index (default: 0)", "By default that of the JSON file."),
    number("--dpi-pid", &RawOptions::dpiPID, "DPI_PID_index (default: 0)", "By default that of the JSON file."),
    kListOutput,
    toOtherFormat(kBuildFormats, "{} (default: by the name of FILE, or hex)",
                  "They are hexadecimal digits, the message's bytes, and an ANC packet (DID 41, SDID 07) in one ANC "
                  "frame element "
                  "or one row."),
    helping(kVideoLine, "The packet's video line (klv, v210; default: 13)"),
    width("Pixels of the v210 row (default: 1920)"),
};

/// Whether `row` gives a parameter that RawOptionsSCTE.h knows.
constexpr bool isKnownParameter(const OptionRow& row) {
    return std::any_of(kParameterOptions.begin(), kParameterOptions.end(), [&](const ParameterOption& known) {
        return known.name == row.names && (known.kind == ParameterKind::Flag) == (row.kind == ValueKind::Flag) &&
               (known.kind == ParameterKind::Type) == (row.suggestions != nullptr);
    });
}
static_assert(std::count_if(std::begin(kBuildOptions), std::end(kBuildOptions), isKnownParameter) ==
                  static_cast<std::ptrdiff_t>(kParameterOptions.size()),
              "each option of kParameterOptions stands in the table, as a flag or with a value");

constexpr std::string_view kParseNotes =
    R"(INPUT is a file, or the hexadecimal digits of a message. Of a file of elements or rows every SCTE-104 packet is
shown. What cannot be read gets a line on standard error with its byte offset, and makes the exit code 1.

Examples:
  qlxcc scte104 parse 08ffff0010000001000000000101020000
  qlxcc scte104 parse anc.klv --json)";

constexpr OptionRow kParseOptions[] = {
    kInput,
    saying(fromMessageFormat("--format"), "Rows are told by the name alone. Of a file of elements or rows every "
                                          "SCTE-104 packet is shown."),
    kRowWidth,
    kLines,
    kRowCount,
    kNearStart,
    kListOutput,
    asJson("A JSON line for each message in place of the text"),
};

constexpr std::string_view kScte35Notes =
    R"(INPUT is as for scte104 parse; a file of elements or rows must have one SCTE-104 message. Each operation that SCTE 35
has a command for (splices, time signals, schedules, sections to inject) gives one section, a line each; descriptors,
tier and component mode join the one before them. A splice is at --pts and its pre-roll, modulo 2^33. What is left out
or changed is said, and why a message makes no section.

Examples:
  qlxcc scte35 start.klv --pts 900000
  qlxcc scte35 start.klv --splice-pts 1260000 --to-format base64
  qlxcc scte35 sections.txt --from-format section --to-format xml
  qlxcc scte35 start.klv --pts 900000 --heartbeat 5 -o cues.ts)";

constexpr OptionRow kScte35Options[] = {
    saying(kInput, "A file of elements or rows must have one SCTE-104 message."),
    fromFormat(kScte35Inputs, {}, "{} (default: by the first bytes, or the name)",
               "Rows are told by the name alone. With section INPUT has SCTE-35 sections already, which are written in "
               "another form: bytes, a line each of hexadecimal digits or base64, JSON, or XML; or it is one itself."),
    kRowWidth,
    kLines,
    kRowCount,
    kNearStart,
    number("--pts", &RawOptions::pts, "PTS of the frame that carries the message, in 90 kHz ticks: 0 to 8589934591",
           "Pre-rolls count from it. It or --splice-pts is needed."),
    number("--splice-pts", &RawOptions::splicePts, "PTS of the splice itself, whatever the pre-roll",
           "It is in place of --pts, and for every operation of the message."),
    number("--at-pts", &RawOptions::atPts, "PTS of the moment that the message's time stamp names",
           "A message with a time stamp (UTC, VITC, GPI) needs it beside --pts: its pre-rolls count from that moment."),
    rateOption("--rate", {}, &RawOptions::rate, "Frames/s of duration_extension_frames",
               "Segments whose duration has frames need it."),
    {.names = "--auto-return",
     .field = &RawOptions::returnsAlone,
     .help = "Breaks return to the network by themselves",
     .more = "Without it those do whose request says so."},
    {.names = "--as-deployed",
     .field = &RawOptions::asDeployed,
     .help = "The section that the library's fixed operation makes",
     .more =
         "Versions before 0.2 wrote it: --pts is the time of the splice, the break duration is carried over in tenths "
         "of a second, pre-roll and auto return are not used, and a segmentation descriptor is added. Only one "
         "splice request is converted, without a time stamp."},
    toOtherFormat(
        kSectionFormats, "{} (default: by the name of FILE, or hex)",
        "All but raw and ts have a line for each section; raw ones stand one behind the other. What XML has no "
        "place for (cw_index, reserved bits, stuffing) is said. ts is a transport stream with a PID of sections "
        "(type 86), each at the PTS of the frame, or, where that is not known, 4 s before its splice."),
    number("--heartbeat", &RawOptions::heartbeat, "For ts: seconds between sections of splice_null",
           "In steps of 0.1, from the beginning of the stream to its last splice; without it there are none."),
    kListOutput,
};

constexpr CommandRow kBuildCommand{.name = "build",
                                   .summary = "Build a message of one operation or several",
                                   .notes = kBuildNotes,
                                   .options = kBuildOptions,
                                   .check = checkedScte104Build};

constexpr CommandRow kParseCommand{.name = "parse",
                                   .summary = "Say what messages hold",
                                   .notes = kParseNotes,
                                   .options = kParseOptions,
                                   .check = checkedScte104Parse};

constexpr const CommandRow* kScteCommands[] = {&kBuildCommand, &kParseCommand};

constexpr std::string_view kScte104Notes =
    R"(Each explains itself: qlxcc scte104 build --help, qlxcc scte104 parse --help

Examples:
  qlxcc scte104 build splice-start --event-id 1 --duration 30 -o start.klv
  qlxcc scte104 parse start.klv)";

}  // namespace

constexpr CommandRow kScte104Command{.name = "scte104",
                                     .summary = "Build SCTE-104 messages, and say what they hold",
                                     .notes = kScte104Notes,
                                     .commands = kScteCommands};

constexpr CommandRow kScte35Command{.name = "scte35",
                                    .summary = "Turn an SCTE-104 message into SCTE-35 sections",
                                    .notes = kScte35Notes,
                                    .options = kScte35Options,
                                    .check = checkedScte35};

}  // namespace qlx::tool
