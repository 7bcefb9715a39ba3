// EBU STL files (EBU Tech 3264): a General Subtitle Information block (GSI), and Text and Timing Information blocks (TTI)
// behind it.
//
//     const qlx::Result<qlx::subtitles::StlView> file = qlx::subtitles::parseStl(bytes, &findings);
//     if (file && file->gsi.rate()) {
//         for (std::size_t index = 0; index < file->blocks(); ++index) {
//             const qlx::subtitles::Tti block = file->block(index, &findings);
//             if (block.isSubtitle()) {
//                 const std::uint64_t offset = qlx::subtitles::StlView::offsetOf(index);
//                 use(qlx::subtitles::cueOf(block, *file->gsi.rate(), &findings, offset));
//             }
//         }
//     }
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>
#include <QLXClosedCaptionsUtilities/platform/Data.h>
#include <QLXClosedCaptionsUtilities/platform/Text.h>
#include <qlx/base/finding.h>
#include <qlx/base/frame_rate.h>
#include <qlx/base/result.h>
#include <qlx/subtitles/cue.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace qlx::subtitles {

inline constexpr std::size_t kGsiBytes = 1024;     ///< Of the information block.
inline constexpr std::size_t kTtiBytes = 128;      ///< Of a text and timing block.
inline constexpr std::size_t kTtiTextBytes = 112;  ///< Of its text field.

inline constexpr std::size_t kDiskFormatOffset = 3;       ///< Of the disk format code (DFC) in the GSI block.
inline constexpr std::size_t kBlockCountOffset = 238;     ///< Of the number of TTI blocks (TNB) in it.
inline constexpr std::size_t kCharacterTableOffset = 12;  ///< Of the character code table (CCT) in it.

/// A field of characters, kept as they stand in the file, in its code page.
template <std::size_t Size>
struct StlField {
    std::array<char, Size> characters = filledWith("");  ///< Spaces fill the field up.

    /// Spaces.
    constexpr StlField() noexcept = default;
    /// This text with spaces behind it; what has no room is left out.
    constexpr StlField(std::string_view text) noexcept : characters(filledWith(text)) {}
    /// The same.
    constexpr StlField(const char* text) noexcept : characters(filledWith(text)) {}

    /// All characters.
    [[nodiscard]] constexpr std::string_view text() const noexcept { return {characters.data(), Size}; }
    /// Whether there are spaces only.
    [[nodiscard]] constexpr bool isBlank() const noexcept {
        return text().find_first_not_of(' ') == std::string_view::npos;
    }
    /// The number that it begins with, behind spaces and a sign; 0 when no digit stands there.
    [[nodiscard]] std::int64_t number() const noexcept { return integerValue(text()); }

    /// Takes a number, with zeros in front of it; false, and nothing is changed, when it has too many digits.
    [[nodiscard]] constexpr bool setNumber(std::uint64_t number) noexcept {
        std::array<char, Size> digits{};
        for (std::size_t index = Size; index > 0; --index) {
            digits[index - 1] = static_cast<char>('0' + number % 10);
            number /= 10;
        }
        characters = number == 0 ? digits : characters;
        return number == 0;
    }

    /// Whether all characters are equal.
    [[nodiscard]] friend constexpr bool operator==(const StlField&, const StlField&) noexcept = default;

private:
    [[nodiscard]] static constexpr std::array<char, Size> filledWith(std::string_view text) noexcept {
        std::array<char, Size> field{};
        field.fill(' ');
        std::copy_n(text.begin(), std::min(text.size(), Size), field.begin());
        return field;
    }
};

/// A time code: 4 bytes of a TTI block, 8 digits of the GSI block.
struct StlTimeCode {
    std::uint8_t hours = 0;    ///< 0 to 23, as the others any number when it is damaged.
    std::uint8_t minutes = 0;  ///< 0 to 59
    std::uint8_t seconds = 0;  ///< 0 to 59
    std::uint8_t frames = 0;   ///< Below the frames of a second.

    /// Whether there is such a time code.
    [[nodiscard]] constexpr bool isPossible(std::uint8_t framesPerSecond) const noexcept {
        return hours < 24 && minutes < 60 && seconds < 60 && frames < framesPerSecond;
    }
    /// The time since 00:00:00:00, in frames of this rate; of an impossible one the sum of its numbers.
    [[nodiscard]] constexpr MediaTime time(FrameRate rate) const noexcept {
        const MediaTime frame = frameDuration(rate);
        const std::int64_t all =
            (hours * 3600 + minutes * 60 + seconds) * std::int64_t{nominalFramesPerSecond(rate)} + frames;
        return MediaTime::make(all * frame.value, frame.timescale);
    }
    /// The same in seconds that have this many frames.
    [[nodiscard]] constexpr double inSeconds(double framesPerSecond) const noexcept {
        return hours * 3600.0 + minutes * 60.0 + seconds + frames / framesPerSecond;
    }
    /// The four numbers, a byte each, hours highest.
    [[nodiscard]] constexpr std::uint32_t number() const noexcept {
        return std::uint32_t{hours} << 24U | std::uint32_t{minutes} << 16U | std::uint32_t{seconds} << 8U | frames;
    }

