#include "cues/TextPieces.h"

#include "io/EncodingGuess.h"
#include "io/Errors.h"
#include "io/Module.h"

#include <QLXClosedCaptionsUtilities/platform/Text.h>
#include <qlx/base/utf8.h>

#include <algorithm>

namespace qlx::tool {

namespace {

constexpr std::size_t kTextPiece = std::size_t{64} * 1024;
constexpr std::size_t kLongestCharacter = 4;

/// UTF-16 by its zero bytes: text has characters below U+0100 in most places, of which every other byte is zero.
std::string_view wideEncodingOf(std::string_view first) noexcept {
    std::size_t even = 0;
    std::size_t odd = 0;
    for (std::size_t index = 0; index < first.size(); ++index) {
        (index % 2 == 0 ? even : odd) += first[index] == '\0' ? 1 : 0;
    }
    constexpr std::size_t kSome = 5;
    const std::size_t enough = first.size() / kSome;
    return odd > enough && even <= odd / kSome ? "UTF-16LE" : even > enough && odd <= even / kSome ? "UTF-16BE" : "";
}

/// What a text is in that nothing tells the encoding of.
constexpr std::string_view kLastEncoding = "windows-1252";

bool isAscii(std::string_view text) noexcept {
    return std::all_of(text.begin(), text.end(), [](char byte) { return static_cast<unsigned char>(byte) < 0x80; });
}

/// What the module guesses; empty when it is not there, names none that is known, or one that does not have the bytes.
std::string guessedEncoding(std::string_view bytes) {
    std::string name;
    try {
        name = module<EncodingGuess>().of(bytes);
    } catch (const Failure&) {
        return {};
    }
    if (name.starts_with("WINDOWS-")) {
        name = asciiLowercased(name);
    }
    if (name == "ISO-8859-1") {
        name = kLastEncoding;
    }
    if (name.empty() || name == "ASCII" || !isKnownEncoding(name)) {
        return {};
    }
    // Of this the reader finds what is wrong.
    if (name == "UTF-8") {
        return name;
    }
    bool isWrong = false;
    std::string text;
    TextDecoder(name).take(bytes, false, text, [&isWrong](std::uint64_t, std::uint8_t) { isWrong = true; });
    return isWrong && name != kLastEncoding ? std::string() : name;
}

}  // namespace

std::string_view encodingOf(std::string_view first, bool isWhole) noexcept {
    if (first.starts_with(kByteOrderMark)) {
        return "UTF-8";
    }
    constexpr std::string_view kLittleEndian("\xFF\xFE\0\0", 4);
    constexpr std::string_view kBigEndian("\0\0\xFE\xFF", 4);
    if (first.starts_with(kLittleEndian) || first.starts_with(kBigEndian)) {
        return "UTF-32";
    }
    if (first.starts_with("\xFF\xFE") || first.starts_with("\xFE\xFF")) {
        return "UTF-16";
    }
    if (const std::string_view wide = wideEncodingOf(first); !wide.empty()) {
        return wide;
    }
    const auto bad = firstInvalidUTF8Byte(first);
    const bool isCut = bad && !isWhole && first.size() - *bad < kLongestCharacter;
    return !bad || isCut ? "UTF-8" : kLastEncoding;
}

std::optional<InputKind> textKindOf(InputFile& file, const std::string& encoding) {
    const auto bytes = file.peek(kBytesThatTellKind);
    const std::string_view first(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    const auto told = inputKindOfBytes(bytes);
    if (told) {
        return hasCues(*told) ? told : std::nullopt;
    }
    const std::string name = encoding.empty() ? std::string(encodingOf(first, false)) : encoding;
    std::string text;
    TextDecoder(name).take(first, false, text, [](std::uint64_t, std::uint8_t) {});
    const auto kind = inputKindOfBytes({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
    if (kind && hasCues(*kind) && kind != InputKind::Stl) {
        return kind;
    }
    const auto named = inputKindOfName(file.name());
    const bool isText = text.find("-->") != std::string::npos && text.find('\0') == std::string::npos;
    return isText && !(named && hasRows(*named)) ? std::optional(InputKind::Srt) : std::nullopt;
}

std::string_view declaredEncodingOf(std::string_view first) noexcept {
    constexpr std::string_view kBlanks = " \t\r\n";
    if (!first.starts_with("<?xml")) {
        return {};
    }
    first = first.substr(0, first.find("?>"));
    constexpr std::string_view kName = "encoding";
    const std::size_t name = first.find(kName);
    first.remove_prefix(name == std::string_view::npos ? first.size() : name + kName.size());
    first.remove_prefix(std::min(first.find_first_not_of(kBlanks), first.size()));
    if (!first.starts_with('=')) {
        return {};
    }
    first.remove_prefix(1);
    first.remove_prefix(std::min(first.find_first_not_of(kBlanks), first.size()));
    const char quote = first.empty() ? '\0' : first.front();
    const std::size_t end = quote == '"' || quote == '\'' ? first.find(quote, 1) : std::string_view::npos;
    return end == std::string_view::npos ? std::string_view() : first.substr(1, end - 1);
}

TextPieces::TextPieces(InputFile& file, const std::string& encoding, CueInputNotes& notes)
    : _file(file), _notes(notes), _encoding(encoding) {
    if (_encoding.empty()) {
        findEncoding();
    } else {
        setEncoding(_encoding, {});
    }
}

/// The encoding that an XML text names; empty where it names none, or one that it cannot be in.
std::string TextPieces::declaredEncoding() {
    const auto bytes = _file.peek(kBytesThatTellKind);
    const std::string declared(declaredEncodingOf({reinterpret_cast<const char*>(bytes.data()), bytes.size()}));
    const std::string lower = asciiLowercased(declared);
    // A declaration that can be read byte by byte is none of these.
    const bool isWide = lower.starts_with("utf-16") || lower.starts_with("utf-32") || lower.starts_with("iso-10646") ||
                        lower.starts_with("ucs");
    if (!declared.empty() && (isWide || !isKnownEncoding(declared))) {
        _notes.say("the encoding " + declared + ", which the text says that it is in, is " +
                       (isWide ? "not that of its bytes" : "not known"),
                   false);
        return {};
    }
    return lower == "utf-8" ? "UTF-8" : declared;
}

/// Looks at the whole file where that is possible: the first letter beyond ASCII may come late.
void TextPieces::findEncoding() {
    if (const std::string declared = declaredEncoding(); !declared.empty()) {
        setEncoding(declared, "it says so itself");
        return;
    }
    const auto peeked = _file.peek(kTextPiece);
    const std::string_view first(reinterpret_cast<const char*>(peeked.data()), peeked.size());
    const bool isAll = peeked.size() < kTextPiece;
    if (isAll || encodingOf(first, isAll) != "UTF-8" || first.starts_with(kByteOrderMark)) {
        decide(first, isAll);
        return;
    }
    if (!_file.size()) {
        _isUndecided = isAscii(first);
        return;
    }
    std::vector<std::uint8_t> piece(kTextPiece);
    std::string kept;
    std::string other;
    for (std::size_t got = kTextPiece; got == kTextPiece && other.empty();) {
        got = _file.read(piece);
        kept.append(reinterpret_cast<const char*>(piece.data()), got);
        const auto bad = firstInvalidUTF8Byte(kept);
        const bool isCut = bad && got == kTextPiece && kept.size() - *bad < kLongestCharacter;
        other = bad && !isCut ? kept : std::string();
        kept = isCut ? kept.substr(*bad) : std::string();
    }
    if (_file.seek(0) && !other.empty()) {
        decide(other, true);
    }
}

/// Sets the encoding of a text with these bytes, and says what told it.
void TextPieces::decide(std::string_view bytes, bool isWhole) {
    const std::string name(encodingOf(bytes, isWhole));
    if (name != kLastEncoding) {
        const bool isMarked = name == "UTF-16" || name == "UTF-32";
        setEncoding(name, isMarked ? "its byte order mark says so" : "its zero bytes say so");
        return;
    }
    const std::string guessed = guessedEncoding(bytes);
    if (guessed == "UTF-8") {
        _notes.say("the text is read as UTF-8, which not all of it is: libuchardet takes it for that (--encoding says "
                   "another one)",
                   false);
    }
    setEncoding(guessed.empty() ? name : guessed,
                guessed.empty() ? "nothing tells another one" : "libuchardet takes it for that");
}

/// @param why Empty where it is asked for.
void TextPieces::setEncoding(const std::string& name, std::string_view why) {
    _encoding = name;
    const std::string lower = asciiLowercased(name);
    if (lower == "utf-8" || lower == "utf8") {
        return;
    }
    const std::string meant = encodingMeant(name);
    if (!why.empty() || meant != name) {
        _notes.say("the text is read as " + meant + (meant == name ? "" : ", which stands for " + name) +
                       (why.empty() ? "" : ": " + std::string(why) + " (--encoding says another one)"),
                   false);
    }
    _decoder = std::make_unique<TextDecoder>(name);
}

std::optional<std::string_view> TextPieces::next() {
    if (_isEnded) {
        return std::nullopt;
    }
    _bytes.resize(kTextPiece);
    const std::size_t got = _file.read(_bytes);
    _isEnded = got < kTextPiece;
    const std::string_view bytes(reinterpret_cast<const char*>(_bytes.data()), got);
    if (_isUndecided && !isAscii(bytes)) {
        _isUndecided = false;
        decide(bytes, _isEnded);
    }
    if (_decoder == nullptr) {
        return bytes;
    }
    _text.clear();
    _decoder->take(bytes, _isEnded, _text, [this](std::uint64_t offset, std::uint8_t byte) {
        _notes.say("byte " + std::to_string(offset) + ": " + byteInWords(byte) + " is not " + _encoding +
                       ": it becomes U+FFFD",
                   true);
    });
    return _text;
}

}  // namespace qlx::tool
