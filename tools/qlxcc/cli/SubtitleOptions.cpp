// The options of the commands that read subtitles: play and subs.
#include "cli/SharedOptions.h"

namespace qlx::tool {

namespace {

constexpr std::string_view kPlayFormats[] = {"v210", "klv", "jsonl", "scc"};

constexpr OptionRow kMode{
    .names = "--mode", .value = "MODE", .kind = ValueKind::Word, .words = kModes, .field = &RawOptions::mode};

[[nodiscard]] constexpr OptionRow mode(std::string_view help, std::string_view more = {}) {
    OptionRow row = kMode;
    row.help = help;
    row.more = more;
    return row;
}

constexpr OptionRow kEncoding{.names = "--encoding",
                              .value = "NAME",
                              .kind = ValueKind::Name,
                              .field = &RawOptions::encoding,
                              .help = "The encoding of an SRT or JSON file, as iconv -l lists them (default: UTF-8)",
                              .more = "A byte that the encoding does not have is named with its line and offset."};

constexpr std::string_view kPlayNotes =
    R"(Without -o and --to-format the schedule is printed. Teletext: a line for each frame at which something changes, with
what the packets of both fields carry; "erase" is a page header that clears page 888, "close" the header behind its
rows. CEA-608: a line for each caption, with the frames in which its byte pairs travel and the time at which the last
one makes it appear; "-" is a caption that clears the screen.

TIME is seconds (10.5), HH:MM:SS,mmm (00:00:10,500) or a timecode with frames of RATE (00:00:10:12, drop-frame
00:00:10;12). Frame n is at n frame durations, from 0. A cue is due with the first frame that is later than its
start; CEA-608 captions of SRT and EBU STL files start earlier by an estimate of their pairs. EBU STL cues keep their
times, so that a programme that begins at 10:00:00:00 needs --from, and in teletext their rows. Warnings name what a
viewer will not see as it is written, for the first ten of such cues; subs with the same MODE has more. The rows of a
v210 file are, in every frame, those of the lines 12 and 575, or 21 and 334 with --sd; with CEA-608 that of line 9.
A frame without a byte pair carries an empty caption packet.

Examples:
  qlxcc play film.srt --mode teletext --rate 25
  qlxcc play film.srt --mode teletext --rate 29.97 --from 00:10:00,000 --duration 60 -o film.v210
  qlxcc play film.srt --mode cea608 --rate 29.97 -o film.scc
  qlxcc play film.srt --mode teletext --rate 25 --to-format klv | qlxcc scan - --from-format klv)";

constexpr OptionRow kPlayOptions[] = {
    fileArgument("SUBTITLES", kSubtitleFile.help, kSubtitleFile.more),
    required(mode("What is made of the cues: teletext (OP-47, both fields) or cea608 (captions, field 1)")),
    required(rateOption("--rate", {}, &RawOptions::rate,
                        "Frames a second: 23.976, 24, 25, 29.97, 30, 50, 59.94 or 60, or as 30000/1001")),
    {.names = "--sd",
     .field = &RawOptions::isSD,
     .help = "Standard definition: lines 21 and 334, rows of 720 pixels",
     .more = "Without this option teletext is on the lines 12 and 575."},
    {.names = "--from",
     .value = "TIME",
     .kind = ValueKind::Time,
     .field = &RawOptions::from,
     .help = "Start with the first frame at or after TIME; cues that have ended by then are left out"},
    {.names = "--duration",
     .value = "TIME",
     .kind = ValueKind::Time,
     .field = &RawOptions::duration,
     .help = "Length of the playout (default: to 1 s behind the last cue's end)"},
    kOutput,
    {.names = "--to-format",
     .older = "--format",
     .value = "FORMAT",
     .kind = ValueKind::Word,
     .words = kPlayFormats,
     .field = &RawOptions::toFormat,
     .help = "{} (default: by the name of FILE)",
     .more = "See the formats in qlxcc(1)."},
    width("Pixels of a v210 row (default: 1920, with --sd 720)"),
    kAsDeployed,
    kEncoding,
    {.names = "--no-fill",
     .field = &RawOptions::leavesFramesEmpty,
     .help = "cea608: frames without a byte pair carry no packet",
     .more = "Without this option they carry one with an empty CDP, so that every frame has one."},
    {.names = "--non-drop",
     .field = &RawOptions::isNonDrop,
     .help = "scc: non-drop-frame timecodes (default: drop-frame)"},
};

constexpr std::string_view kSubsNotes =
    R"(FILE is SRT, JSON or EBU STL, as its content says, or else its name; at most 64 MiB. Each row of a cue gets a line:
number, start, end, row on the page, colour, alignment, text. Rows and times are those with which play sends the cue
in the same MODE (-: not sent). Behind the cues stand the blocks, lines or elements that were left out, or that need a
look, and why; with --mode also what a viewer will not see of a cue as it is written.

Examples:
  qlxcc subs film.stl
  qlxcc subs film.stl --mode cea608 --rate 29.97
  qlxcc subs film.srt --encoding ISO-8859-1 --rate 25
  qlxcc subs film.stl --json -o film.json)";

constexpr OptionRow kSubsOptions[] = {
    kSubtitleFile,
    mode("What the cues are placed for: teletext or cea608 (default: teletext)",
         "It is also what they are compared with as a viewer sees them. For cea608 the cues start early, as `play` "
         "sends them, and --rate is needed."),
    rateOption("--rate", {}, &RawOptions::rate,
               "Show times as timecodes of this many frames a second (cea608 needs it)",
               "They are those of the nearest frames, at 29.97 and 59.94 in drop-frame counting."),
    kEncoding,
    kListOutput,
    asJson("In place of the list a JSON object, which play can read",
           "It has the `cues` in the form of JSON subtitles (see qlxcc(1)), and `file`, `format`, `cue_count`, "
           "`left_out`, `problem_count` and `problems`, of which the first thousand are listed, and as many of the "
           "remarks of --mode, which have the number of their `cue`. The rows of captions are not written."),
};

}  // namespace

constexpr CommandRow kPlayCommand{.name = "play",
                                  .summary = "Play a subtitle file out frame by frame",
                                  .notes = kPlayNotes,
                                  .options = kPlayOptions,
                                  .check = checkedPlay};

constexpr CommandRow kSubsCommand{.name = "subs",
                                  .summary = "List the cues of a subtitle file, and what was left out",
                                  .notes = kSubsNotes,
                                  .options = kSubsOptions,
                                  .check = checkedSubs};

}  // namespace qlx::tool
