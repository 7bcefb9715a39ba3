#include <qlx/subtitles/stl.h>

#include "subtitles/StlCharacters.h"
#include "subtitles/StlText.h"
#include "subtitles/TextEditing.h"

#include <cstring>
#include <string>
#include <utility>

namespace qlx::subtitles {

namespace {

using enum FindingCode;
using Bytes = std::span<const std::uint8_t>;

/// What a field of the GSI block holds.
enum class Content : std::uint8_t { Text, Number, TimeCode, CodePage, DiskFormat, Standard, Table, Language, Status };

/// Walks the fields in their order.
template <class Take, class Fields>
constexpr void walk(Fields& gsi, Take&& take) {
    take(gsi.codePageNumber, Content::CodePage);
    take(gsi.diskFormatCode, Content::DiskFormat);
    take(gsi.displayStandard, Content::Standard);
    take(gsi.characterTable, Content::Table);
    take(gsi.languageCode, Content::Language);
    take(gsi.originalProgrammeTitle, Content::Text);
    take(gsi.originalEpisodeTitle, Content::Text);
    take(gsi.translatedProgrammeTitle, Content::Text);
    take(gsi.translatedEpisodeTitle, Content::Text);
    take(gsi.translator, Content::Text);
    take(gsi.translatorContact, Content::Text);
    take(gsi.listReference, Content::Text);
    take(gsi.creationDate, Content::Number);
    take(gsi.revisionDate, Content::Number);
    take(gsi.revisionNumber, Content::Number);
    take(gsi.blockCount, Content::Number);
    take(gsi.subtitleCount, Content::Number);
    take(gsi.groupCount, Content::Number);
    take(gsi.charactersOfRow, Content::Number);
    take(gsi.rows, Content::Number);
    take(gsi.timeCodeStatus, Content::Status);
    take(gsi.startOfProgramme, Content::TimeCode);
    take(gsi.firstCue, Content::TimeCode);
    take(gsi.diskCount, Content::Number);
    take(gsi.diskNumber, Content::Number);
    take(gsi.countryOfOrigin, Content::Text);
    take(gsi.publisher, Content::Text);
    take(gsi.editor, Content::Text);
    take(gsi.editorContact, Content::Text);
    take(gsi.spare, Content::Text);
    take(gsi.userDefined, Content::Text);
}

/// Bytes of the fields in front of one, or of all when it is none of them.
constexpr std::size_t sizeInFrontOf(const Gsi& gsi, const void* wanted) {
    std::size_t size = 0;
    bool isFound = false;
    walk(gsi, [&](const auto& field, Content) {
        isFound = isFound || &field == wanted;
        size += isFound ? 0 : field.characters.size();
    });
    return size;
}

constexpr Gsi kUsual;
static_assert(sizeInFrontOf(kUsual, nullptr) == kGsiBytes);
static_assert(sizeInFrontOf(kUsual, &kUsual.diskFormatCode) == kDiskFormatOffset);
static_assert(sizeInFrontOf(kUsual, &kUsual.characterTable) == kCharacterTableOffset);
static_assert(sizeInFrontOf(kUsual, &kUsual.blockCount) == kBlockCountOffset);

struct DiskFormat {
    std::string_view code;
    FrameRate rate;
};

constexpr std::array kDiskFormats{DiskFormat{"STL23.01", FrameRate::Fps23976}, DiskFormat{"STL24.01", FrameRate::Fps24},
                                  DiskFormat{"STL25.01", FrameRate::Fps25}, DiskFormat{"STL30.01", FrameRate::Fps30},
                                  DiskFormat{"STL50.01", FrameRate::Fps50}};

bool isDigit(char character) noexcept {
    return character >= '0' && character <= '9';
}

bool isHexDigit(char character) noexcept {
    return isDigit(character) || (character >= 'A' && character <= 'F') || (character >= 'a' && character <= 'f');
}

/// The codes that a field can have, each as long as the field; none for a field without codes.
constexpr std::string_view codesOf(Content content) noexcept {
    switch (content) {
    case Content::CodePage:
        return "437850860863865";
    case Content::Standard:
        return " 012";
    case Content::Table:
        return "0001020304";
    case Content::Status:
        return "01";
    default:
        return {};
    }
}

bool isOneOf(std::string_view codes, std::string_view code) noexcept {
    for (std::size_t place = 0; place < codes.size(); place += code.size()) {
        if (codes.substr(place, code.size()) == code) {
            return true;
        }
    }
    return false;
}

std::int64_t bigEndian(std::string_view characters) noexcept {
    std::uint64_t number = 0;
    for (const char character : characters) {
        number = number << 8U | static_cast<std::uint8_t>(character);
    }
    return static_cast<std::int64_t>(number);
}

/// What is wrong with a field.
template <std::size_t Size>
Finding wrongIn(const StlField<Size>& field, Content content, std::uint8_t framesPerSecond) noexcept {
    const Severity severity = field.isBlank() ? Severity::Remark : Severity::Warning;
    const auto size = static_cast<std::int64_t>(Size);
    if (const std::string_view codes = codesOf(content); !codes.empty()) {
        return isOneOf(codes, field.text()) ? Finding{}
                                            : Finding{StlFieldUnknown, severity, 0, bigEndian(field.text()), size};
    }
    if (content == Content::Language && !std::all_of(field.characters.begin(), field.characters.end(), &isHexDigit)) {
        return {StlFieldUnknown, severity, 0, bigEndian(field.text()), size};
    }
    if (content == Content::Number || content == Content::TimeCode) {
        const auto wrong = std::find_if_not(field.characters.begin(), field.characters.end(), &isDigit);
        if (wrong != field.characters.end()) {
            return {StlNumberWrong, severity, 0, static_cast<std::uint8_t>(*wrong), size};
        }
    }
    if constexpr (Size == 8) {
        const auto timeCode = content == Content::TimeCode ? timeCodeOf(field) : std::nullopt;
        constexpr std::uint8_t kAnyFrames = 100;
        if (timeCode && !timeCode->isPossible(framesPerSecond == 0 ? kAnyFrames : framesPerSecond)) {
            return {StlTimeCodeWrong, severity, 0, timeCode->number(), framesPerSecond};
        }
    }
    return {};
}

// A TTI block.
constexpr std::size_t kGroup = 0;
constexpr std::size_t kNumber = 1;  // low byte first
constexpr std::size_t kExtensionNumber = 3;
constexpr std::size_t kStatus = 4;
constexpr std::size_t kTimeCodeIn = 5;
constexpr std::size_t kTimeCodeOut = 9;
constexpr std::size_t kVerticalPosition = 13;
constexpr std::size_t kJustification = 14;
constexpr std::size_t kCommentFlag = 15;
constexpr std::size_t kText = 16;

constexpr std::uint8_t kGreatestStatus = 3;
constexpr std::uint8_t kGreatestJustification = 3;
constexpr std::uint8_t kGreatestCommentFlag = 1;

StlTimeCode timeCodeAt(const std::uint8_t* bytes) noexcept {
    return {bytes[0], bytes[1], bytes[2], bytes[3]};
}

std::array<std::uint8_t, kTtiTextBytes> textAt(const std::uint8_t* bytes) noexcept {
    std::array<std::uint8_t, kTtiTextBytes> text;
    std::memcpy(text.data(), bytes, text.size());
    return text;
}

/// Made in one go: a file has many blocks.
Tti ttiAt(const std::uint8_t* bytes) noexcept {
    return {.group = bytes[kGroup],
            .number = static_cast<std::uint16_t>(bytes[kNumber] | bytes[kNumber + 1] << 8U),
            .extensionNumber = bytes[kExtensionNumber],
            .status = static_cast<StlStatus>(bytes[kStatus]),
            .timeCodeIn = timeCodeAt(bytes + kTimeCodeIn),
            .timeCodeOut = timeCodeAt(bytes + kTimeCodeOut),
            .verticalPosition = bytes[kVerticalPosition],
            .justification = static_cast<Alignment>(bytes[kJustification]),
            .commentFlag = bytes[kCommentFlag],
            .text = textAt(bytes + kText)};
}

void storeTimeCode(const StlTimeCode& timeCode, std::uint8_t* bytes) noexcept {
    bytes[0] = timeCode.hours;
    bytes[1] = timeCode.minutes;
    bytes[2] = timeCode.seconds;
    bytes[3] = timeCode.frames;
}

void checkNumbers(const Tti& tti, FindingSink& findings, std::uint64_t offset) {
    const auto check = [&](FindingCode code, std::size_t place, unsigned number, unsigned greatest) {
        if (number > greatest) {
            findings.add({code, Severity::Warning, offset + place, number, greatest});
        }
    };
    if (tti.extensionNumber > Tti::kMostExtensions && tti.extensionNumber < Tti::kUserData) {
        findings.add(
            {StlExtensionNumberReserved, Severity::Warning, offset + kExtensionNumber, tti.extensionNumber, 0});
    }
    check(StlStatusUnknown, kStatus, static_cast<unsigned>(tti.status), kGreatestStatus);
    check(StlJustificationUnknown, kJustification, static_cast<unsigned>(tti.justification), kGreatestJustification);
    check(StlCommentFlagUnknown, kCommentFlag, tti.commentFlag, kGreatestCommentFlag);
}

void writeTo(const Gsi& gsi, std::uint8_t* bytes) noexcept {
    std::size_t offset = 0;
    walk(gsi, [&](const auto& field, Content) {
        std::memcpy(bytes + offset, field.characters.data(), field.characters.size());
        offset += field.characters.size();
    });
}

void writeTo(const Tti& tti, std::uint8_t* bytes) noexcept {
    bytes[kGroup] = tti.group;
    bytes[kNumber] = static_cast<std::uint8_t>(tti.number);
    bytes[kNumber + 1] = static_cast<std::uint8_t>(tti.number >> 8U);
    bytes[kExtensionNumber] = tti.extensionNumber;
    bytes[kStatus] = static_cast<std::uint8_t>(tti.status);
    storeTimeCode(tti.timeCodeIn, bytes + kTimeCodeIn);
    storeTimeCode(tti.timeCodeOut, bytes + kTimeCodeOut);
    bytes[kVerticalPosition] = tti.verticalPosition;
    bytes[kJustification] = static_cast<std::uint8_t>(tti.justification);
    bytes[kCommentFlag] = tti.commentFlag;
    std::memcpy(bytes + kText, tti.text.data(), tti.text.size());
}

Finding tooSmall(std::size_t needed, std::size_t there) noexcept {
    return {OutputTooSmall, Severity::Error, 0, static_cast<std::int64_t>(needed), static_cast<std::int64_t>(there)};
}

Finding tooShort(std::uint64_t offset, std::size_t needed, std::size_t there) noexcept {
    return {StlTooShort, Severity::Error, offset, static_cast<std::int64_t>(needed), static_cast<std::int64_t>(there)};
}

// Italics, underline and boxes of open subtitling, on and off.
constexpr std::uint8_t kFirstStyle = 0x80;
constexpr std::uint8_t kLastStyle = 0x85;

/// Makes the rows of a text field.
class RowMaker {
public:
    RowMaker(const Tti& tti, std::vector<Row>& rows) : _tti(tti), _rows(rows) {}

