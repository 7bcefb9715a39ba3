// EBU STL files (EBU Tech 3264) as cues: blocks of one subtitle joined, cumulative sets, all character code tables, every
// code of a text field that says how it looks.
//
//     qlx::Result<qlx::subtitles::StlReader> reader = qlx::subtitles::StlReader::open(bytes, &findings);
//     if (reader) {
//         while (const qlx::subtitles::Cue* cue = reader->next()) { use(*cue); }
//     }
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>
#include <qlx/base/finding.h>
#include <qlx/base/frame_rate.h>
#include <qlx/base/result.h>
#include <qlx/subtitles/cue.h>
#include <qlx/subtitles/stl.h>

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

namespace qlx::subtitles {

namespace properties {
/// Of a cue: a comment (CF) that stands with it, as StlReadOptions::keepsBlocks gives it and StlWriter writes it. `before`
/// or `behind` the cue's own blocks, the number of its character code table, milliseconds from the cue's start to its
/// time codes in and out, and its blocks in hexadecimal digits: `before 0 -1200 800 00...`.
inline constexpr std::string_view kStlComment = "stl.comment";
/// Of a cue: a block of user data (EBN FEh) that stands with it, in the same way: `behind 00...`.
inline constexpr std::string_view kStlUserData = "stl.userdata";
/// Of a cue: the group that its number counts in (SGN), `1` to `255`; 0 without it. Kept and written as the others.
inline constexpr std::string_view kStlGroup = "stl.group";
}  // namespace properties

/// How a file is read.
struct StlReadOptions {
    /// Comments and user data are kept as properties of cues, and are no findings: user data behind a subtitle that have
    /// its group and number, and all behind the last subtitle, are of that one, others of the next one. Cues have their
    /// groups as properties, too.
    bool keepsBlocks = false;
};

/// Reads the cues of a file in the order of its blocks. Points into the caller's bytes.
///
/// Blocks with the same group and number are one subtitle: extension blocks 00h to EFh and then FFh (EBN). One that is
/// missing is a finding (StlExtensionMissing), and what is there is joined. User data (FEh) and comments (CF) are no cues
/// (StlUserDataPassed, StlComment); comments are kept apart.
///
/// Each member of a cumulative set (CS) appears at its own time code in and stays to the time code out of the last one. A
/// member of a set that has not begun is a cue by itself, one that does not end has that of the last one that is there
/// (StlSetWrong).
///
/// Times are those of the labels at the rate of the disk format code; a subtitle that does not end later than it begins
/// is left out (StlEndNotLater), one with an impossible time code has the sum of its numbers (StlTimeCodeWrong).
///
/// Row::number is the vertical position of the text (VP) and what its line ends add, of the Cue::screenRows: the 23 of
/// teletext, or with open subtitling those that the file names (MNR). A row of double height takes two, the second of
/// which is left by a line end of its own. A row on none of them has the number 0 (StlRowOffScreen). All rows have the
/// justification code (JC) as their alignment; where it is unchanged, spaces in front of the text stay.
///
/// In a row spacing attributes of teletext between characters are a space, in the look of what stands in front of them.
/// Colours, backgrounds (black: none), flashing, italics and underlines become the style of runs and end with the row;
/// the box of open subtitling is a black background. Other codes have no effect (StlCodesPassed).
/// Bytes that the table does not have become U+FFFD (StlCharacterUnknown). An unknown table is read as Latin.
///
/// The offset of findings is the block's in the file.
class StlReader {
public:
    /// Fails with StlTooShort for less than kGsiBytes. What is wrong with the information block, another count of
    /// blocks than is announced (an Error where there are fewer) and a block that is cut are findings. `findings` may
    /// be null, else it must outlive this.
    [[nodiscard]] QLX_EXPORT static Result<StlReader> open(std::span<const std::uint8_t> bytes,
                                                           FindingSink* findings = nullptr,
                                                           const StlReadOptions& options = {});

    /// The next cue, valid until the next call; null at the end.
    [[nodiscard]] QLX_EXPORT const Cue* next();

    /// The file's properties.
    [[nodiscard]] const Gsi& gsi() const noexcept { return _file.gsi; }
    /// By the disk format code; 25 where it is unknown.
    [[nodiscard]] FrameRate rate() const noexcept { return _rate; }
    /// The comments that have been met so far, as cues.
    [[nodiscard]] const std::vector<Cue>& comments() const noexcept { return _comments; }
    /// Of the first block of the cue that next() gave last.
    [[nodiscard]] std::uint64_t offset() const noexcept { return _offset; }

private:
    /// A subtitle whose blocks are being joined.
    struct Joined {
        Tti first;
        std::uint64_t offset = 0;  ///< In the file.
        std::vector<std::uint8_t> text;
        std::vector<std::uint8_t> blocks;  ///< Of a comment that is kept.
        bool isWhole = false;              ///< Its last block has come.
    };
    /// A comment or user data that no cue has taken yet.
    struct Passed {
        Tti first;
        std::uint64_t offset = 0;  ///< In the file.
        std::vector<std::uint8_t> blocks;
        Cue comment;
    };
    /// A member of a set whose end is not known yet.
    struct Member {
        Cue cue;
        std::uint64_t offset = 0;
        StlTimeCode in;
    };

    StlReader(const StlView& file, FindingSink* findings, const StlReadOptions& options) noexcept;

    void take(const Tti& block, std::uint64_t offset);
    void begin(const Tti& block, std::uint64_t offset);
    void append(const Tti& block);
    void missing(const Joined& joined, std::int64_t found);
    void close();
    void takeCue(const Joined& joined);
    void takeNext();
    void keepBehind(const Tti& first);
    void attach(Cue& cue, bool isBehind);
    void sayPassed(const Passed& passed) const;
    [[nodiscard]] std::span<const std::uint8_t> bytesAt(std::uint64_t offset) const noexcept;
    void addToSet(Member member, StlStatus status, const Joined& joined);
    void endSet();
    void give(Member member, const StlTimeCode& out);
    [[nodiscard]] Cue cueOf(const Joined& joined);
    void say(FindingCode code, Severity severity, std::uint64_t offset, std::int64_t first,
             std::int64_t second = 0) const;

    StlView _file;
    FindingSink* _findings;
    FrameRate _rate = FrameRate::Fps25;
    std::uint16_t _rows = 0;  ///< Of the screen.
    std::uint8_t _table = 0;
    bool _keepsBlocks = false;
    std::size_t _behindLast = 0;  ///< The block behind the last one of a subtitle, where blocks are kept.
    std::vector<Passed> _passed;
    std::size_t _next = 0;  ///< Block.
    bool _isEnded = false;
    std::optional<Joined> _joined;
    unsigned _due = 0;  ///< Extension block of it.
    std::vector<Member> _set;
    StlTimeCode _setOut;  ///< Of its last member so far.
    std::deque<Member> _ready;
    std::vector<Cue> _comments;
    Cue _given;
    std::uint64_t _offset = 0;
};

}  // namespace qlx::subtitles
