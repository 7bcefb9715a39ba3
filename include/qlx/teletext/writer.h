// Teletext pages of subtitles as the packets of each field (ETSI EN 300 706).
//
//     qlx::teletext::Writer writer(qlx::FrameRate::Fps25);
//     writer.add(text, &findings);
//     while (!writer.isDone()) {
//         const qlx::teletext::FieldPackets field = writer.next(&findings);
//         for (const qlx::teletext::Packet& packet : field.packets) { send(packet, field.isOdd); }
//     }
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>
#include <qlx/base/bounded_list.h>
#include <qlx/base/finding.h>
#include <qlx/base/frame_rate.h>
#include <qlx/base/ring.h>
#include <qlx/teletext/packet.h>
#include <qlx/teletext/page_text.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace qlx::teletext {

/// Most packets of a field: three subtitling distribution packets of five.
inline constexpr std::size_t kGreatestFieldPackets = 15;

/// The fields that a frame has.
enum class FrameFields : std::uint8_t {
    ByRate,       ///< Two up to 30 frames a second, one above.
    Interlaced,   ///< Two: the odd one first.
    Progressive,  ///< One: odd in frames of even number.
};

/// How a writer sends.
struct WriterOptions {
    FrameFields fields = FrameFields::ByRate;  ///< Of a frame.
    std::uint8_t packetsPerField = 5;          ///< 1 to 15; of another number the nearest.
    std::uint32_t repeatAfter = 0;             ///< Seconds after which a page is sent again; 0: never.
    bool isSerial = false;                     ///< C11: one page after the other, whatever their magazines.
    bool isSubtitle = true;                    ///< C6.
    bool isNewsflash = false;                  ///< C5.
    bool suppressesHeader = true;              ///< C7.
    std::uint64_t firstFrame = 0;              ///< The number of the frame that is sent first.
    std::uint8_t region = 0;                   ///< Of receivers, as in needsDesignationPacket().
};

/// What a field carries.
struct FieldPackets {
    std::uint64_t frame = 0;                             ///< Its frame.
    bool isOdd = true;                                   ///< The first field.
    BoundedList<Packet, kGreatestFieldPackets> packets;  ///< In their order; often none.
};

/// What has become of a text in a field.
struct TextEvent {
    /// What it is.
    enum class Step : std::uint8_t {
        Begun,  ///< The first packet of it was sent.
        Shown,  ///< The last row of it was sent.
    };

    std::uint64_t number = 0;  ///< The text, as findings count it.
    Step step = Step::Begun;   ///< What it is.

    /// Whether all fields are equal.
    [[nodiscard]] friend constexpr bool operator==(const TextEvent&, const TextEvent&) noexcept = default;
};

/// Takes what pages show, that of each page in the order of its starts, and gives field after field.
///
/// The header of a page erases it (C4) and goes in the field in front of the start's first one, so that receivers have
/// time for it (20 ms are asked for in 625 lines; a field of 60 a second has 17); its rows follow from the start's first
/// field on, and behind them a header that closes the page (FF of its magazine). At the end a header erases the page, unless
/// the next text begins there; one that only adds rows to those shown is sent without C4, and of it only what is new. A text
/// that begins before the end of the one before it takes its place.
///
/// Pages of one magazine (in serial mode: all) are sent one after the other, those of different ones at once. Text that
/// does not fit moves on: what is complete in a later frame than its start's is a finding (TeletextPageLate), so is what is
/// over before it can begin and thus left out (TeletextPageLeftOut), or is erased in a later frame (TeletextEraseLate).
/// Pages are sent again, when that is asked for, where within half a second before and behind nothing is due, of whatever
/// magazine; one that has not been sent again for twice the time is a finding (TeletextRepetitionLate).
///
/// A page whose set receivers of the region do not have of themselves has packet X/28/0 each time; packets X/26 stand
/// in front of the rows.
///
/// The offset of findings is the number of the text, counted by add() from 0, or what coded pages say.
class Writer {
public:
    /// Has nothing to send yet; the next field is the first one of the first frame.
    QLX_EXPORT explicit Writer(FrameRate rate, const WriterOptions& options = {});

