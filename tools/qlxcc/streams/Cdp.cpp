#include "streams/Cdp.h"

#include "io/Rates.h"
#include "io/Text.h"

#include <array>

namespace qlx::tool {

namespace {

// Bit of the header's flags.
constexpr std::int64_t kCcDataFlag = 0x40;

std::string byteInWords(std::int64_t byte) {
    const std::array bytes{static_cast<std::uint8_t>(byte)};
    return hex(bytes);
}

/// Keeps what a listing says of a packet.
class CdpFindings final : public FindingSink {
public:
    explicit CdpFindings(ReadCdp& packet) : _packet(packet) {}

    void add(const Finding& finding) override {
        switch (finding.code) {
        case FindingCode::CdpLengthWrong:
            _packet.length = finding;
            break;
        case FindingCode::CdpChecksumWrong:
        case FindingCode::CdpFooterMissing:
            _packet.checksum = finding;
            break;
        case FindingCode::CdpSectionCut:
            if (finding.first == static_cast<std::int64_t>(cc::CdpSection::Footer)) {
                _packet.checksum = finding;
            }
            break;
        case FindingCode::CdpFlagsContradictSections:
            if ((finding.first & kCcDataFlag) != 0 && (finding.second & kCcDataFlag) == 0) {
                _packet.contradiction = finding;
            }
            break;
        case FindingCode::CdpCountWrong:
            _packet.contradiction = finding;
            _packet.ccCount = static_cast<std::size_t>(finding.first);
            break;
        case FindingCode::CdpSectionUnknown:
            _packet.otherSection = _packet.otherSection.value_or(finding);
            break;
        default:
            // Of what a listing says nothing, `rate` makes a packet that is right.
            break;
        }
    }

private:
    ReadCdp& _packet;
};

/// Neighbours of one kind share its name; padding is only counted.
std::string inWords(std::span<const cc::Triplet> triplets) {
    std::string text;
    for (std::size_t first = 0; first < triplets.size();) {
        const std::string_view kind = nameOf(triplets[first]);
        std::size_t end = first;
        std::string data;
        for (; end < triplets.size() && nameOf(triplets[end]) == kind; ++end) {
            data += " " + hex(std::array{triplets[end].first, triplets[end].second});
        }
        text += first == 0 ? "" : ", ";
        if (triplets[first].valid()) {
            text += std::string(kind) + data;
        } else {
            text += std::to_string(end - first) + " " + std::string(kind);
        }
        first = end;
    }
    return text;
}

std::string tripletsOf(const ReadCdp& packet) {
    const std::string contradiction = contradictionIn(packet);
    const std::string remark = contradiction.empty() ? "" : " (" + contradiction + ")";
    if (!packet.ccCount) {
        return "no caption data" + remark;
    }
    const std::span<const cc::Triplet> triplets = packet.cdp.triplets();
    const std::string text = counted(triplets.size(), "triplet") + remark;
    return triplets.empty() ? text : text + ": " + inWords(triplets);
}

std::string checksumInWords(const Finding& finding) {
    if (finding.code == FindingCode::CdpChecksumWrong) {
        return "checksum " + byteInWords(finding.first) + " where the standard has " + byteInWords(finding.second);
    }
    return finding.code == FindingCode::CdpFooterMissing ? "no footer" : "the footer is cut";
}

std::string remarks(const ReadCdp& packet) {
    if (!packet.length && !packet.checksum) {
        return "length and checksum as in the standard";
    }
    const std::string length = packet.length ? "length byte " + std::to_string(packet.length->first) +
                                                   " where the standard has " + std::to_string(packet.length->second)
                                             : "length as in the standard";
    return length + ", " + (packet.checksum ? checksumInWords(*packet.checksum) : "checksum as in the standard");
}

}  // namespace

std::string_view nameOf(const cc::Triplet& triplet) noexcept {
    switch (triplet.valid() ? static_cast<int>(triplet.type()) : -1) {
    case static_cast<int>(cc::CcType::Field1):
        return "field 1";
    case static_cast<int>(cc::CcType::Field2):
        return "field 2";
    case static_cast<int>(cc::CcType::DtvccData):
        return "DTVCC data";
    case static_cast<int>(cc::CcType::DtvccStart):
        return "DTVCC start";
    default:
        return "padding";
    }
}

std::vector<cc::Triplet> readTriplets(std::span<const std::uint8_t> triplets) {
    std::vector<cc::Triplet> result;
    for (; triplets.size() >= sizeof(cc::Triplet); triplets = triplets.subspan(sizeof(cc::Triplet))) {
        result.push_back({triplets[0], triplets[1], triplets[2]});
    }
    return result;
}

std::string tripletsInWords(std::span<const std::uint8_t> triplets) {
    const std::vector<cc::Triplet> read = readTriplets(triplets);
    return counted(read.size(), "triplet") + (read.empty() ? std::string() : ": " + inWords(read));
}

std::optional<ReadCdp> readCdp(std::span<const std::uint8_t> data) {
    ReadCdp packet;
    CdpFindings findings(packet);
    const Result<cc::Cdp> cdp = cc::parseCdp(data, &findings);
    if (!cdp) {
        return std::nullopt;
    }
    packet.cdp = *cdp;
    if (const auto rate = cdp->frameRate()) {
        packet.rate = kRates[cdpFrameRateCode(*rate) - std::size_t{1}].name;
    }
    if (cdp->hasCcData() && !packet.ccCount) {
        packet.ccCount = cdp->triplets().size();
    }
    return packet;
}

std::string contradictionIn(const ReadCdp& packet) {
    if (!packet.contradiction) {
        return "";
    }
    const Finding& finding = *packet.contradiction;
    if (finding.code == FindingCode::CdpFlagsContradictSections) {
        return packet.otherSection
                   ? "section " + byteInWords(packet.otherSection->first) + " where cc_data (72) is announced"
                   : "cc_data (72) is announced, but not there";
    }
    const std::string verb = finding.second == 1 ? " is there" : " are there";
    return "cc_count " + std::to_string(finding.first) + (finding.second < finding.first ? ", of which " : ", but ") +
           std::to_string(finding.second) + verb;
}

std::string cdpInWords(std::span<const std::uint8_t> data) {
    const std::optional<ReadCdp> packet = readCdp(data);
    if (!packet) {
        return "no caption distribution packet (CDP)";
    }
    const std::string rate = packet->rate.empty() ? "rate code " + std::to_string(packet->cdp.frameRateCode())
                                                  : std::string(packet->rate) + " frames/s";
    return "CDP: " + rate + ", counter " + std::to_string(packet->cdp.sequenceCounter()) + ", " + tripletsOf(*packet) +
           "; " + remarks(*packet);
}

Data fieldOnePairs(std::span<const cc::Triplet> triplets) {
    std::vector<std::uint8_t> pairs;
    for (const cc::Triplet& pair : cc::fieldPairs(triplets, cc::CcType::Field1)) {
        if (pairs.empty() || !pair.isNullPair()) {
            pairs.insert(pairs.end(), {pair.first, pair.second});
        }
    }
    return Data(pairs);
}

}  // namespace qlx::tool
