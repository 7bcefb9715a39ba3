// The options of the command that makes cues of one file into those of another.
#include "cli/SharedOptions.h"

namespace qlx::tool {

namespace {

constexpr std::string_view kConvertedFormats[] = {"srt", "vtt",  "stl",   "ttml", "ebu-tt-d", "json",
                                                  "klv", "v210", "jsonl", "mcc",  "scc",      "ts"};
constexpr std::string_view kConvertFormats[] = {"srt",  "vtt", "ass",   "stl", "ttml", "json",  "v210",
                                                "2vuy", "klv", "jsonl", "scc", "h264", "mpeg2", "mxf",
                                                "mov",  "ts",  "ps",    "mcc", "mkv",  "flv"};
constexpr std::string_view kConvertChannels[] = {"CC1", "CC2", "CC3", "CC4"};
constexpr std::string_view kTables[] = {"00", "01", "02", "03", "04"};
constexpr std::string_view kOverlaps[] = {"keep", "compose", "cut"};

constexpr std::string_view kConvertNotes =
    R"(IN is SRT, WebVTT, SubStation Alpha, EBU STL, TTML (IMSC, EBU-TT-D, SMPTE-TT, DFXP) or JSON, or a file with captions
or teletext on air: all that show reads. Of what is on air each screen becomes a cue, from the frame that shows it to
the one that changes it; captions that are painted letter by letter are one cue as long as text only comes to them
within half a second, and a row of captions that goes on is, or rolls up, until the next row begins.

Files of frames (klv, v210, jsonl, MCC, Scenarist captions) are made of each other, and of video, containers and 2vuy,
without decoding anything: packets keep their bytes, captions that are in no packet are put into caption packets by the
slots of the frame rate, and a Scenarist file gets the pairs of one field, at 29.97 frames/s or --to-rate. Teletext of a
transport stream becomes OP-47 packets of the frames at its times, on line 12 and, of the second field, 575; OP-47
packets become teletext of a transport stream (ts, at 25 or 50 frames/s), whose descriptor names their pages. Subtitles
become such files with the bytes of `play`, with --channel, --service, both, or --page 888, and --to-rate.

Times are changed in this order: what --from-start says is subtracted (not from cues that begin before it), --scale
multiplies, --offset and --to-start are added; they are rounded once, to milliseconds, when they are written. A
timecode counts frames as the file does that it is of: 10:00:00:00 of 29.97 frames/s, non-drop, is at 36036 s. Scenarist
files say it by their separators, MCC in its header, TTML by its frame rate and drop mode, EBU STL has 25 or 30; what
else is read or written counts as --from-rate and --to-rate say, with --drop, --non-drop or a semicolon in the timecode.
In EBU STL times are rounded to the nearest frames, and its cues that end together become a cumulative set; in packets
they are those of the frames of `play`. Files of frames made of subtitles, and all klv and
v210 files, begin at --to-start; the latter two have no times to say it.

What is changed or lost is said, ten of a kind and a count. Exit codes: 0 also with losses, 1 when something of IN
could not be read, or with --strict and a loss; 2 wrong usage.

Examples:
  qlxcc convert film.srt -o film.vtt
  qlxcc convert film.stl -o film.srt --from-start 10:00:00:00 --from-rate 25
  qlxcc convert film.srt -o film.stl --to-start 10:00:00:00 --to-rate 25 --title Film --language de --country DEU
  qlxcc convert film.ts -o film.vtt --channel CC3
  qlxcc convert film.vtt -o film.ttml --language en
  qlxcc convert film.srt -o film.xml --to-format ebu-tt-d
  qlxcc convert film.mcc -o film.scc
  qlxcc convert film.scc --from-start auto -o film.klv
  qlxcc convert teletext.ts --from-start auto -o film.klv
  qlxcc convert film.klv --from-rate 25 -o teletext.ts
  qlxcc convert film.srt --to-rate 59.94 --channel CC1 --service 1 -o film.mcc
  qlxcc convert film.klv --from-rate 25 --page 888 -o film.srt --wrap 37 --wrap-rows 2)";

[[nodiscard]] constexpr OptionRow textOption(std::string_view names, std::string_view value,
                                             std::string RawOptions::*field, std::string_view help,
                                             std::string_view more = {}) {
    return {.names = names, .value = value, .kind = ValueKind::Name, .field = field, .help = help, .more = more};
}

[[nodiscard]] constexpr OptionRow stlText(std::string_view names, std::string_view value,
                                          std::optional<std::string> RawOptions::*field, std::string_view help,
                                          std::string_view more = {}) {
    return {.names = names, .value = value, .kind = ValueKind::Text, .field = field, .help = help, .more = more};
}

constexpr OptionRow kConvertOptions[] = {
    fileArgument("IN", "Subtitles, or a file with captions or teletext on air (-: standard input)"),
    required(kOutput),
    fromFormat(kConvertFormats, {}, "What IN is, such as srt, klv or ts (default: by content or name)",
               "One of `srt`, `vtt`, `ass`, `stl`, `ttml`, `json`, and of what is on air `v210`, `2vuy`, `klv`, "
               "`jsonl`, `scc`, "
               "`h264`, `mpeg2`, `mxf`, `mov`, `mkv`, `flv`, `ts`, `ps`, `mcc`."),
    {.names = "--to-format",
     .value = "FORMAT",
     .kind = ValueKind::Word,
     .words = kConvertedFormats,
     .field = &RawOptions::format,
     .help = "{} (default: by FILE)",
     .more = "`ttml` is the text profile of IMSC 1.1, `ebu-tt-d` EBU-TT-D (EBU Tech 3380); `json` has all that any of "
             "them says (see qlxcc(1))."},
    saying(helping(kAsDeployed, "json: the form of versions before 0.2, in which rows have one style"),
           "It has no places but rows of a teletext page, and nothing of what formats say besides."),
    {.names = "--limit",
     .value = "MIB",
     .kind = ValueKind::Number,
     .least = 1,
     .greatest = 4096,
     .field = &RawOptions::limit,
     .help = "The longest TTML, JSON or EBU STL file, in MiB (default: 64)",
     .more = "Such files are read as a whole; a longer one is refused. Other ones have no limit."},
    textOption(
        "--encoding", "NAME", &RawOptions::encoding,
        "The encoding of a text, as iconv -l lists them (default: by its bytes)",
        "Without it a byte order mark tells, then an XML declaration, then whether all of the text is UTF-8, "
        "then the zero bytes of UTF-16, then a guess of libuchardet where the module `qlxcc-encodings` is there; "
        "any other text is windows-1252. What is not UTF-8 is said, and what told it. A byte that the encoding "
        "does not "
        "have becomes U+FFFD, with its place. `latin1` (ISO-8859-1) is read as windows-1252. What is written is "
        "UTF-8."),
    {.names = "--channel",
     .value = "CHANNEL",
     .kind = ValueKind::WordOfAnyCase,
     .words = kConvertChannels,
     .field = &RawOptions::channel,
     .help = "Of what is on air: {} (default: CC1 without --page, --service)",
     .more = "CC3 and CC4 are in field 2: a Scenarist file, which has one field, is read and written as one of that."},
    kTrack,
    helping(kService, "The caption service, 1 to 63: of what is on air, or of subtitles that become packets"),
    helping(kStyle, "Of subtitles that become captions: {} (default: pop-on)"),
    kRollUpRows,
    helping(kSingleCodes, "Of subtitles that become captions: send control codes once"),
    helping(kVideoLine, "The video line of caption packets that are made (default: 9)"),
    kMccVersion,
    {.names = "--page",
     .value = "PAGE",
     .kind = ValueKind::Text,
     .field = &RawOptions::page,
     .help = "Of what is on air: this teletext page, 100 to 8FF"},
    kRegion,
    kNoParity,
    kWideCharacters,
    fromStart("Where the programme begins in IN, which is subtracted: TIME, auto or 0",
              "`auto` is the time of the first frame, in EBU STL the start of the programme in its head (TCP), of "
              "other files of cues, and of cues read from MCC and Scenarist files, the whole hour in which the first "
              "one begins: an hour of their timecodes, where they have some. "
              "`0` subtracts nothing, and keeps the tool from saying that the first cue comes late."),
    textOption("--to-start", "TIME", &RawOptions::toStart, "Where the programme begins in the result, which is added"),
    rateOption(
        "--from-rate", {}, &RawOptions::fromRate, "Frames a second of IN",
        "It gives frames without times of their own (v210, 2vuy, klv, h264, mpeg2) theirs, and is what the "
        "timecode of --from-start counts, and the times of TTML in frames, where the file does not say it. It does "
        "not change the speed."),
    rateOption("--to-rate", {}, &RawOptions::toRate,
               "Frames a second of packets made of subtitles; those that EBU STL and --to-start count",
               "EBU STL has 25 and 30 (default: those of --from-rate or of an STL file that is read, else 25); with "
               "29.97 the 30 of its time codes are as long as those of 29.97, with --drop as drop-frame ones."),
    textOption("--scale", "A/B", &RawOptions::scale, "Multiply times by A and divide them by B",
               "Both are whole numbers from 1 to 1000000: `25025/24000` is the way from 25 to 23.976 frames/s."),
    {.names = "--offset",
     .value = "TIME",
     .kind = ValueKind::SignedTime,
     .field = &RawOptions::offset,
     .help = "Add TIME, which may have a - in front"},
    {.names = "--timestamp-map",
     .value = "PTS",
     .kind = ValueKind::Number,
     .least = 0,
     .greatest = 8'589'934'591,
     .field = &RawOptions::timestampMap,
     .help = "WebVTT: the time 0 of its cues is PTS in the stream, in units of 1/90000 s",
     .more = "It is written as `X-TIMESTAMP-MAP=LOCAL:00:00:00.000,MPEGTS:PTS` in the head (RFC 8216, 3.5), in the "
             "place of one that IN has; without it, that one stays."},
    {.names = "--style-sheet",
     .field = &RawOptions::hasStyleSheet,
     .help = "WebVTT: colours besides the eight have classes that a style sheet defines",
     .more = "A `STYLE` block in front of the cues has those of the first 1000 cues (of less where they take more than "
             "4 MiB), up to 256 of them. Without it each colour becomes the nearest of the eight, unless style sheets "
             "of IN define it: those of a WebVTT file stay. Players read style sheets as the standard has them; FFmpeg "
             "5 finds no cue behind one."},
    {.names = "--wrap",
     .value = "COLS",
     .kind = ValueKind::Number,
     .least = 8,
     .greatest = 200,
     .field = &RawOptions::wrap,
     .help = "Set cues anew that have rows of more than COLS columns",
     .more =
         "Wide characters take two columns. Words stay whole; Chinese and Japanese rows end between characters, not "
         "in front of closing marks and small kana, nor behind opening marks. Rows that begin with a dash, or that "
         "another voice says, stay apart."},
    {.names = "--wrap-rows",
     .value = "N",
     .kind = ValueKind::Number,
     .least = 1,
     .greatest = 20,
     .needs = "--wrap",
     .field = &RawOptions::wrapRows,
     .help = "Also cues of more than N rows"},
    {.names = "--overlap",
     .value = "HOW",
     .kind = ValueKind::Word,
     .words = kOverlaps,
     .field = &RawOptions::overlap,
     .help = "Cues that are shown together: {} (default: keep)",
     .more =
         "`compose` makes one cue of them for as long as they are, or, in files of text, one for each region or "
         "place of the screen; the name of a cue and the notes in front of it stand with the first piece of it. `cut` "
         "ends the earlier one at the later one's start."},
    {.names = "--drop",
     .field = &RawOptions::isDrop,
     .help = "Timecodes of --from-start and --to-start are drop-frame ones where no file says it",
     .more =
         "So are those that are written in mcc and scc files at 29.97 and 59.94, also without this option; from one "
         "such file to another, those that are written count as those that are read."},
    {.names = "--non-drop",
     .field = &RawOptions::isNonDrop,
     .help = "They are non-drop-frame ones, and so are those that are written"},
    stlText(
        "--title", "TEXT", &RawOptions::title, "EBU STL: the original title of the programme",
        "Up to 32 characters of code page 850, as all texts of the head. What nobody says is what a STL file that is "
        "read has there, else blank; counts and the first cue are always those of the result."),
    stlText("--episode", "TEXT", &RawOptions::episode, "EBU STL: the original title of the episode"),
    stlText("--publisher", "TEXT", &RawOptions::publisher, "EBU STL: who publishes it"),
    stlText("--reference", "TEXT", &RawOptions::reference, "EBU STL: the reference of the list (16 characters)"),
    stlText("--country", "CODE", &RawOptions::country, "EBU STL: the country of origin, three letters"),
    {.names = "--language",
     .value = "CODE",
     .kind = ValueKind::Name,
     .field = &RawOptions::languages,
     .help = "EBU STL, TTML, captions and teletext that are written: their language",
     .more = "A tag such as en or de-AT for TTML, two letters (en) for EBU STL, whose character code table it chooses "
             "unless --table does, three letters of "
             "ISO 639-2 (eng, fra, spa) for captions, either for teletext, whose character set it chooses."},
    stlText("--date", "YYMMDD", &RawOptions::date, "EBU STL: when it was made (default: 700101, never the clock)"),
    {.names = "--table",
     .value = "TABLE",
     .kind = ValueKind::Word,
     .words = kTables,
     .field = &RawOptions::table,
     .help = "EBU STL: the character code table, {} (default: of --language)",
     .more = "00 is Latin, 01 Cyrillic, 02 Arabic, 03 Greek, 04 Hebrew, the last four with plain Latin letters."},
    {.names = "--open", .field = &RawOptions::isOpen, .help = "EBU STL: open subtitling, not teletext"},
    helping(kSingleHeight, "EBU STL, and --page of packets: rows of teletext are of single height"),
    kServiceName,
    kHearingImpaired,
    kBitrate,
    kWrittenPid,
    kMapPid,
    kPcrPid,
    {.names = "--report",
     .field = &RawOptions::reportsAll,
     .help = "Say all that is found, changed or lost, cue by cue or packet by packet"},
    kStrict,
    kRowWidth,
    kLines,
    kRowCount,
};

}  // namespace

constexpr CommandRow kConvertCommand{.name = "convert",
                                     .summary = "Make subtitles of one format, or what is on air, into another format",
                                     .notes = kConvertNotes,
                                     .options = kConvertOptions,
                                     .check = checkedConvert};

}  // namespace qlx::tool
