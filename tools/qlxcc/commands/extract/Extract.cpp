#include "commands/extract/Extract.h"

#include "io/Errors.h"
#include "io/FindingNotes.h"
#include "io/FrameFindings.h"
#include "io/FrameLoop.h"
#include "io/FrameSource.h"
#include "io/InputFile.h"
#include "io/OutputFile.h"
#include "io/Progress.h"
#include "io/StreamBytes.h"
#include "io/Text.h"
#include "io/Times.h"
#include "streams/Cdp.h"
#include "streams/CounterNotes.h"
#include "streams/InputKind.h"
#include "streams/Json.h"
#include "streams/OpenFrames.h"

#include <qlx/cc/a53.h>
#include <qlx/streams/byte_source.h>
#include <qlx/streams/captions.h>
#include <qlx/streams/video.h>
#include <qlx/video/order.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <utility>
#include <vector>

namespace qlx::tool {

namespace {

constexpr std::size_t kUnitWidth = 8;
constexpr std::size_t kOffsetWidth = 13;
constexpr std::size_t kSizeWidth = 5;

/// The cc_data structures of ATSC A/53 with these triplets.
Data captionUserData(std::span<const cc::Triplet> triplets) {
    std::vector<std::uint8_t> result;
    // No picture has more than 31 of them; a sample of a caption track may have those of a whole caption.
    while (!triplets.empty()) {
        cc::CaptionUserData captions;
        const auto part = triplets.first(std::min(cc::kGreatestTriplets, triplets.size()));
        triplets = triplets.subspan(part.size());
        (void)captions.triplets.append(part);
        const Data written = writeCaptionUserData(captions, cc::UserDataForm::TypeCode);
        result.insert(result.end(), written.begin(), written.end());
    }
    return Data(result);
}

/// What is printed of an access unit's triplets.
Data inFormat(const Data& triplets, ExtractFormat format) {
    switch (format) {
    case ExtractFormat::FieldOne:
        return fieldOnePairs(readTriplets(triplets));
    case ExtractFormat::A53:
        return captionUserData(readTriplets(triplets));
    default:
        return triplets;
    }
}

/// @param place Where the unit is: its byte offset or its time, 13 characters.
std::string listLine(std::uint64_t unit, const std::string& place, const Data& data) {
    return rightAligned(unit, kUnitWidth) + " " + place + "  " +
           (data ? rightAligned(data.size(), kSizeWidth) : std::string(kSizeWidth - 1, ' ') + "-") + "  " +
           (data.empty() ? "-" : hex(data)) + "\n";
}

/// Says what is found in access units, behind what has been written of those before.
class UnitNotes final : public FindingSink {
public:
    UnitNotes(FindingNotes& notes, OutputFile& output) : _notes(notes), _output(output) {}

    void add(const Finding& finding) override {
        if (_notes.prints(finding)) {
            if (_output.isStandardOutput()) {
                _output.flush();
            }
            _notes.setPlace("byte " + std::to_string(finding.offset));
        }
        _notes.add(finding);
    }

private:
    FindingNotes& _notes;
    OutputFile& _output;
};

/// Writes every access unit of the stream.
class Extraction {
public:
    Extraction(const ExtractOptions& options, InputFile& source, OutputFile& output)
        : _options(options), _source(source), _output(output), _bytes(source), _units(_bytes, options.codec) {}

    void run() {
        const bool isTerminal = _output.isStandardOutput() && standardOutputIsTerminal();
        Progress progress(_source.size(), _output.isStandardOutput());
        FindingNotes notes(_source.name(), progress, true);
        UnitNotes places(notes, _output);
        auto unit = _units.next();
        for (; unit && *unit; unit = _units.next()) {
            write(**unit, places);
            if (isTerminal) {
                _output.flush();
            }
            progress.update(++_count, _source.offset());
        }
        if (_order) {
            _order->finish();
            _early.finish(&places);
            printOrdered();
        }
        notes.finish();
        if (!unit) {
            _bytes.rethrow();
            throw videoFailure(_source.name(), _units.codec(), unit.error());
        }
        if (!_options.asJson) {
            _output.write(counted(_count, "access unit") + " of " + std::string(streams::nameOf(_units.codec())) +
                          ", " + std::to_string(_filled) + " with caption data\n");
        }
    }

private:
    /// What is printed of an access unit.
    struct Unit {
        std::uint64_t number = 0;
        std::uint64_t offset = 0;
        Data data;
    };

    void write(const video::AccessUnitView& unit, FindingSink& notes) {
        Data data = _captions.take(unit.bytes, {_units.codec(), 0}, unit.offset, &notes);
        _filled += data.empty() ? 0 : 1;
        if (data) {
            data = inFormat(data, _options.format);
        }
        const Unit printed{unit.number, unit.offset, std::move(data)};
        if (_options.format != ExtractFormat::FieldOne) {
            print(printed);
            return;
        }
        if (!_order) {
            _order.emplace(video::StreamForm{_units.codec(), 0});
        }
        _order->add(unit.bytes, printed);
        _early.take(_order->lacksParameters(), unit.offset, &notes);
        printOrdered();
    }

