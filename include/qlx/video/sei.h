// SEI messages of H.264 (ITU-T H.264, 7.3.2.3) and H.265 (ITU-T H.265, 7.3.2.4).
//
//     std::vector<std::uint8_t> room(unit.bytes.size());
//     for (const auto& message : qlx::video::SeiMessages(unit.bytes, qlx::video::Codec::H264, room, &findings)) {
//         if (message.type == qlx::video::kUserDataRegistered) { use(message.payload); }
//     }
#pragma once

#include <qlx/base/finding.h>
#include <qlx/video/nal.h>

#include <cstddef>
#include <cstdint>
#include <span>

namespace qlx::video {

/// payloadType of user_data_registered_itu_t_t35, which captions come in.
inline constexpr std::uint32_t kUserDataRegistered = 4;
/// payloadType of user_data_unregistered.
inline constexpr std::uint32_t kUserDataUnregistered = 5;

/// One message. A view: the payload is in the caller's room.
struct SeiMessageView {
    std::uint32_t type = 0;                 ///< payloadType
    std::size_t offset = 0;                 ///< Of the payload in the unit, emulation prevention bytes not counted.
    std::span<const std::uint8_t> payload;  ///< Without emulation prevention bytes.
};

/// Gives the messages of a NAL unit, of whatever number; types and sizes beyond 254 are read. Findings, told when they are
/// come to: VideoSeiReferenced (nal_ref_idc of H.264 should be 0), OutputTooSmall (the room does not hold the unit, and
/// messages in it are missing), VideoSeiCut (a message that ends behind the unit, which is not given) and
/// VideoSeiTrailingBits (the unit does not end as it should).
class SeiWalker {
public:
    using Value = SeiMessageView;  ///< What it gives.

    /// Gives nothing.
    SeiWalker() = default;
    /// Takes a NAL unit with its header, of H.264 or H.265, into `room`, which should be as large and must outlive this,
    /// as must `findings`, which may be null.
    QLX_EXPORT SeiWalker(std::span<const std::uint8_t> unit, Codec codec, std::span<std::uint8_t> room,
                         FindingSink* findings = nullptr);

    /// Sets the next message; false, and nothing is set, when there is none.
    [[nodiscard]] QLX_EXPORT bool next(SeiMessageView& message);

private:
    [[nodiscard]] bool endWith(FindingCode code, std::size_t first, std::size_t second);
    [[nodiscard]] bool takeNumber(std::uint64_t& number) noexcept;

    std::span<const std::uint8_t> _bytes;  ///< Behind the header.
    std::size_t _header = 0;
    FindingSink* _findings = nullptr;
    std::size_t _next = 0;
    bool _isAtEnd = true;
};

/// The same as a range.
using SeiMessages = Walk<SeiWalker>;

}  // namespace qlx::video
