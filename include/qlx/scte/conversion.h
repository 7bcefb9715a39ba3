// The sections of SCTE 35 that a message of SCTE 104 asks for, and the message that asks for sections.
//
//     qlx::Findings findings;
//     const auto sections = qlx::scte::sectionsOf(message, {.framePts90k = pts}, &findings);
//     if (!sections) { report(sections.error().text()); }
//     const auto same = qlx::scte::messageOf(*sections, {.framePts90k = pts}, &findings);
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>
#include <qlx/base/frame_rate.h>
#include <qlx/base/result.h>
#include <qlx/scte/scte104.h>
#include <qlx/scte/scte35.h>

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace qlx::scte {

/// Where a message stands in its stream.
struct ConversionOptions {
    /// PTS of the frame that carries the message: pre-rolls count from it, in a message without a time stamp.
    std::uint64_t framePts90k = 0;
    /// PTS of the splice itself, whatever the pre-roll says.
    std::optional<std::uint64_t> splicePts90k = std::nullopt;
    /// PTS of the moment that the time stamp of the message names: pre-rolls count from it.
    std::optional<std::uint64_t> timeStampPts90k = std::nullopt;
    /// The frames of duration_extension_frames.
    std::optional<FrameRate> frameRate = std::nullopt;
};

/// The sections that a message asks for, in the order of its operations (ANSI/SCTE 104, 8.3.1): one for each splice
/// request, splice null, time signal, section to inject, and schedule that is transmitted; what adds to an operation
/// (component mode, descriptors, DTMF, avails, segmentation, tier, time) is in its section. No descriptor is made that
/// was not asked for, and no avail descriptor without an identifier. What adds goes to the normal operation just before
/// it: to a schedule between its start and the next one, and again behind a definition and behind its transmission. A
/// list without a component leaves a splice to the whole program (ScteComponentsMissing).
///
/// Times are modulo 2^33: the frame's (or the time stamp's) PTS and 90 ticks for each millisecond of pre-roll. A break
/// has 9000 ticks for each tenth of a second, at its start only. A normal splice without pre-roll is immediate, as the
/// standard has it, unless component mode is in use or the PTS of the splice is given (a Remark says so); an immediate
/// one has no time. The start of a break less than four seconds ahead is told (SctePreRollTooShort), and so are a
/// not_an_entry_flag (ScteEntryFlagIgnored), extension frames without a duration (ScteExtensionFramesIgnored) or as
/// many as make a second (ScteNumberWrong), and an SCTE35_protocol_version that is not 0, which sections have all the
/// same (ScteProtocolVersionUnknown).
///
/// Skips proprietary commands, control and unknown operations, with what adds to them, and a schedule that another one
/// replaces: each is an Error among the findings (ScteMakesNoSection, ScteSupplementAlone, ScteScheduleReplaced).
///
/// There are no sections, and no error, for a message without operations (ScteMessageEmpty) and for a schedule that is
/// cancelled (ScteScheduleCancelled). Every section that is given can be written.
///
/// Fails for the whole message when any other operation makes no section or cannot be added to one (ScteMakesNoSection:
/// encryption, audio descriptors, alternate break durations, reserved types, known operations that are cut, a schedule
/// that is not transmitted; ScteSupplementAlone) or has what its section cannot hold (ScteValueTooLarge,
/// ScteSectionTooLong), and when a time stamp's moment or a frame rate is needed and not given (ScteMomentMissing,
/// ScteRateMissing). The offset of every finding is the number of the operation, from 0.
[[nodiscard]] QLX_EXPORT Result<std::vector<SpliceInfoSection>> sectionsOf(const MultipleOperationMessage& message,
                                                                           const ConversionOptions& options,
                                                                           FindingSink* findings = nullptr);

/// Where sections stand in their stream.
struct MessageOptions {
    /// PTS of the frame that will carry the message: pre-rolls count from it.
    std::uint64_t framePts90k = 0;
    /// The frames of duration_extension_frames; without it the durations of segments are whole seconds.
    std::optional<FrameRate> frameRate = std::nullopt;
};

/// The message, without a time stamp, that asks for these sections in their order (ANSI/SCTE 104, 8.3.1): what
/// sectionsOf() makes of it in the same frame. Pre-rolls are pts_time and pts_adjustment less the frame's PTS, modulo
/// 2^33, in milliseconds; breaks have tenths of a second, segments seconds and frames. What is rounded for that is a
/// Warning (SctePreRollRounded, ScteDurationRounded), and so is what SCTE 104 has no field for (ScteNotCarried): the
/// fields of the header but pts_adjustment and tier, reserved bits, a time that is not given. Stuffing, a CRC_32 that
/// is wrong, a splice_command_length, and cw_index, which means nothing without encryption, are the section's own, and
/// not said. A splice in the frame itself is immediate
/// (ScteSpliceIsImmediate), unless it is one of components.
///
/// Commands without an operation of their own (bandwidth reservation, private and unknown ones) are injected as they
/// are. Descriptors without an operation, and those that theirs could not carry whole (with components, reserved bits
/// or trailing bytes, a duration beyond its field or below a second), are inserted as they are.
///
/// Fails for an encrypted section (ScteMakesNoOperation), a splice whose pre-roll is not 0 to 65,535 ms
/// (SctePreRollOutOfRange), and what a field or the message cannot hold (ScteValueTooLarge, ScteTooLong, or why a
/// descriptor cannot be written). The offset of every finding is the number of the section, from 0.
[[nodiscard]] QLX_EXPORT Result<MultipleOperationMessage> messageOf(std::span<const SpliceInfoSection> sections,
                                                                    const MessageOptions& options,
                                                                    FindingSink* findings = nullptr);

}  // namespace qlx::scte
