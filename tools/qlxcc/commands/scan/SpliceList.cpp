#include "commands/scan/SpliceList.h"

#include "io/Errors.h"
#include "io/InputFile.h"
#include "io/Text.h"
#include "streams/SectionWords.h"

#include <array>
#include <cstdlib>
#include <span>

namespace qlx::tool {

namespace {

std::string pidText(std::uint16_t pid) {
    return hex(std::array{static_cast<std::uint8_t>(pid >> 8U), static_cast<std::uint8_t>(pid)});
}

std::string placeOf(const streams::SpliceArrival& arrival) {
    return "byte " + std::to_string(arrival.offset) + ", PID " + pidText(arrival.pid) +
           (arrival.arrival90k ? ", at " + std::to_string(*arrival.arrival90k) : std::string());
}

/// Whether a finding is about sections of splice information, or about packets that such can be in.
bool isOfSplices(const qlx::Finding& finding) {
    constexpr std::uint32_t kRoom = 0xFFFF'0000;
    const auto code = static_cast<std::uint32_t>(finding.code);
    return (code & kRoom) == (static_cast<std::uint32_t>(FindingCode::ScteMessageMarkWrong) & kRoom) ||
           finding.code == FindingCode::SpliceNotRegistered || finding.code == FindingCode::TsSectionCrcWrong ||
           finding.code == FindingCode::TsSectionCut || finding.code == FindingCode::TsSectionTooLong ||
           finding.code == FindingCode::TsSectionWrong;
}

std::string timeInWords(const streams::SpliceArrival& arrival) {
    const auto splice = arrival.splice90k();
    if (!splice) {
        return {};
    }
    std::string text = ", PTS " + std::to_string(*splice);
    if (const auto distance = arrival.distance90k()) {
        text += ", " + ticksInWords(static_cast<std::uint64_t>(std::abs(*distance))) +
                (*distance < 0 ? " before it came" : " ahead");
    }
    return text;
}

}  // namespace

SpliceList::SpliceList(const std::string& file, const std::vector<std::uint16_t>& pids) {
    if (file == "-") {
        return;
    }
    InputFile source(file);
    qlx::Findings findings;
    streams::SpliceReader reader({.pids = pids}, &findings);
    std::vector<std::uint8_t> piece(std::size_t{1} << 18U);
    while (const std::size_t size = source.read(piece)) {
        reader.push(std::span(piece).first(size));
        take(reader);
    }
    reader.finish();
    take(reader);
    // What is wrong with the packets is said of the frames; of this it is what belongs to sections.
    for (const qlx::Finding& finding : findings) {
        if (!isOfSplices(finding)) {
            continue;
        }
        const std::string text = source.name() + ": byte " + std::to_string(finding.offset) + ": " + finding.text();
        if (finding.severity == Severity::Error || finding.code == FindingCode::TsSectionCrcWrong) {
            ++_problems;
            printMessage(text);
        } else {
            printNote("warning: " + text);
        }
    }
}

void SpliceList::take(streams::SpliceReader& reader) {
    while (auto arrival = reader.next()) {
        const auto [known, isNew] = _known.try_emplace({arrival->pid, arrival->bytes}, _sections.size());
        if (isNew) {
            _sections.push_back({*std::move(arrival), 1});
        } else {
            ++_sections[known->second].count;
        }
    }
}

void SpliceList::write(OutputFile& output) const {
    if (!_sections.empty()) {
        output.write("splice information:\n");
    }
    for (const Counted& one : _sections) {
        output.write("  " + placeOf(one.arrival) + ": " + sectionInWords(one.arrival.section) +
                     timeInWords(one.arrival) +
                     (one.count > 1 ? ", sent " + std::to_string(one.count) + " times" : std::string()) + "\n");
    }
}

void SpliceList::takePoints(SplicePoints& points) const {
    for (const Counted& one : _sections) {
        points.take(placeOf(one.arrival), one.arrival.section);
    }
}

}  // namespace qlx::tool