    /// Whether all fields are equal.
    [[nodiscard]] friend constexpr bool operator==(const StlTimeCode&, const StlTimeCode&) noexcept = default;
};

/// The time code of eight digits; none when one is something else.
[[nodiscard]] QLX_EXPORT std::optional<StlTimeCode> timeCodeOf(const StlField<8>& field) noexcept;

/// The GSI block: the whole file's properties. Its fields stand in their order. In a new one the language and the two
/// dates are blank, which the caller alone knows: until they are given, parseGsi() has a remark on each.
struct Gsi {
    StlField<3> codePageNumber{"850"};         ///< CPN: of the other fields' text: 437, 850, 860, 863, 865.
    StlField<8> diskFormatCode{"STL25.01"};    ///< DFC: the frame rate.
    StlField<1> displayStandard{"1"};          ///< DSC: 0 open, 1 and 2 teletext of level 1 and 2.
    StlField<2> characterTable{"00"};          ///< CCT: 00 Latin, 01 Cyrillic, 02 Arabic, 03 Greek, 04 Hebrew.
    StlField<2> languageCode{};                ///< LC: two hexadecimal digits.
    StlField<32> originalProgrammeTitle{};     ///< OPT
    StlField<32> originalEpisodeTitle{};       ///< OET
    StlField<32> translatedProgrammeTitle{};   ///< TPT
    StlField<32> translatedEpisodeTitle{};     ///< TET
    StlField<32> translator{};                 ///< TN
    StlField<32> translatorContact{};          ///< TCD
    StlField<16> listReference{};              ///< SLR
    StlField<6> creationDate{};                ///< CD: YYMMDD.
    StlField<6> revisionDate{};                ///< RD: the same.
    StlField<2> revisionNumber{"00"};          ///< RN
    StlField<5> blockCount{"00000"};           ///< TNB: TTI blocks.
    StlField<5> subtitleCount{"00000"};        ///< TNS
    StlField<3> groupCount{"001"};             ///< TNG
    StlField<2> charactersOfRow{"38"};         ///< MNC: the most that a row displays.
    StlField<2> rows{"23"};                    ///< MNR: the most that the screen displays.
    StlField<1> timeCodeStatus{"1"};           ///< TCS: 1 for time codes that are intended for use.
    StlField<8> startOfProgramme{"00000000"};  ///< TCP: time code.
    StlField<8> firstCue{"00000000"};          ///< TCF: time code.
    StlField<1> diskCount{"1"};                ///< TND
    StlField<1> diskNumber{"1"};               ///< DSN
    StlField<3> countryOfOrigin{};             ///< CO
    StlField<32> publisher{};                  ///< PUB
    StlField<32> editor{};                     ///< EN
    StlField<32> editorContact{};              ///< ECD
    StlField<75> spare{};                      ///< Reserved.
    StlField<576> userDefined{};               ///< UDA

    /// By the disk format code: STL23.01, STL24.01, STL25.01, STL30.01, STL50.01. The standard has 25 and 30.
    [[nodiscard]] QLX_EXPORT std::optional<FrameRate> rate() const noexcept;

    /// Whether all fields are equal.
    [[nodiscard]] friend bool operator==(const Gsi&, const Gsi&) noexcept = default;
};

/// Reads a GSI block from the first kGsiBytes of a file. Fails with StlTooShort. A code that is not defined and a number
/// that is none are findings (Remark where the field is blank, else Warning). Whatever stands in the fields is written
/// as the same bytes.
[[nodiscard]] QLX_EXPORT Result<Gsi> parseGsi(std::span<const std::uint8_t> bytes, FindingSink* findings = nullptr);

/// Writes a GSI block into `room` and gives its size: OutputTooSmall for a room that is smaller.
[[nodiscard]] QLX_EXPORT Result<std::size_t> writeGsi(const Gsi& gsi, std::span<std::uint8_t> room);
/// The same as a buffer of its own.
[[nodiscard]] QLX_EXPORT Data writeGsi(const Gsi& gsi);

/// Whether a block belongs to a set of subtitles that add up on the screen (CS).
enum class StlStatus : std::uint8_t { Single, First, Intermediate, Last };

/// A TTI block.
struct Tti {
    static constexpr std::uint8_t kLastExtension = 0xFF;   ///< No block of the same subtitle follows.
    static constexpr std::uint8_t kUserData = 0xFE;        ///< The text field is none.
    static constexpr std::uint8_t kMostExtensions = 0xEF;  ///< The highest number of a block that others follow.

