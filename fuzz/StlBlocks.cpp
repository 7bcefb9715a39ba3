// Arbitrary bytes as blocks of EBU STL: whatever is read is written as the same bytes, and the fixed reader gives the
// same cues.
#include <QLXClosedCaptionsUtilities/QLXSTLFileReader.h>
#include <QLXClosedCaptionsUtilities/QLXSubtitleRecord.h>
#include <QLXClosedCaptionsUtilities/QLXSubtitleTextLine.h>
#include <QLXClosedCaptionsUtilities/platform/Text.h>
#include <qlx/subtitles/stl.h>

#include "FuzzSupport.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <string>
#include <vector>

using qlxfuzz::OneFile;
using qlxfuzz::require;
using namespace qlx::subtitles;

namespace {

void checkSame(const qlx::Data& written, std::span<const std::uint8_t> bytes) {
    require(std::equal(written.begin(), written.end(), bytes.begin(), bytes.end()));
}

/// @param mayEndLate Whether the last byte of the block's text field can end a row.
void checkRecord(const QLXSubtitleRecord& record, const Cue& cue, bool mayEndLate) {
    const auto lines = record.subtitleLines();
    // A row that the field's last byte ends is one of the core's alone.
    require(record.index() == cue.number);
    require(lines.size() == cue.rows.size() || (mayEndLate && lines.size() + 1 == cue.rows.size()));
    require(std::abs(record.startTimeInSeconds() - qlx::secondsFrom(cue.start)) < 0.0005);
    require(std::abs(record.endTimeInSeconds() - qlx::secondsFrom(cue.end)) < 0.0005);
    for (std::size_t index = 0; index < lines.size(); ++index) {
        const Row& row = cue.rows[index];
        auto text = lines[index]->textString();
        require(text.has_value());
        std::erase(*text, '\0');
        require(*text == row.text() && !qlx::firstInvalidUTF8Byte(*text));
        require(lines[index]->alignment() == static_cast<std::int32_t>(row.alignment));
        require(row.number <= 11 && (row.number == 0 || lines[index]->verticalPosition() == row.number));
        require(lines[index]->textColor() ==
                static_cast<std::int32_t>(qlx::screen::basicIndex(row.runs.front().style.foreground)));
    }
}

/// Reads it as a file, whatever its block announces.
void readFile(const std::vector<std::uint8_t>& bytes) {
    qlx::Findings findings;
    const auto file = parseStl(bytes, &findings);
    require(file.hasValue() == (bytes.size() >= kGsiBytes));
    if (!file) {
        return;
    }
    checkSame(writeGsi(file->gsi), std::span(bytes).first(kGsiBytes));
    std::vector<Cue> cues;
    std::vector<bool> mayEndLate;
    const auto rate = file->gsi.rate();
    for (std::size_t index = 0; index < file->blocks(); ++index) {
        const Tti block = file->block(index, &findings);
        checkSame(writeTti(block), file->behind.subspan(index * kTtiBytes, kTtiBytes));
        const Cue cue = cueOf(block, rate.value_or(qlx::FrameRate::Fps25), &findings, StlView::offsetOf(index));
        if (block.isSubtitle()) {
            cues.push_back(cue);
            mayEndLate.push_back(block.text.back() == 0x8A || block.text.back() == 0x8F);
        }
    }
    for (const qlx::Finding& finding : findings) {
        require(finding.offset <= bytes.size() && !finding.text().empty());
    }
    if (file->gsi.blockCount.number() != static_cast<std::int64_t>(file->blocks())) {
        return;
    }
    const OneFile served{qlx::Data(bytes)};
    const auto records = QLXSTLFileReader::subtitleRecordsFromSTLFileAtPath("a.stl");
    if (rate != qlx::FrameRate::Fps25 && rate != qlx::FrameRate::Fps30) {
        require(records.empty());
        return;
    }
    require(records.size() == cues.size());
    for (std::size_t index = 0; index < records.size(); ++index) {
        checkRecord(*records[index], cues[index], mayEndLate[index]);
    }
}

}  // namespace

// A file; and its bytes as blocks behind an information block of our own.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::vector<std::uint8_t> bytes(data, data + size);
    readFile(bytes);
    Gsi gsi;
    require(gsi.blockCount.setNumber(size / kTtiBytes));
    const qlx::Data information = writeGsi(gsi);
    std::vector<std::uint8_t> file(information.begin(), information.end());
    file.insert(file.end(), bytes.begin(), bytes.end());
    readFile(file);
    return 0;
}
