// Arbitrary bytes as an SRT file: pieces make no difference, and where both take a file the fixed reader gives the same
// cues.
#include <QLXClosedCaptionsUtilities/QLXSRTFileReader.h>
#include <QLXClosedCaptionsUtilities/QLXSubtitleRecord.h>
#include <QLXClosedCaptionsUtilities/QLXSubtitleTextLine.h>
#include <QLXClosedCaptionsUtilities/platform/Text.h>
#include <qlx/subtitles/srt.h>

#include "FuzzSupport.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <string>

using qlx::FindingCode;
using qlx::subtitles::Cue;
using qlx::subtitles::SrtOptions;
using qlxfuzz::OneFile;
using qlxfuzz::require;

namespace {

struct Found {
    std::vector<Cue> cues;
    std::vector<qlx::Finding> findings;
};

Found read(std::span<const std::uint8_t> bytes, std::size_t piece, const SrtOptions& options = {}) {
    Found found;
    qlx::Findings findings(bytes.size() + 1);
    qlx::subtitles::SrtReader reader(options, &findings);
    const auto take = [&] {
        while (const Cue* const cue = reader.next()) {
            found.cues.push_back(*cue);
        }
    };
    for (std::size_t done = 0; done < bytes.size(); done += piece) {
        const auto part = bytes.subspan(done, std::min(piece, bytes.size() - done));
        reader.push(std::vector<std::uint8_t>(part.begin(), part.end()));
        take();
    }
    reader.finish();
    take();
    require(reader.next() == nullptr);
    // A cue has a line, and what is wrong at most two findings a line.
    require(findings.rest() == 0 && found.cues.size() <= bytes.size());
    found.findings.assign(findings.begin(), findings.end());
    return found;
}

void checkCue(const Cue& cue) {
    require(cue.start.isValid() && cue.end.value > cue.start.value && cue.start.value >= 0);
    for (const auto& row : cue.rows) {
        require(row.runs.size() == 1 && row.anchor <= 9 && !qlx::firstInvalidUTF8Byte(row.text()));
        require(row.text().find_first_of("\r\n") == std::string::npos);
    }
}

/// Whether the fixed reader takes the same cues: it takes times that are none for 0, adds them up as binary fractions,
/// and takes rows that are none, and no file that is not UTF-8.
bool isComparable(const Found& found, std::string_view text) {
    constexpr std::int64_t kExact = std::int64_t{1} << 50U;
    return !qlx::firstInvalidUTF8Byte(text) &&
           std::all_of(found.cues.begin(), found.cues.end(), [](const Cue& cue) { return cue.end.value < kExact; }) &&
           std::none_of(found.findings.begin(), found.findings.end(), [](const qlx::Finding& finding) {
               return finding.code == FindingCode::SrtTimeWrong || finding.code == FindingCode::SrtRowWrong ||
                      finding.code == FindingCode::SrtCueTooLong ||
                      (finding.code == FindingCode::SrtEndNotLater &&
                       (finding.first == finding.second || finding.first >= kExact));
           });
}

void compare(const Found& found, const qlx::Data& content) {
    const OneFile file(content);
    const auto records =
        QLXSRTFileReader::subtitleRecordsFromSRTFileAtPath_subtitleMode_frameDuration("a.srt", 2, 0.04);
    require(records.size() == found.cues.size());
    for (std::size_t index = 0; index < records.size(); ++index) {
        const Cue& cue = found.cues[index];
        const QLXSubtitleRecord& record = *records[index];
        const auto lines = record.subtitleLines();
        // A number below zero is none here.
        require(record.index() == cue.number || (cue.number == 0 && static_cast<std::int64_t>(record.index()) < 0));
        require(lines.size() == cue.rows.size());
        require(std::abs(record.startTimeInSeconds() - qlx::secondsFrom(cue.start)) < 0.0005);
        require(std::abs(record.endTimeInSeconds() - qlx::secondsFrom(cue.end)) < 0.0005);
        for (std::size_t line = 0; line < lines.size(); ++line) {
            const auto& row = cue.rows[line];
            const auto& style = row.runs.front().style;
            require(lines[line]->textString() == row.text());
            require(lines[line]->textColor() == static_cast<std::int32_t>(qlx::screen::basicIndex(style.foreground)));
            require(lines[line]->bold() == style.isBold && lines[line]->italic() == style.isItalic);
            require(lines[line]->underline() == style.isUnderlined && lines[line]->positioningType() == row.anchor);
            require(lines[line]->alignment() == static_cast<std::int32_t>(row.alignment));
            require(row.number == 0 || lines[line]->verticalPosition() == row.number);
        }
    }
}

}  // namespace

// The size of a piece, the greatest size of a cue, the file.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    qlxfuzz::Input input(data, size);
    const std::size_t piece = input.takeByte() + std::size_t{1};
    const SrtOptions options{input.takeByte() + std::size_t{30}, 5};
    const std::vector<std::uint8_t> bytes = input.rest();
    const Found whole = read(bytes, bytes.size() + 1);
    const Found inPieces = read(bytes, piece);
    require(whole.cues == inPieces.cues && whole.findings == inPieces.findings);
    const Found limited = read(bytes, bytes.size() + 1, options);
    const Found limitedPieces = read(bytes, piece, options);
    require(limited.cues == limitedPieces.cues && limited.findings == limitedPieces.findings);
    for (const Cue& cue : whole.cues) {
        checkCue(cue);
    }
    if (isComparable(whole, {reinterpret_cast<const char*>(bytes.data()), bytes.size()})) {
        compare(whole, bytes);
    }
    return 0;
}
