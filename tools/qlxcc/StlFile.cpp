// EBU STL files (EBU Tech 3264), piece by piece.
#include "Errors.h"
#include "SubtitleReaders.h"
#include "Text.h"

#include <QLXClosedCaptionsUtilities/QLXSTLFileReader.h>
#include <QLXClosedCaptionsUtilities/QLXSubtitleRecord.h>
#include <QLXClosedCaptionsUtilities/QLXSubtitleTextLine.h>
#include <QLXClosedCaptionsUtilities/platform/Text.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <utility>

namespace qlx::tool {

namespace {

using Effect = SubtitleProblem::Effect;
using Lines = std::vector<std::shared_ptr<QLXSubtitleTextLine>>;

// The General Subtitle Information block, and Text and Timing Information (TTI) blocks behind it.
constexpr std::size_t kInformationSize = 1024;
constexpr std::size_t kFormatCode = 3;
constexpr std::size_t kFormatCodeSize = 8;
constexpr std::size_t kBlockCount = 238;
constexpr std::size_t kBlockCountSize = 5;
constexpr std::size_t kBlockSize = 128;

// In a TTI block.
constexpr std::size_t kExtensionNumber = 3;
constexpr std::size_t kCommentFlag = 15;
constexpr std::size_t kText = 16;
constexpr std::size_t kTextSize = 111;
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

/// Starts a caption so early that it appears in time, and ends it a frame early, as with SRT files.
void moveAsCaption(QLXSubtitleRecord& record, double frameDuration) {
    const auto pairs = static_cast<double>(record.numberOfCEA608Packets());
    record.setStartTimeInSeconds(std::max(0.0, record.startTimeInSeconds() - pairs * frameDuration));
    record.setEndTimeInSeconds(std::max(0.0, record.endTimeInSeconds() - frameDuration));
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
                handOn(std::move(records[next++]), index + 1, block.substr(kText, kTextSize));
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

    void handOn(std::shared_ptr<QLXSubtitleRecord> record, std::uint64_t place, std::string_view text) {
        if (!(record->endTimeInSeconds() > record->startTimeInSeconds())) {
            _subtitles.problems.add({place, "the end is not later than the start"});
            return;
        }
        if (losesText(text)) {
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

}  // namespace

bool looksLikeSTL(std::string_view bytes) noexcept {
    return bytes.substr(std::min(kFormatCode, bytes.size())).starts_with("STL") && bytes.find('\n') > kFormatCode;
}

void readSTL(Subtitles& subtitles, std::string_view bytes, const SubtitleRequest& request, const CueTaker& take) {
    subtitles.place = "TTI block";
    const std::uint64_t blocks = announcedBlocks(subtitles.name, bytes);
    subtitles.format = std::string("EBU STL, ") + (bytes[kFormatCode + 3] == '2' ? "25" : "30") + " frames/s";
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
        const SubtitleProblem& first = subtitles.problems.first().front();
        throw failureIn(subtitles.name,
                        "no cue in the file: TTI block " + std::to_string(first.place) + ": " + first.what);
    }
}

}  // namespace qlx::tool
