// The options of the commands that read subtitles: play and subs.
#include "cli/SharedOptions.h"

namespace qlx::tool {

namespace {

constexpr std::string_view kPlayFormats[] = {"v210", "klv", "jsonl", "mcc", "scc", "a53", "ts"};

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
                              .help = "The encoding of a text, as iconv -l lists them (default: by its bytes)",
                              .more =
                                  "Without this option a byte order mark, an XML declaration, UTF-8 that is right, or "
                                  "the zero bytes of UTF-16 tell it, then libuchardet, and else it is windows-1252; "
                                  "what is not UTF-8 is said. A byte that the encoding does not have becomes U+FFFD, "
                                  "and is named with its offset. With --as-deployed the default is UTF-8, and such a "
                                  "byte ends the run. `latin1` (ISO-8859-1) is read as windows-1252."};

constexpr std::string_view kPlayNotes =
    R"(Without -o and --to-format the schedule is printed: a line for each cue, with the times at which its first bytes are
sent, it is due, and it is on air, the frame of the latter, and how many frames late that is; of both caption systems at
once, when the last of them shows it. With --as-deployed that of teletext is a line for each frame at which something
changes, with what the packets of both fields carry ("erase" is a page header that clears the page, "close" the header
behind its rows).

TIME is seconds (10.5), HH:MM:SS,mmm (00:00:10,500) or a timecode with frames of RATE (00:00:10:12, drop-frame
00:00:10;12). Frame n is at n frame durations, from 0. A cue is due with the first frame at its start or later, and
ends in the same way; a time that is that of a frame to the millisecond is that frame. One that would be over as it
begins lasts a frame. Of teletext with --as-deployed a cue is due with the first frame that is later than its start. A
caption that pops on is sent ahead of that, while the one before it is shown, and ends when the next one begins. One
that comes so late that its end has passed stays as long as it should have from then on, or until the next one that
starts within that time takes its place. A
Scenarist file begins with the hour of timecodes in which its first caption is shown, or as much earlier as that
caption's pairs need. A teletext page shows all cues that are on air, and is sent in the character set of --language
with packets X/26 over letters that this lacks. Several files are several pages: each needs a --page in front of it.
Cues keep their times, so that a programme that begins at 10:00:00:00 needs --from-start or --from; those of EBU STL
keep the rows that they name too. Captions of a Scenarist or MCC file, and what is on air in other files of frames with
--from-channel, --from-service or --from-page, are decoded and sent anew. Warnings name what a viewer will not see as
it is written, ten of a kind. The rows of a v210 file are, in every frame, those of the lines 12 and 575, or 21 and
334 with --sd; with captions that of line 9, or of --line. Every frame carries a caption packet (CDP) with as many
pairs as the rate has: up to 30 frames/s one of each field a frame, above that those of field 1 in even frames and
those of field 2 in odd ones. Behind them stands what a caption service has to send. With --sd its picture is taken as
one of 4:3, otherwise of 16:9.

The times of teletext in a transport stream are 200 ms ahead of its clock. FFmpeg takes what
is more than some 140 ms ahead for a mistake and shows it 60 ms early, unless it is called with -fix_teletext_pts 0.

Exit codes: 0 also with losses, 1 when something of a file could not be read, or with --strict and a loss; 2 wrong
usage. With --as-deployed 1 is for what stops the run only.

Examples:
  qlxcc play film.srt --mode teletext --rate 25
  qlxcc play film.srt --mode teletext --rate 25 --from 00:10:00,000 --duration 60 -o film.v210
  qlxcc play --page 801 de.srt --page 888 --language fr fr.srt --mode teletext --rate 25 -o film.klv
  qlxcc play film.srt --mode cea608 --rate 29.97 -o film.scc
  qlxcc play film.srt --mode cea608 --channel CC3 --style roll-up --rate 59.94 --rating "TV-14 V" -o film.klv
  qlxcc play film.srt --mode captions --rate 59.94 --language eng -o film.klv
  qlxcc play film.srt --mode teletext --rate 25 --to-format klv | qlxcc scan - --from-format klv)";

