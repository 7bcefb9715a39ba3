// The options of the commands that read frames: scan, show, extract and rate.
#include "cli/SharedOptions.h"

namespace qlx::tool {

namespace {

constexpr std::string_view kCodecs[] = {"h264", "mpeg2", "h265", "auto"};
constexpr std::string_view kExtractFormats[] = {"triplets", "cc1", "a53"};
constexpr std::string_view kRateWrittenFormats[] = {"v210", "klv", "jsonl", "mcc"};
constexpr std::string_view kRateChangeFormats[] = {"v210",  "2vuy", "klv", "jsonl", "mcc", "h264", "h265",
                                                   "mpeg2", "mxf",  "mov", "ts",    "ps",  "mkv",  "flv"};

constexpr std::string_view kScanNotes =
    R"(v210 and 2vuy files hold SDI rows, the same lines in every frame; klv files hold MXF ANC frame elements, those
of a content package in a frame, mostly one.
Each packet is listed with frame, line, DID/SDID, name, number of bytes and data; a caption packet (CEA-708) also with
what it holds, whether its length byte and checksum are those of the standard, and the service blocks and extended
data that are complete with it; an SCTE-104 packet with its
operations; an OP-47 packet with its teletext pages and rows as text, on a terminal in their colours (unless NO_COLOR
is set), under the row numbers that receivers use. Rows are searched from end to end, luma and chroma, of 2vuy as of
v210; those of at most 720 pixels also with all samples as one stream (multiplex). What cannot be read, a wrong
checksum or wrong parity gets a line on standard error with its frame and place, and makes the exit code 1; a packet
in an unusual place or without a checksum gets a warning.

h264, h265 and mpeg2 are elementary streams; mxf, mov (also MP4), mkv, flv, ts and ps are containers, of which the
captions in the first stream of such video, the caption tracks (c608, c708) and the ANC tracks are listed, in the order
of presentation and with the times of the file. Captions that come with the picture are "in the picture". Behind them
stands the splice information (SCTE 35) of a ts file: where and when each section came by the program's clock, how
often, when it splices and how long after that; with --json they are one line behind those of the frames.

With a FILE in .v210, .klv or .jsonl, or --to-format, the frames are written in that form in place of a list. Rows are
written as they are read; of other files --lines or --rows says which there are.

Examples:
  qlxcc scan film.v210 --lines 12,575
  qlxcc scan film.v210 --lines 12,575 -o film.klv
  qlxcc scan film.mxf
  qlxcc scan vanc.2vuy --width 720 --rows 14 --json
  qlxcc scan film.mxf --list
  qlxcc scan anc.klv)";

constexpr OptionRow kTeletextPid{.names = "--teletext-pid",
                                 .value = "N",
                                 .kind = ValueKind::Text,
                                 .field = &RawOptions::teletextPid,
                                 .help = "For ts: the PID whose teletext is read, whatever the tables say",
                                 .more =
                                     "0 to 8190, decimal, or hexadecimal behind 0x. Without it the first one is read "
                                     "that a program's map names; others are named."};

constexpr OptionRow kScanOptions[] = {
    fileArgument("FILE", "What is searched (-: standard input)"),
    fromFormat(kFrameFormats, "--format", "{}",
               "Else it is told by the content, but rows (`v210`, `2vuy`) by the name alone, as any bytes can be "
               "samples. `mov` is also the form "
               "of MP4 files. A file that is video by its name or first bytes, but has neither a sequence header nor a "
               "sequence parameter set in its first 16 MiB, is refused unless this option says that it is."),
    kRowWidth,
    kLines,
    kRowCount,
    kNearStart,
    kListOutput,
    toFormat("Write frames as {} (default: by the name of FILE, or a list)",
             "Rows are written as they are read (of 2vuy rows the packets); of files without rows --lines or --rows "
             "says which are written, and --width how wide. A packet for which there is no row ends the command. What "
             "a form does not carry is named: captions that are in no packet and, of what is written as deployed, "
             "channels other than luma."),
    kRegion,
    kAsDeployed,
    {.names = "--pid",
     .value = "N",
     .kind = ValueKind::Text,
     .field = &RawOptions::splicePid,
     .help = "For ts: a PID with splice information (SCTE 35), whatever the tables say",
     .more = "0 to 8190, decimal, or hexadecimal behind 0x. Without it the streams of type 86 are read."},
    kTeletextPid,
    {.names = "--changes",
     .field = &RawOptions::isOfChanges,
     .help = "List splice points (SCTE 104, SCTE 35) in place of packets",
     .more = "They stand in their order: out and in with pre-roll and duration, segments with theirs, and behind them "
             "those that miss their other half."},
    {.names = "--list",
     .field = &RawOptions::listsContents,
     .help = "List what is in FILE: channels, texts, services, extended data, pages, text tracks",
     .more =
         "A line for each, with its language where the stream says it, the times of the first and the last frame "
         "with text on its screen, and how many captions it has. Where frames come without times, those of the rate "
         "that their CDPs name; the frames' numbers, where these name none, or several. What rolls up counts row "
         "by row; of extended data the packets are counted. Text tracks have their number and language: qlxcc convert "
         "--track reads them."},
    kNoParity,
    kWideCharacters,
    asJson(
        "A JSON line for each frame in place of the list",
        "See `jsonl` in qlxcc(1). Behind the frames of a transport stream a line has its splice information "
        "(`\"schema\":\"qlxcc/splices/1\"`, `splices`): of each section `offset`, `pid`, `program`, `arrival`, "
        "`splice` "
        "and `distance`, null where they are not known, how often it came (`count`) and the `section` as scte35 "
        "writes it. With --list it is one object, whose `contents` have `kind` (`captions`, `text`, "
        "`extendedData`, `service`, `teletext`, `textTrack` with a `format`), `name`, `language`, `captions`, `first`, "
        "`last`, `firstFrame` and `lastFrame`, null where there is none."),
};

constexpr std::string_view kShowNotes =
    R"(The teletext page is decoded from OP-47 packets, captions from caption packets (CEA-708), CEA-608 packets or the
captions that travel with coded pictures, by the rules that receivers follow. Rows have the numbers of the screen:
0 to 24 of a teletext page, of which one of double height takes two, and 1 to 15 of a caption channel or service. A
terminal gets colours unless NO_COLOR is set. Files that do not say the times of their frames (v210, 2vuy, klv, h264,
mpeg2) need --rate; rows also --lines or --rows.

With --at and nothing on air the exit code is 0, as it is with a screen.

Examples:
  qlxcc show film.klv --rate 25 --at 00:00:10,500 --png screen.png
  qlxcc show film.v210 --lines 12,575 --rate 29.97 --all
  qlxcc show film.scc --all --channel CC1 --json
  qlxcc show film.mxf --all --service 1)";

