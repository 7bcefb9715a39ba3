// Extended data services (XDS) of line 21, field 2 (CTA-608-E): what is said of programme, channel and time in packets
// that stand between captions.
//
//     qlx::cea608::XdsReader reader;
//     if (const auto packet = reader.receive(first, second, &findings)) {
//         const qlx::cea608::XdsValue value = qlx::cea608::xdsValue(*packet);
//         if (const auto* const name = std::get_if<qlx::cea608::XdsProgramName>(&value)) { show(name->text); }
//     }
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>
#include <qlx/base/bounded_list.h>
#include <qlx/base/finding.h>
#include <qlx/cea608/codes.h>
#include <qlx/cea608/parity.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace qlx::cea608 {

/// What the packets of a class are about, in the order of their codes.
enum class XdsClass : std::uint8_t {
    Current,        ///< The programme that is on.
    Future,         ///< One that comes later, with the types of Current.
    Channel,        ///< The channel.
    Miscellaneous,  ///< Time and the like.
    PublicService,  ///< Weather.
    Reserved,       ///< Of the standard.
    PrivateData,    ///< Of whoever sends it.
};

/// Bytes that a packet has at most, its class, type and checksum apart.
inline constexpr std::size_t kGreatestXdsBytes = 32;

/// A packet as it is sent.
struct XdsPacket {
    XdsClass xdsClass = XdsClass::Current;               ///< Its class.
    std::uint8_t type = 1;                               ///< 01h to 7Fh; what it is depends on the class.
    BoundedList<std::uint8_t, kGreatestXdsBytes> bytes;  ///< 20h to 7Fh, without parity and fillers.

    /// Whether all fields are equal.
    [[nodiscard]] friend bool operator==(const XdsPacket&, const XdsPacket&) = default;
};

/// A minute of a year, in UTC.
struct XdsTime {
    std::uint8_t minute = 0;   ///< 0 to 59.
    std::uint8_t hour = 0;     ///< 0 to 23.
    std::uint8_t day = 1;      ///< 1 to 31.
    std::uint8_t month = 1;    ///< 1 to 12.
    bool isDaylight = false;   ///< Bit D: daylight saving time.
    bool isLeapDay = false;    ///< Bit L: local time is on the 29th of February.
    bool isZeroed = false;     ///< Bit Z: seconds are 0 as it is sent.
    bool isTapeDelay = false;  ///< Bit T: the programme is subject to a tape delay.

    /// Whether all fields are equal.
    [[nodiscard]] friend bool operator==(const XdsTime&, const XdsTime&) = default;
};

/// Current and Future, type 01h: the programme's scheduled start, in UTC.
struct XdsProgramStart {
    XdsTime time;  ///< All of it.
    /// Whether all fields are equal.
    [[nodiscard]] friend bool operator==(const XdsProgramStart&, const XdsProgramStart&) = default;
};

/// Current and Future, type 02h: how long the programme is, and for how long it has been on.
struct XdsProgramLength {
    /// Hours and minutes.
    struct Span {
        std::uint8_t hours = 0;    ///< 0 to 63.
        std::uint8_t minutes = 0;  ///< 0 to 59.
        /// Whether all fields are equal.
        [[nodiscard]] friend bool operator==(const Span&, const Span&) = default;
    };
    Span length;                                 ///< From its beginning to its end.
    std::optional<Span> elapsed;                 ///< Since its beginning.
    std::optional<std::uint8_t> elapsedSeconds;  ///< 0 to 59; only beside `elapsed`.

    /// Whether all fields are equal.
    [[nodiscard]] friend bool operator==(const XdsProgramLength&, const XdsProgramLength&) = default;
};

/// Current and Future, type 03h.
struct XdsProgramName {
    std::string text;  ///< UTF-8.
    /// Whether all fields are equal.
    [[nodiscard]] friend bool operator==(const XdsProgramName&, const XdsProgramName&) = default;
};

