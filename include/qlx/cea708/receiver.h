// A caption service of DTVCC (CTA-708; 47 CFR 79.102) as a receiver shows it.
//
//     qlx::cea708::PacketReader packets;
//     qlx::cea708::Receiver receiver(1);
//     bool isNew = receiver.nextFrame(rate, &findings);      // once a frame: delays are over some time
//     for (const qlx::cc::Triplet& triplet : qlx::cc::dtvccTriplets(cdp.triplets())) {
//         for (const qlx::cea708::ReceivedPacket& packet : packets.receive(triplet, &findings, frame)) {
//             isNew = receiver.receive(packet, &findings, frame) || isNew;
//         }
//     }
//     if (isNew) show(receiver.screen());
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>
#include <qlx/base/frame_rate.h>
#include <qlx/cea708/packet.h>
#include <qlx/cea708/window.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <utility>

namespace qlx::cea708 {

/// How a service is read.
struct ReceiverOptions {
    AspectRatio aspectRatio = AspectRatio::Wide;  ///< Of the picture: it says how many columns there are.
    /// Turns the code of a P16 into a character of Unicode, 0 where it has none. Where it is empty the codes are UTF-16.
    /// Either way what no screen shows (controls, single halves of a pair, noncharacters, U+FEFF) is a code that has none.
    std::function<char32_t(std::uint16_t code)> wideCharacter;
};

/// The windows of one service, and the commands that wait for the end of a delay.
///
/// A command may begin in one service block and end in the next one of the service. Nothing that is wrong ends anything:
/// it is a finding, and what comes next is read. Nothing is allocated but the room of windows that are larger than any
/// before in their place.
class Receiver {
public:
    /// Bytes that wait at most for the end of a delay.
    static constexpr std::size_t kWaitingBytes = 128;

    /// Shows nothing yet.
    /// @param service 1 to 63.
    /// @param options Kept.
    QLX_EXPORT explicit Receiver(std::uint8_t service = 1, const ReceiverOptions& options = {});

    /// Takes the next packet of the channel: its service blocks of this service. Behind a loss what waits is
    /// dropped first, as expectLoss() says; windows stay as they are.
    /// @param packet As PacketReader gives it.
    /// @param findings Gets what is wrong; may be null.
    /// @param offset The place of all these findings.
    /// @return Whether the screen may look different now.
    QLX_EXPORT bool receive(const ReceivedPacket& packet, FindingSink* findings = nullptr, std::uint64_t offset = 0);

    /// Takes the data of the service's next block.
    /// @return Whether the screen may look different now.
    QLX_EXPORT bool receive(std::span<const std::uint8_t> data, FindingSink* findings = nullptr,
                            std::uint64_t offset = 0);

    /// A frame of this rate is over: a delay that lasted until now ends, and what waited takes effect.
    /// @return Whether the screen may look different now.
    QLX_EXPORT bool nextFrame(FrameRate rate, FindingSink* findings = nullptr, std::uint64_t offset = 0);

    /// Something is lost: a delay ends, the commands that wait for its end and one that is not complete are dropped, with a
    /// finding that counts their bytes, and the first half of a UTF-16 pair whose other half has not come is shown as a
    /// code that has no character. The windows stay.
    /// @return Whether the screen may look different now.
    QLX_EXPORT bool expectLoss(FindingSink* findings = nullptr, std::uint64_t offset = 0);

    /// RST, as the host asks for it: deletes all windows, ends a delay, and drops without a finding all that waits, also
    /// half a UTF-16 pair.
    /// @return Whether the screen may look different now.
    QLX_EXPORT bool reset() noexcept;

    /// What is shown now: 15 rows, counted from 1, of 42 columns, or of 32 at 4:3. A window in front of others hides
    /// what is behind it, also with a translucent fill; of one whose fill is transparent only the characters are drawn.
    /// Of the attributes of a window its border and the border's colour, and its display effect with direction and speed,
    /// reach no cell; window(n).attributes() has them. Rows with full justification stand as those justified to the left.
    [[nodiscard]] QLX_EXPORT screen::Screen screen() const;
    /// The same into a screen that is there already, without an allocation where it has the size.
    QLX_EXPORT void drawScreen(screen::Screen& screen) const;

    /// In which ways what is shown may have changed since the last call of this.
    [[nodiscard]] screen::Change takeChange() noexcept { return std::exchange(_change, {}); }

    /// The service that it was made for.
    [[nodiscard]] std::uint8_t service() const noexcept { return _service; }
    /// A window; `number` is below kWindows.
    [[nodiscard]] const Window& window(std::size_t number) const noexcept { return _windows[number]; }
    /// The current window; none where none has been chosen, or it has been deleted.
    [[nodiscard]] std::optional<std::uint8_t> currentWindow() const noexcept { return _current; }
    /// Whether commands wait for the end of a delay.
    [[nodiscard]] bool isDelayed() const noexcept { return _isDelayed; }

private:
    struct Sink;
    struct Interpreter;

    void removeWindows() noexcept;
    void endWaiting() noexcept;
    std::size_t interpret(std::span<const std::uint8_t> bytes, const Sink& sink);
    std::size_t interpretText(std::span<const std::uint8_t> bytes, const Sink& sink);
    void drain(const Sink& sink);
    void wait(std::span<const std::uint8_t>& bytes, const Sink& sink);
    void lookForEnd() noexcept;
    void put(char32_t character, const Sink& sink);
    void putWide(std::uint16_t code, const Sink& sink);
    void endSurrogate(const Sink& sink);
    [[nodiscard]] Window* current(int command, const Sink& sink);
    void completeRow() noexcept;

    std::uint8_t _service;
    ReceiverOptions _options;
    std::array<Window, kWindows> _windows;
    std::optional<std::uint8_t> _current;
    bool _wasToldNoWindow = false;     ///< Once for the characters that stand together.
    bool _isChanged = false;           ///< Since the call began.
    screen::Change _change;            ///< Since it was taken.
    std::uint16_t _highSurrogate = 0;  ///< 0 where none waits for its other half.
    bool _isDelayed = false;
    std::int64_t _delay = 0;                             ///< Time that is left, below zero for what is over.
    std::array<std::uint8_t, kWaitingBytes> _waiting{};  ///< Behind a delay, or of a command that is not complete.
    std::size_t _waitingSize = 0;
    std::size_t _seen = 0;  ///< Whole commands of those that wait for a delay.
};

}  // namespace qlx::cea708
