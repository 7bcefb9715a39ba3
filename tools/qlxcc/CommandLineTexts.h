// What the help of the commands says.
#pragma once

namespace qlx::tool {

inline constexpr const char* kDescription =
    "Plays subtitles out as ancillary packets, finds the packets in what was recorded, takes captions out of video\n"
    "streams, brings them from one frame rate to another, and makes ad insertion messages.";

inline constexpr const char* kFooter =
    "Every command explains itself: qlxcc play --help, qlxcc scan --help, and so on\n"
    "--log-folder and --log-level may stand in front of a command or behind it. Log files older than 30 days are "
    "removed.\n"
    "Exit codes: 0 all went well, 1 broken input or output that cannot be written, 2 wrong usage";

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
    "TIME is seconds (10.5) or HH:MM:SS,mmm (00:00:10,500). Frame n is at n frame durations, from 0. A cue is due\n"
    "with the first frame that is later than its start; CEA-608 captions of an SRT file start earlier by the frames "
    "that\n"
    "their pairs take. The rows of a v210 file are, in every frame, those of the lines 12 and 575, or 21 and 334 with\n"
    "--sd; with CEA-608 that of line 9. A frame without a byte pair carries an empty caption packet.\n"
    "\n"
    "Examples:\n"
    "  qlxcc play film.srt --mode teletext --rate 25\n"
    "  qlxcc play film.srt --mode teletext --rate 29.97 --from 00:10:00,000 --duration 60 -o film.v210\n"
    "  qlxcc play film.srt --mode cea608 --rate 29.97 -o film.scc\n"
    "  qlxcc play film.srt --mode teletext --rate 25 --format klv | qlxcc scan - --format klv";

inline constexpr const char* kScanDescription = "Find the ancillary packets in SDI rows or ANC frame elements";

inline constexpr const char* kScanFooter =
    "v210 and 2vuy files hold SDI rows, the same lines in every frame; klv files hold MXF ANC frame elements, one a "
    "frame.\n"
    "Each packet is listed with frame, line, DID/SDID, name, number of bytes and data; a caption packet (CEA-708) "
    "also with\n"
    "what it holds, and whether its length byte and checksum are those of the standard; an SCTE-104 packet with its\n"
    "operations. The checksums of the ancillary packets themselves are not verified. What cannot be read gets a line "
    "on\n"
    "standard error with its frame and place, and makes the exit code 1.\n"
    "\n"
    "Examples:\n"
    "  qlxcc scan film.v210 --lines 12,575\n"
    "  qlxcc scan vanc.2vuy --width 720 --rows 14 --json\n"
    "  qlxcc scan anc.klv";

inline constexpr const char* kExtractDescription = "Take caption data out of an elementary video stream";

inline constexpr const char* kExtractFooter =
    "Each access unit (of MPEG-2: each picture with the headers in front of it) gives a line with its number from 0, "
    "its\n"
    "byte offset, and its caption data in hexadecimal digits; \"-\" where it has none. Units stand in the stream's "
    "order,\n"
    "which is the order of decoding.\n"
    "  triplets  the cc_data triplets as they stand in the stream, three bytes each\n"
    "  cc1       the byte pairs of field 1 with their parity bits; null pairs (8080) behind the first pair are left "
    "out\n"
    "  a53       the triplets in an A/53 cc_data structure: type code 03, flags and count, ff, triplets, ff\n"
    "\n"
    "Examples:\n"
    "  qlxcc extract film.264\n"
    "  qlxcc extract film.m2v --format cc1 --json";

inline constexpr const char* kRateDescription = "Bring captions from one frame rate to its double, or back";

inline constexpr const char* kRateFooter =
    "IN is a klv file of one ANC frame element a frame. From a rate to its double (25 to 50, 29.97 to 59.94, 30 to "
    "60) each\n"
    "caption packet is split into those of two frames, and all other packets go to the first one. The other way two "
    "frames\n"
    "become one: their caption packets are joined, a missing one counting as empty, and all other packets are kept, "
    "in\n"
    "order.\n"
    "\n"
    "Examples:\n"
    "  qlxcc rate anc25.klv --from 25 --to 50 -o anc50.klv";

}  // namespace qlx::tool
