// A frame as files and streams have it: its ancillary packets, its captions and its time.
//
//     qlx::streams::Frame frame;
//     frame.number = 12;
//     frame.pts = qlx::MediaTime::make(12 * 1001, 30000);
//     frame.packets.push_back({.did = 0x61, .sdid = 0x01, .userData = {0x96, 0x69}, .line = 9});
#pragma once

#include <QLXClosedCaptionsUtilities/platform/Data.h>
#include <QLXClosedCaptionsUtilities/platform/MediaTime.h>

#include <qlx/anc/element.h>
#include <qlx/anc/packet.h>
#include <qlx/teletext/sdp.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace qlx::streams {

/// Where captions come from that are in no packet.
enum class CaptionPlace : std::uint8_t {
    Picture,  ///< In the coded picture.
    Track,    ///< In a caption track beside it, or a caption file.
};

/// The packets of one frame.
struct Frame {
    std::uint64_t number = 0;          ///< Counted from 0.
    std::optional<MediaTime> pts;      ///< Presentation time, where it is known.
    std::vector<anc::Packet> packets;  ///< In the order in which they were found.
    Data triplets;                     ///< The cc_data triplets (CTA-708) that are in no packet; or none.
    CaptionPlace captionPlace = CaptionPlace::Picture;  ///< Of the triplets.
    /// Where the packets belong that were in an ANC frame element (SMPTE ST 436-1), in their order. Those behind its end
    /// belong to the vertical blanking of the whole frame, and so do all packets of files that do not say it.
    std::vector<anc::Wrapping> wrappings{};
    /// Teletext lines that are in no packet, but come from a transport stream, in the order in which they are sent.
    std::vector<teletext::SdpLine> teletext{};

    /// Where a packet belongs.
    /// @param packet Its number in the frame, from 0.
    [[nodiscard]] anc::Wrapping wrappingOf(std::size_t packet) const noexcept {
        return packet < wrappings.size() ? wrappings[packet] : anc::Wrapping::VancFrame;
    }

    /// Sets where the last packet belongs.
    void wrapLast(anc::Wrapping wrapping) {
        if (wrapping != anc::Wrapping::VancFrame) {
            wrappings.resize(packets.size(), anc::Wrapping::VancFrame);
            wrappings.back() = wrapping;
        }
    }

    /// Whether all fields are equal.
    [[nodiscard]] friend bool operator==(const Frame&, const Frame&) = default;
};

}  // namespace qlx::streams
