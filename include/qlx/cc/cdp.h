// The caption distribution packet (CDP) of SMPTE ST 334-2: read from what is seen in the field, written as the standard
// says.
//
//     qlx::Findings findings;
//     const qlx::Result<qlx::cc::Cdp> cdp = qlx::cc::parseCdp(userData, &findings);
//     if (cdp) {
//         for (const qlx::cc::Triplet& triplet : cdp->triplets()) { use(triplet); }
//         std::array<std::uint8_t, qlx::cc::kGreatestCdpBytes> room;
//         const qlx::Result<std::size_t> size = qlx::cc::writeCdp(*cdp, room);
//     }
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>
#include <QLXClosedCaptionsUtilities/platform/Data.h>
#include <qlx/base/bounded_list.h>
#include <qlx/base/frame_rate.h>
#include <qlx/base/result.h>
#include <qlx/cc/cdp_sections.h>
#include <qlx/cc/triplet.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace qlx::cc {

namespace detail {
class CdpReader;
class CdpWriter;
}  // namespace detail

inline constexpr std::uint16_t kCdpIdentifier = 0x9669;
inline constexpr std::size_t kGreatestCdpBytes = 255;  ///< cdp_length has 8 bits.
inline constexpr std::size_t kGreatestTriplets = 31;   ///< cc_count has 5 bits.
inline constexpr std::size_t kGreatestServices = 15;   ///< svc_count has 4 bits.
/// Bytes of future sections that a packet of nothing else has room for.
inline constexpr std::size_t kGreatestFutureBytes = kGreatestCdpBytes - 7 - 4;

/// A CDP as a value: copied and compared like a number, with room for all that a packet can hold, so that nothing is
/// allocated. What follows from the content (length, counts, flags of sections, checksum) is no field of it: it is
/// checked when a packet is read, and made when one is written. A default-made one has no section but the footer, at
/// 29.97 frames a second, and says that a caption service is active.
///
///     qlx::cc::Cdp cdp;
///     cdp.setFrameRate(qlx::FrameRate::Fps25);
///     cdp.setSequenceCounter(counter++);
///     if (const auto count = cdp.setTriplets(triplets); !count) report(count.error().text());
class Cdp {
public:
    // Not defaulted: its room would be cleared first, for each packet that is read.
    Cdp() noexcept {}

    /// cdp_frame_rate; none for a code that the standard does not name.
    [[nodiscard]] std::optional<FrameRate> frameRate() const noexcept { return frameRateOfCdpCode(frameRateCode()); }
    /// cdp_frame_rate as it stands in the packet, 0 to 15.
    [[nodiscard]] std::uint8_t frameRateCode() const noexcept { return static_cast<std::uint8_t>(_rateByte >> 4U); }
    /// Sets cdp_frame_rate.
    void setFrameRate(FrameRate rate) noexcept { setFrameRateCode(cdpFrameRateCode(rate)); }
    /// Low 4 bits.
    void setFrameRateCode(std::uint8_t code) noexcept {
        _rateByte = static_cast<std::uint8_t>((_rateByte & 0x0FU) | (code & 0x0FU) << 4U);
    }

    /// cdp_hdr_sequence_cntr, and cdp_ftr_sequence_cntr of what is written.
    [[nodiscard]] std::uint16_t sequenceCounter() const noexcept { return _sequenceCounter; }
    /// Sets both counters.
    void setSequenceCounter(std::uint16_t counter) noexcept { _sequenceCounter = counter; }

    /// caption_service_active
    [[nodiscard]] bool captionServiceActive() const noexcept { return _captionServiceActive; }
    /// Sets caption_service_active.
    void setCaptionServiceActive(bool isActive) noexcept { _captionServiceActive = isActive; }

    /// The time code, where there is one.
    [[nodiscard]] const std::optional<CdpTimeCode>& timeCode() const noexcept { return _timeCode; }
    /// Sets the time code, or takes it away.
    void setTimeCode(const std::optional<CdpTimeCode>& timeCode) noexcept { _timeCode = timeCode; }

    /// Whether there is a section of triplets, with or without any.
    [[nodiscard]] bool hasCcData() const noexcept { return _hasCcData; }
    /// The triplets, in their order.
    [[nodiscard]] std::span<const Triplet> triplets() const noexcept { return _triplets.items(); }
    /// Makes the section of triplets anew and gives their number. More than kGreatestTriplets: CdpTooManyTriplets, and
    /// nothing is changed.
    QLX_EXPORT Result<std::size_t> setTriplets(std::span<const Triplet> triplets);
    /// Takes the section of triplets away.
    void removeCcData() noexcept {
        _hasCcData = false;
        _ccDataReserved = kCcDataReserved;
        _triplets.clear();
    }

