// EBU STL files (EBU Tech 3264), piece by piece.
#include "cues/SubtitleReaders.h"
#include "cues/SubtitleTimes.h"
#include "io/Errors.h"
#include "io/Text.h"

#include <QLXClosedCaptionsUtilities/QLXSTLFileReader.h>
#include <QLXClosedCaptionsUtilities/QLXSubtitleRecord.h>
#include <QLXClosedCaptionsUtilities/QLXSubtitleTextLine.h>
#include <QLXClosedCaptionsUtilities/platform/Text.h>

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

using Effect = SubtitleProblem::Effect;
using Lines = std::vector<std::shared_ptr<QLXSubtitleTextLine>>;

// The General Subtitle Information block, and Text and Timing Information (TTI) blocks behind it.
constexpr std::size_t kInformationSize = 1024;
constexpr std::size_t kFormatCode = 3;
constexpr std::size_t kFormatCodeSize = 8;
constexpr std::size_t kDisplayStandard = 11;
constexpr std::size_t kCharacterTable = 12;
constexpr std::size_t kCharacterTableSize = 2;
constexpr std::size_t kBlockCount = 238;
constexpr std::size_t kBlockCountSize = 5;
constexpr std::size_t kRowCount = 253;
constexpr std::size_t kRowCountSize = 2;
constexpr std::size_t kTimeCodeStatus = 255;
constexpr std::size_t kBlockSize = 128;

// In a TTI block.
constexpr std::size_t kExtensionNumber = 3;
constexpr std::size_t kTimeCodeIn = 5;
constexpr std::size_t kTimeCodeOut = 9;
constexpr std::size_t kCommentFlag = 15;
constexpr std::size_t kText = 16;
constexpr std::size_t kTextSize = 111;
constexpr std::size_t kTimeCodeSize = 4;
constexpr char kUserData = '\xFE';
constexpr char kLineBreak = '\x8A';
constexpr char kEndMark = '\x8F';

// The blocks that the library gets at once: text of nothing but line breaks takes much memory.
constexpr std::uint64_t kPiece = 128;

// The rows of a teletext page that subtitles can stand on; a receiver shows each at double height.
constexpr std::uint64_t kFirstRow = 1;
constexpr std::uint64_t kLastRow = 11;

constexpr std::int32_t kCea608 = 1;

bool isPrintedCharacter(char character) {
    const auto code = static_cast<std::uint8_t>(character);
    return (code >= 0x20 && code <= 0x7F) || code > 0xA0;
}

/// Whether characters stand behind the last line break of a text that has no end mark: the library leaves them out.
bool losesText(std::string_view text) {
    if (text.find(kEndMark) != std::string_view::npos) {
        return false;
    }
    const std::size_t lastBreak = text.rfind(kLineBreak);
    text.remove_prefix(lastBreak == std::string_view::npos ? 0 : lastBreak + 1);
    return std::any_of(text.begin(), text.end(), isPrintedCharacter);
}

/// Why a block is no cue; none when it is one.
std::optional<std::string> notACue(std::string_view block) {
    if (block[kCommentFlag] != '\0') {
        return "a comment";
    }
    return block[kExtensionNumber] == kUserData ? std::optional<std::string>("user data") : std::nullopt;
}

/// `00:00:01:30`
std::string timeCodeText(std::string_view field) {
    std::string text;
    for (const char byte : field) {
        const std::string number = std::to_string(static_cast<std::uint8_t>(byte));
        text += (text.empty() ? "" : ":") + std::string(number.size() < 2 ? "0" : "") + number;
    }
    return text;
}

/// Which time codes of a block count what there is not: `no such time code at 25 frames/s: in 00:00:01:30 (read as
/// 00:00:02,200)`; empty when there are none. The library adds their numbers up all the same.
std::string impossibleTimeCodes(std::string_view block, const QLXSubtitleRecord& record, std::uint8_t frames) {
    const std::array<std::uint8_t, kTimeCodeSize> limits{24, 60, 60, frames};
    std::string text;
    const auto check = [&](std::string_view name, std::size_t offset, double seconds) {
        const std::string_view field = block.substr(offset, kTimeCodeSize);
        const bool isPossible = std::equal(field.begin(), field.end(), limits.begin(), [](char byte, std::uint8_t end) {
            return static_cast<std::uint8_t>(byte) < end;
        });
        if (!isPossible) {
            text += (text.empty() ? "no such time code at " + std::to_string(frames) + " frames/s: " : ", ") +
                    std::string(name) + " " + timeCodeText(field) + " (read as " + timeInWords(seconds) + ")";
        }
    };
    check("in", kTimeCodeIn, record.startTimeInSeconds());
    check("out", kTimeCodeOut, record.endTimeInSeconds());
    return text;
}