constexpr OptionRow kShowOptions[] = {
    fileArgument("FILE", "What is decoded (-: standard input)"),
    {.names = "--at",
     .value = "TIME",
     .kind = ValueKind::SignedTime,
     .field = &RawOptions::at,
     .help = "Show what is on air at TIME",
     .more = "Of a file with times of its own it is one of those; of all others it is counted from 0. A `-` in front "
             "of it leads to what is in front of the time 0."},
    {.names = "--all",
     .field = &RawOptions::isAll,
     .help = "Show every screen with the time from which and to which it is on air"},
    {.names = "--png",
     .value = "FILE",
     .kind = ValueKind::File,
     .field = &RawOptions::picture,
     .help = "With --at: write the screen to FILE as a picture (PNG, or PPM by its name)",
     .more = "It has 480 x 500 pixels of teletext, 544 x 390 of captions, and 672 x 390 of a service (with --sd 512 x "
             "390). The name of another kind of file, such as "
             "screen.gif, is refused. This needs the module `qlxcc-screens`, which draws with the fonts of libzvbi."},
    {.names = "--page",
     .value = "PAGE",
     .kind = ValueKind::Text,
     .field = &RawOptions::page,
     .help = "The teletext page (default: 888)",
     .more = "Pages are numbered from 100 to 8FF."},
    kTeletextPid,
    kRegion,
    {.names = "--channel",
     .value = "CHANNEL",
     .kind = ValueKind::WordOfAnyCase,
     .words = kShownChannels,
     .field = &RawOptions::channel,
     .help = "CEA-608: {} (default: CC1)",
     .more =
         "Without --page, --channel and --service page 888 and CC1 are shown. T1 to T4 are texts. XDS are the "
         "extended data: a line for each packet that says something new, or with --at the last of each kind; one whose "
         "bytes are none of its type is shown by them, with a warning."},
    helping(kService, "CEA-708: the caption service, 1 to 63"),
    {.names = "--sd",
     .field = &RawOptions::isSD,
     .help = "CEA-708: the picture is one of 4:3, of 32 columns (default: 16:9, 42 columns)"},
    kNoParity,
    kWideCharacters,
    rateOption("--rate", {}, &RawOptions::rate,
               "Frames a second, for files that do not say the times of their frames, and TIME with frames",
               "Such files are v210, 2vuy, klv, h264 and mpeg2, and jsonl without `pts`; a TIME with frames "
               "(00:00:10:12) needs it also of other files."),
    fromFormat(kFrameFormats, "--format", "{}"),
    kRowWidth,
    saying(kLines, "There are as many rows in a frame as there are lines. Of v210 and 2vuy files --lines or --rows "
                   "must be given, as the rows of a frame make its time."),
    helping(kRowCount, "v210, 2vuy: rows in a frame, numbered from 0"),
    kNearStart,
    kListOutput,
    asJson("A JSON line for each screen in place of the text",
           "It has page, channel or service, times (`at`, `from`, `to`, as in files of frames, null where there is "
           "none), frames (`fromFrame`, `toFrame`), and rows with row, column, text and runs of text with their "
           "colours. The first one has `\"schema\":\"qlxcc/show/1\"`."),
};