    /// Whether there is a section of service information, with or without a service.
    [[nodiscard]] bool hasServiceInformation() const noexcept { return _hasServiceInformation; }
    /// The services, in their order.
    [[nodiscard]] std::span<const CaptionService> services() const noexcept { return _services.items(); }
    /// All false where there is no service information.
    [[nodiscard]] ServiceInformationFlags serviceInformationFlags() const noexcept { return _serviceFlags; }
    /// Makes the service information anew and gives the number of services. More than kGreatestServices:
    /// CdpTooManyServices, and nothing is changed.
    QLX_EXPORT Result<std::size_t> setServices(std::span<const CaptionService> services,
                                               const ServiceInformationFlags& flags = {});
    /// Takes the section of service information away.
    void removeServiceInformation() noexcept {
        _hasServiceInformation = false;
        _serviceReserved = kServiceReserved;
        _serviceFlags = {false, false, false};
        _services.clear();
    }

    /// Sections that the standard leaves to later ones; valid until the next change.
    [[nodiscard]] FutureSectionsView futureSections() const noexcept { return FutureSectionsView(_future.items()); }
    /// Adds a section of an identifier from 75h to EFh and gives the bytes of all of them. Another identifier:
    /// CdpSectionUnknown; no room: CdpTooLong; nothing is changed then.
    QLX_EXPORT Result<std::size_t> addFutureSection(std::uint8_t id, std::span<const std::uint8_t> data);
    /// Takes them away.
    void removeFutureSections() noexcept { _future.clear(); }

    /// Bytes of the packet that is written; more than kGreatestCdpBytes are refused.
    [[nodiscard]] QLX_EXPORT std::size_t size() const noexcept;

    /// True when both are written as the same bytes.
    friend bool operator==(const Cdp&, const Cdp&) noexcept = default;

private:
    friend class detail::CdpReader;
    friend class detail::CdpWriter;

    static constexpr std::uint8_t kCcDataReserved = 0xE0;
    static constexpr std::uint8_t kServiceReserved = 0x80;

    std::uint8_t _rateByte = 0x4F;  // with the reserved bits below the code
    bool _captionServiceActive = true;
    bool _reservedFlag = true;
    bool _hasCcData = false;
    std::uint16_t _sequenceCounter = 0;
    std::uint8_t _ccDataReserved = kCcDataReserved;
    std::uint8_t _serviceReserved = kServiceReserved;
    bool _hasServiceInformation = false;
    ServiceInformationFlags _serviceFlags{false, false, false};
    std::optional<CdpTimeCode> _timeCode;
    BoundedList<Triplet, kGreatestTriplets> _triplets;
    BoundedList<CaptionService, kGreatestServices> _services;
    BoundedList<std::uint8_t, kGreatestFutureBytes> _future;
};

/// Reads a CDP that begins with the first byte. Where its sections begin and end decides, not its length byte: deployed
/// writers write wrong ones, and captions are read from their packets all the same.
///
/// Fails with CdpTooShort or CdpIdentifierWrong when these bytes are no CDP or the header is cut. What contradicts
/// itself or the standard is given to `findings` in the order of the bytes, with its byte offset, and is used as far as
/// it can be: a Remark or Warning for what is used, an Error for what had to be left out. What is read without a
/// finding is written as the same bytes by writeCdp().
[[nodiscard]] QLX_EXPORT Result<Cdp> parseCdp(std::span<const std::uint8_t> bytes, FindingSink* findings = nullptr);

/// Writes the packet into `room` and gives its bytes. Allocates nothing. CdpTooLong for a packet of more than
/// kGreatestCdpBytes, OutputTooSmall for a room that is smaller than the packet; nothing is written then.
[[nodiscard]] QLX_EXPORT Result<std::size_t> writeCdp(const Cdp& cdp, std::span<std::uint8_t> room);

/// The packet as a buffer of its own. CdpTooLong for a packet of more than kGreatestCdpBytes.
[[nodiscard]] QLX_EXPORT Result<Data> writeCdp(const Cdp& cdp);

/// Follows the counters of the packets of a stream (SMPTE ST 334-2, cdp_hdr_sequence_cntr): each is one more than the one
/// before, and 0 follows 65535. Deployed writers leave the counter at one value.
///
///     qlx::cc::CounterCheck counters;
///     for (const qlx::cc::Cdp& cdp : cdps) { counters.receive(cdp.sequenceCounter(), &findings); }
class CounterCheck {
public:
    /// Takes the counter of the next packet. A jump is given to `findings` (CdpCounterJumped, a Warning, at `offset`),
    /// and the next counter is expected behind the new one. The first one that is equal to the one before is given as
    /// CdpCounterStandsStill, a Warning; more of them are not. The first counter may be any. True when it was expected.
    QLX_EXPORT bool receive(std::uint16_t counter, FindingSink* findings = nullptr, std::uint64_t offset = 0);

    /// What the next counter should be; none before the first.
    [[nodiscard]] std::optional<std::uint16_t> expected() const noexcept { return _expected; }

    /// Expects this one next: packets in front of it are known to be left out.
    void expect(std::uint16_t counter) noexcept { _expected = counter; }

    /// Takes any counter next; one that stands still is told anew.
    void reset() noexcept { *this = CounterCheck(); }

    /// Whether all fields are equal.
    friend bool operator==(const CounterCheck&, const CounterCheck&) noexcept = default;

private:
    std::optional<std::uint16_t> _expected;
    bool _hasStoodStill = false;
};

}  // namespace qlx::cc
