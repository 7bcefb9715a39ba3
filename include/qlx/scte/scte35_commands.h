// The splice commands of ANSI/SCTE 35 (2023r1, 9.7), each as a value. Times are 33 bits of 90 kHz ticks. Reserved bits are
// kept as they are: all ones, unless what was read has others.
//
//     qlx::scte::SpliceInfoSection section;
//     section.command = qlx::scte::TimeSignal{.time = {.ticks90k = 900'000}};   // ten seconds
//     const qlx::Result<qlx::Data> bytes = qlx::scte::writeSpliceInfoSection(section);
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <variant>
#include <vector>

namespace qlx::scte {

/// The greatest time: it has 33 bits.
inline constexpr std::uint64_t kGreatestTicks = (std::uint64_t{1} << 33U) - 1;

/// splice_time().
struct SpliceTime {
    std::optional<std::uint64_t> ticks90k;  ///< pts_time; none where time_specified_flag is 0.
    std::uint8_t reserved = 0x7F;           ///< 7 bits without a time, the lower 6 with one.

    /// Whether all fields are equal.
    friend bool operator==(const SpliceTime&, const SpliceTime&) = default;
};

/// break_duration().
struct BreakDuration {
    bool autoReturn = false;       ///< auto_return
    std::uint64_t ticks90k = 0;    ///< duration
    std::uint8_t reserved = 0x3F;  ///< 6 bits.

    /// Whether all fields are equal.
    friend bool operator==(const BreakDuration&, const BreakDuration&) = default;
};

/// splice_null(), which has no fields.
struct SpliceNull {
    /// splice_command_type
    static constexpr std::uint8_t kCommandType = 0x00;

    /// Always true.
    friend bool operator==(const SpliceNull&, const SpliceNull&) = default;
};

/// A stream of a scheduled splice.
struct ScheduledComponent {
    std::uint8_t componentTag = 0;  ///< component_tag
    std::uint32_t gpsSeconds = 0;   ///< utc_splice_time: seconds since 6 January 1980, leap seconds included.

    /// Whether all fields are equal.
    friend bool operator==(const ScheduledComponent&, const ScheduledComponent&) = default;
};

/// An event of splice_schedule(). A cancelled one has an event identifier, and nothing else has a meaning.
struct ScheduledSplice {
    std::uint32_t eventId = 0;                   ///< splice_event_id
    bool cancel = false;                         ///< splice_event_cancel_indicator
    bool eventIdCompliance = true;               ///< event_id_compliance_flag; before 2022 a reserved 1.
    std::uint8_t reserved = 0x3F;                ///< 6 bits.
    bool outOfNetwork = false;                   ///< out_of_network_indicator
    bool programSplice = true;                   ///< program_splice_flag
    std::uint8_t reservedFlags = 0x1F;           ///< 5 bits.
    std::uint32_t gpsSeconds = 0;                ///< utc_splice_time of a program splice.
    std::vector<ScheduledComponent> components;  ///< Of a splice that is no program splice; at most 255.
    std::optional<BreakDuration> breakDuration;  ///< break_duration()
    std::uint16_t uniqueProgramId = 0;           ///< unique_program_id
    std::uint8_t availNum = 0;                   ///< avail_num
    std::uint8_t availsExpected = 0;             ///< avails_expected

    /// Whether all fields are equal.
    friend bool operator==(const ScheduledSplice&, const ScheduledSplice&) = default;
};

/// splice_schedule().
struct SpliceSchedule {
    /// splice_command_type
    static constexpr std::uint8_t kCommandType = 0x04;

    std::vector<ScheduledSplice> events;  ///< At most 255.

    /// Whether all fields are equal.
    friend bool operator==(const SpliceSchedule&, const SpliceSchedule&) = default;
};

/// A stream of splice_insert().
struct SpliceComponent {
    std::uint8_t componentTag = 0;  ///< component_tag
    SpliceTime time;                ///< splice_time(); without meaning in an immediate splice.

    /// Whether all fields are equal.
    friend bool operator==(const SpliceComponent&, const SpliceComponent&) = default;
};

/// splice_insert(). A cancelled one has an event identifier, and nothing else has a meaning.
struct SpliceInsert {
    /// splice_command_type
    static constexpr std::uint8_t kCommandType = 0x05;

    std::uint32_t eventId = 0;                   ///< splice_event_id
    bool cancel = false;                         ///< splice_event_cancel_indicator
    std::uint8_t reserved = 0x7F;                ///< 7 bits.
    bool outOfNetwork = false;                   ///< out_of_network_indicator
    bool programSplice = true;                   ///< program_splice_flag
    bool immediate = false;                      ///< splice_immediate_flag: no times.
    bool eventIdCompliance = true;               ///< event_id_compliance_flag; before 2022 a reserved 1.
    std::uint8_t reservedFlags = 0x07;           ///< 3 bits.
    SpliceTime time;                             ///< splice_time() of a program splice that is not immediate.
    std::vector<SpliceComponent> components;     ///< Of a splice that is no program splice; at most 255.
    std::optional<BreakDuration> breakDuration;  ///< break_duration()
    std::uint16_t uniqueProgramId = 0;           ///< unique_program_id
    std::uint8_t availNum = 0;                   ///< avail_num
    std::uint8_t availsExpected = 0;             ///< avails_expected

    /// Whether all fields are equal.
    friend bool operator==(const SpliceInsert&, const SpliceInsert&) = default;
};

/// time_signal().
struct TimeSignal {
    /// splice_command_type
    static constexpr std::uint8_t kCommandType = 0x06;

    SpliceTime time;  ///< splice_time()

    /// Whether all fields are equal.
    friend bool operator==(const TimeSignal&, const TimeSignal&) = default;
};

/// bandwidth_reservation(), which has no fields.
struct BandwidthReservation {
    /// splice_command_type
    static constexpr std::uint8_t kCommandType = 0x07;

    /// Always true.
    friend bool operator==(const BandwidthReservation&, const BandwidthReservation&) = default;
};

/// private_command().
struct PrivateCommand {
    /// splice_command_type
    static constexpr std::uint8_t kCommandType = 0xFF;

    std::uint32_t identifier = 0;    ///< identifier
    std::vector<std::uint8_t> data;  ///< private_byte

    /// Whether all fields are equal.
    friend bool operator==(const PrivateCommand&, const PrivateCommand&) = default;
};

/// A command whose type is not known, or that is too short for its type: kept as it is.
struct VerbatimCommand {
    std::uint8_t commandType = 0;    ///< splice_command_type
    std::vector<std::uint8_t> data;  ///< Its bytes.

    /// Whether all fields are equal.
    friend bool operator==(const VerbatimCommand&, const VerbatimCommand&) = default;
};

/// What an encrypted section has from splice_command_type up to E_CRC_32: kept as it is.
struct EncryptedContent {
    std::uint16_t commandLength = 0;  ///< splice_command_length, which is not encrypted.
    std::vector<std::uint8_t> data;   ///< The encrypted bytes.

    /// Whether all fields are equal.
    friend bool operator==(const EncryptedContent&, const EncryptedContent&) = default;
};

/// The command of a section.
using SpliceCommand = std::variant<SpliceNull, SpliceSchedule, SpliceInsert, TimeSignal, BandwidthReservation,
                                   PrivateCommand, VerbatimCommand, EncryptedContent>;

}  // namespace qlx::scte