/// Current and Future, type 04h.
struct XdsProgramType {
    std::vector<std::uint8_t> keywords;  ///< 20h to 7Fh; xdsKeyword() says what they mean.
    /// Whether all fields are equal.
    [[nodiscard]] friend bool operator==(const XdsProgramType&, const XdsProgramType&) = default;
};

/// Who has made a scale of ratings.
enum class XdsRatingSystem : std::uint8_t {
    Mpa,              ///< Films: G, PG, PG-13, R, NC-17, X.
    UsTv,             ///< U.S. TV Parental Guidelines: TV-Y to TV-MA.
    MpaOlder,         ///< The films' ones with another number.
    CanadianEnglish,  ///< C to 18+.
    CanadianFrench,   ///< G to 18 ans+.
    Reserved5,        ///< No scale yet.
    Reserved6,        ///< No scale yet.
};

/// Current and Future, type 05h: for whom a programme is.
struct XdsContentAdvisory {
    XdsRatingSystem system = XdsRatingSystem::UsTv;  ///< Whose scale it is.
    std::uint8_t rating = 0;                         ///< 0 to 7, its place there; 0 says nothing, in Canada E (exempt).
    bool hasDialogue = false;                        ///< UsTv, D: suggestive dialogue.
    bool hasViolence = false;                        ///< UsTv, V; of TV-Y7 FV, fantasy violence.
    bool hasSexualSituations = false;                ///< UsTv, S.
    bool hasLanguage = false;                        ///< UsTv, L: coarse or crude language.

    /// Whether all fields are equal.
    [[nodiscard]] friend bool operator==(const XdsContentAdvisory&, const XdsContentAdvisory&) = default;
};

/// The languages of services by their numbers.
enum class XdsLanguage : std::uint8_t { Unknown, English, Spanish, French, German, Italian, Other, None };

/// Current and Future, type 06h: what is heard.
struct XdsAudioServices {
    /// One of the two.
    struct Service {
        XdsLanguage language = XdsLanguage::Unknown;  ///< What is spoken.
        std::uint8_t type = 0;                        ///< 0 to 7; xdsAudioType() says what they mean.
        /// Whether all fields are equal.
        [[nodiscard]] friend bool operator==(const Service&, const Service&) = default;
    };
    Service main;    ///< The main programme.
    Service second;  ///< The second one (SAP).

    /// Whether all fields are equal.
    [[nodiscard]] friend bool operator==(const XdsAudioServices&, const XdsAudioServices&) = default;
};

/// Current and Future, type 07h: which channels of line 21 have something, and in which language.
struct XdsCaptionServices {
    /// One of at most eight.
    struct Service {
        XdsLanguage language = XdsLanguage::English;  ///< What is written.
        Channel channel = kCC1;                       ///< Where.
        /// Whether all fields are equal.
        [[nodiscard]] friend bool operator==(const Service&, const Service&) = default;
    };
    std::vector<Service> services;  ///< As they are listed.

    /// Whether all fields are equal.
    [[nodiscard]] friend bool operator==(const XdsCaptionServices&, const XdsCaptionServices&) = default;
};

/// Current and Future, type 08h: copy generation management (CGMS-A) and redistribution control.
struct XdsCopyControl {
    std::uint8_t cgms = 0;                    ///< 0 copy as you like, 1 no more copies, 2 one generation, 3 none.
    std::uint8_t aps = 0;                     ///< Analogue protection, 0 to 3: none, or of one of three types.
    bool isAnalogSource = false;              ///< ASB: the source was packaged analogue.
    bool isRedistributionControlled = false;  ///< RCD.

    /// Whether all fields are equal.
    [[nodiscard]] friend bool operator==(const XdsCopyControl&, const XdsCopyControl&) = default;
};

/// Current and Future, types 10h to 17h: a row of what is told of the programme.
struct XdsDescription {
    std::uint8_t row = 1;  ///< 1 to 8.
    std::string text;      ///< UTF-8.
    /// Whether all fields are equal.
    [[nodiscard]] friend bool operator==(const XdsDescription&, const XdsDescription&) = default;
};

