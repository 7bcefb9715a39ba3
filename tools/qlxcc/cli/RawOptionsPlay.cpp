// The checks of play.
#include "cli/RawOptions.h"
#include "commands/play/Play.h"
#include "commands/show/Show.h"
#include "io/Errors.h"
#include "io/OutputFile.h"
#include "io/Times.h"

#include <qlx/cea608/codes.h>
#include <qlx/cea608/xds.h>
#include <qlx/streams/ts/tables.h>
#include <qlx/teletext/packet.h>
#include <qlx/teletext/sets.h>

#include <algorithm>
#include <array>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace qlx::tool {

namespace {

constexpr std::uint32_t kWidthHD = 1920;
constexpr std::uint32_t kWidthSD = 720;
/// What the table of options calls the files.
constexpr std::string_view kSubtitlesArgument = "SUBTITLES";

PlayFormat playFormat(const RawOptions& raw) {
    if (!raw.output && !raw.toFormat) {
        return PlayFormat::Schedule;
    }
    if (!raw.toFormat && raw.output == "-") {
        throw UsageError("--to-format is needed when writing to a pipe");
    }
    const std::string name =
        formatName(raw.toFormat, raw.output.value_or("-"), {"v210", "klv", "jsonl", "mcc", "scc", "a53", "ts"});
    if (name == "mcc") {
        return PlayFormat::Mcc;
    }
    if (name == "jsonl" || name == "scc" || name == "a53") {
        return name == "jsonl" ? PlayFormat::Jsonl : name == "scc" ? PlayFormat::Scc : PlayFormat::A53;
    }
    if (raw.output.value_or("-") == "-" && standardOutputIsTerminal()) {
        throw UsageError("--to-format " + name + " is not for a terminal: name a file with -o");
    }
    return name == "klv" ? PlayFormat::Klv : name == "ts" ? PlayFormat::TransportStream : PlayFormat::V210;
}

/// The options that are for captions alone.
void checkCaptionOptions(const RawOptions& raw, const PlayOptions& options) {
    const bool isScc = options.format == PlayFormat::Scc;
    const bool isA53 = options.format == PlayFormat::A53;
    if (isA53 && options.mode == PlayMode::Teletext) {
        throw UsageError("--to-format a53 is for captions only: --mode cea608, cea708 or captions");
    }
    if (isScc && options.mode != PlayMode::Cea608) {
        throw UsageError("--to-format scc is for --mode cea608 only");
    }
    if (isScc && options.rate.name != "29.97") {
        throw UsageError("--to-format scc is for --rate 29.97 only: the timecodes of a Scenarist caption file count "
                         "its frames");
    }
    if (raw.isSD && options.mode == PlayMode::Cea608 && options.format != PlayFormat::V210) {
        throw UsageError("--sd with --mode " + raw.mode +
                         " is for the format v210 only: captions stand on the same line either way");
    }
    if (raw.isSD && options.mode != PlayMode::Teletext && !options.asDeployed && options.rate.name != "25" &&
        options.rate.name != "29.97") {
        throw UsageError("--sd with --mode " + raw.mode + " is for --rate 25 and 29.97 only");
    }
    if (raw.isNonDrop && !isScc && options.format != PlayFormat::Mcc) {
        throw UsageError("--non-drop is for the formats scc and mcc only");
    }
    if (raw.leavesFramesEmpty &&
        (options.mode == PlayMode::Teletext || isScc || isA53 || options.format == PlayFormat::Schedule)) {
        throw UsageError("--no-fill is for captions with the formats v210, klv, jsonl and mcc only");
    }
}

struct GivenOption {
    std::string_view name;
    bool isGiven = false;
};

void refuse(std::span<const GivenOption> options, std::string_view where) {
    for (const GivenOption& option : options) {
        if (option.isGiven) {
            throw UsageError(std::string(option.name) + " is for " + std::string(where) + " only");
        }
    }
}

/// Options that only some captions of the core have.
void refuseOptionsOfCaptions(const RawOptions& raw, const PlayOptions& options) {
    const bool isPlain = options.mode == PlayMode::Teletext || options.asDeployed;
    if (isPlain || !hasLine21(options.mode)) {
        refuse(std::array{GivenOption{"--channel", !raw.channel.empty()},
                          GivenOption{"--single-codes", raw.sendsCodesOnce},
                          GivenOption{"--program-name", raw.programName.has_value()},
                          GivenOption{"--rating", raw.rating.has_value()},
                          GivenOption{"--network", raw.network.has_value()}},
               "--mode cea608 and captions without --as-deployed");
    }
    if (!hasService(options.mode)) {
        refuse(std::array{GivenOption{"--service", raw.service.has_value()},
                          GivenOption{"--p16", raw.wideEncoding.has_value()}},
               "--mode cea708 and captions");
    }
    if (isPlain) {
        refuse(std::array{GivenOption{"--style", !raw.style.empty()},
                          GivenOption{"--roll-up-rows", raw.rollUpRows.has_value()},
                          GivenOption{"--clear-after", raw.clearAfter.has_value()}},
               "captions without --as-deployed");
    }
    if (options.asDeployed) {
        refuse(
            std::array{GivenOption{"--line", raw.line.has_value()}, GivenOption{"--language", !raw.languages.empty()}},
            "what is sent without --as-deployed");
    }
    if (options.asDeployed && hasService(options.mode)) {
        throw UsageError("--as-deployed is for --mode cea608 and teletext only");
    }
}

/// Options that only the core's teletext has.
void refuseOptionsOfTeletext(const RawOptions& raw) {
    refuse(std::array{GivenOption{"--page", !raw.pages.empty()}, GivenOption{"--region", raw.region.has_value()},
                      GivenOption{"--serial", raw.isSerial}, GivenOption{"--repeat", raw.repeatAfter.has_value()},
                      GivenOption{"--fill", raw.fillsFields}, GivenOption{"--sdps", raw.sdps.has_value()},
                      GivenOption{"--single-height", raw.isSingleHeight}},
           "--mode teletext without --as-deployed");
}

void refuseLine(const RawOptions& raw, const PlayOptions& options) {
    const bool hasLines = options.format == PlayFormat::V210 || options.format == PlayFormat::Klv ||
                          options.format == PlayFormat::Jsonl ||
                          (options.format == PlayFormat::Mcc && raw.mccVersion == 2);
    if (raw.line && !hasLines) {
        throw UsageError("--line is for the formats v210, klv, jsonl and mcc (with --mcc-version 2) only");
    }
}

std::uint16_t calledPage(const std::string& name) {
    const auto page = teletextPageNamed(name);
    if (!page || !teletext::PageHeader{.page = *page}.isCallable()) {
        throw UsageError("--page: \"" + name + "\" is not a page that viewers can call (100 to 899)");
    }
    return *page;
}

std::uint8_t designationNamed(const std::string& language) {
    const auto designation = teletext::designationOf(language);
    if (!designation) {
        throw UsageError("--language: no character set is for \"" + language + "\" (de, fra, ru and the like)");
    }
    return *designation;
}

/// Takes a value that stands in front of a file.
template <class Value>
void takeOnce(std::optional<Value>& place, Value value, const std::string& name) {
    if (place) {
        throw UsageError(name + " is given twice for the same file");
    }
    place = std::move(value);
}

/// The files with the pages and languages that stand in front of them; of a single file they may stand behind it too.
std::vector<TeletextPlayOptions::Page> filesAndPages(const RawOptions& raw) {
    const bool isSingle = raw.files.size() == 1;
    std::vector<TeletextPlayOptions::Page> pages;
    std::optional<std::uint16_t> page;
    std::optional<std::string> language;
    auto nextPage = raw.pages.begin();
    auto nextLanguage = raw.languages.begin();
    const auto take = [&] {
        if (!page && !isSingle) {
            throw UsageError("several files need a --page each, in front of it: none is in front of " +
                             raw.files[pages.size()]);
        }
        pages.push_back({.subtitles = raw.files[pages.size()],
                         .number = page.value_or(teletext::kSubtitlePage),
                         .language = language.value_or(std::string()),
                         .designation = language ? std::optional(designationNamed(*language)) : std::nullopt});
        page.reset();
        language.reset();
    };
    for (const std::string& name : raw.order) {
        if (name == "--page") {
            takeOnce(page, calledPage(*nextPage++), name);
        } else if (name == "--language") {
            takeOnce(language, *nextLanguage++, name);
        } else if (name == kSubtitlesArgument && !isSingle) {
            take();
        }
    }
    if (isSingle) {
        take();
    }
    if (page || language) {
        throw UsageError(std::string(page ? "--page" : "--language") +
                         " stands behind the last file: in front of which "
                         "one is it meant?");
    }
    return pages;
}

void refuseSame(const std::vector<TeletextPlayOptions::Page>& pages) {
    for (auto page = pages.begin(); page != pages.end(); ++page) {
        for (auto other = pages.begin(); other != page; ++other) {
            if (other->number == page->number) {
                throw UsageError("page " + teletext::pageName(page->number) + " is given twice");
            }
            if (other->subtitles == "-" && page->subtitles == "-") {
                throw UsageError("standard input is given twice");
            }
        }
    }
}

void readTeletextOptions(const RawOptions& raw, PlayOptions& options) {
    if (options.mode != PlayMode::Teletext || options.asDeployed) {
        refuseOptionsOfTeletext(raw);
        return;
    }
    TeletextPlayOptions& sent = options.teletext;
    sent.pages = filesAndPages(raw);
    sent.isDoubleHeight = !raw.isSingleHeight;
    refuseSame(sent.pages);
    constexpr std::uint32_t kFirstLineSD = 21;
    constexpr std::uint32_t kSecondLineSD = 334;
    playout::TeletextPlayoutOptions& playout = sent.playout;
    if (!options.isHD) {
        playout.firstLine = kFirstLineSD;
        playout.secondLine = kSecondLineSD;
    }
    if (raw.line && nominalFrames(options.rate) <= kGreatestInterlaced) {
        throw UsageError("--line with --mode teletext is for frames of one field: --rate 50, 59.94 and 60");
    }
    refuseLine(raw, options);
    playout.firstLine = static_cast<std::uint32_t>(raw.line.value_or(playout.firstLine));
    playout.sdps = static_cast<std::uint8_t>(raw.sdps.value_or(playout.sdps));
    playout.repeatAfter = static_cast<std::uint32_t>(raw.repeatAfter.value_or(playout.repeatAfter));
    playout.isSerial = raw.isSerial;
    playout.fillsFields = raw.fillsFields;
    playout.region = receiverRegion(raw);
}

/// Only teletext of the core has room for several files.
void refuseSeveral(const RawOptions& raw, const PlayOptions& options) {
    if (options.mode == PlayMode::Teletext && !options.asDeployed) {
        return;
    }
    if (raw.files.size() > 1) {
        throw UsageError("several files are for --mode teletext without --as-deployed only");
    }
    if (raw.languages.size() > 1) {
        throw UsageError("--language is given twice");
    }
}

/// Three letters.
cc::CaptionService::Language languageNamed(const std::string& name) {
    const auto isLetter = [](char letter) { return letter >= 'a' && letter <= 'z'; };
    if (name.size() != 3 || !std::all_of(name.begin(), name.end(), isLetter)) {
        throw UsageError("--language: \"" + name + "\" is no code of ISO 639-2: three small letters, as in eng");
    }
    return {name[0], name[1], name[2]};
}

void readExtendedData(const RawOptions& raw, std::vector<cea608::XdsValue>& values) {
    if (raw.programName) {
        values.emplace_back(cea608::XdsProgramName{*raw.programName});
    }
    if (raw.rating) {
        const auto advisory = cea608::contentAdvisoryNamed(*raw.rating);
        if (!advisory) {
            throw UsageError("--rating: \"" + *raw.rating +
                             "\" is no rating (PG-13, TV-14 DLSV, TV-Y7 FV, 14+, 16 ans+ and the like)");
        }
        values.emplace_back(*advisory);
    }
    if (raw.network) {
        values.emplace_back(cea608::XdsNetworkName{*raw.network});
    }
}

/// What a transport stream is made with.
void readTransportOptions(const RawOptions& raw, PlayOptions& options) {
    refuseTransportOptions(raw, options.format == PlayFormat::TransportStream);
    if (options.format != PlayFormat::TransportStream) {
        return;
    }
    if (options.mode != PlayMode::Teletext) {
        throw UsageError("--to-format ts is for --mode teletext only");
    }
    if (options.asDeployed) {
        throw UsageError("--as-deployed is for the formats v210 and klv only");
    }
    streams::TransportWriterOptions& transport = options.transport;
    transport = transportOptions(raw);
    transport.rate = frameRateOf(options.rate);
    transport.pages.clear();
    for (const TeletextPlayOptions::Page& played : options.teletext.pages) {
        streams::ts::TeletextPage page;
        page.type = raw.isHearingImpaired ? streams::ts::TeletextType::HearingImpaired : page.type;
        page.language = teletext::languageCode(played.language).value_or(page.language);
        page.page = played.number;
        transport.pages.push_back(page);
    }
    if (const auto wrong = streams::checkTransport(transport)) {
        throw UsageError("--to-format ts: " + wrong->text());
    }
}

void readCaptionOptions(const RawOptions& raw, PlayOptions& options) {
    refuseOptionsOfCaptions(raw, options);
    if (options.mode == PlayMode::Teletext || options.asDeployed) {
        return;
    }
    CaptionPlayOptions& captions = options.captions;
    captions.channel = raw.channel.empty() ? cea608::kCC1 : cea608::channelNamed(raw.channel).value();
    captions.style = raw.style == "roll-up"    ? cea608::CaptionStyle::RollUp
                     : raw.style == "paint-on" ? cea608::CaptionStyle::PaintOn
                                               : cea608::CaptionStyle::PopOn;
    if (captions.style != cea608::CaptionStyle::RollUp && (raw.rollUpRows || raw.clearAfter)) {
        throw UsageError(std::string(raw.rollUpRows ? "--roll-up-rows" : "--clear-after") +
                         " is for --style roll-up only");
    }
    if (captions.channel.isText && !raw.style.empty() && options.mode == PlayMode::Cea608) {
        throw UsageError("--style is for CC1 to CC4 only: texts roll up");
    }
    captions.rollUpRows = static_cast<std::uint8_t>(raw.rollUpRows.value_or(captions.rollUpRows));
    captions.writer.clearAfter = static_cast<std::uint32_t>(raw.clearAfter.value_or(captions.writer.clearAfter));
    captions.writer.doublesCodes = !raw.sendsCodesOnce;
    captions.wideEncoding = raw.wideEncoding;
    captions.service = static_cast<std::uint8_t>(raw.service.value_or(captions.service));
    captions.aspectRatio = raw.isSD ? cea708::AspectRatio::Standard : cea708::AspectRatio::Wide;
    if (!raw.languages.empty()) {
        captions.language = languageNamed(raw.languages.front());
    }
    captions.line = static_cast<std::uint32_t>(raw.line.value_or(captions.line));
    refuseLine(raw, options);
    readExtendedData(raw, captions.extendedData);
    if (!captions.extendedData.empty() && options.format == PlayFormat::Scc && captions.channel.field == 1) {
        throw UsageError("extended data is in field 2: a Scenarist caption file of CC1 or CC2 has field 1 only");
    }
}

}  // namespace