constexpr std::string_view kExtractNotes =
    R"(Each access unit (of MPEG-2: each picture with the headers in front of it) gives a line with its number from 0, its
byte offset, and its caption data in hexadecimal digits; "-" where it has none. Units stand in the stream's order,
which is the order of decoding; with cc1, whose pairs make sense in that order alone, in the order of presentation. Of
all other files (MXF, MOV, MP4, MPEG-TS, MPEG-PS, Matroska, FLV, klv, v210, 2vuy, jsonl) each frame gives a line with
its time, in the order of presentation: the captions of the picture, or else those of the caption or ANC tracks.
  triplets  the cc_data triplets as they stand in the stream, three bytes each
  cc1       the byte pairs of field 1 with their parity bits; null pairs (8080) behind the first pair are left out
  a53       the triplets in an A/53 cc_data structure: type code 03, flags and count, ff, triplets, ff

Examples:
  qlxcc extract film.264
  qlxcc extract film.m2v --to-format cc1 --json
  qlxcc extract film.mp4 --to-format a53)";

constexpr OptionRow kExtractOptions[] = {
    fileArgument(
        "FILE", "Video, a container, or a file of rows, elements or JSON lines (-: standard input)",
        "Video is H.264 or H.265 in Annex B form or MPEG-2; containers are MXF, MOV, MP4, MPEG-TS, MPEG-PS, Matroska "
        "and FLV."),
    {.names = "--codec",
     .value = "CODEC",
     .kind = ValueKind::Word,
     .words = kCodecs,
     .field = &RawOptions::codec,
     .help = "{} (default: auto, by the content)",
     .more = "The first start code of an elementary stream tells what it is. With auto a file is refused when its "
             "first 16 MiB have neither a sequence header nor a sequence parameter set."},
    toOtherFormat(
        kExtractFormats, "{}, see below (default: triplets)",
        "`triplets`: the cc_data triplets as they stand in the stream, three bytes each; emulation prevention "
        "bytes are not removed. `cc1`: the CEA-608 byte pairs of field 1, with their parity bits; null pairs "
        "(8080) behind the first pair are left out. `a53`: the triplets in an ATSC A/53 cc_data structure, "
        "which is 03, the flags C0 with the number of triplets, FF, the triplets, FF."),
    fromFormat(kFrameFormats, {}, "{}"),
    kRowWidth,
    kLines,
    kRowCount,
    kNearStart,
    kListOutput,
    asJson("A JSON line for each access unit in place of the list", R"(    {"unit":0,"offset":0,"data":"fc942c..."}
`data` is null where there are none. A frame of a container has `"pts":{"value":3600,"timescale":90000,"seconds":0.04}`,
or null, in place of the offset. The first line has `"schema":"qlxcc/captions/1"`.)"),
};

