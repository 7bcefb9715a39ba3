// What the help of the commands says.
#pragma once

namespace qlx::tool {

inline constexpr const char* kDescription =
    "Plays subtitles out as ancillary packets, finds the packets in what was recorded, takes captions out of video\n"
    "streams, brings them from one frame rate to another, and makes ad insertion messages.";

inline constexpr const char* kFooter =
    "Every command explains itself: qlxcc play --help, qlxcc scan --help, and so on\n"
    "--quiet, --log-folder and --log-level may stand in front of a command or behind it. Log files older than 30 days "
    "are\n"
    "removed. TIME is seconds (10.5), HH:MM:SS,mmm (00:00:10,500; also with a point), or HH:MM:SS:FF with frames of "
    "the\n"
    "command's rate (00:00:10:12; drop-frame 00:00:10;12). RATE is 23.976, 24, 25, 29.97, 30, 50, 59.94 or 60, or a\n"
    "quotient (30000/1001). The file - is standard input or standard output.\n"
    "Exit codes: 0 all went well, 1 broken input or output that cannot be written, 2 wrong usage\n"
    "\n"
    "Examples:\n"
    "  qlxcc play film.srt --mode teletext --rate 25\n"
    "  qlxcc scan film.v210 --lines 12,575";

inline constexpr const char* kPlayDescription = "Play a subtitle file out frame by frame";

inline constexpr const char* kPlayFooter =
    "Without -o and --format the schedule is printed. Teletext: a line for each frame at which something changes, "
    "with\n"
    "what the packets of both fields carry; \"erase\" is a page header that clears page 888, \"close\" the header "
    "behind its\n"
    "rows. CEA-608: a line for each caption, with the frames in which its byte pairs travel and the time at which the "
    "last\n"
    "one makes it appear; \"-\" is a caption that clears the screen.\n"
    "\n"
    "TIME is seconds (10.5), HH:MM:SS,mmm (00:00:10,500) or a timecode with frames of RATE (00:00:10:12, drop-frame\n"
    "00:00:10;12). Frame n is at n frame durations, from 0. A cue is due with the first frame that is later than its\n"
    "start; CEA-608 captions of SRT and EBU STL files start earlier by an estimate of their pairs. EBU STL cues keep "
    "their\n"
    "times, so that a programme that begins at 10:00:00:00 needs --from, and in teletext their rows. Warnings name "
    "what "
    "a\n"
    "viewer will not see as it is written, for the first ten of such cues; subs with the same MODE has more. The rows "
    "of a\n"
    "v210 file are, in every frame, those of the lines 12 and 575, or 21 and 334 with --sd; with CEA-608 that of line "
    "9.\n"
    "A frame without a byte pair carries an empty caption packet.\n"
    "\n"
    "Examples:\n"
    "  qlxcc play film.srt --mode teletext --rate 25\n"
    "  qlxcc play film.srt --mode teletext --rate 29.97 --from 00:10:00,000 --duration 60 -o film.v210\n"
    "  qlxcc play film.srt --mode cea608 --rate 29.97 -o film.scc\n"
    "  qlxcc play film.srt --mode teletext --rate 25 --format klv | qlxcc scan - --format klv";

inline constexpr const char* kSubsDescription = "List the cues of a subtitle file, and what was left out";

inline constexpr const char* kSubsFooter =
    "FILE is SRT, JSON or EBU STL, as its content says, or else its name; at most 64 MiB. Each row of a cue gets a "
    "line:\n"
    "number, start, end, row on the page, colour, alignment, text. Rows and times are those with which play sends the "
    "cue\n"
    "in the same MODE (-: not sent). Behind the cues stand the blocks, lines or elements that were left out, or that "
    "need a\n"
    "look, and why; with --mode also what a viewer will not see of a cue as it is written.\n"
    "\n"
    "Examples:\n"
    "  qlxcc subs film.stl\n"
    "  qlxcc subs film.stl --mode cea608 --rate 29.97\n"
    "  qlxcc subs film.srt --encoding ISO-8859-1 --rate 25\n"
    "  qlxcc subs film.stl --json -o film.json";

inline constexpr const char* kScanDescription =
    "Find the ancillary packets and captions in rows, elements, video and containers";

inline constexpr const char* kScanFooter =
    "v210 and 2vuy files hold SDI rows, the same lines in every frame; klv files hold MXF ANC frame elements, one a "
    "frame.\n"
    "Each packet is listed with frame, line, DID/SDID, name, number of bytes and data; a caption packet (CEA-708) "
    "also with\n"
    "what it holds, and whether its length byte and checksum are those of the standard; an SCTE-104 packet with its\n"
    "operations; an OP-47 packet with its teletext pages and rows as text, on a terminal in their colours (unless "
    "NO_COLOR\n"
    "is set), under the row numbers that receivers use. Rows are searched from end to end, luma and chroma, of 2vuy as "
    "of\n"
    "v210; those of at most 720 pixels also with all samples as one stream (multiplex). What cannot be read, a wrong\n"
    "checksum or wrong parity gets a line on standard error with its frame and place, and makes the exit code 1; a "
    "packet\n"
    "in an unusual place or without a checksum gets a warning.\n"
    "\n"
    "h264 and mpeg2 are elementary streams; mxf, mov (also MP4), ts and ps are containers, of which the captions in "
    "the\n"
    "first H.264 or MPEG-2 video stream, the caption tracks (c608, c708) and the ANC tracks are listed, in the order "
    "of\n"
    "presentation and with the times of the file. Captions that come with the picture are \"in the picture\".\n"
    "\n"
    "With a FILE in .v210, .klv or .jsonl, or --to-format, the frames are written in that form in place of a list. "
    "Rows "
    "are\n"
    "written as they are read; of other files --lines or --rows says which there are.\n"
    "\n"
    "Examples:\n"
    "  qlxcc scan film.v210 --lines 12,575\n"
    "  qlxcc scan film.v210 --lines 12,575 -o film.klv\n"
    "  qlxcc scan film.mxf\n"
    "  qlxcc scan vanc.2vuy --width 720 --rows 14 --json\n"
    "  qlxcc scan anc.klv";

inline constexpr const char* kShowDescription = "Show what a viewer sees: the teletext page or the captions on air";

inline constexpr const char* kShowFooter =
    "The teletext page is decoded from OP-47 packets, captions from caption packets (CEA-708), CEA-608 packets or the\n"
    "captions that travel with coded pictures, by the rules that receivers follow. Rows have the numbers of the "
    "screen:\n"
    "0 to 24 of a teletext page, of which one of double height takes two, and 1 to 15 of a caption channel. A "
    "terminal\n"
    "gets colours unless NO_COLOR is set. Files that do not say the times of their frames (v210, 2vuy, klv, h264, "
    "mpeg2)\n"
    "need --rate; rows also --lines or --rows.\n"
    "\n"
    "With --at and nothing on air the exit code is 0, as it is with a screen.\n"
    "\n"
    "Examples:\n"
    "  qlxcc show film.klv --rate 25 --at 00:00:10,500 --png screen.png\n"
    "  qlxcc show film.v210 --lines 12,575 --rate 29.97 --all\n"
    "  qlxcc show film.scc --all --channel CC1 --json";

inline constexpr const char* kExtractDescription = "Take caption data out of video streams and containers";

inline constexpr const char* kExtractFooter =
    "Each access unit (of MPEG-2: each picture with the headers in front of it) gives a line with its number from 0, "
    "its\n"
    "byte offset, and its caption data in hexadecimal digits; \"-\" where it has none. Units stand in the stream's "
    "order,\n"
    "which is the order of decoding. Of all other files (MXF, MOV, MP4, MPEG-TS, MPEG-PS, klv, v210, 2vuy, jsonl) each "
    "frame\n"
    "gives a line with its time, in the order of presentation: the captions of the picture, or else those of the "
    "caption or\n"
    "ANC tracks.\n"
    "  triplets  the cc_data triplets as they stand in the stream, three bytes each\n"
    "  cc1       the byte pairs of field 1 with their parity bits; null pairs (8080) behind the first pair are left "
    "out\n"
    "  a53       the triplets in an A/53 cc_data structure: type code 03, flags and count, ff, triplets, ff\n"
    "\n"
    "Examples:\n"
    "  qlxcc extract film.264\n"
    "  qlxcc extract film.m2v --format cc1 --json\n"
    "  qlxcc extract film.mp4 --format a53";

inline constexpr const char* kRateDescription = "Bring captions from one frame rate to another";

inline constexpr const char* kRateFooter =
    "IN has elements, rows or JSON lines; the result is klv, or what its name says. RATE is 23.976, 24, 25, 29.97, 30, "
    "50,\n"
    "59.94 or 60. Captions keep their time: a frame carries what has come when it begins, in as many pairs and "
    "triplets as\n"
    "its rate has; the rest follows, and what is more than two seconds late is counted. Packets of other kinds go to "
    "the\n"
    "first frame at their time or later, once; AFD and pan-scan are repeated or passed over with the frames, and so "
    "are "
    "time\n"
    "codes where both rates count alike. Warnings name the first ten of a kind and count the rest.\n"
    "\n"
    "Examples:\n"
    "  qlxcc rate anc25.klv --from-rate 25 --to-rate 59.94 -o anc60.klv\n"
    "  qlxcc rate film.v210 --lines 9,12 --from-rate 59.94 --to-rate 25 -o film.jsonl";

inline constexpr const char* kCompletionDescription = "Print the completion script of a shell";

inline constexpr const char* kCompletionFooter =
    "The script completes commands, options, their values and the names of files. An installed qlxcc has it in place.\n"
    "\n"
    "Examples:\n"
    "  source <(qlxcc completion bash)\n"
    "  qlxcc completion zsh >~/.zfunc/_qlxcc";

}  // namespace qlx::tool