void refuseTransportOptions(const RawOptions& raw, bool isWritten) {
    if (!isWritten) {
        refuse(std::array{GivenOption{"--bitrate", raw.bitrate.has_value()}, GivenOption{"--pid", raw.pid.has_value()},
                          GivenOption{"--map-pid", raw.mapPid.has_value()},
                          GivenOption{"--pcr-pid", raw.pcrPid.has_value()},
                          GivenOption{"--service-name", raw.serviceName.has_value()},
                          GivenOption{"--hearing-impaired", raw.isHearingImpaired}},
               "the format ts");
    }
}

streams::TransportWriterOptions transportOptions(const RawOptions& raw) {
    streams::TransportWriterOptions transport;
    transport.bitrate = static_cast<std::uint32_t>(raw.bitrate.value_or(transport.bitrate));
    transport.teletextPid = static_cast<std::uint16_t>(raw.pid.value_or(transport.teletextPid));
    transport.mapPid = static_cast<std::uint16_t>(raw.mapPid.value_or(transport.mapPid));
    transport.pcrPid = static_cast<std::uint16_t>(raw.pcrPid.value_or(transport.pcrPid));
    transport.serviceName = raw.serviceName.value_or("");
    if (transport.serviceName.size() > streams::ts::kMostServiceNameBytes) {
        throw UsageError("--service-name: the table has room for " +
                         std::to_string(streams::ts::kMostServiceNameBytes) + " bytes, not for " +
                         std::to_string(transport.serviceName.size()));
    }
    return transport;
}