    void run() {
        const stl::TextEnd end = stl::walkBytes(_tti.text, *this);
        _unshown = end == stl::TextEnd::Missing ? _used : 0;
    }

    void color(std::int32_t constant) noexcept { _color = constant; }
    void character(std::uint8_t byte) noexcept { _line[_used++] = byte; }
    void passed(std::uint8_t code) noexcept {
        Passed& codes = code >= kFirstStyle && code <= kLastStyle ? _styles : _layout;
        codes.first = codes.count++ == 0 ? code : codes.first;
    }
    void lineEnd() {
        Row row;
        std::string text = stl::decodedLine(std::span(_line).first(_used)).value_or(std::string());
        _used = 0;
        if (_tti.justification != Alignment::Unchanged) {
            text = std::string(trimmed(text));
        }
        // Some characters have a zero byte in front of them, as deployed hosts expect.
        std::erase(text, '\0');
        row.runs.push_back({std::move(text), {}});
        row.runs.front().style.foreground = screen::kBasicColors[static_cast<std::size_t>(_color)];
        row.number = rowAt(_rows.size());
        _offPage += row.number == 0 && !row.runs.front().text.empty() ? 1 : 0;
        row.alignment = _tti.justification;
        _rows.push_back(std::move(row));
    }

    void report(FindingSink& findings, std::uint64_t offset) const {
        const auto report = [&](FindingCode code, const Passed& codes) {
            if (codes.count > 0) {
                findings.add({code, Severity::Remark, offset + kText, codes.first, codes.count});
            }
        };
        report(StlCodesPassed, _layout);
        report(StlStylesPassed, _styles);
        if (_offPage > 0) {
            findings.add(
                {StlRowsOffPage, Severity::Warning, offset + kVerticalPosition, _tti.verticalPosition, _offPage});
        }
        if (_unshown > 0) {
            findings.add({StlTextUnended, Severity::Warning, offset + kText, static_cast<std::int64_t>(_unshown), 0});
        }
    }

private:
    /// The row on the page; 0 when it has none such.
    [[nodiscard]] std::uint64_t rowAt(std::size_t index) const noexcept {
        const std::uint64_t row = stl::firstRow(_tti.verticalPosition) + index;
        return _tti.verticalPosition <= kTeletextRows && row <= kTallTeletextRows ? row : 0;
    }

