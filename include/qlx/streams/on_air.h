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
#include <qlx/cea708/receiver.h>
#include <qlx/screen/screen.h>
#include <qlx/streams/export.h>
#include <qlx/streams/frame.h>
#include <qlx/teletext/sets.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace qlx::streams {

/// What is watched.
enum class OnAirKind : std::uint8_t {
    TeletextPage,    ///< A page of OP-47 packets.
    CaptionChannel,  ///< A channel of CEA-608 captions, or of its text.
    CaptionService,  ///< A caption service of CEA-708.
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
    /// @param findings Gets what is wrong with the packets that are decoded, with the line of the packet as the offset;
    ///   of teletext in transport streams its own line, 7 to 22 and 320 to 335. May be null.
    /// @return Whether the screen may look different now.
    virtual bool receive(const Frame& frame, FindingSink* findings) = 0;

    /// The same without findings.
    bool receive(const Frame& frame) { return receive(frame, nullptr); }

    /// The stream is over: what has not ended takes effect as far as it came. Of a service a packet that is cut is a
    /// finding, with no line.
    /// @return Whether the screen may look different now.
    virtual bool finish(FindingSink* findings) {
        static_cast<void>(findings);
        return false;
    }

    /// What is shown now.
    [[nodiscard]] virtual screen::Screen screen() const = 0;

    /// Whether it is a page or a channel.
    [[nodiscard]] virtual OnAirKind kind() const noexcept = 0;

    /// `888`, `CC1`, `T1`, `1` of a service.
    [[nodiscard]] virtual std::string name() const = 0;

    /// The sets of the characters, by which teletext::readingOrder() reads the rows of the screen; Latin of a channel.
    [[nodiscard]] virtual teletext::CharacterSet characterSet() const noexcept { return {}; }

    /// Whether there has been anything of this kind, be it another page.
    [[nodiscard]] virtual bool isCarried() const noexcept = 0;

    /// The other pages or services that there have been, in the order of their numbers; none of a channel.
    [[nodiscard]] virtual std::vector<std::uint16_t> otherPages() const { return {}; }

    /// In which ways the frame that was taken last has changed what is shown. Of a page all counts as replaced.
    [[nodiscard]] virtual screen::Change change() const noexcept {
        return {.isWritten = false, .isRolled = false, .isReplaced = true};
    }
};

/// Watches a teletext page.
/// @param page Magazine 1 to 8 and two hexadecimal digits: 0x888.
/// @param region The designation that the receiver has of its own (teletext::CharacterSet): only the four high bits
/// count.
[[nodiscard]] QLX_STREAMS_EXPORT std::unique_ptr<OnAir> teletextOnAir(std::uint16_t page, std::uint8_t region = 0);

/// Watches a channel of captions or of text (CTA-608-E), whether it is in CDPs, in packets of pairs, or came with the
/// picture.
/// @param channel CC1 to CC4, T1 to T4.
/// @param options How its pairs are read.
[[nodiscard]] QLX_STREAMS_EXPORT std::unique_ptr<OnAir> captionsOnAir(cea608::Channel channel,
                                                                      const cea608::ReceiverOptions& options = {});

/// Watches a caption service (CTA-708), wherever its triplets are. Its delays end by the times of the frames; frames
/// without times last as long as those of 29.97 frames a second.
/// @param service 1 to 63.
/// @param options How it is read.
[[nodiscard]] QLX_STREAMS_EXPORT std::unique_ptr<OnAir> serviceOnAir(std::uint8_t service,
                                                                     const cea708::ReceiverOptions& options = {});

/// Whether a row that is being written goes on: no more than its last two letters have changed, as where one is taken
/// back, or an extended character takes the place of its stand-in. One of two letters stays; a letter that is alone may
/// be another.
[[nodiscard]] QLX_STREAMS_EXPORT bool goesOn(std::u32string_view before, std::u32string_view after) noexcept;

}  // namespace qlx::streams