constexpr std::string_view kRateNotes =
    R"(IN has elements, rows or JSON lines, or is video whose pictures have captions, which are taken in the order of
presentation; the result is klv, or what its name says. RATE is 23.976, 24, 25, 29.97, 30, 50,
59.94 or 60. Captions keep their time: a frame carries what has come when it begins, in as many pairs and triplets as
its rate has; the rest follows, and what is more than two seconds late is counted. Service information goes out once
for each that came. Packets of other kinds go to the first frame at their time or later, once; AFD, pan-scan, HDR
metadata and what else describes a frame are repeated or passed over with the frames, and so are time codes where both
rates count alike; payload identifiers, which name a rate, are left out where it changes. Warnings name the first ten of
a kind and count the rest. A packet with the identifiers of a caption packet that holds none is left out, and makes the
exit code 1.

Examples:
  qlxcc rate anc25.klv --from-rate 25 --to-rate 59.94 -o anc60.klv
  qlxcc rate film.v210 --lines 9,12 --from-rate 59.94 --to-rate 25 -o film.jsonl)";

constexpr OptionRow kRateOptions[] = {
    fileArgument("IN", "A klv, v210, 2vuy, jsonl, mcc or video file, or a container (-: standard input)"),
    required(rateOption("--from-rate", "--from", &RawOptions::fromRate, "Frames a second of IN")),
    required(rateOption("--to-rate", "--to", &RawOptions::toRate, "Frames a second of the result")),
    fromFormat(kRateChangeFormats, {}, "{}"),
    kRowWidth,
    kLines,
    kRowCount,
    kNearStart,
    required(kOutput),
    ofWords(toFormat("{} (default: by the name of FILE, or klv)",
                     "Rows are written as they are read; of files without rows --lines or --rows says which are "
                     "written. The timecodes of mcc are those of the times of IN, at 29.97 and 59.94 drop-frame ones."),
            kRateWrittenFormats),
    kMccVersion,
    {.names = "--join-sections",
     .field = &RawOptions::joinSections,
     .help = "Service information that waits and says the same goes out as one",
     .more = "Each that came goes out once otherwise. Where IN has it in every packet, a lower rate, which has fewer "
             "packets, then sends it later and later, and the rest in packets behind the last frame, which is said."},
    saying(kAsDeployed,
           "One rate must be the double of the other then: to the double each caption packet is split into those of "
           "two frames, and all other packets go to the first of them; back from it two caption packets are joined, a "
           "missing one counting as empty, and the other packets of both frames are kept, in order. Time codes, "
           "service information and what else a packet has besides triplets are left out, which is said. A warning "
           "names the first caption packet that is marked with another rate, and the first one that contradicts "
           "itself. Packets are all in luma, those of a row each at the next 32-bit word "
           "of its row behind the one before it; without this option they stand one right behind the other, each in "
           "its channel. Captions that are in no packet are left out, which is said."),
};

}  // namespace

constexpr CommandRow kScanCommand{.name = "scan",
                                  .summary =
                                      "Find the ancillary packets and captions in rows, elements, video and containers",
                                  .notes = kScanNotes,
                                  .options = kScanOptions,
                                  .check = checkedScan};

constexpr CommandRow kShowCommand{.name = "show",
                                  .summary = "Show what a viewer sees: the teletext page or the captions on air",
                                  .notes = kShowNotes,
                                  .options = kShowOptions,
                                  .check = checkedShow};

constexpr CommandRow kExtractCommand{.name = "extract",
                                     .summary = "Take caption data out of video streams and containers",
                                     .notes = kExtractNotes,
                                     .options = kExtractOptions,
                                     .check = checkedExtract};

constexpr CommandRow kRateCommand{.name = "rate",
                                  .summary = "Bring captions from one frame rate to another",
                                  .notes = kRateNotes,
                                  .options = kRateOptions,
                                  .check = checkedRateChange};

}  // namespace qlx::tool
