// The splice_info_section of ANSI/SCTE 35 (2023r1): read from what is seen in the field, written as the standard says.
//
//     qlx::Findings findings;
//     const auto section = qlx::scte::parseSpliceInfoSection(bytes, &findings);
//     if (section) {
//         if (const auto* insert = std::get_if<qlx::scte::SpliceInsert>(&section->command)) { use(insert->eventId); }
//         const qlx::Result<qlx::Data> same = qlx::scte::writeSpliceInfoSection(*section);
//     }
//
// Sections as hexadecimal digits or base64: scte35_text.h.
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>
#include <QLXClosedCaptionsUtilities/platform/Data.h>
#include <qlx/base/result.h>
#include <qlx/scte/scte35_commands.h>
#include <qlx/scte/scte35_descriptors.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace qlx::scte {

inline constexpr std::uint8_t kSpliceInfoTableId = 0xFC;         ///< table_id
inline constexpr std::size_t kGreatestSectionLength = 4093;      ///< Greatest section_length.
inline constexpr std::size_t kGreatestSectionBytes = 3 + 4093;   ///< Bytes of such a section.
inline constexpr std::uint16_t kCommandLengthNotGiven = 0x0FFF;  ///< splice_command_length of old writers.
inline constexpr std::uint16_t kEveryTier = 0x0FFF;              ///< tier that reaches every receiver.

/// A splice_info_section (ANSI/SCTE 35, 9.6). section_length, splice_command_length, descriptor_loop_length, CRC_32 and
/// encrypted_packet are made when it is written; where a section that was read has other ones, they are kept in the
/// members that are called stated...
struct SpliceInfoSection {
    bool sectionSyntaxIndicator = false;               ///< section_syntax_indicator
    bool privateIndicator = false;                     ///< private_indicator
    std::uint8_t sapType = 3;                          ///< sap_type, 2 bits; 3 where nothing is said.
    std::uint8_t protocolVersion = 0;                  ///< protocol_version
    std::uint8_t encryptionAlgorithm = 0;              ///< encryption_algorithm, 6 bits.
    std::uint64_t ptsAdjustment90k = 0;                ///< pts_adjustment, 33 bits: added to every time of it.
    std::uint8_t cwIndex = 0;                          ///< cw_index
    std::uint16_t tier = kEveryTier;                   ///< tier, 12 bits.
    SpliceCommand command;                             ///< EncryptedContent where encrypted_packet is set.
    std::vector<std::uint8_t> commandTrailing;         ///< What the command has behind its fields.
    std::vector<SpliceDescriptor> descriptors;         ///< In their order.
    std::vector<std::uint8_t> descriptorTrailing;      ///< What the loop has behind the last whole descriptor.
    std::vector<std::uint8_t> alignmentStuffing;       ///< alignment_stuffing
    std::optional<std::uint16_t> statedCommandLength;  ///< FFFh, or one that is wrong.
    std::optional<std::uint32_t> statedCrc;            ///< CRC_32 where it is wrong.

    /// Whether encrypted_packet is set.
    [[nodiscard]] bool isEncrypted() const noexcept { return std::holds_alternative<EncryptedContent>(command); }
    /// splice_command_type; none where it is encrypted.
    [[nodiscard]] QLX_EXPORT std::optional<std::uint8_t> commandType() const noexcept;

    /// Whether all fields are equal.
    friend bool operator==(const SpliceInfoSection&, const SpliceInfoSection&) = default;
};

/// Reads a section that begins with the first byte. Fails with ScteTableIdWrong, ScteSectionTooLong (section_length
/// beyond 4093), ScteSectionCut (fewer bytes than section_length says, or than any section has), and with
/// ScteCommandLengthWrong or ScteDescriptorLoopCut where it cannot be told where the command or the descriptors end.
/// What is wrong otherwise is given to `findings` with its byte offset and kept: what is read is written as the same
/// bytes. A wrong CRC_32 is a Warning: what a host does with such a section is its own choice (13818-1 leaves it out).
[[nodiscard]] QLX_EXPORT Result<SpliceInfoSection> parseSpliceInfoSection(std::span<const std::uint8_t> bytes,
                                                                          FindingSink* findings = nullptr);

/// Writes the section into `room` and gives its bytes. Allocates nothing. ScteValueTooLarge for a number or list that
/// does not fit into its field, ScteSectionTooLong for a section_length beyond 4093, OutputTooSmall for a room that is
/// smaller than the section; nothing is written then.
[[nodiscard]] QLX_EXPORT Result<std::size_t> writeSpliceInfoSection(const SpliceInfoSection& section,
                                                                    std::span<std::uint8_t> room);

/// The section as a buffer of its own.
[[nodiscard]] QLX_EXPORT Result<Data> writeSpliceInfoSection(const SpliceInfoSection& section);

}  // namespace qlx::scte
