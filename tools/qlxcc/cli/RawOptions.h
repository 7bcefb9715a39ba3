// What stands on the command line, before the options have been checked against each other.
#pragma once

#include <QLXClosedCaptionsUtilities/platform/MediaTime.h>
#include <qlx/streams/mcc.h>
#include <qlx/streams/transport_writer.h>

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qlx::tool {

struct FrameSourceOptions;
struct Rate;

inline constexpr std::uint64_t kGreatestLine = 65535;

struct FromStart;
struct OnAirChoice;
struct StartTime;
struct PlayOptions;

/// The values of all options. Only one command is given, so what means the same in several of them stands here once.
struct RawOptions {
    // Of every command.
    bool isQuiet = false;
    std::optional<std::string> logFolder;
    std::int64_t logLevel = 2;

    // What is read and written.
    std::string file;
    std::optional<std::string> optionalFile;  ///< Of a command that can do without one.
    std::optional<std::string> output;
    std::optional<std::string> fromFormat;
    std::optional<std::string> toFormat;
    std::optional<std::uint64_t> mccVersion;
    std::optional<std::string> format;  ///< Of what is neither frames that are read nor frames that are written.
    bool asJson = false;
    bool asDeployed = false;
    bool joinSections = false;
    std::string encoding;

    // Rates and times.
    std::string rate;
    std::string fromRate;
    std::string toRate;
    std::string from;
    std::string duration;
    std::string at;

    // Rows and pictures.
    std::optional<std::uint64_t> width;
    std::optional<std::uint64_t> height;
    std::optional<std::string> lines;
    std::optional<std::uint64_t> rows;
    bool nearStart = false;
    std::optional<std::string> picture;  ///< That is drawn.

    // Cues and captions.
    std::string mode;
    bool isSD = false;
    bool leavesFramesEmpty = false;
    bool isNonDrop = false;
    std::string style;
    std::optional<std::uint64_t> rollUpRows;
    std::optional<std::uint64_t> clearAfter;
    bool sendsCodesOnce = false;
    std::optional<std::string> programName;
    std::optional<std::string> rating;
    std::optional<std::string> network;
    std::optional<std::uint64_t> service;
    std::optional<std::string> wideEncoding;  ///< Of 16-bit characters of caption services.
    bool ignoresParity = false;
    bool listsContents = false;
    bool isAll = false;
    bool isOfChanges = false;
    std::string channel;
    std::string page;
    std::string fromChannel;                   ///< Of what is read, where the one above is of what is sent.
    std::string fromPage;                      ///< The same.
    std::optional<std::uint64_t> fromService;  ///< The same.
    std::optional<std::uint64_t> region;
    std::vector<std::string> files;      ///< Of a command that takes several.
    std::vector<std::string> pages;      ///< The same.
    std::vector<std::string> languages;  ///< The same.
    /// The names of the arguments and options in the order in which they were given.
    std::vector<std::string> order;
    bool isSerial = false;
    bool fillsFields = false;
    std::optional<std::uint64_t> repeatAfter;
    std::optional<std::uint64_t> sdps;
    std::string codec = "auto";
    std::vector<std::string> bytes;

    // Transport streams.
    std::optional<std::uint64_t> bitrate;
    std::optional<std::uint64_t> pid;
    std::optional<std::uint64_t> mapPid;
    std::optional<std::uint64_t> pcrPid;
    std::optional<std::string> serviceName;
    bool isHearingImpaired = false;

    // Cues from one file to another one.
    std::string fromStart;
    std::string toStart;
    std::string offset;
    std::string scale;
    std::string overlap = "keep";
    std::optional<std::uint64_t> timestampMap;
    bool hasStyleSheet = false;
    std::optional<std::uint64_t> wrap;
    std::optional<std::uint64_t> wrapRows;
    std::string track;
    std::optional<std::uint64_t> limit;  ///< MiB.
    std::optional<std::string> title;
    std::optional<std::string> episode;
    std::optional<std::string> publisher;
    std::optional<std::string> reference;
    std::optional<std::string> country;
    std::optional<std::string> date;
    std::optional<std::string> table;
    bool isOpen = false;
    bool isSingleHeight = false;
    bool isDrop = false;
    bool reportsAll = false;
    bool isStrict = false;

    // Ad insertion messages.
    std::vector<std::string> operations;
    std::map<std::string_view, std::string> parameters;  ///< By the option's name; flags have an empty text.
    std::optional<std::string> jsonFile;
    std::optional<std::string> messageNumber;
    std::optional<std::string> asIndex;
    std::optional<std::string> dpiPID;
    std::optional<std::uint64_t> line;
    std::optional<std::string> pts;
    std::optional<std::string> splicePts;
    std::optional<std::string> heartbeat;
    std::optional<std::string> splicePid;
    std::optional<std::string> teletextPid;
    std::optional<std::string> atPts;
    std::optional<std::string> fromScte35;
    bool returnsAlone = false;

    std::string shell;
};

/// What a command does; gives the exit code.
using Action = std::function<int()>;

// Each gives what its command does with these options, and throws UsageError when they make no sense together.
[[nodiscard]] Action checkedPlay(const RawOptions& raw);
[[nodiscard]] Action checkedSubs(const RawOptions& raw);
[[nodiscard]] Action checkedConvert(const RawOptions& raw);
[[nodiscard]] Action checkedScan(const RawOptions& raw);
[[nodiscard]] Action checkedShow(const RawOptions& raw);
[[nodiscard]] Action checkedExtract(const RawOptions& raw);
[[nodiscard]] Action checkedRateChange(const RawOptions& raw);
[[nodiscard]] Action checkedLine21Write(const RawOptions& raw);
[[nodiscard]] Action checkedLine21Read(const RawOptions& raw);
[[nodiscard]] Action checkedScte104Build(const RawOptions& raw);
[[nodiscard]] Action checkedScte104Parse(const RawOptions& raw);
[[nodiscard]] Action checkedScte35(const RawOptions& raw);

/// What play is to do.
/// @throws UsageError when options contradict each other.
[[nodiscard]] PlayOptions playOptions(const RawOptions& raw);

/// What of a file of frames is read as cues.
/// @param page As viewers call it; empty for none, as is the channel's name and that of the rate.
/// @throws UsageError when several are given, or the page is none.
[[nodiscard]] OnAirChoice onAirChoice(const std::string& channel, const std::optional<std::uint64_t>& service,
                                      const std::string& page, const std::string& rate);

/// What a transport stream is made with, without its rate and pages.
[[nodiscard]] streams::TransportWriterOptions transportOptions(const RawOptions& raw);
/// @throws UsageError when there are such options, and no transport stream is written.
void refuseTransportOptions(const RawOptions& raw, bool isWritten);

/// The header of an MCC file that is written, without its rate.
/// @throws UsageError when a version is given and no such file is written.
[[nodiscard]] streams::MccHeader mccHeader(const RawOptions& raw, bool isWritten);

/// The format that was given, or else the extension of the file's name (`-`: a pipe).
/// @param option What gives it, for messages.
/// @throws UsageError when that is none of the known ones.
[[nodiscard]] std::string formatName(const std::optional<std::string>& format, const std::string& file,
                                     const std::vector<std::string_view>& known,
                                     std::string_view option = "--to-format");

/// An encoding of texts.
/// @throws UsageError when texts cannot be read in it.
[[nodiscard]] std::string knownEncoding(const std::string& name);

/// The region of teletext receivers, as a designation of character sets (qlx/teletext/sets.h); without an option that
/// of Western Europe.
/// @throws UsageError when there is no such region.
[[nodiscard]] std::uint8_t receiverRegion(const RawOptions& raw);

/// A width or height for those who count in 32 bits.
[[nodiscard]] std::optional<std::uint32_t> pixels(const std::optional<std::uint64_t>& size);

/// How the file is opened, as one of frames.
/// @param isForRowsWritten Whether the options may be about rows that are written.
/// @throws UsageError when options contradict each other, or the format or name of the file.
[[nodiscard]] FrameSourceOptions frameSourceOptions(const RawOptions& raw, bool isForRowsWritten = false);

/// Where the programme begins in a file, by --from-start.
/// @param rate Of the frames that its timecode counts; may be empty.
/// @param rateOption What gives that, for messages.
/// @throws UsageError when it is no time.
[[nodiscard]] FromStart fromStartOption(const RawOptions& raw, const std::string& rate, std::string_view rateOption);

/// The same of subs and play, where --rate says what counts that has no rate itself, unless --from-rate does.
[[nodiscard]] FromStart listedFromStart(const RawOptions& raw);

/// A TIME of --from-start or --to-start, of which a label is counted when it is known what counts it.
/// @param rate Of its frames, where no file says it; may be empty.
/// @param rateOption What gives that, for messages.
/// @throws UsageError when it is no TIME.
[[nodiscard]] StartTime startTime(const std::string& option, const std::string& text, const std::string& rate,
                                  std::string_view rateOption, const RawOptions& raw);

/// Seconds as all rates have them: frames of 23.976, 29.97 and 59.94 a second are whole numbers of its units.
[[nodiscard]] MediaTime exactTime(double seconds);

/// The seconds of an option's TIME.
/// @param rate Of the command; null where it has none.
/// @throws UsageError that names the option.
[[nodiscard]] double timeOption(const std::string& option, const std::string& text, const Rate* rate);

}  // namespace qlx::tool