    /// Takes a text. Rows that collide with those in front of them are left out (TeletextRowLeftOut).
    /// @return False, with a finding, when it is left out: its page cannot be called, it does not end behind its start,
    /// does not start behind the start of the text before it of its page, or has no row with something visible.
    QLX_EXPORT bool add(const PageText& text, FindingSink* findings = nullptr);
    /// The same with rows that are coded: each one as codeRow() gives it.
    QLX_EXPORT bool add(CodedPage page, FindingSink* findings = nullptr);

    /// Says that the page will change in this frame, which add() has not told yet: no page is sent again within half a
    /// second of it. It counts up to the next call for the page.
    /// @param page 0x100 to 0x8FF; another one does not count.
    /// @param frame None when nothing is known.
    QLX_EXPORT void expectChange(std::uint16_t page, std::optional<std::uint64_t> frame);

    /// The packets of the next field.
    [[nodiscard]] QLX_EXPORT FieldPackets next(FindingSink* findings = nullptr);

    /// What has become of texts in the field that next() gave, in its order; up to the next call. A text that adds
    /// nothing to what is shown is shown when it is due.
    [[nodiscard]] std::span<const TextEvent> events() const noexcept { return _events; }

    /// The number of the frame that the next field is of.
    [[nodiscard]] std::uint64_t frame() const noexcept { return frameOf(_slot); }
    /// Fields of a frame, 1 or 2.
    [[nodiscard]] std::uint8_t fieldsPerFrame() const noexcept { return _fields; }
    /// Whether all was sent, and no page shows anything.
    [[nodiscard]] QLX_EXPORT bool isDone() const noexcept;

private:
    // Times are counted in fields: slots.

    struct Text {
        CodedPage page;
        std::uint64_t start = 0;  ///< Slot.
        std::uint64_t end = 0;    ///< Slot.
    };

    struct Page {
        std::uint16_t number = 0;
        Ring<Text> waiting;
        std::optional<Text> shown;
        std::uint64_t lastStart = 0;                 ///< Slot.
        std::uint64_t repeat = 0;                    ///< Slot.
        std::uint64_t expected = ~std::uint64_t{0};  ///< Slot of a change that is not told yet.
        bool hasStarted = false;
        bool isOverdueTold = false;  ///< Its repetition is late.
    };

    /// What is due next.
    struct Event {
        std::uint64_t slot = ~std::uint64_t{0};
        bool isErase = false;
    };

    /// Pages that are sent one after the other, and what is being sent.
    struct Lane {
        std::vector<Page> pages;
        std::vector<Packet> packets;
        std::size_t sent = 0;          ///< Of the packets.
        std::size_t firstRow = 0;      ///< Among them.
        std::uint64_t rowsFrom = 0;    ///< Slot.
        std::uint64_t due = 0;         ///< Slot of the last event.
        std::uint64_t startFrame = 0;  ///< Of the text whose rows are being sent.
        std::uint64_t number = 0;      ///< The same.
        bool isNew = false;            ///< They are not sent again.

        [[nodiscard]] bool isIdle() const noexcept { return sent == packets.size(); }
    };

    [[nodiscard]] std::uint64_t frameOf(std::uint64_t slot) const noexcept { return slot / _fields; }
    [[nodiscard]] static Event eventOf(const Page& page) noexcept;
    [[nodiscard]] static std::uint64_t nextDue(const Lane& lane) noexcept;
    [[nodiscard]] Page& pageOf(std::uint16_t number);
    void send(Lane& lane, FieldPackets& field, bool closes, FindingSink* findings);
    bool begin(Lane& lane, FindingSink* findings);
    bool beginText(Lane& lane, Page& page, FindingSink* findings);
    void beginErase(Lane& lane, Page& page, FindingSink* findings);
    [[nodiscard]] bool isQuiet() const noexcept;
    bool beginRepetition(Lane& lane);
    void tellOverdue(Lane& lane, FindingSink* findings);
    void putHeader(Lane& lane, const Text& text, bool erases, bool isUpdate) const;
    void putRows(Lane& lane, const Text& text, const Text* shown, FindingSink* findings);
    void putClosingHeader(Lane& lane, const Text& text) const;

    FrameRate _rate;
    WriterOptions _options;
    std::uint8_t _fields;
    std::uint64_t _slot = 0;
    std::uint64_t _added = 0;
    std::array<Lane, kGreatestMagazine> _lanes;
    std::vector<Placement> _placements;
    std::vector<TextEvent> _events;
};

}  // namespace qlx::teletext
