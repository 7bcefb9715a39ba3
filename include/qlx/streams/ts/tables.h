// The tables that say what a transport stream holds: programs and their streams (ISO/IEC 13818-1, clauses 2.4.4.3 and
// 2.4.4.8), names of services (ETSI EN 300 468, clause 5.2.3), and the descriptors of teletext in them.
//
//     const auto map = qlx::streams::ts::parsePmt(bytes);
//     if (!map) { report(map.error().text()); }
//     else {
//         for (const qlx::streams::ts::ProgramStream& stream : map->streams) {
//             for (const auto& page : qlx::streams::ts::teletextPages(stream.descriptors)) { use(page.page, stream.pid); }
//         }
//     }
#pragma once

#include <qlx/base/finding.h>
#include <qlx/base/result.h>
#include <qlx/streams/export.h>
#include <qlx/streams/ts/packet.h>
#include <qlx/streams/ts/section.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace qlx::streams::ts {

inline constexpr std::uint16_t kPatPid = 0x0000;   ///< Of the program association table.
inline constexpr std::uint16_t kSdtPid = 0x0011;   ///< Of the service description table.
inline constexpr std::uint8_t kPatTableId = 0x00;  ///< Program association section.
inline constexpr std::uint8_t kPmtTableId = 0x02;  ///< Program map section.
inline constexpr std::uint8_t kSdtTableId = 0x42;  ///< Service description section of this stream.

/// stream_type of PES packets with private data: teletext and VBI data are such.
inline constexpr std::uint8_t kPrivatePesType = 0x06;
/// stream_type of splice information (SCTE 35).
inline constexpr std::uint8_t kSpliceType = 0x86;

/// Tags of descriptors that are named here.
enum class DescriptorTag : std::uint8_t {
    Registration = 0x05,  ///< format_identifier: `CUEI`.
    VbiData = 0x45,       ///< VBI_data_descriptor (EN 300 468, clause 6.2.47).
    VbiTeletext = 0x46,   ///< VBI_teletext_descriptor: as teletext_descriptor.
    Service = 0x48,       ///< service_descriptor.
    Teletext = 0x56,      ///< teletext_descriptor (EN 300 468, clause 6.2.43).
};

/// A descriptor as it stands in a table.
struct Descriptor {
    std::uint8_t tag = 0;             ///< descriptor_tag.
    std::vector<std::uint8_t> bytes;  ///< At most 255, behind tag and length.

    /// Whether it is that one.
    [[nodiscard]] bool is(DescriptorTag wanted) const noexcept { return tag == static_cast<std::uint8_t>(wanted); }
    /// Whether all fields are equal.
    [[nodiscard]] friend bool operator==(const Descriptor&, const Descriptor&) = default;
};

/// What stands in front of every table's entries.
struct TableHeader {
    std::uint16_t extension = 0;     ///< transport_stream_id, program_number.
    std::uint8_t version = 0;        ///< 0 to 31.
    bool isCurrent = true;           ///< False of a table that is to come.
    std::uint8_t sectionNumber = 0;  ///< Of this section.
    std::uint8_t lastSection = 0;    ///< Of the table's last section.

    /// Whether all fields are equal.
    [[nodiscard]] friend bool operator==(const TableHeader&, const TableHeader&) = default;
};

/// A program and where its map is.
struct Program {
    std::uint16_t number = 1;     ///< program_number; 0 is the network's table.
    std::uint16_t mapPid = 0x20;  ///< PID of its map.

    /// Whether all fields are equal.
    [[nodiscard]] friend bool operator==(const Program&, const Program&) = default;
};

/// A section of the program association table.
struct Pat {
    TableHeader header;             ///< With the transport_stream_id.
    std::vector<Program> programs;  ///< In their order.

    /// Whether all fields are equal.
    [[nodiscard]] friend bool operator==(const Pat&, const Pat&) = default;
};

/// A stream of a program.
struct ProgramStream {
    std::uint8_t type = kPrivatePesType;  ///< stream_type.
    std::uint16_t pid = 0;                ///< elementary_PID.
    std::vector<Descriptor> descriptors;  ///< In their order.

    /// Whether all fields are equal.
    [[nodiscard]] friend bool operator==(const ProgramStream&, const ProgramStream&) = default;
};