    void printOrdered() {
        while (const std::optional<Unit> unit = _order->take()) {
            print(*unit);
        }
    }

    void print(const Unit& unit) {
        if (_options.asJson) {
            _output.write(jsonLine(unit.number, unit.offset, unit.data ? std::optional(hex(unit.data)) : std::nullopt,
                                   !_hasTitle) +
                          "\n");
            _hasTitle = true;
            return;
        }
        if (!_hasTitle) {
            _hasTitle = true;
            _output.write("    unit        offset  bytes  data\n");
        }
        _output.write(listLine(unit.number, rightAligned(unit.offset, kOffsetWidth), unit.data));
    }

    const ExtractOptions& _options;
    InputFile& _source;
    OutputFile& _output;
    InputBytes _bytes;
    streams::VideoUnits _units;
    streams::PictureCaptions _captions;
    std::optional<video::PictureOrder<Unit>> _order;  ///< Pairs of a field make sense as they are presented.
    video::PicturesWithoutParameters _early;
    bool _hasTitle = false;
    std::uint64_t _count = 0;
    std::uint64_t _filled = 0;
};

/// Writes every frame of a file of frames.
class FrameExtraction {
public:
    FrameExtraction(const ExtractOptions& options, InputFile& source, InputKind kind, OutputFile& output)
        : _options(options), _source(source), _output(output) {
        FrameSourceOptions sourceOptions = options.source;
        sourceOptions.kind = kind;
        _reader = openFrames(source, sourceOptions);
    }

    /// @return The problems that were reported.
    FrameProblems run() {
        CounterNotes counters(_source, _output);
        const FrameProblems problems = readFrames(_source, *_reader, _output, [&](const Frame& frame) {
            counters.take(frame);
            write(frame, counters);
            ++_units;
            return true;
        });
        counters.finish();
        if (!_options.asJson) {
            _output.write(counted(_units, "frame") + ", " + std::to_string(_filled) + " with caption data\n");
        }
        return problems;
    }

private:
    void write(const Frame& frame, FindingSink& findings) {
        Data data = captionTriplets(frame, &findings);
        _filled += data.empty() ? 0 : 1;
        if (data) {
            data = inFormat(data, _options.format);
        }
        if (_options.asJson) {
            _output.write(
                jsonLine(frame.number, frame.pts, data ? std::optional(hex(data)) : std::nullopt, _units == 0) + "\n");
            return;
        }
        if (_units == 0) {
            _output.write("    unit          time  bytes  data\n");
        }
        _output.write(listLine(frame.number, timecodeColumn(frame.pts), data));
    }

    const ExtractOptions& _options;
    InputFile& _source;
    OutputFile& _output;
    std::unique_ptr<FrameInput> _reader;
    std::uint64_t _units = 0;
    std::uint64_t _filled = 0;
};

/// Whether a file has frames that are no coded pictures.
bool hasFrames(InputKind kind) {
    return isContainer(kind) || hasRows(kind) || kind == InputKind::Klv || kind == InputKind::Jsonl ||
           kind == InputKind::Mcc;
}

/// The kind of a file of frames; none for what is to be read as an elementary stream.
/// @throws UsageError when the file is of a kind that holds no captions.
std::optional<InputKind> frameFileKind(const ExtractOptions& options, InputFile& source) {
    if (options.codec) {
        return std::nullopt;
    }
    if (options.source.kind) {
        return options.source.kind;
    }
    const auto first = source.peek(kBytesThatTellKind);
    refuseOtherKinds(
        first, source.name(), [](InputKind kind) { return hasFrames(kind) || isVideo(kind); }, "which holds no video");
    const std::optional<InputKind> kind = inputKind(first, source.name());
    if (!kind || isVideo(*kind)) {
        checkParameters(source, "--codec");
    }
    return kind && hasFrames(*kind) ? kind : std::nullopt;
}

}  // namespace

int extract(const ExtractOptions& options) {
    refuseInputAsOutput(options.file, options.output);
    InputFile source(options.file);
    OutputFile output(options.output);
    if (const auto kind = frameFileKind(options, source)) {
        const FrameProblems problems = FrameExtraction(options, source, *kind, output).run();
        return finishFrames(source, output, problems, "not everything could be read");
    }
    checkRowOptions(InputKind::H264, options.source);
    ExtractOptions settled = options;
    if (!options.codec && inputKind(source.peek(kBytesThatTellKind), source.name()) == InputKind::H265) {
        settled.codec = video::Codec::H265;
    }
    try {
        Extraction(settled, source, output).run();
    } catch (const Failure&) {
        output.flushWhatCame();
        throw;
    }
    output.commit();
    return kExitSuccess;
}

}  // namespace qlx::tool