PlayOptions playOptions(const RawOptions& raw) {
    PlayOptions options;
    options.subtitles = raw.files.front();
    options.encoding = knownEncoding(raw.encoding);
    options.track = raw.track;
    if (!raw.track.empty() && raw.asDeployed) {
        throw UsageError("--track and --as-deployed cannot be given together");
    }
    if (!raw.fromStart.empty() && raw.asDeployed) {
        throw UsageError("--from-start and --as-deployed cannot be given together");
    }
    options.fromStart = listedFromStart(raw);
    if (raw.isStrict && raw.asDeployed) {
        throw UsageError("--strict and --as-deployed cannot be given together");
    }
    options.isStrict = raw.isStrict;
    options.onAir = onAirChoice(raw.fromChannel, raw.fromService, raw.fromPage, raw.fromRate);
    options.onAir.options = "--from-channel, --from-service or --from-page";
    if (raw.asDeployed && (options.onAir.isGiven() || options.onAir.rate)) {
        throw UsageError(std::string(options.onAir.options) + ", and --from-rate, are for what is read without "
                                                              "--as-deployed");
    }
    options.mode = raw.mode == "cea608"     ? PlayMode::Cea608
                   : raw.mode == "cea708"   ? PlayMode::Cea708
                   : raw.mode == "captions" ? PlayMode::Captions
                                            : PlayMode::Teletext;
    options.rate = rateNamed(raw.rate).value();
    options.isHD = !raw.isSD;
    if (!raw.from.empty()) {
        options.fromSeconds = timeOption("--from", raw.from, &options.rate);
    }
    if (!raw.duration.empty()) {
        options.durationSeconds = timeOption("--duration", raw.duration, &options.rate);
        if (options.durationSeconds == 0.0) {
            throw UsageError("--duration must be longer than 0");
        }
    }
    options.output = raw.output;
    options.format = playFormat(raw);
    if (raw.width && options.format != PlayFormat::V210) {
        throw UsageError("--width is for the format v210 only");
    }
    options.width = pixels(raw.width).value_or(raw.isSD ? kWidthSD : kWidthHD);
    options.asDeployed = raw.asDeployed;
    checkCaptionOptions(raw, options);
    readCaptionOptions(raw, options);
    readTeletextOptions(raw, options);
    readTransportOptions(raw, options);
    refuseSeveral(raw, options);
    options.rowForm = raw.asDeployed ? RowForm::AsDeployed : RowForm::Contiguous;
    options.fillsFrames = !raw.leavesFramesEmpty;
    options.isDropFrame = !raw.isNonDrop;
    options.mcc = mccHeader(raw, options.format == PlayFormat::Mcc);
    options.mcc.rate = frameRateOf(options.rate);
    return options;
}

Action checkedPlay(const RawOptions& raw) {
    return [options = playOptions(raw)] { return play(options); };
}

}  // namespace qlx::tool
