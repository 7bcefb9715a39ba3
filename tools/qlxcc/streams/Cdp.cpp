#include "streams/Cdp.h"

#include "io/Text.h"

#include <QLXClosedCaptionsUtilities/QLXCCUtilities.h>

#include <algorithm>
#include <numeric>

namespace qlx::tool {

namespace {

constexpr std::size_t kHeaderSize = 7;
constexpr std::size_t kTimeCodeSize = 5;
constexpr std::size_t kTripletSize = 3;
constexpr std::size_t kFirstTriplet = 9;

constexpr std::uint8_t kTimeCodeFlag = 0x80;
constexpr std::uint8_t kTimeCodeId = 0x71;
constexpr std::uint8_t kCaptionDataFlag = 0x40;
constexpr std::uint8_t kCaptionDataId = 0x72;
// Service information, the footer, and those that are to come.
constexpr std::uint8_t kFirstLaterId = 0x73;
constexpr std::uint8_t kLastLaterId = 0xEF;

// By cdp_frame_rate; the other codes are reserved.
constexpr std::array<std::string_view, 9> kRateNames{"", "23.976", "24", "25", "29.97", "30", "50", "59.94", "60"};

/// The kind by cc_valid and cc_type, whatever the marker bits above them are.
TripletKind kindOf(std::uint8_t flags) {
    constexpr std::array<TripletKind, 4> kKinds{TripletKind::Field1, TripletKind::Field2, TripletKind::DtvccData,
                                                TripletKind::DtvccStart};
    return (flags & 4U) == 0 ? TripletKind::Padding : kKinds[flags & 3U];
}

void readCaptionData(Cdp& cdp, std::span<const std::uint8_t> section, bool isAnnounced) {
    if (isAnnounced && !section.empty() && section[0] != kCaptionDataId) {
        cdp.otherSection = section[0];
    }
    if (section.size() < 2 || section[0] != kCaptionDataId) {
        return;
    }
    cdp.ccCount = static_cast<std::uint8_t>(section[1] & 0x1FU);
    section = section.subspan(2);
    const std::size_t count = std::min<std::size_t>(*cdp.ccCount, section.size() / kTripletSize);
    cdp.triplets = readTriplets(section.first(count * kTripletSize));
    section = section.subspan(count * kTripletSize);
    const bool isWhole = count == *cdp.ccCount && !section.empty();
    if (isWhole && (section[0] < kFirstLaterId || section[0] > kLastLaterId)) {
        cdp.behindTriplets = section[0];
    }
}

/// Neighbours of one kind share its name; padding is only counted.
std::string inWords(const std::vector<CaptionTriplet>& triplets) {
    std::string text;
    for (std::size_t first = 0; first < triplets.size();) {
        const TripletKind kind = triplets[first].kind;
        std::size_t end = first;
        std::string data;
        for (; end < triplets.size() && triplets[end].kind == kind; ++end) {
            data += " " + hex(triplets[end].data);
        }
        text += first == 0 ? "" : ", ";
        if (kind == TripletKind::Padding) {
            text += std::to_string(end - first) + " padding";
        } else {
            text += std::string(nameOf(kind)) + data;
        }
        first = end;
    }
    return text;
}

std::string tripletsOf(const Cdp& cdp) {
    const std::string contradiction = contradictionIn(cdp);
    const std::string remark = contradiction.empty() ? "" : " (" + contradiction + ")";
    if (!cdp.ccCount) {
        return "no caption data" + remark;
    }
    const std::string text = counted(cdp.triplets.size(), "triplet") + remark;
    return cdp.triplets.empty() ? text : text + ": " + inWords(cdp.triplets);
}

std::string remarks(const Cdp& cdp) {
    if (cdp.hasStandardLength() && cdp.hasStandardChecksum()) {
        return "length and checksum as in the standard";
    }
    const std::string length = cdp.hasStandardLength() ? "length as in the standard"
                                                       : "length byte " + std::to_string(cdp.length) +
                                                             " where the standard has " + std::to_string(cdp.size);
    const std::string checksum = cdp.hasStandardChecksum()
                                     ? "checksum as in the standard"
                                     : "checksum " + hex(std::span(&cdp.checksum, 1)) + " where the standard has " +
                                           hex(std::span(&cdp.standardChecksum, 1));
    return length + ", " + checksum;
}

}  // namespace

std::string_view nameOf(TripletKind kind) noexcept {
    switch (kind) {
    case TripletKind::Field1:
        return "field 1";
    case TripletKind::Field2:
        return "field 2";
    case TripletKind::DtvccData:
        return "DTVCC data";
    case TripletKind::DtvccStart:
        return "DTVCC start";
    case TripletKind::Padding:
        break;
    }
    return "padding";
}

std::vector<CaptionTriplet> readTriplets(std::span<const std::uint8_t> triplets) {
    std::vector<CaptionTriplet> result;
    for (; triplets.size() >= kTripletSize; triplets = triplets.subspan(kTripletSize)) {
        result.push_back({kindOf(triplets[0]), {triplets[1], triplets[2]}});
    }
    return result;
}

std::string tripletsInWords(std::span<const std::uint8_t> triplets) {
    const std::vector<CaptionTriplet> read = readTriplets(triplets);
    return counted(read.size(), "triplet") + (read.empty() ? std::string() : ": " + inWords(read));
}

std::optional<Cdp> readCdp(std::span<const std::uint8_t> data) {
    if (data.size() < kHeaderSize || data[0] != 0x96 || data[1] != 0x69) {
        return std::nullopt;
    }
    Cdp cdp;
    cdp.size = data.size();
    cdp.length = data[2];
    cdp.rateCode = data[3] >> 4U;
    cdp.rate = cdp.rateCode < kRateNames.size() ? kRateNames[cdp.rateCode] : std::string_view();
    cdp.counter = static_cast<std::uint16_t>(data[5] << 8U | data[6]);
    cdp.checksum = data.back();
    const unsigned sum = std::accumulate(data.begin(), data.end() - 1, 0U);
    cdp.standardChecksum = static_cast<std::uint8_t>(0U - sum);
    std::span<const std::uint8_t> rest = data.subspan(kHeaderSize);
    if ((data[4] & kTimeCodeFlag) != 0 && rest.size() >= kTimeCodeSize && rest[0] == kTimeCodeId) {
        cdp.timeCodeBytes = kTimeCodeSize;
        rest = rest.subspan(kTimeCodeSize);
    }
    readCaptionData(cdp, rest, (data[4] & kCaptionDataFlag) != 0);
    return cdp;
}

std::string contradictionIn(const Cdp& cdp) {
    if (cdp.otherSection) {
        return "section " + hex(std::span(&*cdp.otherSection, 1)) + " where cc_data (72) is announced";
    }
    if (!cdp.ccCount) {
        return "";
    }
    const std::string count = "cc_count " + std::to_string(*cdp.ccCount);
    if (cdp.triplets.size() < *cdp.ccCount) {
        return count + ", of which " + std::to_string(cdp.triplets.size()) +
               (cdp.triplets.size() == 1 ? " is there" : " are there");
    }
    return cdp.behindTriplets
               ? count + ", behind which " + hex(std::span(&*cdp.behindTriplets, 1)) + " begins no section"
               : "";
}

std::string cdpInWords(std::span<const std::uint8_t> data) {
    const std::optional<Cdp> cdp = readCdp(data);
    if (!cdp) {
        return "no caption distribution packet (CDP)";
    }
    const std::string rate =
        cdp->rate.empty() ? "rate code " + std::to_string(cdp->rateCode) : std::string(cdp->rate) + " frames/s";
    return "CDP: " + rate + ", counter " + std::to_string(cdp->counter) + ", " + tripletsOf(*cdp) + "; " +
           remarks(*cdp);
}

Data fieldOnePairs(const Data& packet) {
    Data pairs;
    (void)QLXCCUtilities::extractCaptionTripletsFromData_fromOffset_CC1Data_CC2Data(packet, kFirstTriplet, &pairs,
                                                                                    nullptr);
    return pairs;
}

}  // namespace qlx::tool
