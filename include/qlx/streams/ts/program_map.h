// Which programs and streams a transport stream holds, followed while it is read: its program association table and the
// maps of its programs (ISO/IEC 13818-1, clause 2.4.4).
//
//     qlx::streams::ts::ProgramMap map(&findings);
//     while (const auto packet = reader.next()) {
//         if (map.receive(*packet)) { report(map.maps().size()); }
//         const auto* const stream = map.streamOf(packet->pid);
//         if (stream != nullptr && stream->type == qlx::streams::ts::kSpliceType) { take(packet->payload); }
//     }
#pragma once

#include <qlx/base/finding.h>
#include <qlx/streams/export.h>
#include <qlx/streams/ts/packet.h>
#include <qlx/streams/ts/section.h>
#include <qlx/streams/ts/tables.h>

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace qlx::streams::ts {

/// Follows the tables. Sections that are not current yet and such with a wrong CRC are not used. It holds the maps of 256
/// programs at most.
///
/// Findings: those of SectionReader, TsTableWrong, and TsStreamGone (a Warning) for each PID that a new map has no more.
class ProgramMap {
public:
    /// @param findings Gets what is wrong, with the byte at which the packet stands; may be null, else it must outlive this.
    explicit ProgramMap(FindingSink* findings = nullptr) noexcept
        : _findings(findings), _association(SectionCrc::BySyntax, findings) {}

    /// Takes the next packet of the stream, of whatever PID.
    /// @return Whether the maps have changed.
    QLX_STREAMS_EXPORT bool receive(const PacketView& packet);

    /// The maps that have come, in the order of their programs in the association table.
    [[nodiscard]] std::span<const Pmt> maps() const noexcept { return _maps; }

    /// Whether the association table has come, and the map of each program that it names.
    [[nodiscard]] bool isWhole() const noexcept { return !_maps.empty() && _maps.size() == _programs.size(); }

    /// The stream with this PID; null when no map has it. Valid until the maps change.
    [[nodiscard]] QLX_STREAMS_EXPORT const ProgramStream* streamOf(std::uint16_t pid) const noexcept;

    /// The map of the program with this stream; null when there is none.
    [[nodiscard]] QLX_STREAMS_EXPORT const Pmt* mapOf(std::uint16_t pid) const noexcept;

    /// Says that no more packets are read: what has been counted is told.
    QLX_STREAMS_EXPORT void finish();

    /// Where findings go from now on.
    QLX_STREAMS_EXPORT void setFindings(FindingSink* findings) noexcept;

private:
    /// A PID with maps, and the reader of its sections.
    struct MapPid {
        std::uint16_t pid = 0;
        SectionReader sections;
    };

    bool takeAssociation(const SectionView& section);
    bool takeMap(const SectionView& section, std::uint16_t mapPid);
    void tell(const Finding& finding);
    void reportGone(const Pmt& before, const Pmt* now, std::uint64_t offset);

    FindingSink* _findings;
    SectionReader _association;
    std::vector<Program> _programs;
    std::vector<MapPid> _mapPids;
    std::vector<Pmt> _maps;
};

}  // namespace qlx::streams::ts