/// Takes out the lines that are there only to skip a row, and the zero bytes that stand in front of some characters.
/// @return How many lines could not be decoded; they are taken out as well.
std::uint64_t tidyLines(QLXSubtitleRecord& record) {
    std::uint64_t undecodable = 0;
    Lines lines = record.subtitleLines();
    std::erase_if(lines, [&](const auto& line) {
        std::optional<std::string> text = line->textString();
        if (!text) {
            ++undecodable;
            return true;
        }
        std::erase(*text, '\0');
        const bool isEmpty = text->find_first_not_of(' ') == std::string::npos;
        line->setTextString(std::move(text));
        return isEmpty;
    });
    record.setSubtitleLines(std::move(lines));
    return undecodable;
}

/// Keeps the rows of a teletext page; others are replaced by those that an SRT file's cue would get.
void placeLines(QLXSubtitleRecord& record, std::int32_t mode) {
    const Lines lines = record.subtitleLines();
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

/// Starts a caption early, by an estimate of its pairs, and ends it a frame early, as with SRT files.
void moveAsCaption(QLXSubtitleRecord& record, double frameDuration) {
    const auto pairs = static_cast<double>(record.numberOfCEA608Packets());
    record.setStartTimeInSeconds(std::max(0.0, record.startTimeInSeconds() - pairs * frameDuration));
    record.setEndTimeInSeconds(std::max(0.0, record.endTimeInSeconds() - frameDuration));
}

/// As the disk format code says.
std::uint8_t framesPerSecond(std::string_view bytes) {
    return bytes[kFormatCode + 3] == '2' ? 25 : 30;
}

/// Reads the blocks of a file whose header has been checked.
class STLBlocks {
public:
    STLBlocks(Subtitles& subtitles, std::string_view bytes, const SubtitleRequest& request, const CueTaker& take)
        : _subtitles(subtitles), _bytes(bytes), _request(request), _take(take) {}

    /// @param first, end Counted from 0; `end` is not read.
    void read(std::uint64_t first, std::uint64_t end) {
        [[maybe_unused]] const LoadedFile file(piece(first, end));
        auto records = QLXSTLFileReader::subtitleRecordsFromSTLFileAtPath(_request.path);
        std::size_t next = 0;
        for (std::uint64_t index = first; index < end; ++index) {
            const std::string_view block = blockAt(index);
            if (auto reason = notACue(block)) {
                _subtitles.problems.add({index + 1, std::move(*reason), Effect::NotASubtitle});
            } else if (next < records.size()) {
                handOn(std::move(records[next++]), index + 1, block);
            }
        }
    }

private:
    [[nodiscard]] std::string_view blockAt(std::uint64_t index) const {
        return _bytes.substr(kInformationSize + static_cast<std::size_t>(index) * kBlockSize, kBlockSize);
    }

    /// A file of some of the blocks.
    [[nodiscard]] Data piece(std::uint64_t first, std::uint64_t end) const {
        std::string count = std::to_string(end - first);
        count.insert(0, kBlockCountSize - count.size(), '0');
        const auto blocks = _bytes.substr(kInformationSize + static_cast<std::size_t>(first) * kBlockSize,
                                          static_cast<std::size_t>(end - first) * kBlockSize);
        return Data::make(kInformationSize + blocks.size(), [&](std::uint8_t* to) {
            std::copy_n(_bytes.begin(), kInformationSize, to);
            std::copy(count.begin(), count.end(), to + kBlockCount);
            std::copy(blocks.begin(), blocks.end(), to + kInformationSize);
        });
    }

    void handOn(std::shared_ptr<QLXSubtitleRecord> record, std::uint64_t place, std::string_view block) {
        std::string timeCodes = impossibleTimeCodes(block, *record, framesPerSecond(_bytes));
        if (!(record->endTimeInSeconds() > record->startTimeInSeconds())) {
            _subtitles.problems.add(
                {place, "the end is not later than the start" + (timeCodes.empty() ? "" : "; " + timeCodes)});
            return;
        }
        if (!timeCodes.empty()) {
            _subtitles.problems.add({place, std::move(timeCodes), Effect::None});
        }
        if (losesText(block.substr(kText, kTextSize))) {
            _subtitles.problems.add(
                {place, "the text has no end mark (8F): what stands behind its last line break is lost", Effect::None});
        }
        if (const std::uint64_t lost = tidyLines(*record); lost > 0) {
            _subtitles.problems.add(
                {place, "text that cannot be decoded: " + counted(lost, "line") + " left out", Effect::None});
        }
        record->setSubtitleMode(_request.mode);
        placeLines(*record, _request.mode);
        if (_request.mode == kCea608) {
            moveAsCaption(*record, _request.frameDuration);
        }
        ++_subtitles.cues;
        _take(std::move(record));
    }

    Subtitles& _subtitles;
    std::string_view _bytes;
    const SubtitleRequest& _request;
    const CueTaker& _take;
};

/// Checks the header.
/// @return How many blocks it announces; all of them are there.
std::uint64_t announcedBlocks(const std::string& name, std::string_view bytes) {
    if (bytes.empty()) {
        throw failureAtByte(name, 0, "the file is empty");
    }
    const std::string_view code = bytes.substr(std::min(kFormatCode, bytes.size()), kFormatCodeSize);
    if (code != "STL25.01" && code != "STL30.01") {
        throw failureAtByte(name, kFormatCode,
                            "not EBU STL: the disk format code is \"" + std::string(code) +
                                "\" and neither STL25.01 nor STL30.01");
    }
    if (bytes.size() < kInformationSize) {
        throw failureAtByte(name, bytes.size(), "the file ends inside of its header of 1024 bytes");
    }
    const std::int64_t count = integerValue(bytes.substr(kBlockCount, kBlockCountSize));
    if (count <= 0) {
        throw failureAtByte(name, kBlockCount, "the header announces no TTI block");
    }
    const auto blocks = static_cast<std::uint64_t>(count);
    const std::uint64_t whole = (bytes.size() - kInformationSize) / kBlockSize;
    if (whole < blocks) {
        throw failureAtByte(name, bytes.size(),
                            "the file ends behind " + std::to_string(whole) + " of " + counted(blocks, "TTI block"));
    }
    return blocks;
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
std::vector<std::string> headerRemarks(std::string_view bytes) {
    constexpr std::string_view kLatin = "00";
    constexpr std::string_view kTeletextRows = "23";
    std::vector<std::string> remarks;
    const std::string_view table = bytes.substr(kCharacterTable, kCharacterTableSize);
    if (table != kLatin) {
        const auto known = std::find_if(kOtherTables.begin(), kOtherTables.end(),
                                        [&](const CharacterTable& each) { return each.code == table; });
        remarks.push_back("the character code table is " + fieldText(table) + " (" +
                          (known == kOtherTables.end() ? "undefined" : std::string(known->script)) +
                          "): the text is read as Latin all the same");
    }
    const std::string_view rows = bytes.substr(kRowCount, kRowCountSize);
    if (bytes[kDisplayStandard] == '0' && rows != kTeletextRows) {
        remarks.push_back("the rows are those of open subtitling, " + fieldText(rows) +
                          " on the screen: they are read as the 23 of teletext");
    }
    if (bytes[kTimeCodeStatus] == '0') {
        remarks.emplace_back("the time codes are marked as not intended for use: they are used all the same");
    }
    return remarks;
}

}  // namespace

bool looksLikeSTL(std::string_view bytes) noexcept {
    return bytes.substr(std::min(kFormatCode, bytes.size())).starts_with("STL") && bytes.find('\n') > kFormatCode;
}

void readSTL(Subtitles& subtitles, std::string_view bytes, const SubtitleRequest& request, const CueTaker& take) {
    subtitles.place = "TTI block";
    const std::uint64_t blocks = announcedBlocks(subtitles.name, bytes);
    subtitles.format = "EBU STL, " + std::to_string(framesPerSecond(bytes)) + " frames/s";
    for (std::string& remark : headerRemarks(bytes)) {
        subtitles.problems.add({0, std::move(remark), Effect::None});
    }
    STLBlocks reader(subtitles, bytes, request, take);
    for (std::uint64_t first = 0; first < blocks; first += kPiece) {
        reader.read(first, std::min(first + kPiece, blocks));
    }
    const std::uint64_t rest = bytes.size() - kInformationSize - blocks * kBlockSize;
    if (rest > 0) {
        subtitles.problems.add(
            {blocks + 1, counted(rest, "byte") + " behind the blocks that the header announces", Effect::NotASubtitle});
    }
    if (subtitles.cues == 0) {
        const auto& problems = subtitles.problems.first();
        const auto first = std::find_if(problems.begin(), problems.end(),
                                        [](const SubtitleProblem& problem) { return problem.place != 0; });
        throw failureIn(subtitles.name, "no cue in the file: " + placeInWords(subtitles, *first) + first->what);
    }
}

}  // namespace qlx::tool