constexpr OptionRow kPlayOptions[] = {
    {.names = "SUBTITLES",
     .kind = ValueKind::File,
     .isRequired = true,
     .field = &RawOptions::files,
     .help = kSubtitleFile.help,
     .more = kSubtitleFile.more},
    required(ofWords(mode("teletext (OP-47), cea608 (line 21), cea708 (a service of DTVCC) or captions (both)"),
                     kPlayModes)),
    required(rateOption("--rate", {}, &RawOptions::rate,
                        "Frames a second: 23.976, 24, 25, 29.97, 30, 50, 59.94 or 60, or as 30000/1001")),
    {.names = "--sd",
     .field = &RawOptions::isSD,
     .help = "Standard definition: lines 21 and 334, rows of 720 pixels",
     .more =
         "Without this option teletext is on the lines 12 and 575; in progressive frames on line 12, unless "
         "--line names another: no public rule names one (equipment takes 9 to 20), it is the choice of this tool."},
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
    saying(helping(kVideoLine, "The video line of the packets (default: of captions 9, of teletext 12)"),
           "Of teletext only in frames of one field, above 30 a second."),
    {.names = "--page",
     .value = "PAGE",
     .kind = ValueKind::Name,
     .field = &RawOptions::pages,
     .help = "teletext: the page of the file behind it, 100 to 899 (default: 888)",
     .more = "Each of several files needs one in front of it: `--page 801 de.srt --page 888 en.srt`."},
    kRegion,
    {.names = "--serial",
     .field = &RawOptions::isSerial,
     .help = "teletext: headers say that a header of any magazine ends the page (C11)"},
    {.names = "--repeat",
     .value = "SECONDS",
     .kind = ValueKind::Number,
     .least = 1,
     .greatest = 3'600,
     .field = &RawOptions::repeatAfter,
     .help = "teletext: send a page that stays again that often",
     .more = "Never within half a second of a cue that is due."},
    {.names = "--fill",
     .field = &RawOptions::fillsFields,
     .help = "teletext: fields with nothing to send carry a packet of filling ones"},
    helping(kSingleHeight, "teletext: rows of single height, of 38 characters, 37 behind a colour"),
    {.names = "--sdps",
     .value = "N",
     .kind = ValueKind::Number,
     .least = 1,
     .greatest = 3,
     .field = &RawOptions::sdps,
     .help = "teletext: packets of a field, of five teletext packets each (default: 1)"},
    {.names = "--channel",
     .value = "CHANNEL",
     .kind = ValueKind::WordOfAnyCase,
     .words = kPlayedChannels,
     .field = &RawOptions::channel,
     .help = "cea608 and captions: {} (default: CC1)",
     .more =
         "CC1, CC2, T1 and T2 are in field 1, the others in field 2. T1 to T4 are texts: rows that roll up in a box, "
         "and stay when their cue ends."},
    helping(kService, "cea708 and captions: the caption service, 1 to 63 (default: 1)"),
    wideEncoding(
        "Services: send what their sets lack as 16-bit characters, {}",
        "They stand behind the code P16, and not all receivers know them. Without this option a character that "
        "looks like it is sent, which is said."),
    {.names = "--language",
     .value = "CODE",
     .kind = ValueKind::Name,
     .field = &RawOptions::languages,
     .help = "The language: de, fra or ru of teletext, eng, fra or spa (ISO 639-2) of captions",
     .more = "Teletext is sent in its character set; without this option in the one that has most of the file's "
             "characters. Of several files it is that of the file behind it. What a set lacks is put over the nearest "
             "letter by packets X/26, if these have it. Of captions it "
             "is in the service information of every packet. A caption service has that in any case, with und where no "
             "language is named."},
    saying(helping(kStyle, "Captions: {} (default: pop-on)"),
           "Captions that pop on are sent ahead, while the one before is shown, and appear at once; the others are "
           "written letter by letter from their start on."),
    kRollUpRows,
    {.names = "--clear-after",
     .value = "SECONDS",
     .kind = ValueKind::Number,
     .least = 0,
     .greatest = 86'400,
     .field = &RawOptions::clearAfter,
     .help = "roll-up: erase at a cue's end if the next begins later than that (default: 4)"},
    saying(helping(kSingleCodes, "cea608 and captions: send control codes once"),
           "Without this option each is sent twice, as receivers expect it. Special characters that stand side by "
           "side are sent twice even then."),
    {.names = "--program-name",
     .value = "NAME",
     .kind = ValueKind::Name,
     .field = &RawOptions::programName,
     .help = "cea608 and captions: send the programme's name as extended data",
     .more = "Extended data (XDS) goes into what captions leave free of field 2, every 10 s."},
    {.names = "--rating",
     .value = "RATING",
     .kind = ValueKind::Name,
     .field = &RawOptions::rating,
     .help = "cea608, captions: for whom the programme is (PG-13, TV-14 DLSV, TV-Y7 FV, 14+, 16 ans+)"},
    {.names = "--network",
     .value = "NAME",
     .kind = ValueKind::Name,
     .field = &RawOptions::network,
     .help = "cea608 and captions: send the network's name"},
    saying(
        helping(kAsDeployed, "The bytes of the library's fixed operations"),
        "Of CEA-608 captions it is also how versions before this one sent them: pop-on on CC1, at most two rows of 31 "
        "characters, from a cue's start on, each code once, in both fields of every frame's packet. On rows and in "
        "klv files all packets are in luma then, those of a row each at the next 32-bit word of its row behind the "
        "one before it, those of a klv file with padding also behind whole four bytes."),
    kEncoding,
    kTrack,
    readChannel("--from-channel", &RawOptions::fromChannel),
    readService("--from-service", &RawOptions::fromService),
    readPage("--from-page", &RawOptions::fromPage),
    kReadRate,
    kFromStart,
    {.names = "--no-fill",
     .field = &RawOptions::leavesFramesEmpty,
     .help = "Captions: frames without any carry no packet",
     .more = "Without this option they carry one with null pairs, so that every frame has one."},
    kServiceName,
    kHearingImpaired,
    kBitrate,
    kWrittenPid,
    kMapPid,
    kPcrPid,
    {.names = "--non-drop",
     .field = &RawOptions::isNonDrop,
     .help = "scc and mcc: non-drop-frame timecodes (default: drop-frame)"},
    kMccVersion,
    kStrict,
};

