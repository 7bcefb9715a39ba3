// Sections of tables in transport stream packets (ISO/IEC 13818-1, clause 2.4.4): read from the packets of a PID, and
// written into packets.
//
//     qlx::streams::ts::SectionReader sections({}, &findings);
//     sections.push(packet);  // Of its PID alone.
//     while (const auto section = sections.next()) {
//         if (section->isCrcRight) { use(section->bytes); }
//     }
//
//     qlx::streams::ts::PayloadWriter writer(0x0100);
//     std::vector<qlx::streams::ts::PacketBytes> packets;
//     writer.addSection(bytes, packets);
#pragma once

#include <qlx/base/finding.h>
#include <qlx/streams/export.h>
#include <qlx/streams/ts/packet.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace qlx::streams::ts {

/// Bytes of a section up to its length.
inline constexpr std::size_t kSectionHeaderBytes = 3;
/// Bytes of the longest section that may be (private sections; those of PAT and PMT have 1024 at most).
inline constexpr std::size_t kGreatestSectionBytes = 4096;
/// Bytes of the CRC-32 at the end.
inline constexpr std::size_t kSectionCrcBytes = 4;
/// In place of a section it says that the rest of a packet is stuffing.
inline constexpr std::uint8_t kStuffingTableId = 0xFF;

/// Which sections end with a CRC-32.
enum class SectionCrc : std::uint8_t {
    BySyntax,  ///< Those with section_syntax_indicator, as of PAT, PMT and SDT.
    Always,    ///< All, as of SCTE-35, whose indicator is 0.
    Never,     ///< It is not looked at.
};

/// A section that was read; it points into its reader, until the next call of that.
struct SectionView {
    std::uint64_t offset = 0;             ///< Byte of the stream at which the packet stands in which it begins.
    std::uint16_t pid = 0;                ///< Of its packets.
    bool isCrcRight = true;               ///< Or not to be looked at.
    std::span<const std::uint8_t> bytes;  ///< All of it: from the table_id to the CRC.

    /// The table_id.
    [[nodiscard]] std::uint8_t tableId() const noexcept { return bytes[0]; }
};

/// Puts sections together from the packets of one PID: sections over several packets, and several in one. It holds one
/// section and one packet.
///
/// Findings: TsContinuityLost, TsSectionCut (what is left out), TsSectionCrcWrong (the section is given all the same),
/// TsSectionTooLong, TsSectionWrong (a pointer that leads out of its packet); TsPacketScrambled and TsPacketDamaged
/// for the first of a run of such packets, TsMorePacketsLeftOut for the others.
class SectionReader {
public:
    /// @param crc Which sections have a CRC-32.
    /// @param findings Gets what is wrong, with the byte at which the packet stands; may be null, else it must outlive this.
    explicit SectionReader(SectionCrc crc = SectionCrc::BySyntax, FindingSink* findings = nullptr) noexcept
        : _crc(crc), _findings(findings) {}

    /// Takes the next packet, of whatever PID the first one was; others are passed over. Sections that were given before are
    /// no longer valid, and those of the packet before that were not asked for are lost.
    QLX_STREAMS_EXPORT void push(const PacketView& packet);

    /// The next section; none when more packets are needed.
    [[nodiscard]] QLX_STREAMS_EXPORT std::optional<SectionView> next();

    /// Says that there are no more packets: a section that has begun is cut.
    QLX_STREAMS_EXPORT void finish();

    /// Says that packets that follow are not read: nothing is said of a section that has begun.
    void stop() { _unusable.end(_findings); }

    /// Where findings go from now on.
    void setFindings(FindingSink* findings) noexcept { _findings = findings; }

private:
    void take(std::span<const std::uint8_t> bytes);
    void cut();
    [[nodiscard]] std::size_t missing() const noexcept;
    [[nodiscard]] bool hasCrc() const noexcept;

    SectionCrc _crc;
    FindingSink* _findings;
    ContinuityCheck _continuity;
    UnusablePackets _unusable;
    std::optional<std::uint16_t> _pid;
    std::array<std::uint8_t, kPacketBytes> _packet{};  ///< Payload of the last packet.
    std::size_t _place = 0;                            ///< In it, what is read next.
    std::size_t _end = 0;                              ///< Of it.
    std::size_t _start = 0;                            ///< In it, where the first section begins; _end for none.
    std::uint64_t _offset = 0;                         ///< Of the last packet.
    std::uint64_t _sectionOffset = 0;                  ///< Of the packet in which the section begins.
    std::vector<std::uint8_t> _section;                ///< As much of it as there is.
    bool _isInside = false;                            ///< Of a section.
    bool _isGiven = false;                             ///< It was given, and goes with the next call.
};

/// Writes sections and PES packets of one PID into packets, which it counts.
class PayloadWriter {
public:
    /// @param pid 0 to 1FFEh.
    /// @param continuity Counter of the first packet.
    explicit PayloadWriter(std::uint16_t pid, std::uint8_t continuity = 0) noexcept
        : _pid(pid), _continuity(continuity) {}

    /// Puts sections, one behind the other, into packets of their own: the first has a pointer field, stuffing bytes follow
    /// the last. Where a section ends and another begins in one packet, that has a pointer field too.
    /// @param sections Whole ones; nothing is looked at but their lengths. What is no whole section is left out.
    /// @param packets Get those that are made.
    /// @return Bytes that are left out.
    QLX_STREAMS_EXPORT std::size_t addSections(std::span<const std::uint8_t> sections,
                                               std::vector<PacketBytes>& packets);

    /// The same with one section.
    void addSection(std::span<const std::uint8_t> section, std::vector<PacketBytes>& packets) {
        (void)addSections(section, packets);
    }

    /// Puts a PES packet into packets of its own; the last one has stuffing bytes in its adaptation field.
    /// @param pes All of it, from its start code on.
    /// @param packets Get those that are made.
    /// @param pcr In the first packet; or none.
    QLX_STREAMS_EXPORT void addPes(std::span<const std::uint8_t> pes, std::vector<PacketBytes>& packets,
                                   std::optional<std::uint64_t> pcr = std::nullopt);

    /// Adds a packet without payload, which only carries a time.
    /// @param pcr In 27 MHz.
    /// @param packets Get the one that is made.
    QLX_STREAMS_EXPORT void addPcr(std::uint64_t pcr, std::vector<PacketBytes>& packets);

    /// Of its packets.
    [[nodiscard]] std::uint16_t pid() const noexcept { return _pid; }
    /// Counter of the next packet with payload.
    [[nodiscard]] std::uint8_t continuity() const noexcept { return _continuity; }

private:
    std::uint16_t _pid;
    std::uint8_t _continuity;
};

/// Puts the CRC-32 behind a section whose length already counts it.
QLX_STREAMS_EXPORT void appendSectionCrc(std::vector<std::uint8_t>& section);

}  // namespace qlx::streams::ts
