// Options that several commands have.
#pragma once

#include "cli/OptionTable.h"
#include "cues/WideEncoding.h"
#include "io/Rates.h"

namespace qlx::tool {

inline constexpr std::uint64_t kGreatestWidth = 32768;

/// The files that have frames.
inline constexpr std::string_view kFrameFormats[] = {"v210", "2vuy", "klv", "jsonl", "scc", "h264", "h265", "mpeg2",
                                                     "mxf",  "mov",  "ts",  "ps",    "mcc", "mkv",  "flv"};

/// Those of them that frames are written in.
inline constexpr std::string_view kWrittenFormats[] = {"v210", "klv", "jsonl"};

/// The channels of captions and of text.
inline constexpr std::string_view kPlayedChannels[] = {"CC1", "CC2", "CC3", "CC4", "T1", "T2", "T3", "T4"};
/// The channels of captions.
inline constexpr std::string_view kChannels[] = {"CC1", "CC2", "CC3", "CC4"};
/// The same, those of text, and the extended data.
inline constexpr std::string_view kShownChannels[] = {"CC1", "CC2", "CC3", "CC4", "T1", "T2", "T3", "T4", "XDS"};

/// What cues are made into.
inline constexpr std::string_view kModes[] = {"teletext", "cea608"};
/// The same of play.
inline constexpr std::string_view kPlayModes[] = {"teletext", "cea608", "cea708", "captions"};

[[nodiscard]] constexpr OptionRow required(OptionRow row) {
    row.isRequired = true;
    return row;
}

/// The same option with what the manual of a command says more of it.
[[nodiscard]] constexpr OptionRow saying(OptionRow row, std::string_view more) {
    row.more = more;
    return row;
}

/// The same option with a help of its own in a command.
[[nodiscard]] constexpr OptionRow helping(OptionRow row, std::string_view help) {
    row.help = help;
    return row;
}

/// The same option with other words.
[[nodiscard]] constexpr OptionRow ofWords(OptionRow row, std::span<const std::string_view> words) {
    row.words = words;
    return row;
}

/// The command's file. `name` is what its help calls it.
[[nodiscard]] constexpr OptionRow fileArgument(std::string_view name, std::string_view help,
                                               std::string_view more = {}) {
    return {.names = name,
            .kind = ValueKind::File,
            .isRequired = true,
            .field = &RawOptions::file,
            .help = help,
            .more = more};
}

/// Of files with several texts.
inline constexpr OptionRow kTrack{
    .names = "--track",
    .value = "TRACK",
    .kind = ValueKind::Name,
    .field = &RawOptions::track,
    .help = "Of MP4, MOV and Matroska files: the text track, by number or language (default: the first)",
    .more = "Texts are 3GPP timed text (tx3g), WebVTT (wvtt) and TTML (stpp) in MP4 and MOV files, and SubRip, "
            "WebVTT and SubStation Alpha in Matroska files. Numbers count the text tracks from 1; a language is as the "
            "file says it, such as eng. "
            "Which tracks are not read is said."};

inline constexpr OptionRow kSubtitleFile = fileArgument(
    "FILE", "A subtitle file, text track or caption file (-: standard input)",
    "SRT, WebVTT, SSA, TTML, EBU STL, JSON, MOV, MP4, Matroska, Scenarist or MCC; or any other file of frames "
    "but v210 and 2vuy rows, with the option that says what is on air. Its content tells which, or else "
    "its name; a text has at most 64 MiB. See the formats in qlxcc(1).");

/// The region that teletext receivers are made for.
inline constexpr OptionRow kRegion{
    .names = "--region",
    .value = "N",
    .kind = ValueKind::Number,
    .least = 0,
    .greatest = 10,
    .field = &RawOptions::region,
    .help = "teletext: the region whose sets receivers have, 0 to 10 (default: 0, Western Europe)",
    .more =
        "The four high bits of a designation (EN 300 706, table 32): 0 West, 1 the same with Polish, 2 with Turkish, "
        "3 with Croatian and Romanian, 4 Cyrillic and the Baltic, 6 Turkish and Greek, 8 and 10 Arabic and Hebrew. "
        "What a page says of its sets itself comes first."};

[[nodiscard]] constexpr OptionRow fromFormat(std::span<const std::string_view> words, std::string_view older,
                                             std::string_view help = "{} (else by content)",
                                             std::string_view more = {}) {
    return {.names = "--from-format",
            .older = older,
            .value = "FORMAT",
            .kind = ValueKind::Word,
            .words = words,
            .field = &RawOptions::fromFormat,
            .help = help,
            .more = more};
}

[[nodiscard]] constexpr OptionRow toFormat(std::string_view help, std::string_view more) {
    return {.names = "--to-format",
            .value = "FORMAT",
            .kind = ValueKind::Word,
            .words = kWrittenFormats,
            .field = &RawOptions::toFormat,
            .help = help,
            .more = more};
}

/// The same of what is written in other forms than frames.
[[nodiscard]] constexpr OptionRow toOtherFormat(std::span<const std::string_view> words, std::string_view help,
                                                std::string_view more = {}) {
    return {.names = "--to-format",
            .older = "--format",
            .value = "FORMAT",
            .kind = ValueKind::Word,
            .words = words,
            .field = &RawOptions::format,
            .help = help,
            .more = more};
}

inline constexpr OptionRow kOutput{.names = "-o,--output",
                                   .value = "FILE",
                                   .kind = ValueKind::File,
                                   .field = &RawOptions::output,
                                   .help = "Write to FILE, which appears when it is complete (-: standard output)"};

/// The same of what else goes to standard output.
inline constexpr OptionRow kListOutput = saying(kOutput, "Without this option standard output is written.");

[[nodiscard]] constexpr OptionRow asJson(std::string_view help, std::string_view more = {}) {
    return {.names = "--json", .field = &RawOptions::asJson, .help = help, .more = more};
}

[[nodiscard]] constexpr OptionRow width(std::string_view help, std::string_view more = {}) {
    return {.names = "--width",
            .value = "W",
            .kind = ValueKind::Number,
            .least = 1,
            .greatest = kGreatestWidth,
            .field = &RawOptions::width,
            .help = help,
            .more = more};
}

[[nodiscard]] constexpr OptionRow rateOption(std::string_view names, std::string_view older,
                                             std::string RawOptions::*field, std::string_view help,
                                             std::string_view more = {}) {
    return {.names = names,
            .older = older,
            .value = "RATE",
            .kind = ValueKind::Rate,
            .field = field,
            .help = help,
            .more = more};
}

// Which captions, and how they are sent. Each command has a help of its own for them.
inline constexpr OptionRow kService{.names = "--service",
                                    .value = "N",
                                    .kind = ValueKind::Number,
                                    .least = 1,
                                    .greatest = 63,
                                    .field = &RawOptions::service};
inline constexpr std::string_view kCaptionStyles[] = {"pop-on", "roll-up", "paint-on"};
inline constexpr OptionRow kStyle{.names = "--style",
                                  .value = "STYLE",
                                  .kind = ValueKind::Word,
                                  .words = kCaptionStyles,
                                  .field = &RawOptions::style};
inline constexpr OptionRow kRollUpRows{.names = "--roll-up-rows",
                                       .value = "N",
                                       .kind = ValueKind::Number,
                                       .least = 2,
                                       .greatest = 4,
                                       .field = &RawOptions::rollUpRows,
                                       .help = "roll-up: rows on the screen, 2 to 4 (default: 2)"};
inline constexpr OptionRow kSingleCodes{.names = "--single-codes", .field = &RawOptions::sendsCodesOnce};
inline constexpr OptionRow kVideoLine{.names = "--line",
                                      .value = "L",
                                      .kind = ValueKind::Number,
                                      .least = 0,
                                      .greatest = kGreatestLine,
                                      .field = &RawOptions::line};

/// Of what reads what is on air, and of play, which sends it anew.
[[nodiscard]] constexpr OptionRow readChannel(std::string_view names, std::string RawOptions::*field) {
    return {.names = names,
            .value = "CHANNEL",
            .kind = ValueKind::WordOfAnyCase,
            .words = kPlayedChannels,
            .field = field,
            .help = "Of captions on air in FILE: {}",
            .more = "Without one those of CC1 are read of Scenarist and MCC files. A Scenarist file has one field, "
                    "which is that of the channel: CC1, CC2, T1 and T2 are in field 1. "
                    "v210 and 2vuy rows, of which more has to be said, are for convert."};
}
[[nodiscard]] constexpr OptionRow readService(std::string_view names, std::optional<std::uint64_t> RawOptions::*field) {
    return {.names = names,
            .value = "N",
            .kind = ValueKind::Number,
            .least = 1,
            .greatest = 63,
            .field = field,
            .help = "Of captions on air in FILE: this caption service, 1 to 63"};
}
[[nodiscard]] constexpr OptionRow readPage(std::string_view names, std::string RawOptions::*field) {
    return {.names = names,
            .value = "PAGE",
            .kind = ValueKind::Name,
            .field = field,
            .help = "Of what is on air in FILE: this teletext page, 100 to 8FF"};
}
inline constexpr OptionRow kReadRate =
    rateOption("--from-rate", {}, &RawOptions::fromRate, "Frames a second of FILE, where it does not say it",
               "It gives frames without times of their own (klv, h264, mpeg2) theirs, and is what Scenarist timecodes "
               "count (default: 29.97), and the times of TTML in frames.");

// How a transport stream is made.
inline constexpr OptionRow kServiceName{
    .names = "--service-name",
    .value = "NAME",
    .kind = ValueKind::Name,
    .field = &RawOptions::serviceName,
    .help = "ts: the service's name",
    .more = "It is in the service description table, every 2 s; without a name there is none. It has at most 124 "
            "bytes."};
inline constexpr OptionRow kHearingImpaired{
    .names = "--hearing-impaired",
    .field = &RawOptions::isHearingImpaired,
    .help = "ts: the subtitles are for the hard of hearing",
    .more = "The teletext descriptor names its page as one of type 5, otherwise of type 2."};
inline constexpr OptionRow kBitrate{.names = "--bitrate",
                                    .value = "N",
                                    .kind = ValueKind::Number,
                                    .least = 150'000,
                                    .greatest = 1'000'000'000,
                                    .field = &RawOptions::bitrate,
                                    .help = "ts: bits a second, constant (default: 512000)"};
inline constexpr OptionRow kWrittenPid{.names = "--pid",
                                       .value = "N",
                                       .kind = ValueKind::Number,
                                       .least = 32,
                                       .greatest = 8190,
                                       .field = &RawOptions::pid,
                                       .help = "ts: the PID of the teletext (default: 257)"};
inline constexpr OptionRow kMapPid{.names = "--map-pid",
                                   .value = "N",
                                   .kind = ValueKind::Number,
                                   .least = 32,
                                   .greatest = 8190,
                                   .field = &RawOptions::mapPid,
                                   .help = "ts: the PID of the program's map (default: 256)"};
inline constexpr OptionRow kPcrPid{.names = "--pcr-pid",
                                   .value = "N",
                                   .kind = ValueKind::Number,
                                   .least = 32,
                                   .greatest = 8190,
                                   .field = &RawOptions::pcrPid,
                                   .help = "ts: the PID of the clock, which has packets of its own (default: 496)"};

inline constexpr OptionRow kSingleHeight{.names = "--single-height", .field = &RawOptions::isSingleHeight};

/// Of what reads cues.
[[nodiscard]] constexpr OptionRow fromStart(std::string_view help, std::string_view more) {
    return {.names = "--from-start",
            .value = "TIME",
            .kind = ValueKind::Name,
            .field = &RawOptions::fromStart,
            .help = help,
            .more = more};
}

inline constexpr OptionRow kStrict{
    .names = "--strict", .field = &RawOptions::isStrict, .help = "Exit code 1 when something is changed or lost"};

/// Of what lists or plays cues.
inline constexpr OptionRow kFromStart = fromStart(
    "Where the programme begins in the file, which is subtracted: TIME, auto or 0",
    "`auto` is the time of the first frame, in EBU STL the start of the programme in its head (TCP), of other files of "
    "cues, and of MCC and Scenarist files, the whole hour in which the first cue begins. A timecode counts the frames "
    "of "
    "the file, or of --from-rate or --rate where it does not say how they count. Cues that begin before it keep their "
    "times; `0` subtracts nothing, and keeps the tool from saying that the first cue comes late.");

// How captions are read.
inline constexpr OptionRow kNoParity{.names = "--no-parity",
                                     .field = &RawOptions::ignoresParity,
                                     .help = "CEA-608: do not look at parity bits",
                                     .more = "Streams whose pairs have none are read so; without this option a "
                                             "character with wrong parity is a solid block, and a code is left out."};

[[nodiscard]] constexpr OptionRow wideEncoding(std::string_view help, std::string_view more) {
    return {.names = "--p16",
            .value = "ENCODING",
            .kind = ValueKind::Word,
            .words = kWideEncodings,
            .field = &RawOptions::wideEncoding,
            .help = help,
            .more = more};
}

/// Of what reads.
inline constexpr OptionRow kWideCharacters =
    wideEncoding("CEA-708: what the 16-bit characters are, {} (default: utf-16)",
                 "They are those behind the code P16. Korean services have EUC-KR there.");
inline constexpr OptionRow kMccVersion{.names = "--mcc-version",
                                       .value = "N",
                                       .kind = ValueKind::Number,
                                       .least = 1,
                                       .greatest = 2,
                                       .field = &RawOptions::mccVersion,
                                       .help = "mcc: version 1 or 2 of the format (default: 1)",
                                       .more = "Version 2 has the field and the line of each packet; some readers "
                                               "take version 1 only."};

// How the rows of a file lie and are searched.
inline constexpr OptionRow kRowWidth =
    width("v210, 2vuy: pixels of a row (default: 1920)",
          "An odd number counts as the next even one in 2vuy rows, which have whole pairs of pixels.");
inline constexpr OptionRow kLines{.names = "--lines",
                                  .value = "L1,L2,...",
                                  .kind = ValueKind::Text,
                                  .field = &RawOptions::lines,
                                  .help = "v210, 2vuy: the line numbers of a frame's rows, ascending",
                                  .more = "There are as many rows in a frame as there are lines."};
inline constexpr OptionRow kRowCount{.names = "--rows",
                                     .value = "N",
                                     .kind = ValueKind::Number,
                                     .least = 1,
                                     .greatest = kGreatestLine + 1,
                                     .field = &RawOptions::rows,
                                     .help = "v210, 2vuy: rows in a frame, numbered from 0 (default: one, numbered 0)",
                                     .more = "It cannot be given together with --lines."};
inline constexpr OptionRow kNearStart{
    .names = "--near-start",
    .field = &RawOptions::nearStart,
    .help = "v210, 2vuy: look for packets near a row's start only, and verify nothing",
    .more = "Versions before 0.2 did so, and `QLXVANCPacket` does: only in luma, of 2vuy rows in the even bytes, which "
            "are chroma; neither parity nor checksum is looked at."};

inline constexpr OptionRow kAsDeployed{
    .names = "--as-deployed",
    .field = &RawOptions::asDeployed,
    .help = "v210, klv: the bytes that the library's fixed operations write",
    .more = "All packets are in luma then, those of a row each at the next 32-bit word of its row behind the one "
            "before it, those of a klv file with padding also behind whole four bytes. Without this option they stand "
            "one right behind the other, each in its channel, padded to whole four bytes."};

}  // namespace qlx::tool