/// Channel, type 01h.
struct XdsNetworkName {
    std::string text;  ///< UTF-8.
    /// Whether all fields are equal.
    [[nodiscard]] friend bool operator==(const XdsNetworkName&, const XdsNetworkName&) = default;
};

/// Channel, type 02h.
struct XdsCallLetters {
    std::string letters;  ///< Four, of the station; fewer are sent with spaces behind them.
    std::string channel;  ///< Two digits, of the channel on which it is broadcast; empty where it is not said.
    /// Whether all fields are equal.
    [[nodiscard]] friend bool operator==(const XdsCallLetters&, const XdsCallLetters&) = default;
};

/// Channel, type 03h: how late what is on is sent.
struct XdsTapeDelay {
    std::uint8_t hours = 0;    ///< 0 to 31.
    std::uint8_t minutes = 0;  ///< 0 to 59.
    /// Whether all fields are equal.
    [[nodiscard]] friend bool operator==(const XdsTapeDelay&, const XdsTapeDelay&) = default;
};

/// Channel, type 04h.
struct XdsTransmissionId {
    std::uint16_t tsid = 0;  ///< Transmission signal identifier.
    /// Whether all fields are equal.
    [[nodiscard]] friend bool operator==(const XdsTransmissionId&, const XdsTransmissionId&) = default;
};

/// Miscellaneous, type 01h: the time as it is sent, in UTC.
struct XdsTimeOfDay {
    XdsTime time;               ///< Of that day.
    std::uint8_t weekday = 1;   ///< 1 (Sunday) to 7.
    std::uint16_t year = 1990;  ///< 1990 to 2053.
    /// Whether all fields are equal.
    [[nodiscard]] friend bool operator==(const XdsTimeOfDay&, const XdsTimeOfDay&) = default;
};

/// Miscellaneous, type 04h: where the sender is.
struct XdsTimeZone {
    std::uint8_t hours = 0;         ///< That local standard time is behind UTC, 0 to 23.
    bool observesDaylight = false;  ///< Daylight saving time is used there.
    /// Whether all fields are equal.
    [[nodiscard]] friend bool operator==(const XdsTimeZone&, const XdsTimeZone&) = default;
};

/// What a packet says; nothing for types that are kept as they are.
using XdsValue =
    std::variant<std::monostate, XdsProgramStart, XdsProgramLength, XdsProgramName, XdsProgramType, XdsContentAdvisory,
                 XdsAudioServices, XdsCaptionServices, XdsCopyControl, XdsDescription, XdsNetworkName, XdsCallLetters,
                 XdsTapeDelay, XdsTransmissionId, XdsTimeOfDay, XdsTimeZone>;

/// What a packet says. Nothing for types that are not decoded, and, with a finding, for packets whose bytes are none of
/// their type, or have numbers out of their range.
[[nodiscard]] QLX_EXPORT XdsValue xdsValue(const XdsPacket& packet, FindingSink* findings = nullptr,
                                           std::uint64_t place = 0);

/// The packet that says something. Texts become characters of the basic set, 1 to 32 of them (call letters four): what
/// that has none for is replaced, what is too long is left out, each with a finding.
/// @param isFuture For what Current and Future share: Future.
/// @return None for nothing, and, with a finding, for numbers that have no room in their packet, lists and texts that are
/// empty, and contents (dialogue ...) of a scale that has no room for them.
[[nodiscard]] QLX_EXPORT std::optional<XdsPacket> xdsPacket(const XdsValue& value, bool isFuture = false,
                                                            FindingSink* findings = nullptr);

/// The pairs of a packet without parity: start code and type, its bytes, end code and checksum.
/// @param pairs Where they are appended; nothing is for a packet whose type or bytes cannot be sent.
QLX_EXPORT void appendXdsPairs(const XdsPacket& packet, std::vector<Pair>& pairs);

