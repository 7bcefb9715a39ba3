#include <qlx/streams/ts/program_map.h>

#include "TsFinding.h"

#include <algorithm>

namespace qlx::streams::ts {

namespace {

constexpr std::size_t kMostPrograms = 256;

}  // namespace

bool ProgramMap::receive(const PacketView& packet) {
    bool isChanged = false;
    if (packet.pid == kPatPid) {
        _association.push(packet);
        while (const auto section = _association.next()) {
            isChanged = takeAssociation(*section) || isChanged;
        }
        return isChanged;
    }
    const auto pid =
        std::find_if(_mapPids.begin(), _mapPids.end(), [&](const MapPid& one) { return one.pid == packet.pid; });
    if (pid == _mapPids.end()) {
        return false;
    }
    pid->sections.push(packet);
    while (const auto section = pid->sections.next()) {
        isChanged = takeMap(*section, packet.pid) || isChanged;
    }
    return isChanged;
}

void ProgramMap::tell(const Finding& finding) {
    if (_findings != nullptr) {
        _findings->add(finding);
    }
}

bool ProgramMap::takeAssociation(const SectionView& section) {
    if (!section.isCrcRight || section.tableId() != kPatTableId) {
        return false;
    }
    const Result<Pat> table = parsePat(section.bytes, section.offset);
    if (!table) {
        tell(table.error());
        return false;
    }
    if (!table->header.isCurrent) {
        return false;
    }
    // A table of many sections adds up; one of a single section says all.
    std::vector<Program> programs = table->header.lastSection == 0 ? std::vector<Program>() : _programs;
    for (const Program& program : table->programs) {
        const auto known = std::find_if(programs.begin(), programs.end(),
                                        [&](const Program& one) { return one.number == program.number; });
        if (program.number == 0) {
            continue;
        }
        if (known != programs.end()) {
            *known = program;
        } else if (programs.size() < kMostPrograms) {
            programs.push_back(program);
        }
    }
    if (programs == _programs) {
        return false;
    }
    _programs = std::move(programs);
    std::vector<MapPid> pids;
    for (const Program& program : _programs) {
        const auto has = [&](const MapPid& one) { return one.pid == program.mapPid; };
        if (std::none_of(pids.begin(), pids.end(), has)) {
            const auto known = std::find_if(_mapPids.begin(), _mapPids.end(), has);
            pids.push_back(known != _mapPids.end()
                               ? *known
                               : MapPid{program.mapPid, SectionReader(SectionCrc::BySyntax, _findings)});
        }
    }
    _mapPids = std::move(pids);
    bool isChanged = false;
    std::erase_if(_maps, [&](const Pmt& map) {
        const bool isGone = std::none_of(_programs.begin(), _programs.end(), [&](const Program& program) {
            return program.number == map.header.extension;
        });
        if (isGone) {
            reportGone(map, nullptr, section.offset);
        }
        isChanged = isChanged || isGone;
        return isGone;
    });
    return isChanged;
}

bool ProgramMap::takeMap(const SectionView& section, std::uint16_t mapPid) {
    // Tables of other kinds may come with the same PID.
    if (!section.isCrcRight || section.tableId() != kPmtTableId) {
        return false;
    }
    const Result<Pmt> table = parsePmt(section.bytes, section.offset);
    if (!table) {
        tell(table.error());
        return false;
    }
    const bool isKnown = std::any_of(_programs.begin(), _programs.end(), [&](const Program& program) {
        return program.number == table->header.extension && program.mapPid == mapPid;
    });
    if (!table->header.isCurrent || !isKnown) {
        return false;
    }
    const auto before = std::find_if(_maps.begin(), _maps.end(),
                                     [&](const Pmt& map) { return map.header.extension == table->header.extension; });
    if (before == _maps.end()) {
        _maps.push_back(*table);
        return true;
    }
    if (*before == *table) {
        return false;
    }
    reportGone(*before, &*table, section.offset);
    const bool isSame = before->streams == table->streams && before->pcrPid == table->pcrPid;
    *before = *table;
    return !isSame;
}

void ProgramMap::reportGone(const Pmt& before, const Pmt* now, std::uint64_t offset) {
    for (const ProgramStream& stream : before.streams) {
        const bool isThere =
            now != nullptr && std::any_of(now->streams.begin(), now->streams.end(), [&](const ProgramStream& one) {
                return one.pid == stream.pid && one.type == stream.type;
            });
        if (!isThere) {
            detail::addFinding(_findings, FindingCode::TsStreamGone, Severity::Warning, offset, stream.pid,
                               stream.type);
        }
    }
}

const ProgramStream* ProgramMap::streamOf(std::uint16_t pid) const noexcept {
    for (const Pmt& map : _maps) {
        const auto stream = std::find_if(map.streams.begin(), map.streams.end(),
                                         [pid](const ProgramStream& one) { return one.pid == pid; });
        if (stream != map.streams.end()) {
            return &*stream;
        }
    }
    return nullptr;
}

const Pmt* ProgramMap::mapOf(std::uint16_t pid) const noexcept {
    const auto map = std::find_if(_maps.begin(), _maps.end(), [pid](const Pmt& one) {
        return std::any_of(one.streams.begin(), one.streams.end(),
                           [pid](const ProgramStream& stream) { return stream.pid == pid; });
    });
    return map == _maps.end() ? nullptr : &*map;
}

void ProgramMap::finish() {
    _association.stop();
    for (MapPid& pid : _mapPids) {
        pid.sections.stop();
    }
}

void ProgramMap::setFindings(FindingSink* findings) noexcept {
    _findings = findings;
    _association.setFindings(findings);
    for (MapPid& pid : _mapPids) {
        pid.sections.setFindings(findings);
    }
}

}  // namespace qlx::streams::ts