    const Tti& _tti;
    std::vector<Row>& _rows;
    std::array<std::uint8_t, kTtiTextBytes> _line{};
    std::size_t _used = 0;
    std::size_t _unshown = 0;
    std::int32_t _color = stl::kWhite;
    /// Codes that nothing is made of.
    struct Passed {
        std::uint8_t first = 0;
        std::int64_t count = 0;
    };

    Passed _layout;  ///< Boxes, heights and the like of teletext.
    Passed _styles;  ///< Italics, underline and boxes of open subtitling.
    std::int64_t _offPage = 0;
};

}  // namespace

std::optional<StlTimeCode> timeCodeOf(const StlField<8>& field) noexcept {
    const auto& digits = field.characters;
    if (!std::all_of(digits.begin(), digits.end(), &isDigit)) {
        return std::nullopt;
    }
    const auto pair = [&digits](std::size_t place) {
        return static_cast<std::uint8_t>((digits[place] - '0') * 10 + (digits[place + 1] - '0'));
    };
    return StlTimeCode{pair(0), pair(2), pair(4), pair(6)};
}

std::optional<FrameRate> Gsi::rate() const noexcept {
    for (const DiskFormat& format : kDiskFormats) {
        if (format.code == diskFormatCode.text()) {
            return format.rate;
        }
    }
    return std::nullopt;
}

Result<Gsi> parseGsi(std::span<const std::uint8_t> bytes, FindingSink* findings) {
    if (bytes.size() < kGsiBytes) {
        return tooShort(0, kGsiBytes, bytes.size());
    }
    Result<Gsi> result(std::in_place);
    Gsi& gsi = *result;
    std::size_t offset = 0;
    walk(gsi, [&](auto& field, Content) {
        std::memcpy(field.characters.data(), bytes.data() + offset, field.characters.size());
        offset += field.characters.size();
    });
    if (findings == nullptr) {
        return result;
    }
    const auto rate = gsi.rate();
    offset = 0;
    walk(std::as_const(gsi), [&](const auto& field, Content content) {
        Finding wrong = wrongIn(field, content, rate ? nominalFramesPerSecond(*rate) : std::uint8_t{0});
        if (content == Content::DiskFormat && !rate) {
            wrong = {StlDiskFormatUnknown, Severity::Warning, 0, bigEndian(field.text()), 0};
        }
        if (wrong.code != None) {
            wrong.offset = offset;
            findings->add(wrong);
        }
        offset += field.characters.size();
    });
    return result;
}

Result<std::size_t> writeGsi(const Gsi& gsi, std::span<std::uint8_t> room) {
    if (room.size() < kGsiBytes) {
        return tooSmall(kGsiBytes, room.size());
    }
    writeTo(gsi, room.data());
    return kGsiBytes;
}

Data writeGsi(const Gsi& gsi) {
    return Data::make(kGsiBytes, [&gsi](std::uint8_t* bytes) { writeTo(gsi, bytes); });
}

Result<Tti> parseTti(std::span<const std::uint8_t> bytes, FindingSink* findings, std::uint64_t offset) {
    if (bytes.size() < kTtiBytes) {
        return tooShort(offset, kTtiBytes, bytes.size());
    }
    const Tti tti = ttiAt(bytes.data());
    if (findings != nullptr) {
        checkNumbers(tti, *findings, offset);
    }
    return tti;
}

Result<std::size_t> writeTti(const Tti& tti, std::span<std::uint8_t> room) {
    if (room.size() < kTtiBytes) {
        return tooSmall(kTtiBytes, room.size());
    }
    writeTo(tti, room.data());
    return kTtiBytes;
}

Data writeTti(const Tti& tti) {
    return Data::make(kTtiBytes, [&tti](std::uint8_t* bytes) { writeTo(tti, bytes); });
}

Cue cueOf(const Tti& tti, FrameRate rate, FindingSink* findings, std::uint64_t offset) {
    Cue cue;
    cue.number = tti.number;
    cue.start = tti.timeCodeIn.time(rate);
    cue.end = tti.timeCodeOut.time(rate);
    RowMaker rows(tti, cue.rows);
    rows.run();
    if (findings == nullptr) {
        return cue;
    }
    const std::uint8_t frames = nominalFramesPerSecond(rate);
    for (const auto& [timeCode, place] :
         {std::pair(tti.timeCodeIn, kTimeCodeIn), std::pair(tti.timeCodeOut, kTimeCodeOut)}) {
        if (!timeCode.isPossible(frames)) {
            findings->add({StlTimeCodeWrong, Severity::Warning, offset + place, timeCode.number(), frames});
        }
    }
    if (cue.end.value <= cue.start.value) {
        findings->add({StlEndNotLater, Severity::Warning, offset + kTimeCodeOut, tti.timeCodeIn.number(),
                       tti.timeCodeOut.number()});
    }
    rows.report(*findings, offset);
    return cue;
}

Tti StlView::block(std::size_t index, FindingSink* findings) const {
    Tti tti = ttiAt(behind.subspan(index * kTtiBytes, kTtiBytes).data());
    if (findings != nullptr) {
        checkNumbers(tti, *findings, offsetOf(index));
    }
    return tti;
}

Result<StlView> parseStl(std::span<const std::uint8_t> bytes, FindingSink* findings) {
    const Result<Gsi> gsi = parseGsi(bytes, findings);
    if (!gsi) {
        return gsi.error();
    }
    const StlView view{*gsi, bytes.subspan(kGsiBytes)};
    if (findings != nullptr) {
        // Another code than those that are defined is one of parseGsi's findings.
        const std::int64_t table = gsi->characterTable.number();
        if (table != 0 && isOneOf(codesOf(Content::Table), gsi->characterTable.text())) {
            findings->add({StlTableNotRead, Severity::Warning, kCharacterTableOffset, table, 0});
        }
        const std::int64_t announced = gsi->blockCount.number();
        const auto there = static_cast<std::int64_t>(view.blocks());
        if (announced != there) {
            findings->add({StlBlockCountWrong, announced > there ? Severity::Error : Severity::Warning,
                           kBlockCountOffset, announced, there});
        }
        if (const std::size_t cut = view.behind.size() % kTtiBytes; cut != 0) {
            findings->add({StlBlockCut, Severity::Error, StlView::offsetOf(view.blocks()), std::int64_t{kTtiBytes},
                           static_cast<std::int64_t>(cut)});
        }
    }
    return view;
}

}  // namespace qlx::subtitles
