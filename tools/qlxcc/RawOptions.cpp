#include "RawOptions.h"

#include "Errors.h"
#include "OutputFile.h"
#include "Times.h"

#include <QLXClosedCaptionsUtilities/platform/Text.h>

#include <algorithm>
#include <charconv>
#include <string_view>
#include <vector>

namespace qlx::tool {

namespace {

constexpr std::uint32_t kWidthHD = 1920;
constexpr std::uint32_t kWidthSD = 720;

/// The part of a file name behind its last dot.
std::string_view extension(std::string_view path) {
    const std::size_t dot = path.find_last_of("./");
    return dot == std::string_view::npos || path[dot] == '/' ? std::string_view() : path.substr(dot + 1);
}

PlayFormat playFormat(const RawPlay& raw) {
    if (!raw.output && !raw.format) {
        return PlayFormat::Schedule;
    }
    if (!raw.format && raw.output == "-") {
        throw UsageError("--format is needed when writing to a pipe");
    }
    const std::string name = formatName(raw.format, raw.output.value_or("-"), {"v210", "klv", "jsonl", "scc"});
    if (name == "jsonl" || name == "scc") {
        return name == "jsonl" ? PlayFormat::Jsonl : PlayFormat::Scc;
    }
    if (raw.output.value_or("-") == "-" && standardOutputIsTerminal()) {
        throw UsageError("--format " + name + " is not for a terminal: name a file with -o");
    }
    return name == "klv" ? PlayFormat::Klv : PlayFormat::V210;
}

/// The options that are for captions alone.
void checkCaptionOptions(const RawPlay& raw, const PlayOptions& options) {
    const bool isScc = options.format == PlayFormat::Scc;
    if (isScc && options.mode != PlayMode::Cea608) {
        throw UsageError("--format scc is for --mode cea608 only");
    }
    if (isScc && options.rate.name != "29.97") {
        throw UsageError("--format scc is for --rate 29.97 only: the timecodes of a Scenarist caption file count its "
                         "frames");
    }
    if (raw.isSD && options.mode == PlayMode::Cea608 && options.format != PlayFormat::V210) {
        throw UsageError("--sd with --mode cea608 is for the format v210 only: captions stand on line 9 either way");
    }
    if (raw.isNonDrop && !isScc) {
        throw UsageError("--non-drop is for the format scc only");
    }
    if (raw.leavesFramesEmpty &&
        (options.mode != PlayMode::Cea608 || isScc || options.format == PlayFormat::Schedule)) {
        throw UsageError("--no-fill is for --mode cea608 with the formats v210, klv and jsonl only");
    }
}

std::vector<std::uint64_t> lineNumbers(std::string_view text) {
    std::vector<std::uint64_t> lines;
    for (bool more = true; more;) {
        const std::size_t comma = text.find(',');
        const std::string_view item = text.substr(0, comma);
        std::uint64_t line = 0;
        const auto [end, error] = std::from_chars(item.data(), item.data() + item.size(), line);
        if (error != std::errc{} || end != item.data() + item.size() || line > kGreatestLine) {
            throw UsageError("--lines: \"" + std::string(item) + "\" is not a line number (0 to 65535)");
        }
        if (!lines.empty() && line <= lines.back()) {
            throw UsageError("--lines must be ascending: the rows of a frame stand in the order of their lines");
        }
        lines.push_back(line);
        more = comma != std::string_view::npos;
        text.remove_prefix(more ? comma + 1 : text.size());
    }
    return lines;
}

}  // namespace

std::string formatName(const std::optional<std::string>& format, const std::string& file,
                       const std::vector<std::string_view>& known) {
    if (format) {
        return *format;
    }
    std::string name = asciiLowercased(extension(file));
    if (std::find(known.begin(), known.end(), name) == known.end()) {
        throw UsageError("--format is needed" + (file == "-" ? std::string(" with a pipe")
                                                             : ": the name of " + file + " does not tell the format"));
    }
    return name;
}

PlayOptions checked(const RawPlay& raw) {
    PlayOptions options;
    options.subtitles = raw.subtitles;
    options.mode = raw.mode == "cea608" ? PlayMode::Cea608 : PlayMode::Teletext;
    options.rate = rateNamed(raw.rate).value();
    options.isHD = !raw.isSD;
    if (!raw.from.empty()) {
        options.fromSeconds = parseTime(raw.from).value();
    }
    if (!raw.duration.empty()) {
        options.durationSeconds = parseTime(raw.duration);
        if (options.durationSeconds == 0.0) {
            throw UsageError("--duration must be longer than 0");
        }
    }
    options.output = raw.output;
    options.format = playFormat(raw);
    if (raw.width && options.format != PlayFormat::V210) {
        throw UsageError("--width is for the format v210 only");
    }
    options.width = raw.width.value_or(raw.isSD ? kWidthSD : kWidthHD);
    checkCaptionOptions(raw, options);
    options.fillsFrames = !raw.leavesFramesEmpty;
    options.isDropFrame = !raw.isNonDrop;
    return options;
}

ScanOptions checked(const RawScan& raw) {
    ScanOptions options;
    options.file = raw.file;
    options.asJson = raw.asJson;
    const std::string name = formatName(raw.format, raw.file, {"v210", "2vuy", "klv"});
    options.format = name == "klv" ? ScanFormat::Klv : name == "v210" ? ScanFormat::V210 : ScanFormat::Yuv8;
    if (options.format == ScanFormat::Klv && (raw.width || raw.lines || raw.rows)) {
        throw UsageError("--width, --lines and --rows are for the formats v210 and 2vuy: a klv file says its lines");
    }
    if (raw.lines && raw.rows) {
        throw UsageError("--lines and --rows cannot be given together");
    }
    options.width = raw.width.value_or(kWidthHD);
    if (raw.lines) {
        options.lines = lineNumbers(*raw.lines);
    } else {
        options.lines.resize(static_cast<std::size_t>(raw.rows.value_or(1)));
        for (std::size_t row = 0; row < options.lines.size(); ++row) {
            options.lines[row] = row;
        }
    }
    return options;
}

ExtractOptions checked(const RawExtract& raw) {
    ExtractOptions options;
    options.file = raw.file;
    options.asJson = raw.asJson;
    if (raw.codec != "auto") {
        options.codec = raw.codec == "h264" ? VideoCodec::H264 : VideoCodec::Mpeg2;
    }
    if (raw.format != "triplets") {
        options.format = raw.format == "cc1" ? ExtractFormat::FieldOne : ExtractFormat::A53;
    }
    return options;
}

RateChangeOptions checked(const RawRateChange& raw) {
    RateChangeOptions options{raw.file, rateNamed(raw.from).value(), rateNamed(raw.to).value(), raw.output};
    if (!isDouble(options.from, options.to) && !isDouble(options.to, options.from)) {
        throw UsageError("no way from " + raw.from + " to " + raw.to +
                         " frames/s: one rate must be the double of the other (25 and 50, 29.97 and 59.94, 30 and 60)");
    }
    if (raw.output == "-" && standardOutputIsTerminal()) {
        throw UsageError("a klv file is not for a terminal: name a file with -o");
    }
    return options;
}

}  // namespace qlx::tool
