#include "cli/RawOptionsSCTE.h"

#include "cli/RawOptions.h"
#include "commands/scte/SCTE104Build.h"
#include "commands/scte/SCTE104Parse.h"
#include "commands/scte/SCTE104Request.h"
#include "commands/scte/SCTE35.h"
#include "io/Errors.h"
#include "io/FrameSource.h"
#include "io/OutputFile.h"
#include "io/Rates.h"
#include "streams/SCTE104Message.h"

#include <QLXClosedCaptionsUtilities/QLXSCTEOperation.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

namespace qlx::tool {

namespace {

constexpr std::uint64_t kUsualLine = 13;
constexpr std::string_view kSectionsFormat = "section";
constexpr std::uint64_t kGreatestTenths = 65535;

const OperationName& operationNamed(std::string_view name) {
    return *std::find_if(kOperationNames.begin(), kOperationNames.end(),
                         [&](const OperationName& operation) { return operation.name == name; });
}

std::uint64_t numberOf(std::string_view option, const std::string& text, std::uint64_t greatest) {
    if (const auto number = parseNumber(text, greatest)) {
        return *number;
    }
    throw UsageError(std::string(option) + ": \"" + text + "\" is not a number from 0 to " + std::to_string(greatest));
}

/// The tenths of a second of `30`, `30.5` or `00:00:30,500`.
std::optional<std::uint64_t> tenthsOf(const std::string& text) {
    if (text.find(':') != std::string::npos) {
        const double tenths = timeOption("--duration", text, nullptr) * 10.0;
        constexpr double kNearlyWhole = 0.001;
        const bool isWhole = std::abs(tenths - std::round(tenths)) < kNearlyWhole;
        return isWhole ? std::optional(static_cast<std::uint64_t>(std::round(tenths))) : std::nullopt;
    }
    const std::size_t dot = text.find('.');
    const auto seconds = parseNumber(text.substr(0, dot), kGreatestTenths);
    const auto tenths = dot == std::string::npos ? 0 : parseNumber(text.substr(dot + 1), 9);
    if (!seconds || !tenths || (dot != std::string::npos && text.size() != dot + 2)) {
        return std::nullopt;
    }
    return *seconds * 10 + *tenths;
}

/// Tenths of a second for a splice, seconds for a segmentation descriptor.
std::uint64_t durationOf(const OperationName& operation, const std::string& text) {
    const auto tenths = tenthsOf(text);
    if (operation.bit == kForSplice && tenths && *tenths <= kGreatestTenths) {
        return *tenths;
    }
    if (operation.bit == kForSegmentation && tenths && *tenths % 10 == 0) {
        return *tenths / 10;
    }
    throw UsageError("--duration: \"" + text + "\" is not a duration of " +
                     (operation.bit == kForSplice ? "0 to 6553.5 seconds in steps of 0.1 (splice)"
                                                  : "0 to 65535 whole seconds (segmentation)"));
}

/// A type by its name, or a number.
Value valueOf(const ParameterOption& option, const std::string& text) {
    constexpr std::uint64_t kGreatest = 0xFFFFFFFF;
    if (option.kind == ParameterKind::Flag) {
        return true;
    }
    if (option.kind == ParameterKind::Text) {
        return text;
    }
    if (option.kind == ParameterKind::Type) {
        const auto number = parseNumber(text, kGreatest);
        return number ? Value(*number) : Value(text);
    }
    return numberOf(option.name, text, kGreatest);
}

Data operationOf(const OperationName& operation, const RawOptions& raw) {
    Dictionary parameters;
    if (operation.bit == kForSplice) {
        parameters.set("spliceType", operation.spliceType);
        parameters.set("programUniqueID", 0);
    } else if (operation.bit == kForSegmentation) {
        parameters.set("UPID", "");
    }
    for (const ParameterOption& option : kParameterOptions) {
        const auto given = raw.parameters.find(option.name);
        if (given == raw.parameters.end() || (option.operations & operation.bit) == 0) {
            continue;
        }
        parameters.set(option.key, option.key == "duration" ? Value(durationOf(operation, given->second))
                                                            : valueOf(option, given->second));
    }
    const bool needsEvent = operation.bit == kForSplice || operation.bit == kForSegmentation;
    if (needsEvent && !parameters.contains("eventID")) {
        throw UsageError(std::string(operation.name) + " needs --event-id");
    }
    if (operation.bit == kForSegmentation && !parameters.contains("segmentationType")) {
        throw UsageError("segmentation needs --segmentation-type");
    }
    try {
        return operationData(operation.operationID, parameters);
    } catch (const ParameterError& error) {
        throw UsageError(std::string(operation.name) + ": " + error.what());
    }
}

/// The operations that take an option, in words.
std::string takersOf(unsigned operations) {
    std::string text;
    for (const auto& [bit, name] : {std::pair(kForSplice, "splices"), std::pair(kForTimeSignal, "time-signal"),
                                    std::pair(kForSegmentation, "segmentation")}) {
        if ((operations & bit) != 0) {
            text += (text.empty() ? "" : " and ") + std::string(name);
        }
    }
    return text;
}

void checkOperations(const RawOptions& raw) {
    if (raw.jsonFile && raw.fromScte35) {
        throw UsageError("--json-file and --from-scte35 each say all operations: one of them is enough");
    }
    if ((raw.jsonFile || raw.fromScte35) && (!raw.operations.empty() || !raw.parameters.empty())) {
        throw UsageError(std::string(raw.jsonFile ? "--json-file" : "--from-scte35") +
                         " says all operations and their parameters: none can be given beside it");
    }
    if (!raw.jsonFile && !raw.fromScte35 && raw.operations.empty()) {
        throw UsageError("an OPERATION, --json-file or --from-scte35 is needed");
    }
    if (raw.fromScte35.has_value() != raw.pts.has_value()) {
        throw UsageError(raw.pts ? "--pts is for --from-scte35 only" : "--from-scte35 needs --pts");
    }
    if (!raw.fromScte35 && !raw.rate.empty()) {
        throw UsageError("--rate is for --from-scte35 only");
    }
    unsigned taken = 0;
    for (const std::string& name : raw.operations) {
        if (std::count(raw.operations.begin(), raw.operations.end(), name) > 1) {
            throw UsageError(name + " is given twice: use --json-file for several operations of a kind");
        }
        taken |= operationNamed(name).bit;
    }
    for (const ParameterOption& option : kParameterOptions) {
        if (raw.parameters.contains(option.name) && (option.operations & taken) == 0) {
            throw UsageError(std::string(option.name) + " is for " + takersOf(option.operations) + " only");
        }
    }
}

Scte104BuildFormat buildFormat(const RawOptions& raw) {
    const bool isStandardOutput = raw.output.value_or("-") == "-";
    const std::string name = isStandardOutput ? raw.format.value_or("hex")
                                              : formatName(raw.format, *raw.output, {"hex", "raw", "klv", "v210"});
    if (name == "hex") {
        return Scte104BuildFormat::Hex;
    }
    if (isStandardOutput && standardOutputIsTerminal()) {
        throw UsageError("--to-format " + name + " is not for a terminal: name a file with -o");
    }
    return name == "raw" ? Scte104BuildFormat::Raw : name == "klv" ? Scte104BuildFormat::Klv : Scte104BuildFormat::V210;
}

Scte104Source sourceOf(const RawOptions& raw) {
    constexpr std::array<std::pair<std::string_view, Scte104Format>, 5> kFormats{{{"hex", Scte104Format::Hex},
                                                                                  {"raw", Scte104Format::Raw},
                                                                                  {"klv", Scte104Format::Klv},
                                                                                  {"v210", Scte104Format::V210},
                                                                                  {"2vuy", Scte104Format::Yuv8}}};
    Scte104Source source;
    source.input = raw.file;
    if (raw.fromFormat) {
        source.format = std::find_if(kFormats.begin(), kFormats.end(), [&](const auto& known) {
                            return known.first == *raw.fromFormat;
                        })->second;
    }
    source.rows = frameSourceOptions(raw);
    return source;
}

/// Ticks of 90 kHz.
std::uint64_t heartbeatOf(const std::string& text, bool isStream) {
    constexpr std::uint64_t kTenth = 9000;
    const auto tenths = tenthsOf(text);
    if (!isStream) {
        throw UsageError("--heartbeat is for the format ts only");
    }
    if (!tenths || *tenths == 0) {
        throw UsageError("--heartbeat: \"" + text + "\" is no time from 0.1 s on in steps of 0.1");
    }
    return *tenths * kTenth;
}

}  // namespace

std::vector<std::string> segmentationTypeNames() {
    return QLXSCTEOperation::segmentationDescriptorTypeNames();
}

std::vector<std::string> upidTypeNames() {
    return QLXSCTEOperation::SCTE35UPIDTypeNames();
}

Action checkedScte104Build(const RawOptions& raw) {
    checkOperations(raw);
    Scte104BuildOptions options;
    options.jsonFile = raw.jsonFile;
    options.sectionFile = raw.fromScte35;
    options.pts = numberOf("--pts", raw.pts.value_or("0"), kGreatestPts);
    if (!raw.rate.empty()) {
        options.rate = rateNamed(raw.rate);
    }
    if (raw.messageNumber) {
        options.messageNumber = static_cast<std::uint8_t>(numberOf("--message-number", *raw.messageNumber, 0xFF));
    }
    if (raw.asIndex) {
        options.asIndex = static_cast<std::uint8_t>(numberOf("--as-index", *raw.asIndex, 0xFF));
    }
    if (raw.dpiPID) {
        options.dpiPID = static_cast<std::uint16_t>(numberOf("--dpi-pid", *raw.dpiPID, 0xFFFF));
    }
    for (const std::string& name : raw.operations) {
        options.operations.push_back(operationOfBytes(operationOf(operationNamed(name), raw)));
    }
    options.format = buildFormat(raw);
    const bool isPacket = options.format == Scte104BuildFormat::Klv || options.format == Scte104BuildFormat::V210;
    if (raw.line && !isPacket) {
        throw UsageError("--line is for the formats klv and v210 only");
    }
    if (raw.width && options.format != Scte104BuildFormat::V210) {
        throw UsageError("--width is for the format v210 only");
    }
    options.line = raw.line.value_or(kUsualLine);
    options.width = pixels(raw.width).value_or(kUsualRowWidth);
    options.output = raw.output;
    return [options] { return buildScte104(options); };
}

Action checkedScte104Parse(const RawOptions& raw) {
    Scte104ParseOptions options;
    options.source = sourceOf(raw);
    options.output = raw.output;
    options.asJson = raw.asJson;
    return [options] { return parseScte104(options); };
}

Action checkedScte35(const RawOptions& raw) {
    Scte35Options options;
    options.areSections = raw.fromFormat == kSectionsFormat;
    if (options.areSections) {
        if (raw.pts || raw.splicePts || raw.atPts || !raw.rate.empty() || raw.returnsAlone || raw.asDeployed) {
            throw UsageError("--from-format section is for sections: times and what makes sections is for messages");
        }
        if (raw.width || raw.lines || raw.rows || raw.nearStart) {
            throw UsageError("--width, --lines, --rows and --near-start are for rows: a section has none");
        }
        options.source.input = raw.file;
    } else {
        options.source = sourceOf(raw);
        if (raw.pts.has_value() == raw.splicePts.has_value()) {
            throw UsageError("--pts or --splice-pts is needed, and not both");
        }
    }
    if (raw.splicePts && raw.atPts) {
        throw UsageError("--at-pts says from where pre-rolls count: with --splice-pts none is used");
    }
    if (raw.asDeployed && (raw.splicePts || raw.atPts || !raw.rate.empty() || raw.returnsAlone)) {
        throw UsageError("--as-deployed is with --pts alone");
    }
    options.pts = numberOf("--pts", raw.pts.value_or("0"), kGreatestPts);
    if (raw.splicePts) {
        options.splicePts = numberOf("--splice-pts", *raw.splicePts, kGreatestPts);
    }
    if (raw.atPts) {
        options.atPts = numberOf("--at-pts", *raw.atPts, kGreatestPts);
    }
    if (!raw.rate.empty()) {
        options.rate = rateNamed(raw.rate);
    }
    options.returnsAlone = raw.returnsAlone;
    options.asDeployed = raw.asDeployed;
    options.output = raw.output;
    const bool isStandardOutput = raw.output.value_or("-") == "-";
    const std::string name = isStandardOutput
                                 ? raw.format.value_or("hex")
                                 : formatName(raw.format, *raw.output, {"hex", "base64", "raw", "json", "xml", "ts"});
    if ((name == "raw" || name == "ts") && isStandardOutput && standardOutputIsTerminal()) {
        throw UsageError("--to-format " + name + " is not for a terminal: name a file with -o");
    }
    if (raw.heartbeat) {
        options.heartbeat90k = heartbeatOf(*raw.heartbeat, name == "ts");
    }
    options.format = name == "hex"      ? Scte35Format::Hex
                     : name == "base64" ? Scte35Format::Base64
                     : name == "json"   ? Scte35Format::Json
                     : name == "xml"    ? Scte35Format::Xml
                     : name == "ts"     ? Scte35Format::Ts
                                        : Scte35Format::Raw;
    return [options] { return convertToScte35(options); };
}

}  // namespace qlx::tool
