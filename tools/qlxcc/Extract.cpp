#include "Extract.h"

#include "Cdp.h"
#include "Errors.h"
#include "InputFile.h"
#include "Json.h"
#include "OutputFile.h"
#include "Progress.h"
#include "Text.h"

#include <QLXClosedCaptionsUtilities/QLXCCUtilities.h>

#include <algorithm>
#include <array>
#include <vector>

namespace qlx::tool {

namespace {

constexpr std::size_t kUnitWidth = 8;
constexpr std::size_t kOffsetWidth = 12;
constexpr std::size_t kSizeWidth = 5;

/// The triplets of an access unit, or none.
Data tripletsOf(const AccessUnit& unit, VideoCodec codec) {
    if (codec == VideoCodec::Mpeg2) {
        return QLXCCUtilities::extractCCDataFromMPEG2Packet_pts(Data(unit.bytes), MediaTime{});
    }
    constexpr std::array<std::uint8_t, 4> kLongStartCode{0, 0, 0, 1};
    if (unit.bytes.size() >= kLongStartCode.size() &&
        std::equal(kLongStartCode.begin(), kLongStartCode.end(), unit.bytes.begin())) {
        return QLXCCUtilities::extractCCDataFromH264Packet(Data(unit.bytes));
    }
    // Without the zero byte the library takes the unit for one with lengths in place of start codes.
    std::vector<std::uint8_t> bytes{0};
    bytes.insert(bytes.end(), unit.bytes.begin(), unit.bytes.end());
    return QLXCCUtilities::extractCCDataFromH264Packet(Data(bytes));
}

/// Triplets as the cc_data section of a CDP, as far as the library's readers look at one.
Data packetAround(const Data& triplets) {
    constexpr std::size_t kBytesBeforeTriplets = 9;
    const auto count = static_cast<std::uint8_t>(0xE0U | (triplets.size() / 3 & 0x1FU));
    std::vector<std::uint8_t> packet{0x96, 0x69, 0, 0x0F, 0x7F, 0, 0, 0x72, count};
    packet.insert(packet.end(), triplets.begin(), triplets.end());
    // The readers' walk over the triplets ends as many bytes before the packet's end as there are in front of them.
    packet.resize(packet.size() + kBytesBeforeTriplets);
    return Data(packet);
}

/// What is printed of an access unit's triplets.
Data inFormat(const Data& triplets, ExtractFormat format) {
    switch (format) {
    case ExtractFormat::FieldOne:
        return fieldOnePairs(packetAround(triplets));
    case ExtractFormat::A53:
        return QLXCCUtilities::a53CCDataFromCCData(packetAround(triplets));
    case ExtractFormat::Triplets:
        break;
    }
    return triplets;
}

std::string listLine(const AccessUnit& unit, const Data& data) {
    return rightAligned(unit.number, kUnitWidth) + "  " + rightAligned(unit.offset, kOffsetWidth) + "  " +
           (data ? rightAligned(data.size(), kSizeWidth) : std::string(kSizeWidth - 1, ' ') + "-") + "  " +
           (data.empty() ? "-" : hex(data)) + "\n";
}

/// Writes every access unit of the stream.
class Extraction {
public:
    Extraction(const ExtractOptions& options, ByteSource& source, OutputFile& output)
        : _options(options), _source(source), _output(output), _reader(source, options.codec) {}

    void run() {
        const bool isTerminal = standardOutputIsTerminal();
        Progress progress(_source.size(), true);
        AccessUnit unit;
        while (_reader.next(unit)) {
            write(unit);
            if (isTerminal) {
                _output.flush();
            }
            progress.update(++_units, _source.offset());
        }
        if (!_options.asJson) {
            _output.write(counted(_units, "access unit") + " of " + std::string(nameOf(_reader.codec())) + ", " +
                          std::to_string(_filled) + " with caption data\n");
        }
    }

private:
    void write(const AccessUnit& unit) {
        Data data = tripletsOf(unit, _reader.codec());
        _filled += data.empty() ? 0 : 1;
        if (data) {
            data = inFormat(data, _options.format);
        }
        if (_options.asJson) {
            _output.write(jsonLine(unit.number, unit.offset, data ? std::optional(hex(data)) : std::nullopt) + "\n");
            return;
        }
        if (unit.number == 0) {
            _output.write("    unit        offset  bytes  data\n");
        }
        _output.write(listLine(unit, data));
    }

    const ExtractOptions& _options;
    ByteSource& _source;
    OutputFile& _output;
    AccessUnitReader _reader;
    std::uint64_t _units = 0;
    std::uint64_t _filled = 0;
};

}  // namespace

int extract(const ExtractOptions& options) {
    InputFile source(options.file);
    OutputFile output(std::nullopt);
    try {
        Extraction(options, source, output).run();
    } catch (const Failure&) {
        // What came before the broken place has been found all the same.
        output.flush();
        throw;
    }
    output.commit();
    return kExitSuccess;
}

}  // namespace qlx::tool
