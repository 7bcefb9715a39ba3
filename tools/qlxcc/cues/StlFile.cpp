// EBU STL files (EBU Tech 3264), block by block.
#include "cues/SubtitleReaders.h"
#include "cues/SubtitleTimes.h"
#include "io/Errors.h"
#include "io/Text.h"

#include <QLXClosedCaptionsUtilities/QLXSubtitleRecord.h>
#include <QLXClosedCaptionsUtilities/QLXSubtitleTextLine.h>
#include <qlx/facade/cue.h>
#include <qlx/subtitles/stl.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace qlx::tool {

namespace {

using subtitles::kDiskFormatOffset;
using subtitles::StlTimeCode;
using subtitles::StlView;
using subtitles::Tti;

constexpr std::size_t kCodeSize = 8;

// The rows of a teletext page that subtitles can stand on; a receiver shows each at double height.
constexpr std::uint64_t kFirstRow = 1;
constexpr std::uint64_t kLastRow = subtitles::kTallTeletextRows;

/// Why a block is no cue; none when it is one.
std::optional<std::string> notACue(const Tti& block) {
    if (block.commentFlag != 0) {
        return "a comment";
    }
    return block.isSubtitle() ? std::nullopt : std::optional<std::string>("user data");
}

/// `00:00:01:30`
std::string timeCodeText(const StlTimeCode& timeCode) {
    std::string text;
    for (const unsigned part : {timeCode.hours, timeCode.minutes, timeCode.seconds, timeCode.frames}) {
        const std::string number = std::to_string(part);
        text += (text.empty() ? "" : ":") + std::string(number.size() < 2 ? "0" : "") + number;
    }
    return text;
}

/// Which time codes of a block count what there is not: `no such time code at 25 frames/s: in 00:00:01:30 (read as
/// 00:00:02,200)`; empty when there are none. Their numbers are added up all the same.
std::string impossibleTimeCodes(const Tti& block, std::uint8_t frames) {
    std::string text;
    for (const auto& [name, timeCode] : {std::pair("in", block.timeCodeIn), std::pair("out", block.timeCodeOut)}) {
        if (!timeCode.isPossible(frames)) {
            text += (text.empty() ? "no such time code at " + std::to_string(frames) + " frames/s: " : ", ") +
                    std::string(name) + " " + timeCodeText(timeCode) + " (read as " +
                    timeInWords(timeCode.inSeconds(frames)) + ")";
        }
    }
    return text;
}

/// What of a block's text is lost; empty for a finding of something else.
std::string lossInText(const Finding& finding) {
    if (finding.code == FindingCode::StlTextUnended) {
        return "the text has no end mark (8F): what stands behind its last line break is lost";
    }
    // Boxes and heights of teletext are made anew.
    if (finding.code == FindingCode::StlStylesPassed) {
        const std::array first{static_cast<std::uint8_t>(finding.first)};
        return "the text has " + counted(static_cast<std::uint64_t>(finding.second), "code") +
               " that nothing is made of (first " + hex(first) + "): italics, underline and boxes are lost";
    }
    return {};
}

/// Whether a row is there only to skip one.
bool isEmpty(const subtitles::Row& row) {
    return row.text().find_first_not_of(' ') == std::string::npos;
}

/// Reads the blocks of a file whose header has been checked.
class STLBlocks {
public:
    STLBlocks(Subtitles& subtitles, const StlView& file, const SubtitleRequest& request, const CueTakers& take)
        : _subtitles(subtitles), _file(file), _rate(*file.gsi.rate()), _request(request), _take(take) {}

    /// @param count How many, from the first on.
    void read(std::uint64_t count) {
        for (std::size_t index = 0; index < count; ++index) {
            const Tti block = _file.block(index);
            if (auto reason = notACue(block)) {
                _subtitles.problems.add({index + 1, std::move(*reason), SubtitleProblem::Effect::NotASubtitle});
            } else {
                readCue(block, index + 1);
            }
        }
    }

private:
    void readCue(const Tti& block, std::uint64_t place) {
        const std::uint8_t frames = nominalFramesPerSecond(_rate);
        const double start = block.timeCodeIn.inSeconds(frames);
        const double end = block.timeCodeOut.inSeconds(frames);
        std::string timeCodes = impossibleTimeCodes(block, frames);
        if (!(end > start)) {
            _subtitles.problems.add(
                {place, "the end is not later than the start" + (timeCodes.empty() ? "" : "; " + timeCodes)});
            return;
        }
        if (!timeCodes.empty()) {
            _subtitles.problems.add({place, std::move(timeCodes), SubtitleProblem::Effect::None});
        }
        Findings findings;
        subtitles::Cue cue = subtitles::cueOf(block, _rate, &findings);
        for (const Finding& finding : findings) {
            if (std::string loss = lossInText(finding); !loss.empty()) {
                _subtitles.problems.add({place, std::move(loss), SubtitleProblem::Effect::None});
            }
        }
        ++_subtitles.cues;
        if (_take.value) {
            _take.value(cue);
            return;
        }
        std::erase_if(cue.rows, &isEmpty);
        auto record = facade::toRecord(cue);
        record->setStartTimeInSeconds(start);
        record->setEndTimeInSeconds(end);
        record->setSubtitleMode(_request.mode);
        placeSTLRows(*record, _request.mode);
        if (_request.mode == kCea608Mode) {
            moveAsCaption(*record, _request.frameDuration);
        }
        _take.record(std::move(record));
    }