/// The pair that goes on with a packet behind what stood between.
[[nodiscard]] QLX_EXPORT Pair xdsContinuePair(const XdsPacket& packet) noexcept;

/// `PG-13`, `TV-14 DLSV`, `TV-Y7 FV`, `14+`, `16 ans+`; empty for a rating that says nothing or that its scale does not
/// have.
[[nodiscard]] QLX_EXPORT std::string nameOf(const XdsContentAdvisory& advisory);

/// The rating of such a name, in capital or small letters, the contents in any order behind a space or a dash; none for any
/// other, and for contents that a rating does not have. Of names that several scales have (`G`, `PG`), that of films.
[[nodiscard]] QLX_EXPORT std::optional<XdsContentAdvisory> contentAdvisoryNamed(std::string_view name);

/// `English`, `unknown`; empty for None and numbers that are none.
[[nodiscard]] QLX_EXPORT std::string_view nameOf(XdsLanguage language) noexcept;

/// A keyword of a programme's type, 20h to 7Fh: `Education`; empty for any other number.
[[nodiscard]] QLX_EXPORT std::string_view xdsKeyword(std::uint8_t keyword) noexcept;

/// The type of an audio service, 0 to 7: `mono`, `video descriptions`.
[[nodiscard]] QLX_EXPORT std::string_view xdsAudioType(std::uint8_t type, bool isSecond) noexcept;

/// How packets are read.
struct XdsReaderOptions {
    bool ignoresParity = false;  ///< Parity bits are not looked at: of a stream that has none.
};

/// Joins the pairs of packets. A packet that another one or captions interrupt is kept until its continue code comes.
class XdsReader {
public:
    /// Has read nothing yet.
    explicit XdsReader(const XdsReaderOptions& options = {}) noexcept : _options(options) {}

    /// Takes a pair of field 2, with parity bits.
    /// @param first Its first byte.
    /// @param second Its second byte.
    /// @param findings A packet with a wrong checksum or parity, too long, cut, or continued without a beginning; each once.
    /// Of a field without parity bits (ParityWatch) that is said once, in place of all of these.
    /// @param place The offset of findings.
    /// @return The packet that it ends; none for all other pairs.
    QLX_EXPORT std::optional<XdsPacket> receive(std::uint8_t first, std::uint8_t second,
                                                FindingSink* findings = nullptr, std::uint64_t place = 0);

    /// Called at the end: a packet that has no end is a finding. What comes then is read as by a new reader.
    QLX_EXPORT void finish(FindingSink* findings = nullptr, std::uint64_t place = 0);

    /// Whether the next pair of characters belongs to a packet.
    [[nodiscard]] bool isOpen() const noexcept { return _open < _packets.size(); }

private:
    /// Packets that are kept at once: more than a sender can reasonably begin.
    static constexpr std::size_t kKept = 8;
    static constexpr std::size_t kNone = kKept;

    struct Begun {
        XdsPacket packet;
        std::uint8_t sum = 0;
        bool isUsed = false;
        bool isDamaged = false;
        bool isTooLong = false;
        std::uint32_t age = 0;
    };

    void reportLost(const Finding& finding, FindingSink* findings);
    void cut(const Begun& begun, FindingSink* findings, std::uint64_t place);
    void begin(std::uint8_t code, std::uint8_t type, FindingSink* findings, std::uint64_t place);
    void take(std::uint8_t first, std::uint8_t second);
    std::optional<XdsPacket> end(std::uint8_t checksum, bool isSound, FindingSink* findings, std::uint64_t place);

    XdsReaderOptions _options;
    ParityWatch _parity;
    std::array<Begun, kKept> _packets{};
    std::size_t _open = kNone;
    std::uint32_t _begun = 0;
    bool _isLost = false;  ///< What stands here belongs to a packet of whose beginning something has been said.
};

}  // namespace qlx::cea608