/// A program's map.
struct Pmt {
    TableHeader header;                   ///< With the program_number.
    std::uint16_t pcrPid = kNullPid;      ///< PCR_PID.
    std::vector<Descriptor> descriptors;  ///< Of the program.
    std::vector<ProgramStream> streams;   ///< In their order.

    /// Whether all fields are equal.
    [[nodiscard]] friend bool operator==(const Pmt&, const Pmt&) = default;
};

/// A service as its table describes it.
struct Service {
    std::uint16_t number = 1;             ///< service_id: the program_number.
    std::vector<Descriptor> descriptors;  ///< In their order.

    /// Whether all fields are equal.
    [[nodiscard]] friend bool operator==(const Service&, const Service&) = default;
};

/// A section of the service description table.
struct Sdt {
    TableHeader header;                ///< With the transport_stream_id.
    std::uint16_t networkId = 0xFF01;  ///< original_network_id; FF01h is for private use.
    std::vector<Service> services;     ///< In their order.

    /// Whether all fields are equal.
    [[nodiscard]] friend bool operator==(const Sdt&, const Sdt&) = default;
};

/// Reads a section whose CRC is right, as SectionReader gives it. TsTableWrong when it is another table's, or what it
/// announces is not there.
/// @param offset Of the section, for findings.
[[nodiscard]] QLX_STREAMS_EXPORT Result<Pat> parsePat(std::span<const std::uint8_t> section, std::uint64_t offset = 0);
/// The same.
[[nodiscard]] QLX_STREAMS_EXPORT Result<Pmt> parsePmt(std::span<const std::uint8_t> section, std::uint64_t offset = 0);
/// The same.
[[nodiscard]] QLX_STREAMS_EXPORT Result<Sdt> parseSdt(std::span<const std::uint8_t> section, std::uint64_t offset = 0);

/// Writes a section with its CRC. TsTableWrong when it would be longer than 1024 bytes, or a descriptor than 255.
[[nodiscard]] QLX_STREAMS_EXPORT Result<std::vector<std::uint8_t>> writePat(const Pat& table);
/// The same.
[[nodiscard]] QLX_STREAMS_EXPORT Result<std::vector<std::uint8_t>> writePmt(const Pmt& table);
/// The same.
[[nodiscard]] QLX_STREAMS_EXPORT Result<std::vector<std::uint8_t>> writeSdt(const Sdt& table);

/// What a page of a teletext descriptor is for (EN 300 468, table 100).
enum class TeletextType : std::uint8_t {
    InitialPage = 1,      ///< Of the service.
    Subtitles = 2,        ///< Subtitle page.
    AdditionalInfo = 3,   ///< Additional information.
    Schedule = 4,         ///< Programme schedule.
    HearingImpaired = 5,  ///< Subtitles for the hard of hearing.
};

/// A page that a teletext descriptor names.
struct TeletextPage {
    std::array<char, 3> language{'u', 'n', 'd'};  ///< ISO 639-2, as it stands there.
    TeletextType type = TeletextType::Subtitles;  ///< 0 to 31; those that have no name are reserved.
    std::uint16_t page = 0x888;                   ///< Magazine 1 to 8 and two hexadecimal digits.

    /// Whether all fields are equal.
    [[nodiscard]] friend bool operator==(const TeletextPage&, const TeletextPage&) = default;
};

/// The pages that the teletext descriptors (56h, 46h) among these name, in their order.
[[nodiscard]] QLX_STREAMS_EXPORT std::vector<TeletextPage> teletextPages(std::span<const Descriptor> descriptors);

/// Pages that a teletext descriptor names at most.
inline constexpr std::size_t kMostDescribedPages = 51;

/// A teletext descriptor; of more than kMostDescribedPages pages the first ones (checkTransport() says it).
[[nodiscard]] QLX_STREAMS_EXPORT Descriptor teletextDescriptor(std::span<const TeletextPage> pages);

/// Bytes of a name for which a service descriptor has room whatever its characters are.
inline constexpr std::size_t kMostServiceNameBytes = 124;

/// A service descriptor of a digital television service. Names are UTF-8 and written as such (EN 300 468, annex A:
/// character code 15h) unless they are ASCII; what is longer than a descriptor is cut between characters.
[[nodiscard]] QLX_STREAMS_EXPORT Descriptor serviceDescriptor(std::string_view provider, std::string_view name);

}  // namespace qlx::streams::ts