    Subtitles& _subtitles;
    const StlView& _file;
    const FrameRate _rate;
    const SubtitleRequest& _request;
    const CueTakers& _take;
};

/// Checks the header: all blocks that it announces are there.
StlView openFile(const std::string& name, std::string_view bytes) {
    if (bytes.empty()) {
        throw failureAtByte(name, 0, "the file is empty");
    }
    const std::string_view code = bytes.substr(std::min(kDiskFormatOffset, bytes.size()), kCodeSize);
    if (code != "STL25.01" && code != "STL30.01") {
        throw failureAtByte(name, kDiskFormatOffset,
                            "not EBU STL: the disk format code is \"" + std::string(code) +
                                "\" and neither STL25.01 nor STL30.01");
    }
    const Result<StlView> file =
        subtitles::parseStl({reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()});
    if (!file) {
        throw failureAtByte(name, bytes.size(), "the file ends inside of its header of 1024 bytes");
    }
    const std::int64_t count = file->gsi.blockCount.number();
    if (count <= 0) {
        throw failureAtByte(name, subtitles::kBlockCountOffset, "the header announces no TTI block");
    }
    const auto blocks = static_cast<std::uint64_t>(count);
    if (file->blocks() < blocks) {
        throw failureAtByte(name, bytes.size(),
                            "the file ends behind " + std::to_string(file->blocks()) + " of " +
                                counted(blocks, "TTI block"));
    }
    return *file;
}

/// A character code table that is not Latin.
struct CharacterTable {
    std::string_view code;
    std::string_view script;
};

constexpr std::array kOtherTables{CharacterTable{"01", "Latin/Cyrillic"}, CharacterTable{"02", "Latin/Arabic"},
                                  CharacterTable{"03", "Latin/Greek"}, CharacterTable{"04", "Latin/Hebrew"}};

/// The code of a header field between quotation marks, in hexadecimal digits when it is no text.
std::string fieldText(std::string_view field) {
    const bool isText = std::all_of(field.begin(), field.end(), [](char byte) { return byte >= 0x20 && byte < 0x7F; });
    return isText ? "\"" + std::string(field) + "\""
                  : hex(std::span(reinterpret_cast<const std::uint8_t*>(field.data()), field.size()));
}

/// What the header says of the whole file and the library does not take into account.
std::vector<std::string> headerRemarks(const subtitles::Gsi& gsi) {
    constexpr std::string_view kLatin = "00";
    constexpr std::string_view kTeletextRows = "23";
    std::vector<std::string> remarks;
    const std::string_view table = gsi.characterTable.text();
    if (table != kLatin) {
        const auto known = std::find_if(kOtherTables.begin(), kOtherTables.end(),
                                        [&](const CharacterTable& each) { return each.code == table; });
        remarks.push_back("the character code table is " + fieldText(table) + " (" +
                          (known == kOtherTables.end() ? "undefined" : std::string(known->script)) +
                          "): the text is read as Latin all the same");
    }
    const std::string_view rows = gsi.rows.text();
    if (gsi.displayStandard.text() == "0" && rows != kTeletextRows) {
        remarks.push_back("the rows are those of open subtitling, " + fieldText(rows) +
                          " on the screen: they are read as the 23 of teletext");
    }
    if (gsi.timeCodeStatus.text() == "0") {
        remarks.emplace_back("the time codes are marked as not intended for use: they are used all the same");
    }
    return remarks;
}

}  // namespace

bool looksLikeSTL(std::string_view bytes) noexcept {
    return bytes.substr(std::min(kDiskFormatOffset, bytes.size())).starts_with("STL") &&
           bytes.find('\n') > kDiskFormatOffset;
}

void placeSTLRows(QLXSubtitleRecord& record, std::int32_t mode) {
    const auto lines = record.subtitleLines();
    const bool isOnPage = std::all_of(lines.begin(), lines.end(), [](const auto& line) {
        return line->verticalPosition() >= kFirstRow && line->verticalPosition() <= kLastRow;
    });
    if (isOnPage) {
        return;
    }
    std::vector<std::int32_t> alignments;
    for (const auto& line : lines) {
        alignments.push_back(line->alignment());
        line->setVerticalPosition(0);
    }
    record.updatePositioningForSubtitleMode(mode);
    // Placing centres the lines, which have an alignment of their own.
    for (std::size_t index = 0; index < lines.size(); ++index) {
        lines[index]->setAlignment(alignments[index]);
    }
}

void readSTL(Subtitles& subtitles, std::string_view bytes, const SubtitleRequest& request, const CueTakers& take) {
    subtitles.place = "TTI block";
    const StlView file = openFile(subtitles.name, bytes);
    subtitles.format = "EBU STL, " + std::to_string(nominalFramesPerSecond(*file.gsi.rate())) + " frames/s";
    for (std::string& remark : headerRemarks(file.gsi)) {
        subtitles.problems.add({0, std::move(remark), SubtitleProblem::Effect::None});
    }
    const auto blocks = static_cast<std::uint64_t>(file.gsi.blockCount.number());
    STLBlocks(subtitles, file, request, take).read(blocks);
    if (const std::uint64_t rest = file.behind.size() - blocks * subtitles::kTtiBytes; rest > 0) {
        subtitles.problems.add({blocks + 1, counted(rest, "byte") + " behind the blocks that the header announces",
                                SubtitleProblem::Effect::NotASubtitle});
    }
    if (subtitles.cues == 0) {
        failWithoutCues(subtitles);
    }
}

void failWithoutCues(const Subtitles& subtitles) {
    const auto& problems = subtitles.problems.first();
    const auto first = std::find_if(problems.begin(), problems.end(),
                                    [](const SubtitleProblem& problem) { return problem.place != 0; });
    throw failureIn(subtitles.name,
                    "no cue in the file" + (first == problems.end()
                                                ? std::string()
                                                : ": " + placeInWords(subtitles, *first) + first->what));
}

}  // namespace qlx::tool
