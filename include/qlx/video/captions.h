// The captions of coded pictures: every message with captions that a picture carries, in the order of its bytes.
//
//     qlx::video::CaptionMessages messages(picture, {qlx::video::Codec::H264}, &findings);
//     while (const auto message = messages.next()) {
//         if (message->captions.processCcData) { use(message->captions.triplets); }
//     }
#pragma once

#include <qlx/cc/a53.h>
#include <qlx/video/mpeg2.h>
#include <qlx/video/nal.h>
#include <qlx/video/sei.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <variant>
#include <vector>

namespace qlx::video {

/// How captions are carried in user data.
enum class CaptionCarriage : std::uint8_t {
    A53,     ///< ATSC A/53 Part 4: "GA94" and type code 03.
    Scte20,  ///< SCTE 20: pairs of line 21 behind type code 03, only in MPEG-2 video; as triplets of CEA-608.
};

/// The captions of one message.
struct CaptionMessage {
    CaptionCarriage carriage = CaptionCarriage::A53;  ///< How they came.
    std::size_t offset = 0;                           ///< Of the unit that they are in, in the picture's bytes.
    cc::CaptionUserData captions;                     ///< What they are.

    /// Whether all fields are equal.
    [[nodiscard]] friend bool operator==(const CaptionMessage&, const CaptionMessage&) noexcept = default;
};

/// Gives the messages with captions of one picture: in MPEG-2 video the user data behind its headers (ISO/IEC 13818-2,
/// 6.2.2.2.2), in H.264 and H.265 the messages of all SEI units, whatever nal_ref_idc is, a picture's last unit included.
/// A picture may have several, as its fields may. User data of other kinds are passed over.
/// Where a picture has both carriages its captions are there twice: those by A/53 are the whole of them.
///
/// Findings: those of the units, of SeiMessages, of cc::parseCaptionUserData() and of parseScte20(), with the
/// offset in the picture's bytes (in SEI messages less the emulation prevention bytes in front of the place).
class CaptionMessages {
public:
    /// Reads the bytes of one access unit, which must outlive this.
    QLX_EXPORT CaptionMessages(std::span<const std::uint8_t> picture, const StreamForm& form,
                               FindingSink* findings = nullptr);

    /// The next message; none behind the last one.
    [[nodiscard]] QLX_EXPORT std::optional<CaptionMessage> next();

private:
    void readUnit(const UnitView& unit);
    void readMessage(std::span<const std::uint8_t> payload, cc::UserDataForm kind, std::size_t unit,
                     std::size_t offset);
    void readUserData(const UnitView& unit);

    StreamForm _form;
    FindingSink* _findings;
    std::variant<StartCodeWalker, LengthPrefixedWalker> _units;
    Mpeg2PictureCoding _coding;          ///< Of the picture, for its fields.
    std::vector<CaptionMessage> _ready;  ///< Of the units so far.
    std::size_t _given = 0;              ///< Of them.
    std::vector<std::uint8_t> _room;     ///< For an SEI unit.
};

}  // namespace qlx::video
