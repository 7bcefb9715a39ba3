// Cues as an EBU STL file (EBU Tech 3264): blocks of text and timing, and the information block that counts them.
//
//     qlx::subtitles::StlWriterOptions options;
//     options.gsi.languageCode = qlx::subtitles::stlLanguageCode("en").value_or("00");
//     std::vector<std::uint8_t> blocks;
//     qlx::subtitles::StlWriter writer(options, &findings);
//     for (const qlx::subtitles::Cue& cue : cues) { writer.write(cue, blocks); }
//     const qlx::Data information = qlx::subtitles::writeGsi(writer.finish(blocks));
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>
#include <qlx/base/finding.h>
#include <qlx/subtitles/cue.h>
#include <qlx/subtitles/stl.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qlx::subtitles {

/// The language code (LC) of a language, two hexadecimal digits; none for one that the standard does not have.
/// @param language ISO 639-1, as in RFC 5646: what stands behind a `-`, and upper case, are not looked at.
[[nodiscard]] QLX_EXPORT std::optional<std::string_view> stlLanguageCode(std::string_view language) noexcept;

/// The character code table (CCT) that has the letters of a language: `00` to `04`.
[[nodiscard]] QLX_EXPORT std::string_view stlTableOfLanguage(std::string_view language) noexcept;

/// A text of the information block in code page 850, from UTF-8: a character that it does not have becomes `?`.
[[nodiscard]] QLX_EXPORT std::string stlInformationText(std::string_view text);

/// The first character of such a text that becomes `?`; none where code page 850 has all of them.
/// @param room Characters of the field: what stands behind them is not written.
[[nodiscard]] QLX_EXPORT std::optional<char32_t> missingInStlInformation(std::string_view text,
                                                                         std::size_t room) noexcept;

/// Of the library's own.
class CueReport;
class StlRowPlaces;
struct StlKept;

/// Frames in which text stands on a row of the screen.
struct StlRowTaken {
    std::int64_t from = 0;  ///< The first one.
    std::int64_t to = 0;    ///< Behind the last one.
    bool isFixed = false;   ///< It is the row that the cue itself names.
};

/// How a file is written.
struct StlWriterOptions {
    /// All but the counts of blocks, subtitles and groups and the first cue (TNB, TNS, TNG, TCF), which the writer
    /// knows. The disk format code gives the frames of a second: STL24.01, STL25.01, STL30.01 or STL50.01 (any other
    /// becomes STL25.01; the standard has 25 and 30), the character code table the characters (an unknown one becomes
    /// Latin), the display standard whether rows are those of teletext or of open subtitling (0), of which MNR says how
    /// many there are.
    Gsi gsi{};
    /// Teletext: rows are two high, each in a pair of the page's rows.
    bool isDoubleHeight = true;
};

/// Writes cues in the order of their starts.
///
/// Times are rounded to frames as spanIn() does (SubtitleTimeEmptied, SubtitleTimeNegative); a cue that does not end
/// before 24 hours is left out (StlTimeTooLate). Cues that follow one another, are shown together and end at the same
/// frame are a cumulative set (CS 1 to 3); others that overlap are written as they are (StlCuesOverlap).
///
/// Rows stand where their numbers say (VP), those of another screen as high; without numbers they end at the bottom, or
/// stand in the middle or at the top as their anchor says. These, and those of another screen, go up to the next free
/// rows, or down from the top, where another cue that is shown at the same time stands already; two frames in which cues
/// touch do not count. What has no room, or numbers of this screen that are taken, covers what stands there
/// (StlRowsCovered; a remark where both cues name their rows). All have the alignment of the first one (JC; StlAlignmentsDiffer).
/// A cue has its own number as long as those of its group (properties::kStlGroup; 0 without) ascend (StlNumberChanged);
/// beyond 65535 they go on in the next group.
///
/// Teletext rows have a box. A colour, a background or flashing takes the place of spaces in front of what it changes,
/// and without such a space a cell of its own (StlColorNoSpace). Italics and underlines are the codes of open
/// subtitling, where a black background is its box, too; a teletext box is black without one. Letters that would be
/// black on black are white, and a background that would become the letters' colour is black (SubtitleColorChanged). A
/// character that the table does not have becomes a plain one (StlCharacterReplaced), or `?` (StlCharacterMissing); a
/// mark that no letter takes, and a sign of direction, nothing (StlMarkLeftOut). Text beyond 112 bytes goes on in
/// extension blocks (EBN), at most 26992 bytes (StlTextTooLong). A row of more columns than MNC is written as it is
/// (StlRowTooLong). Other things are lost (SubtitleStylesLost for bold, SubtitleColorChanged for colours that teletext
/// does not have, SubtitlePlaceLost, SubtitlePropertiesLost, SubtitleRunTimeLost, SubtitleNameLost, SubtitleRegionLost,
/// SubtitleLanguageLost).
///
/// Comments and user data that a cue has (properties::kStlComment, kStlUserData) are written with it: comments with their
/// distance in time, and only where the character code table is theirs.
///
/// The offset of findings is the cue, counted from 1. What has no finding is read back by StlReader as the same text in
/// the same rows and looks; the looks of spaces at a change may be others.
class StlWriter {
public:
    /// Begins a file. `findings` may be null, else it must outlive this.
    QLX_EXPORT explicit StlWriter(const StlWriterOptions& options, FindingSink* findings = nullptr);

    /// Takes a cue, and appends the blocks of those whose set is known to be complete.
    /// @return False when it is left out.
    QLX_EXPORT bool write(const Cue& cue, std::vector<std::uint8_t>& blocks);

    /// Appends the blocks that were held back.
    /// @return The information block of the file.
    [[nodiscard]] QLX_EXPORT Gsi finish(std::vector<std::uint8_t>& blocks);

private:
    /// A subtitle that may become the member of a set.
    struct Held {
        Tti block;  ///< All but status, extension number and text.
        std::vector<std::uint8_t> text;
        std::vector<std::uint8_t> before{};  ///< Blocks of comments and user data.
        std::vector<std::uint8_t> behind{};  ///< The same.
        std::int64_t start = 0;              ///< Frame.
        std::int64_t end = 0;                ///< Frame.
    };

    void place(StlRowPlaces& rows, const StlRowTaken& shown, const CueReport& report) const;
    void appendRows(const Cue& cue, const StlRowPlaces& rows, const CueReport& report, Held& held) const;
    [[nodiscard]] std::vector<StlKept> keptOf(const Cue& cue, const CueReport& report) const;
    void appendKept(const StlKept& kept, const Cue& cue, Held& held) const;
    void flush(std::vector<std::uint8_t>& blocks);
    void append(const Held& held, StlStatus status, std::vector<std::uint8_t>& blocks);
    void name(const Cue& cue, Tti& block);
    void say(FindingCode code, Severity severity, std::int64_t first, std::int64_t second = 0) const;

    StlWriterOptions _options;
    FindingSink* _findings;
    std::int32_t _frames = 25;  ///< Of a second.
    std::uint64_t _cues = 0;    ///< Given so far.
    std::vector<Held> _set;
    std::vector<StlRowTaken> _taken;  ///< By the row of the screen, from 1 on.
    std::int64_t _shownTo = 0;        ///< Frame up to which something is shown of what was written.
    std::uint64_t _blocks = 0;        ///< With those that are held back.
    std::uint64_t _subtitles = 0;
    std::array<std::optional<std::uint16_t>, 256> _lastNumbers{};  ///< By their group.
    std::optional<std::int64_t> _first;                            ///< Frame of the first cue.
};

}  // namespace qlx::subtitles
