#include "cli/RawOptions.h"

#include "commands/extract/Extract.h"
#include "commands/play/Play.h"
#include "commands/rate/RateChange.h"
#include "commands/scan/Scan.h"
#include "commands/scte/SCTE104Request.h"
#include "commands/show/Show.h"
#include "commands/subs/Subs.h"
#include "cues/Encoding.h"
#include "io/Errors.h"
#include "io/FrameSource.h"
#include "io/OutputFile.h"
#include "io/Text.h"
#include "io/Times.h"
#include "streams/InputKind.h"

#include <qlx/teletext/sets.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <numeric>
#include <string_view>
#include <vector>

namespace qlx::tool {

namespace {

std::vector<std::uint64_t> lineNumbers(std::string_view text) {
    std::vector<std::uint64_t> lines;
    for (const std::string_view item : itemsOf(text, ",")) {
        std::uint64_t line = 0;
        const auto [end, error] = std::from_chars(item.data(), item.data() + item.size(), line);
        if (error != std::errc{} || end != item.data() + item.size() || line > kGreatestLine) {
            throw UsageError("--lines: \"" + std::string(item) + "\" is not a line number (0 to 65535)");
        }
        if (!lines.empty() && line <= lines.back()) {
            throw UsageError("--lines must be ascending: the rows of a frame stand in the order of their lines");
        }
        lines.push_back(line);
    }
    return lines;
}

/// @throws UsageError when the fixed operations have no bytes for a format.
RowForm rowForm(bool asDeployed, FrameFormat format) {
    if (asDeployed && format == FrameFormat::Jsonl) {
        throw UsageError("--as-deployed is for the formats v210 and klv only");
    }
    return asDeployed ? RowForm::AsDeployed : RowForm::Contiguous;
}

void refuseTerminal(const std::string& output, FrameFormat format) {
    if (format != FrameFormat::Jsonl && output == "-" && standardOutputIsTerminal()) {
        throw UsageError("a " + std::string(format == FrameFormat::Klv ? "klv" : "v210") +
                         " file is not for a terminal: name a file with -o");
    }
}

/// How scan writes frames; none when it lists what it finds.
std::optional<FrameOutputOptions> frameOutputOptions(const RawOptions& raw) {
    const std::optional<FrameFormat> named = frameFormatNamed(extensionOf(raw.output.value_or("-")));
    constexpr std::string_view kOfConvert[] = {"mcc", "scc", "srt", "vtt", "stl", "ttml", "ass"};
    const std::string extension = extensionOf(raw.output.value_or("-"));
    if (!raw.toFormat && std::find(std::begin(kOfConvert), std::end(kOfConvert), extension) != std::end(kOfConvert)) {
        throw UsageError("scan does not write " + extension + " files, as the name of " + *raw.output +
                         " says it is: qlxcc convert " + (extension == "ass" ? "reads them" : "does"));
    }
    // With --json a name in .jsonl is as good as any other.
    const bool isJsonList = raw.asJson && !raw.toFormat && named == FrameFormat::Jsonl;
    const std::optional<FrameFormat> format = raw.toFormat ? frameFormatNamed(*raw.toFormat) : named;
    if (!format || isJsonList) {
        if (raw.asDeployed) {
            throw UsageError("--as-deployed is for the formats v210 and klv only: say them with --to-format");
        }
        return std::nullopt;
    }
    if (raw.asJson) {
        throw UsageError(raw.toFormat
                             ? "--json and --to-format cannot be given together"
                             : "--json goes into no v210 or klv file, as the name of " + *raw.output + " says it is");
    }
    refuseTerminal(raw.output.value_or("-"), *format);
    FrameOutputOptions options;
    options.format = *format;
    options.form = rowForm(raw.asDeployed, *format);
    return options;
}

/// The PID that an option names.
std::uint16_t pidOf(const std::string& option, const std::string& text) {
    constexpr std::uint64_t kGreatestPid = 0x1FFE;
    const auto pid = parseNumber(text, kGreatestPid);
    if (!pid) {
        throw UsageError(option + ": \"" + text + "\" is not a number from 0 to 8190");
    }
    return static_cast<std::uint16_t>(*pid);
}

}  // namespace

std::string knownEncoding(const std::string& name) {
    if (!name.empty() && !isKnownEncoding(name)) {
        throw UsageError("--encoding: \"" + name + "\" is no encoding that is known here (iconv -l lists them)");
    }
    return name;
}

FrameSourceOptions frameSourceOptions(const RawOptions& raw, bool isForRowsWritten) {
    FrameSourceOptions options;
    if (raw.fromFormat) {
        options.kind = inputKindNamed(*raw.fromFormat);
    }
    // The content is looked at when the file has been opened; what the name says is enough to refuse it before.
    const std::optional<InputKind> kind = options.kind ? options.kind : inputKindOfName(raw.file);
    options.width = pixels(raw.width);
    options.nearStart = raw.nearStart;
    if (raw.lines && raw.rows) {
        throw UsageError("--lines and --rows cannot be given together");
    }
    if (raw.lines) {
        options.lines = lineNumbers(*raw.lines);
    } else if (raw.rows) {
        options.lines.emplace(static_cast<std::size_t>(*raw.rows));
        std::iota(options.lines->begin(), options.lines->end(), std::uint64_t{0});
    }
    if (raw.teletextPid) {
        options.teletextPid = pidOf("--teletext-pid", *raw.teletextPid);
        if (kind && *kind != InputKind::TransportStream) {
            throw UsageError("--teletext-pid is for the format ts");
        }
    }
    if (kind && !(isForRowsWritten && !hasRows(*kind) && !options.nearStart)) {
        checkRowOptions(*kind, options);
    }
    return options;
}

std::uint8_t receiverRegion(const RawOptions& raw) {
    const auto region = static_cast<std::uint8_t>(raw.region.value_or(0) << 3U);
    for (std::uint8_t option = 0; option < 8; ++option) {
        if (teletext::characterSetOf(static_cast<std::uint8_t>(region | option))) {
            return region;
        }
    }
    throw UsageError("--region: no character sets are defined for region " + std::to_string(*raw.region));
}

std::optional<std::uint32_t> pixels(const std::optional<std::uint64_t>& size) {
    return size ? std::optional(static_cast<std::uint32_t>(*size)) : std::nullopt;
}

streams::MccHeader mccHeader(const RawOptions& raw, bool isWritten) {
    if (raw.mccVersion && !isWritten) {
        throw UsageError("--mcc-version is for the format mcc only");
    }
    streams::MccHeader header;
    header.version = static_cast<std::uint8_t>(raw.mccVersion.value_or(1));
    header.dropsFrames = !raw.isNonDrop;
    header.uuid = "00000000-0000-0000-0000-000000000000";
    header.creationProgram = "qlxcc";
    return header;
}

std::string formatName(const std::optional<std::string>& format, const std::string& file,
                       const std::vector<std::string_view>& known, std::string_view option) {
    if (format) {
        return *format;
    }
    std::string name = extensionOf(file);
    if (std::find(known.begin(), known.end(), name) == known.end()) {
        throw UsageError(
            std::string(option) + " is needed" +
            (file == "-" ? std::string(" with a pipe") : ": the name of " + file + " does not tell the format"));
    }
    return name;
}

MediaTime exactTime(double seconds) {
    constexpr std::int32_t kUnits = 120'000;
    return MediaTime::make(std::llround(seconds * kUnits), kUnits);
}

StartTime startTime(const std::string& option, const std::string& text, const std::string& rate,
                    std::string_view rateOption, const RawOptions& raw) {
    StartTime start{.option = option, .text = text, .rateOption = rateOption};
    if (!parseFrameTimecode(text)) {
        start.time = exactTime(timeOption(option, text, nullptr));
        return start;
    }
    start.rate = rate.empty() ? std::nullopt : rateNamed(rate);
    start.dropsFrames = raw.isDrop ? std::optional(true) : raw.isNonDrop ? std::optional(false) : std::nullopt;
    return start;
}

FromStart fromStartOption(const RawOptions& raw, const std::string& rate, std::string_view rateOption) {
    FromStart start{.isGiven = !raw.fromStart.empty(), .isTaken = raw.fromStart == "auto"};
    if (start.isGiven && !start.isTaken && raw.fromStart != "0") {
        start.time = startTime("--from-start", raw.fromStart, rate, rateOption, raw);
    }
    return start;
}

FromStart listedFromStart(const RawOptions& raw) {
    return raw.fromRate.empty() ? fromStartOption(raw, raw.rate, "--rate")
                                : fromStartOption(raw, raw.fromRate, "--from-rate");
}

double timeOption(const std::string& option, const std::string& text, const Rate* rate) {
    try {
        return timeInSeconds(text, rate);
    } catch (const UsageError& error) {
        throw UsageError(option + ": " + error.what());
    }
}

OnAirChoice onAirChoice(const std::string& channel, const std::optional<std::uint64_t>& service,
                        const std::string& page, const std::string& rate) {
    OnAirChoice choice;
    if (!channel.empty()) {
        choice.channel = cea608::channelNamed(channel);
    }
    if (service) {
        choice.service = static_cast<std::uint8_t>(*service);
    }
    if (!page.empty()) {
        choice.page = teletextPageNamed(page);
        if (!choice.page) {
            throw UsageError("\"" + page + "\" is not a page (100 to 8FF)");
        }
    }
    if ((choice.channel ? 1 : 0) + (choice.service ? 1 : 0) + (choice.page ? 1 : 0) > 1) {
        throw UsageError("one of a channel, a service and a page is read at a time");
    }
    if (!rate.empty()) {
        choice.rate = rateNamed(rate);
    }
    return choice;
}

Action checkedSubs(const RawOptions& raw) {
    SubsOptions options;
    options.file = raw.file;
    options.encoding = knownEncoding(raw.encoding);
    options.track = raw.track;
    const PlayMode mode = raw.mode == "cea608" ? PlayMode::Cea608 : PlayMode::Teletext;
    options.mode = static_cast<std::int32_t>(mode);
    options.namesLosses = !raw.mode.empty();
    if (!raw.rate.empty()) {
        options.rate = rateNamed(raw.rate);
    } else if (mode == PlayMode::Cea608) {
        throw UsageError("--mode cea608 needs --rate: captions are sent early by the frames that they take");
    }
    options.output = raw.output;
    options.asJson = raw.asJson;
    options.fromStart = listedFromStart(raw);
    options.onAir = onAirChoice(raw.channel, raw.service, raw.page, raw.fromRate);
    options.asDeployed = raw.asDeployed;
    if (raw.asDeployed &&
        (!raw.track.empty() || !raw.fromStart.empty() || options.onAir.isGiven() || options.onAir.rate)) {
        throw UsageError("--track, --from-start, --from-rate, " + std::string(options.onAir.options) +
                         " are for what is read without --as-deployed");
    }
    return [options] { return listSubtitles(options); };
}

Action checkedScan(const RawOptions& raw) {
    ScanOptions options;
    options.file = raw.file;
    options.output = raw.output;
    options.asJson = raw.asJson;
    options.isOfChanges = raw.isOfChanges;
    if (raw.splicePid) {
        options.splicePid = pidOf("--pid", *raw.splicePid);
    }
    options.region = receiverRegion(raw);
    options.frames = frameOutputOptions(raw);
    if (options.splicePid && (options.frames || raw.listsContents)) {
        throw UsageError("--pid is for lists of splices: no --list, and no frames are written");
    }
    if (raw.isOfChanges && (raw.asJson || options.frames)) {
        throw UsageError("--changes lists splice points as text: no --json, and no frames are written");
    }
    const bool writesRows = options.frames && options.frames->format == FrameFormat::V210;
    options.source = frameSourceOptions(raw, writesRows);
    options.listsContents = raw.listsContents;
    if (raw.listsContents && options.frames) {
        throw UsageError("--list is in place of frames: -o names a text, and --to-format is not given");
    }
    options.ignoresParity = raw.ignoresParity;
    options.wideEncoding = raw.wideEncoding.value_or(options.wideEncoding);
    return [options] { return scan(options); };
}

Action checkedExtract(const RawOptions& raw) {
    ExtractOptions options;
    options.file = raw.file;
    options.output = raw.output;
    options.asJson = raw.asJson;
    options.source = frameSourceOptions(raw);
    if (raw.fromFormat && raw.codec != "auto") {
        throw UsageError("--codec and --from-format cannot be given together");
    }
    if (raw.codec != "auto") {
        options.codec = raw.codec == "h264"   ? video::Codec::H264
                        : raw.codec == "h265" ? video::Codec::H265
                                              : video::Codec::Mpeg2;
    }
    if (raw.format.value_or("triplets") != "triplets") {
        options.format = raw.format == "cc1" ? ExtractFormat::FieldOne : ExtractFormat::A53;
    }
    return [options] { return extract(options); };
}

Action checkedRateChange(const RawOptions& raw) {
    RateChangeOptions options;
    options.file = raw.file;
    options.from = rateNamed(raw.fromRate).value();
    options.to = rateNamed(raw.toRate).value();
    options.output = raw.output.value_or("");
    const std::string format = raw.toFormat.value_or(extensionOf(options.output));
    options.frames.format = format == "mcc" ? FrameFormat::Mcc : frameFormatNamed(format).value_or(FrameFormat::Klv);
    options.frames.mcc = mccHeader(raw, format == "mcc");
    options.frames.mcc.rate = frameRateOf(options.to);
    options.frames.form = rowForm(raw.asDeployed, options.frames.format);
    options.source = frameSourceOptions(raw, options.frames.format == FrameFormat::V210);
    options.asDeployed = raw.asDeployed;
    options.joinSections = raw.joinSections;
    if (raw.asDeployed && !isDouble(options.from, options.to) && !isDouble(options.to, options.from)) {
        throw UsageError("no way from " + raw.fromRate + " to " + raw.toRate +
                         " frames/s with --as-deployed: one rate must be the double of the other (25 and 50, 29.97 and "
                         "59.94, 30 and 60)");
    }
    if (raw.asDeployed && raw.joinSections) {
        throw UsageError(
            "--join-sections is not for --as-deployed: the fixed operations leave service information out");
    }
    refuseTerminal(options.output, options.frames.format);
    return [options] { return changeRate(options); };
}

}  // namespace qlx::tool
