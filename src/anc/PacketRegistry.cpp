// The register of ancillary data packets.
#include <qlx/anc/registry.h>

#include "anc/PacketKinds.h"

#include <algorithm>
#include <array>

namespace qlx::anc {

namespace {

using enum Space;

constexpr std::string_view kSt291 = "SMPTE ST 291-1";
constexpr std::string_view kSt427 = "SMPTE ST 427";
constexpr std::string_view kSt2020 = "SMPTE ST 2020-1";
constexpr std::string_view kRdd8 = "SMPTE RDD 8";
constexpr std::string_view kStdB37 = "ARIB STD-B37";
constexpr std::string_view kRp196 = "SMPTE RP 196";
constexpr std::string_view kSt334 = "SMPTE ST 334-1";
constexpr std::string_view kSdAudio = "SMPTE ST 272";
constexpr std::string_view kHdAudio = "SMPTE ST 299-1";
constexpr std::string_view k3gAudio = "SMPTE ST 299-2";

constexpr std::array kRegister{
    RegisteredPacket{{0x00, 0x00}, "Undefined", kSt291, Either},
    RegisteredPacket{{0x08, 0x08}, "MPEG recoding", "SMPTE ST 353", Vertical},
    RegisteredPacket{{0x08, 0x0C}, "MPEG recoding", "SMPTE ST 353", Horizontal},
    RegisteredPacket{{0x40, 0x01}, "SDTI", "SMPTE ST 305", Active},
    RegisteredPacket{{0x40, 0x02}, "HD-SDTI", "SMPTE ST 348", Active},
    RegisteredPacket{{0x40, 0x04}, "Link encryption 1", kSt427, Either},
    RegisteredPacket{{0x40, 0x05}, "Link encryption 2", kSt427, Either},
    RegisteredPacket{{0x40, 0x06}, "Link key metadata", kSt427, Either},
    RegisteredPacket{ids::kPayloadIdentifier, "Payload ID", "SMPTE ST 352", Horizontal},
    RegisteredPacket{ids::kAfdBarData, detail::nameOfPacketKind(ids::kAfdBarData), "SMPTE ST 2016-3", Vertical},
    RegisteredPacket{ids::kPanScan, "Pan-scan", "SMPTE ST 2016-4", Vertical},
    RegisteredPacket{ids::kScte104, detail::nameOfPacketKind(ids::kScte104), "SMPTE ST 2010", Vertical},
    RegisteredPacket{{0x41, 0x08}, "VBI (DVB, SCTE)", "SMPTE ST 2031", Vertical},
    RegisteredPacket{{0x41, 0x09}, "Transport stream", "SMPTE ST 2056", Vertical},
    RegisteredPacket{ids::kStereoscopic, "Stereoscopic 3D", "SMPTE ST 2068", Vertical},
    RegisteredPacket{{0x41, 0x0B}, "Lip sync", "SMPTE ST 2064-2", Vertical},
    RegisteredPacket{ids::kHdrMetadata, "HDR metadata", "SMPTE ST 2108-1", Either},
    RegisteredPacket{ids::kHdrMetadataKlv, "HDR metadata, KLV", "SMPTE ST 2108-2", Vertical},
    RegisteredPacket{{0x43, 0x01}, "Station control", "ITU-R BT.1685", Either},
    RegisteredPacket{ids::kOp47, detail::nameOfPacketKind(ids::kOp47), kRdd8, Vertical},
    RegisteredPacket{{0x43, 0x03}, "OP-47 multipacket", kRdd8, Vertical},
    RegisteredPacket{{0x43, 0x04}, "Chain monitoring", "ARIB TR-B29", Either},
    RegisteredPacket{{0x43, 0x05}, "Camera settings", "SMPTE RDD 18", Either},
    RegisteredPacket{ids::kKlvMetadata, "KLV metadata", "SMPTE RP 214", Vertical},
    RegisteredPacket{{0x44, 0x14}, "KLV metadata", "SMPTE RP 214", Horizontal},
    RegisteredPacket{{0x44, 0x44}, "UMID and labels", "SMPTE RP 223", Either},
    RegisteredPacket{{0x45, 0x01}, "Audio metadata", kSt2020, Vertical},
    RegisteredPacket{{0x45, 0x02}, "Audio metadata", kSt2020, Vertical},
    RegisteredPacket{{0x45, 0x03}, "Audio metadata", kSt2020, Vertical},
    RegisteredPacket{{0x45, 0x04}, "Audio metadata", kSt2020, Vertical},
    RegisteredPacket{{0x45, 0x05}, "Audio metadata", kSt2020, Vertical},
    RegisteredPacket{{0x45, 0x06}, "Audio metadata", kSt2020, Vertical},
    RegisteredPacket{{0x45, 0x07}, "Audio metadata", kSt2020, Vertical},
    RegisteredPacket{{0x45, 0x08}, "Audio metadata", kSt2020, Vertical},
    RegisteredPacket{{0x45, 0x09}, "Audio metadata", kSt2020, Vertical},
    RegisteredPacket{ids::kTwoFrameMarker, "Two-frame marker", "SMPTE ST 2051", Horizontal},
    RegisteredPacket{ids::kWideScreenSignalling, "WSS", kRdd8, Vertical},
    RegisteredPacket{{0x51, 0x01}, "Film codes", "SMPTE RP 215", Vertical},
    RegisteredPacket{{0x5F, 0xDC}, "ARIB, mobile", kStdB37, Vertical},
    RegisteredPacket{{0x5F, 0xDD}, "ARIB, analogue", kStdB37, Vertical},
    RegisteredPacket{{0x5F, 0xDE}, "ARIB captions, SD", kStdB37, Vertical},
    RegisteredPacket{{0x5F, 0xDF}, "ARIB captions, HD", kStdB37, Vertical},
    RegisteredPacket{{0x5F, 0xFE}, "Station control", "ARIB STD-B39", Either},
    RegisteredPacket{ids::kAtc, detail::nameOfPacketKind(ids::kAtc), "SMPTE ST 12-2", Either},
    RegisteredPacket{ids::kHighFrameRateTimeCode, "HFR time code", "SMPTE ST 12-3", Either},
    RegisteredPacket{{0x60, 0x62}, "Time label", "SMPTE ST 2103", Either},
    RegisteredPacket{ids::kCdp, detail::nameOfPacketKind(ids::kCdp), kSt334, Vertical},
    RegisteredPacket{ids::kCea608, detail::nameOfPacketKind(ids::kCea608), kSt334, Vertical},
    RegisteredPacket{{0x62, 0x01}, "Programme data", "SMPTE RP 207", Vertical},
    RegisteredPacket{{0x62, 0x02}, "Data broadcast", kSt334, Vertical},
    RegisteredPacket{{0x62, 0x03}, "VBI data", "SMPTE RP 208", Vertical},
    RegisteredPacket{ids::kTimeCodeOfHanc, "LTC (withdrawn)", kRp196, Horizontal},
    RegisteredPacket{ids::kVitcOfHanc, "VITC (withdrawn)", kRp196, Horizontal},
    // Type 1, by their DIDs.
    RegisteredPacket{{0x80, 0x00}, "Deleted packet", kSt291, Either},
    RegisteredPacket{{0x84, 0x00}, "End marker", kSt291, Either},
    RegisteredPacket{{0x88, 0x00}, "Start marker", kSt291, Either},
    RegisteredPacket{{0xA0, 0x00}, "Audio control 8", k3gAudio, Horizontal},
    RegisteredPacket{{0xA1, 0x00}, "Audio control 7", k3gAudio, Horizontal},
    RegisteredPacket{{0xA2, 0x00}, "Audio control 6", k3gAudio, Horizontal},
    RegisteredPacket{{0xA3, 0x00}, "Audio control 5", k3gAudio, Horizontal},
    RegisteredPacket{{0xA4, 0x00}, "Audio group 8", k3gAudio, Horizontal},
    RegisteredPacket{{0xA5, 0x00}, "Audio group 7", k3gAudio, Horizontal},
    RegisteredPacket{{0xA6, 0x00}, "Audio group 6", k3gAudio, Horizontal},
    RegisteredPacket{{0xA7, 0x00}, "Audio group 5", k3gAudio, Horizontal},
    RegisteredPacket{{0xE0, 0x00}, "Audio control 4", kHdAudio, Horizontal},
    RegisteredPacket{{0xE1, 0x00}, "Audio control 3", kHdAudio, Horizontal},
    RegisteredPacket{{0xE2, 0x00}, "Audio control 2", kHdAudio, Horizontal},
    RegisteredPacket{{0xE3, 0x00}, "Audio control 1", kHdAudio, Horizontal},
    RegisteredPacket{{0xE4, 0x00}, "Audio group 4", kHdAudio, Horizontal},
    RegisteredPacket{{0xE5, 0x00}, "Audio group 3", kHdAudio, Horizontal},
    RegisteredPacket{{0xE6, 0x00}, "Audio group 2", kHdAudio, Horizontal},
    RegisteredPacket{{0xE7, 0x00}, "Audio group 1", kHdAudio, Horizontal},
    RegisteredPacket{{0xEC, 0x00}, "Audio control 4", kSdAudio, Horizontal},
    RegisteredPacket{{0xED, 0x00}, "Audio control 3", kSdAudio, Horizontal},
    RegisteredPacket{{0xEE, 0x00}, "Audio control 2", kSdAudio, Horizontal},
    RegisteredPacket{{0xEF, 0x00}, "Audio control 1", kSdAudio, Horizontal},
    RegisteredPacket{{0xF0, 0x00}, "Camera position", "SMPTE ST 315", Either},
    RegisteredPacket{ids::kErrorDetection, "Error detection", "SMPTE RP 165", Horizontal},
    RegisteredPacket{{0xF8, 0x00}, "Audio extension 4", kSdAudio, Horizontal},
    RegisteredPacket{{0xF9, 0x00}, "Audio group 4", kSdAudio, Horizontal},
    RegisteredPacket{{0xFA, 0x00}, "Audio extension 3", kSdAudio, Horizontal},
    RegisteredPacket{{0xFB, 0x00}, "Audio group 3", kSdAudio, Horizontal},
    RegisteredPacket{{0xFC, 0x00}, "Audio extension 2", kSdAudio, Horizontal},
    RegisteredPacket{{0xFD, 0x00}, "Audio group 2", kSdAudio, Horizontal},
    RegisteredPacket{{0xFE, 0x00}, "Audio extension 1", kSdAudio, Horizontal},
    RegisteredPacket{{0xFF, 0x00}, "Audio group 1", kSdAudio, Horizontal},
};

[[nodiscard]] constexpr unsigned orderOf(PacketId id) noexcept {
    return static_cast<unsigned>(id.did) << 8U | id.sdid;
}

[[nodiscard]] constexpr bool isBefore(const RegisteredPacket& left, const RegisteredPacket& right) noexcept {
    return orderOf(left.id) < orderOf(right.id);
}

static_assert(std::is_sorted(kRegister.begin(), kRegister.end(), isBefore));

}  // namespace

std::span<const RegisteredPacket> registeredPackets() noexcept {
    return kRegister;
}

std::optional<RegisteredPacket> registeredPacket(std::uint8_t did, std::uint8_t sdidOrDbn) noexcept {
    const PacketId id = packetId(did, sdidOrDbn);
    const auto* const found =
        std::lower_bound(kRegister.begin(), kRegister.end(), id, [](const RegisteredPacket& packet, PacketId wanted) {
            return orderOf(packet.id) < orderOf(wanted);
        });
    if (found == kRegister.end() || found->id != id) {
        return std::nullopt;
    }
    return *found;
}

}  // namespace qlx::anc
