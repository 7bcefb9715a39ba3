#include "cli/RawOptions.h"
#include "commands/convert/Carriers.h"
#include "commands/convert/Convert.h"
#include "commands/play/Play.h"
#include "commands/show/Show.h"
#include "cues/CarriedTable.h"
#include "cues/TrackCues.h"
#include "io/Errors.h"
#include "io/Rates.h"
#include "io/Times.h"
#include "streams/InputKind.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <iterator>
#include <string_view>
#include <utility>

namespace qlx::tool {

namespace {

void takeScale(const std::string& text, TimeChange& change) {
    constexpr std::int32_t kGreatest = 1'000'000;
    const char* const end = text.data() + text.size();
    const auto factor = std::from_chars(text.data(), end, change.scaleFactor);
    const bool hasSlash = factor.ec == std::errc{} && factor.ptr != end && *factor.ptr == '/';
    const auto divisor = hasSlash ? std::from_chars(factor.ptr + 1, end, change.scaleDivisor) : factor;
    const auto isPossible = [](std::int32_t number) { return number >= 1 && number <= kGreatest; };
    if (!hasSlash || divisor.ec != std::errc{} || divisor.ptr != end || !isPossible(change.scaleFactor) ||
        !isPossible(change.scaleDivisor)) {
        throw UsageError("--scale: \"" + text + "\" is not A/B, two whole numbers from 1 to 1000000");
    }
}

void takeTimes(const RawOptions& raw, ConvertOptions& options) {
    if (raw.isDrop && raw.isNonDrop) {
        throw UsageError("--drop and --non-drop cannot be given together");
    }
    options.fromStart = fromStartOption(raw, raw.fromRate, "--from-rate");
    if (!raw.toStart.empty()) {
        options.toStart =
            startTime("--to-start", raw.toStart, raw.toRate.empty() ? raw.fromRate : raw.toRate, "--to-rate", raw);
    }
    if (!raw.scale.empty()) {
        takeScale(raw.scale, options.times);
    }
    if (!raw.offset.empty()) {
        const auto rate = raw.fromRate.empty() ? std::nullopt : rateNamed(raw.fromRate);
        const bool isNegative = raw.offset.starts_with('-');
        if (!rate && parseFrameTimecode(std::string_view(raw.offset).substr(isNegative ? 1 : 0))) {
            throw UsageError("--offset: --from-rate is needed, which says how many frames of " + raw.offset +
                             " a second has");
        }
        options.times.offset = exactTime(signedTimeInSeconds(raw.offset, rate ? &*rate : nullptr));
    }
}

/// What is for EBU STL alone, and says so where another format is written.
void takeStl(const RawOptions& raw, ConvertOptions& options) {
    const bool isStl = options.format == CueFormat::Stl;
    if (raw.languages.size() > 1) {
        throw UsageError("--language is given twice");
    }
    const auto language = raw.languages.empty() ? std::nullopt : std::optional(raw.languages.front());
    const std::pair<std::string_view, bool> given[] = {
        {"--title", raw.title.has_value()},         {"--episode", raw.episode.has_value()},
        {"--publisher", raw.publisher.has_value()}, {"--reference", raw.reference.has_value()},
        {"--country", raw.country.has_value()},     {"--date", raw.date.has_value()},
        {"--table", raw.table.has_value()},         {"--open", raw.isOpen}};
    for (const auto& [name, isGiven] : given) {
        if (isGiven && !isStl) {
            throw UsageError(std::string(name) + " is for EBU STL only: say it with --to-format stl");
        }
    }
    if (raw.isSingleHeight && !isStl && raw.page.empty()) {
        throw UsageError("--single-height is for EBU STL, and for packets with --page");
    }
    const auto isDigit = [](char character) { return character >= '0' && character <= '9'; };
    if (raw.date && (raw.date->size() != 6 || !std::all_of(raw.date->begin(), raw.date->end(), isDigit))) {
        throw UsageError("--date: \"" + *raw.date + "\" is not YYMMDD, six digits");
    }
    if (isStl && language && !subtitles::stlLanguageCode(*language)) {
        throw UsageError("--language: EBU STL has no code for \"" + *language + "\" (two letters, such as en)");
    }
    if (raw.country && raw.country->size() != 3) {
        throw UsageError("--country: \"" + *raw.country + "\" is not three letters, such as GBR");
    }
    StlOutputOptions& stl = options.stl;
    stl.title = raw.title;
    stl.episode = raw.episode;
    stl.publisher = raw.publisher;
    stl.reference = raw.reference;
    stl.country = raw.country;
    stl.date = raw.date;
    stl.table = raw.table;
    stl.language = language;
    stl.isOpen = raw.isOpen;
    stl.isSingleHeight = raw.isSingleHeight;
    stl.isDrop = raw.isDrop;
    const std::string& rate = raw.toRate.empty() ? raw.fromRate : raw.toRate;
    stl.rate = rate.empty() ? std::nullopt : rateNamed(rate);
    if (isStl && stl.rate && !isStlRate(*stl.rate)) {
        if (!raw.toRate.empty()) {
            throw UsageError("--to-rate: EBU STL has 25, 29.97 and 30 frames a second, not " + raw.toRate);
        }
        stl.rate.reset();
    }
}

/// Options that say what timecodes count where there are none: of --from-start, --to-start, --offset and EBU STL.
/// @param format Of what is written: files of frames have a rate, and some of them timecodes.
void findUnused(const RawOptions& raw, const std::string& format, bool isOfCues, ConvertOptions& options) {
    const auto kind = options.input.source.kind ? options.input.source.kind : inputKindOfName(raw.file);
    // Timed text in XML may count frames, as EBU STL does; a name may not tell that it is such.
    const bool mayCount = !kind || kind == InputKind::Stl || kind == InputKind::Ttml;
    const bool isText = kind && hasCues(*kind) && !mayCount;
    const bool hasFrom = parseFrameTimecode(raw.fromStart).has_value();
    const bool hasTo = parseFrameTimecode(raw.toStart).has_value();
    const bool isStl = options.format == CueFormat::Stl;
    if (isText && !raw.fromRate.empty() && !hasFrom && raw.offset.empty() &&
        !(raw.toRate.empty() && ((hasTo && isOfCues) || isStl))) {
        options.unused.emplace_back("--from-rate");
    }
    const bool hasTimecodes = isStl || format == "mcc" || format == "scc";
    if (!raw.toRate.empty() && !hasTo && !isStl && isOfCues) {
        options.unused.emplace_back("--to-rate");
    }
    if ((raw.isDrop || raw.isNonDrop) && !hasFrom && !hasTo && !hasTimecodes && !mayCount) {
        options.unused.emplace_back(raw.isDrop ? "--drop" : "--non-drop");
    }
}

constexpr std::string_view kCueFormats[] = {"srt", "vtt", "stl", "ttml", "ebu-tt-d", "json"};

/// Which one `name` is.
CueFormat cueFormatNamed(std::string_view name) {
    return name == "vtt"        ? CueFormat::Vtt
           : name == "stl"      ? CueFormat::Stl
           : name == "ttml"     ? CueFormat::Ttml
           : name == "ebu-tt-d" ? CueFormat::EbuTtD
           : name == "json"     ? CueFormat::Json
                                : CueFormat::Srt;
}

/// How frames are written in a format that is not one of cues.
FrameOutputOptions carrierFormat(const RawOptions& raw, const std::string& name) {
    FrameOutputOptions frames;
    frames.format = name == "scc"   ? FrameFormat::Scc
                    : name == "mcc" ? FrameFormat::Mcc
                    : name == "ts"  ? FrameFormat::TransportStream
                                    : frameFormatNamed(name).value_or(FrameFormat::Klv);
    frames.scc.dropsFrames = !raw.isNonDrop;
    if (!raw.channel.empty()) {
        frames.scc.field = cea608::channelNamed(raw.channel)->field == 2 ? cc::CcType::Field2 : cc::CcType::Field1;
    }
    frames.mcc = mccHeader(raw, name == "mcc");
    frames.transport = transportOptions(raw);
    return frames;
}

/// The same cues as those of `convert` as play sends them.
PlayOptions playedCues(const RawOptions& raw, const std::string& format) {
    RawOptions asked = raw;
    asked.toFormat = format;
    asked.mode = !raw.page.empty()                     ? "teletext"
                 : raw.service && !raw.channel.empty() ? "captions"
                 : raw.service                         ? "cea708"
                                                       : "cea608";
    if (format == "ts" && asked.mode != "teletext") {
        throw UsageError("--page is needed: subtitles become teletext in a transport stream");
    }
    if (format == "scc" && asked.mode != "cea608") {
        throw UsageError("--service and --page: a Scenarist file has captions of line 21 only");
    }
    if (format == "scc" && !raw.toRate.empty() && raw.toRate != "29.97") {
        throw UsageError("--to-rate: subtitles become Scenarist files of 29.97 frames a second only");
    }
    asked.rate = !raw.toRate.empty() ? raw.toRate : format == "scc" ? "29.97" : "";
    if (asked.rate.empty()) {
        throw UsageError("--to-rate is needed, which says how many frames a second the " + format + " file has");
    }
    asked.isNonDrop = raw.isNonDrop && (format == "scc" || format == "mcc");
    asked.lines.reset();
    asked.files = {raw.file};
    asked.fromStart.clear();  // Its cues have their times.
    if (!raw.page.empty()) {
        asked.pages = {raw.page};
        asked.order = {"--page"};
    }
    asked.order.insert(asked.order.end(), raw.languages.size(), "--language");
    return playOptions(asked);
}

/// Sends cues whose times are on the frames already, so that play has nothing to round.
int playCues(PlayOptions sent, ConvertOptions options) {
    sent.isStrict = options.isStrict;
    sent.reportsAll = options.reportsAll;
    options.frames = frameRateOf(sent.rate);
    const bool hasTimecodes = sent.format == PlayFormat::Scc || sent.format == PlayFormat::Mcc;
    options.written = {*options.frames,
                       hasTimecodes ? std::optional(sent.isDropFrame && hasDropFrame(sent.rate)) : std::nullopt};
    sent.missingOption = "--from-start";
    if (options.toStart) {
        // A file of frames begins where its programme does.
        if (sent.format == PlayFormat::Klv || sent.format == PlayFormat::V210) {
            printNote("remark: " + sent.output.value_or("-") + ": " + unsaidStartInWords(*options.toStart));
        }
        options.toStart->time = timeOf(*options.toStart, options.written, sent.output.value_or("-"));
        options.firstTime = options.toStart->time;
        sent.fromSeconds = secondsFrom(*options.firstTime);
        sent.fromOption = "--to-start";
    }
    sent.fromStart.isGiven = options.fromStart.isGiven;
    bool hasFailed = false;
    // One file is converted, and to one page.
    sent.cues = [&](const std::string&, const CueValueTaker& take) {
        return readConvertedCues(options, take, hasFailed);
    };
    const int result = play(sent);
    return hasFailed ? kExitFailure : result;
}

/// Makes packets: of cues as play does it, of other packets without decoding them.
int convertToFrames(const RawOptions& raw, const std::string& format, ConvertOptions options, CarrierOptions carrier) {
    const InputKind kind = kindOfInput(options.input);
    const bool mayBeText = mayHaveTextTracks(kind);
    if (!raw.track.empty() && !mayBeText) {
        throw UsageError("--track is for text tracks of MOV, MP4 and Matroska files");
    }
    // Which track it is says that cues are meant; without it captions are, where there are pictures or captions.
    const bool isText = mayBeText && (!raw.track.empty() || hasOnlyTextTracks(raw.file, kind));
    if (hasCues(kind) || isText) {
        options.input.source.kind = kind;
        options.input.channel.reset();
        options.input.page.reset();
        return playCues(playedCues(raw, format), std::move(options));
    }
    if (!raw.scale.empty() || options.overlap != Overlap::Keep || raw.wrap) {
        throw UsageError("--scale, --wrap and --overlap are for subtitles: packets stay as they are");
    }
    if (raw.service || !raw.style.empty() || raw.rollUpRows || !raw.languages.empty() || raw.sendsCodesOnce ||
        !raw.page.empty()) {
        throw UsageError("--service, --page, --style, --roll-up-rows, --language and --single-codes are for subtitles "
                         "that become packets: those of " +
                         options.input.path + " stay as they are");
    }
    if (raw.isSingleHeight) {
        throw UsageError("--single-height is for subtitles that become packets: those of " + options.input.path +
                         " stay as they are");
    }
    if (!raw.encoding.empty()) {
        throw UsageError("--encoding is for subtitles");
    }
    carrier.opened = options.input.opened;
    carrier.times = options.times;
    settleRows(kind, carrier.source, carrier.frames);
    return convertCarrier(carrier);
}

/// What the cues are written as, or how they are sent.
CueTarget targetOf(const RawOptions& raw, const std::string& format) {
    constexpr std::pair<std::string_view, CueTarget> kTargets[] = {
        {"srt", CueTarget::SubRip}, {"vtt", CueTarget::WebVtt},      {"stl", CueTarget::Stl},
        {"ttml", CueTarget::Imsc},  {"ebu-tt-d", CueTarget::EbuTtD}, {"json", CueTarget::Json}};
    for (const auto& [name, target] : kTargets) {
        if (format == name) {
            return target;
        }
    }
    return !raw.page.empty()                    ? CueTarget::Teletext
           : raw.service && raw.channel.empty() ? CueTarget::Cea708
                                                : CueTarget::Cea608;
}

}  // namespace

Action checkedConvert(const RawOptions& raw) {
    ConvertOptions options;
    options.input.path = raw.file;
    options.input.encoding = knownEncoding(raw.encoding);
    const std::string format =
        formatName(raw.format, raw.output.value_or("-"),
                   {"srt", "vtt", "stl", "ttml", "json", "klv", "v210", "jsonl", "mcc", "scc", "ts"});
    const bool isOfCues = std::find(std::begin(kCueFormats), std::end(kCueFormats), format) != std::end(kCueFormats);
    options.input.source = frameSourceOptions(raw, format == "v210");
    if (!raw.fromRate.empty()) {
        options.input.source.rate = rateNamed(raw.fromRate);
    }
    options.input.isDrop = raw.isDrop;
    options.input.track = raw.track;
    if (!raw.page.empty() && !raw.channel.empty()) {
        throw UsageError("--page and --channel cannot be given together");
    }
    if (!raw.channel.empty()) {
        options.input.channel = cea608::channelNamed(raw.channel);
    }
    if (raw.wideEncoding && !raw.service) {
        throw UsageError("--p16 is for --service only");
    }
    options.input.wideEncoding = raw.wideEncoding.value_or(options.input.wideEncoding);
    options.input.ignoresParity = raw.ignoresParity;
    options.input.region = receiverRegion(raw);
    if (!raw.page.empty()) {
        options.input.page = teletextPageNamed(raw.page);
        if (!options.input.page) {
            throw UsageError("--page: \"" + raw.page + "\" is not a page (100 to 8FF)");
        }
    }
    options.output = raw.output;
    options.format = cueFormatNamed(format);
    constexpr std::size_t kMebibyte = std::size_t{1024} * 1024;
    options.input.longest = raw.limit ? static_cast<std::size_t>(*raw.limit) * kMebibyte : options.input.longest;
    options.target = targetOf(raw, format);
    options.timestampMap = raw.timestampMap;
    if (raw.timestampMap && format != "vtt") {
        throw UsageError("--timestamp-map is for WebVTT only");
    }
    options.hasStyleSheet = raw.hasStyleSheet;
    if (raw.hasStyleSheet && format != "vtt") {
        throw UsageError("--style-sheet is for WebVTT only");
    }
    refuseTransportOptions(raw, format == "ts");
    if (raw.isSingleHeight && isOfCues && options.format != CueFormat::Stl) {
        throw UsageError("--single-height is for EBU STL and packets that are written");
    }
    takeTimes(raw, options);
    takeStl(raw, options);
    findUnused(raw, format, isOfCues, options);
    options.overlap = raw.overlap == "compose" ? Overlap::Compose : raw.overlap == "cut" ? Overlap::Cut : Overlap::Keep;
    options.columns = raw.wrap;
    options.rows = raw.wrapRows.value_or(0);
    options.reportsAll = raw.reportsAll;
    options.isDeployedJson = raw.asDeployed;
    if (raw.asDeployed && options.format != CueFormat::Json) {
        throw UsageError("--as-deployed is for JSON that is written");
    }
    options.isStrict = raw.isStrict;
    options.input.keepsStlBlocks =
        isOfCues && (options.format == CueFormat::Stl || (options.format == CueFormat::Json && !raw.asDeployed));
    if (isOfCues) {
        const bool isTtml = options.format == CueFormat::Ttml || options.format == CueFormat::EbuTtD;
        const bool hasLanguage = !raw.languages.empty() && options.format != CueFormat::Stl && !isTtml;
        if (isTtml && !raw.languages.empty()) {
            options.language = raw.languages.front();
        }
        if (!raw.style.empty() || raw.rollUpRows || hasLanguage || raw.sendsCodesOnce || raw.line || raw.mccVersion) {
            throw UsageError("--style, --roll-up-rows, --language, --single-codes, --line and --mcc-version are for "
                             "packets that are written");
        }
        if (raw.service) {
            if (!raw.page.empty() || !raw.channel.empty()) {
                throw UsageError("--service cannot be given with --page or --channel where cues are written");
            }
            options.input.service = static_cast<std::uint8_t>(*raw.service);
        }
        return [options] { return convert(options); };
    }
    CarrierOptions carrier;
    carrier.path = raw.file;
    carrier.source = options.input.source;
    carrier.output = raw.output;
    carrier.frames = carrierFormat(raw, format);
    carrier.keepsCounting = !raw.isDrop && !raw.isNonDrop;
    carrier.source.field = carrier.frames.scc.field;
    carrier.toRate = raw.toRate.empty() ? std::nullopt : rateNamed(raw.toRate);
    carrier.fromStart = options.fromStart;
    carrier.toStart = options.toStart;
    carrier.line = static_cast<std::uint32_t>(raw.line.value_or(carrier.line));
    carrier.isStrict = raw.isStrict;
    carrier.reportsAll = raw.reportsAll;
    carrier.isHearingImpaired = raw.isHearingImpaired;
    return [raw, format, options, carrier] { return convertToFrames(raw, format, options, carrier); };
}

}  // namespace qlx::tool