constexpr std::string_view kSubsNotes =
    R"(FILE is SRT, WebVTT, SubStation Alpha, TTML, JSON or EBU STL, as its content says, or else its name, of at most 64
MiB; a MOV, MP4 or Matroska file with a text track; a Scenarist or MCC file, whose captions are read as qlxcc convert
reads them; or another file of frames with --channel, --service or --page. Each row of a cue gets a line: number,
start, end, row on the page, colour, alignment, text. Rows and times are those with which play sends the cue in the
same MODE with --as-deployed (-: not sent), which SRT, JSON and EBU STL files are also read as with --as-deployed here.
Behind the cues stand the blocks, lines or elements that were left out, or that need a look, and why; with --mode also
what a viewer will not see of a cue as it is written.

Examples:
  qlxcc subs film.stl
  qlxcc subs film.stl --mode cea608 --rate 29.97
  qlxcc subs film.srt --encoding ISO-8859-1 --rate 25
  qlxcc subs film.scc
  qlxcc subs film.ts --page 888
  qlxcc subs film.stl --json -o film.json)";

constexpr OptionRow kSubsOptions[] = {
    kSubtitleFile,
    mode("What the cues are placed for: teletext or cea608 (default: teletext)",
         "It is also what they are compared with as a viewer sees them. For cea608 the cues start early, as `play "
         "--as-deployed` sends them, and --rate is needed."),
    rateOption("--rate", {}, &RawOptions::rate,
               "Show times as timecodes of this many frames a second (cea608 needs it)",
               "They are those of the first frames at the times or later, at 29.97 and 59.94 in drop-frame counting."),
    kEncoding,
    kTrack,
    readChannel("--channel", &RawOptions::channel),
    readService("--service", &RawOptions::service),
    readPage("--page", &RawOptions::page),
    kReadRate,
    kFromStart,
    kListOutput,
    {.names = "--as-deployed",
     .field = &RawOptions::asDeployed,
     .help = "SRT, JSON and EBU STL as the library's fixed operations read them",
     .more =
         "SRT needs numbers, whole times with a comma, and lines that end in LF; entities stay as they stand, and a "
         "colour is `#RRGGBB`. EBU STL is read block by block, as Latin text."},
    asJson("In place of the list a JSON object, which play can read",
           "It has the `cues` in the form of JSON subtitles (see qlxcc(1)), and `file`, `format`, `cueCount`, "
           "`leftOut`, `problemCount` and `problems`, of which the first thousand are listed, and as many of the "
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