    std::uint8_t group = 0;                                   ///< SGN
    std::uint16_t number = 0;                                 ///< SN
    std::uint8_t extensionNumber = kLastExtension;            ///< EBN
    StlStatus status = StlStatus::Single;                     ///< CS; other numbers are kept.
    StlTimeCode timeCodeIn;                                   ///< TCI
    StlTimeCode timeCodeOut;                                  ///< TCO
    std::uint8_t verticalPosition = 0;                        ///< VP: 1 to 23 for teletext.
    Alignment justification = Alignment::Center;              ///< JC; other numbers are kept.
    std::uint8_t commentFlag = 0;                             ///< CF: 1 for a comment, which is not displayed.
    std::array<std::uint8_t, kTtiTextBytes> text = unused();  ///< TF: characters and codes.

    /// Whether it has text to be displayed.
    [[nodiscard]] constexpr bool isSubtitle() const noexcept {
        return commentFlag == 0 && extensionNumber != kUserData;
    }

    /// Whether all fields are equal.
    [[nodiscard]] friend constexpr bool operator==(const Tti&, const Tti&) noexcept = default;

private:
    [[nodiscard]] static constexpr std::array<std::uint8_t, kTtiTextBytes> unused() noexcept {
        std::array<std::uint8_t, kTtiTextBytes> text{};
        text.fill(0x8F);
        return text;
    }
};

/// Reads a TTI block from its kTtiBytes; fails with StlTooShort. A number that is not defined is a finding (Warning).
/// Whatever stands in the fields is written as the same bytes.
/// @param offset Of the first byte, for the findings.
[[nodiscard]] QLX_EXPORT Result<Tti> parseTti(std::span<const std::uint8_t> bytes, FindingSink* findings = nullptr,
                                              std::uint64_t offset = 0);

/// Writes a TTI block into `room` and gives its size: OutputTooSmall for a room that is smaller.
[[nodiscard]] QLX_EXPORT Result<std::size_t> writeTti(const Tti& tti, std::span<std::uint8_t> room);
/// The same as a buffer of its own.
[[nodiscard]] QLX_EXPORT Data writeTti(const Tti& tti);

/// The cue of a block that is a subtitle; blocks of one subtitle are not joined.
///
/// A row ends at a line break (8Ah) or at the unused space (8Fh) behind the text, each of which may be the field's last
/// byte; what stands behind the last of them is not shown.
///
/// A row has one run and one colour: the last that its codes name, for all of it. Without one it has the colour of the
/// row before, the first row white; black is read as white. Italics, underline, boxes, flashing and double height have
/// no effect.
///
/// Characters are read as Latin (code table 00), whatever table the file names, and as deployed readers know them, not
/// as all of ISO/IEC 6937: characters and letters with a mark that these do not know become a space or the letter
/// without its mark, and some become others, without a finding. `docs/COMPATIBILITY.md` lists them
/// (QLXSTLFileReader::stringWithTTIEncodedData).
///
/// A row's number is that of the double-height rows of a teletext page: 1 for vertical position 3 or 4, up to 11 for
/// 23; the rows behind the first follow. A row outside of them, and all of a vertical position above 23, has none.
///
/// Impossible time codes are findings, as are codes that have no effect, text that is not shown and rows of text
/// without a number.
/// @param offset Of the block, for the findings.
[[nodiscard]] QLX_EXPORT Cue cueOf(const Tti& tti, FrameRate rate, FindingSink* findings = nullptr,
                                   std::uint64_t offset = 0);

/// A file. Points into the caller's bytes.
struct StlView {
    Gsi gsi;                               ///< The whole file's properties.
    std::span<const std::uint8_t> behind;  ///< All that stands behind the GSI block.

    /// How many whole TTI blocks are there, whatever the GSI block announces.
    [[nodiscard]] constexpr std::size_t blocks() const noexcept { return behind.size() / kTtiBytes; }
    /// Where a block begins in the file.
    [[nodiscard]] static constexpr std::uint64_t offsetOf(std::size_t index) noexcept {
        return kGsiBytes + std::uint64_t{index} * kTtiBytes;
    }
    /// A block; `index` is below blocks().
    [[nodiscard]] QLX_EXPORT Tti block(std::size_t index, FindingSink* findings = nullptr) const;
};

/// Reads a file's GSI block; the TTI blocks are read one by one. Fails with StlTooShort. Another count of blocks than is
/// announced, a block that is cut, and a character code table other than Latin, which cueOf() does not read, are
/// findings.
[[nodiscard]] QLX_EXPORT Result<StlView> parseStl(std::span<const std::uint8_t> bytes, FindingSink* findings = nullptr);

}  // namespace qlx::subtitles
