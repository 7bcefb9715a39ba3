// What is on air: the screens that the packets of a stream's frames make, one after the other.
//
//     const auto onAir = qlx::streams::captionsOnAir(qlx::cea608::kCC1);
//     for (const qlx::streams::Frame& frame : frames) {
//         if (onAir->receive(frame, &findings)) {
//             show(onAir->screen());
//         }
//     }
#pragma once

#include <qlx/base/finding.h>
#include <qlx/cea608/receiver.h>
#include <qlx/screen/screen.h>
#include <qlx/streams/export.h>
#include <qlx/streams/frame.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace qlx::streams {

/// What is watched.
enum class OnAirKind : std::uint8_t {
    TeletextPage,    ///< A page of OP-47 packets.
    CaptionChannel,  ///< A channel of CEA-608 captions.
};

/// One teletext page or caption channel.
class OnAir {
public:
    OnAir() = default;
    OnAir(const OnAir&) = delete;
    OnAir& operator=(const OnAir&) = delete;
    virtual ~OnAir() = default;

    /// Takes a frame.
    /// @param frame The next one of the stream.
    /// @param findings Gets what is wrong with the packets that are decoded, with the line of the packet as the offset; may
    ///   be null.
    /// @return Whether the screen may look different now.
    virtual bool receive(const Frame& frame, FindingSink* findings) = 0;

    /// The same without findings.
    bool receive(const Frame& frame) { return receive(frame, nullptr); }

    /// What is shown now.
    [[nodiscard]] virtual screen::Screen screen() const = 0;

    /// Whether it is a page or a channel.
    [[nodiscard]] virtual OnAirKind kind() const noexcept = 0;

    /// `888`, `CC1`.
    [[nodiscard]] virtual std::string name() const = 0;

    /// Whether there has been anything of this kind, be it another page.
    [[nodiscard]] virtual bool isCarried() const noexcept = 0;

    /// The other pages that there have been, in the order of their numbers; none of a channel.
    [[nodiscard]] virtual std::vector<std::uint16_t> otherPages() const { return {}; }
};

/// Watches a teletext page.
/// @param page Magazine 1 to 8 and two hexadecimal digits: 0x888.
[[nodiscard]] QLX_STREAMS_EXPORT std::unique_ptr<OnAir> teletextOnAir(std::uint16_t page);

/// Watches a channel of captions, whether they are in CDPs, in packets of pairs, or came with the picture.
[[nodiscard]] QLX_STREAMS_EXPORT std::unique_ptr<OnAir> captionsOnAir(cea608::Channel channel);

}  // namespace qlx::streams
