#include "cues/Encoding.h"

#include "io/Errors.h"
#include "io/Text.h"

#include <QLXClosedCaptionsUtilities/platform/Text.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <initializer_list>
#include <vector>

#include <iconv.h>

namespace qlx::tool {

namespace {

constexpr std::size_t kChunk = std::size_t{256} * 1024;

Failure tooLong(const std::string& name, std::size_t longest = kLongestSubtitleFile) {
    constexpr std::size_t kMebibyte = std::size_t{1024} * 1024;
    return failureIn(name, "longer than " + std::to_string(longest / kMebibyte) + " MiB: no subtitle file");
}

std::uint64_t lineBreaks(std::string_view text) {
    return static_cast<std::uint64_t>(std::count(text.begin(), text.end(), '\n'));
}

Failure badByte(const std::string& name, std::uint64_t line, std::uint64_t offset, const std::string& what) {
    return failureIn(name, "line " + std::to_string(line) + ", byte " + std::to_string(offset) + ": " + what);
}

void checkLength(const InputFile& file, std::size_t longest = kLongestSubtitleFile) {
    if (file.size().value_or(0) > longest) {
        throw tooLong(file.name(), longest);
    }
}

/// The bytes that the characters of an encoding are made of: behind one that is wrong the next one begins.
std::size_t unitOf(const std::string& encoding) {
    const std::string name = asciiLowercased(encoding);
    const auto isOne = [&name](std::initializer_list<std::string_view> beginnings) {
        return std::any_of(beginnings.begin(), beginnings.end(),
                           [&name](std::string_view beginning) { return name.starts_with(beginning); });
    };
    return isOne({"utf-32", "utf32", "ucs-4", "ucs4", "wchar_t"})                      ? 4
           : isOne({"utf-16", "utf16", "ucs-2", "ucs2", "unicode", "iso-10646-ucs-2"}) ? 2
                                                                                       : 1;
}

/// A conversion into UTF-8.
class Decoder {
public:
    enum class Stop { EndOfInput, PartOfCharacter, BadBytes, FullOutput };

    explicit Decoder(const std::string& encoding)
        // A slash would begin what iconv does with characters that it cannot convert.
        : _state(encoding.empty() || encoding.find('/') != std::string::npos
                     ? invalid()
                     : ::iconv_open("UTF-8", encoding.c_str())) {}
    ~Decoder() {
        if (isValid()) {
            ::iconv_close(_state);
        }
    }
    Decoder(const Decoder&) = delete;
    Decoder& operator=(const Decoder&) = delete;

    [[nodiscard]] bool isValid() const { return _state != invalid(); }

    /// Appends the text of `bytes`, whose taken part is removed.
    Stop take(std::string_view& bytes, std::string& text) {
        std::array<char, 4096> buffer{};
        char* out = buffer.data();
        std::size_t room = buffer.size();
        // iconv() does not change the bytes; its declaration is older than const.
        char* in = const_cast<char*>(bytes.data());
        std::size_t rest = bytes.size();
        const std::size_t result = ::iconv(_state, &in, &rest, &out, &room);
        const int error = errno;
        return stopOf(result, error, bytes, rest, text, std::string_view(buffer.data(), buffer.size() - room));
    }

    /// Appends what is still held back behind the last byte.
    void finish(std::string& text) {
        std::array<char, 64> buffer{};
        char* out = buffer.data();
        std::size_t room = buffer.size();
        (void)::iconv(_state, nullptr, nullptr, &out, &room);
        text.append(buffer.data(), buffer.size() - room);
    }

private:
    static iconv_t invalid() { return reinterpret_cast<iconv_t>(-1); }  // NOLINT: what iconv_open() gives

    static Stop stopOf(std::size_t result, int error, std::string_view& bytes, std::size_t rest, std::string& text,
                       std::string_view made) {
        text += made;
        bytes.remove_prefix(bytes.size() - rest);
        if (result != static_cast<std::size_t>(-1)) {
            return Stop::EndOfInput;
        }
        return error == E2BIG ? Stop::FullOutput : error == EINVAL ? Stop::PartOfCharacter : Stop::BadBytes;
    }

    iconv_t _state;
};

}  // namespace

class TextDecoder::State {
public:
    explicit State(const std::string& encoding) : _decoder(encoding), _unit(unitOf(encoding)) {}

    void take(std::string_view bytes, bool isEnd, std::string& text, const Bad& bad) {
        _kept += bytes;
        std::string_view rest = _kept;
        for (;;) {
            const std::size_t before = rest.size();
            const Decoder::Stop stop = _decoder.take(rest, text);
            _offset += before - rest.size();
            const bool isBad = stop == Decoder::Stop::BadBytes || (stop == Decoder::Stop::PartOfCharacter && isEnd);
            if (isBad && !rest.empty()) {
                bad(_offset, static_cast<std::uint8_t>(rest.front()));
                text += "\uFFFD";
                const std::size_t size = std::min(_unit, rest.size());
                rest.remove_prefix(size);
                _offset += size;
            } else if (stop != Decoder::Stop::FullOutput) {
                break;
            }
        }
        _kept = std::string(rest);
        if (isEnd) {
            _decoder.finish(text);
        }
    }

private:
    Decoder _decoder;
    std::size_t _unit;
    std::string _kept;  ///< May be the beginning of a character.
    std::uint64_t _offset = 0;
};

TextDecoder::TextDecoder(const std::string& encoding) : _state(std::make_unique<State>(encodingMeant(encoding))) {}
TextDecoder::~TextDecoder() = default;

void TextDecoder::take(std::string_view bytes, bool isEnd, std::string& text, const Bad& bad) {
    _state->take(bytes, isEnd, text, bad);
}

std::string byteInWords(std::uint8_t byte) {
    constexpr std::string_view kDigits = "0123456789ABCDEF";
    return {'0', 'x', kDigits[byte >> 4U], kDigits[byte & 15U]};
}

std::string encodingMeant(const std::string& name) {
    constexpr std::string_view kLatin1[] = {"iso-8859-1",      "iso8859-1", "iso88591", "iso_8859-1",  "8859_1",
                                            "latin1",          "l1",        "latin-1",  "csisolatin1", "iso-ir-100",
                                            "iso_8859-1:1987", "cp819",     "ibm819"};
    const std::string lower = asciiLowercased(name);
    const bool isLatin1 = std::find(std::begin(kLatin1), std::end(kLatin1), lower) != std::end(kLatin1);
    return isLatin1 ? "windows-1252" : name;
}

bool isKnownEncoding(const std::string& name) {
    return Decoder(encodingMeant(name)).isValid();
}

void throwTooLong(const InputFile& file, std::size_t longest) {
    throw tooLong(file.name(), longest);
}

std::string readWholeFile(InputFile& file, std::size_t longest) {
    checkLength(file, longest);
    std::string text;
    // At once, so that the text is never there twice; what is not written to takes no memory.
    text.reserve(static_cast<std::size_t>(file.size().value_or(longest)) + kChunk);
    for (;;) {
        const std::size_t had = text.size();
        text.resize(had + kChunk);
        const std::size_t got = file.read(std::span(reinterpret_cast<std::uint8_t*>(text.data()) + had, kChunk));
        text.resize(had + got);
        if (text.size() > longest) {
            throw tooLong(file.name(), longest);
        }
        if (got < kChunk) {
            return text;
        }
    }
}

std::string readEncodedFile(InputFile& file, const std::string& encoding) {
    checkLength(file);
    Decoder decoder(encodingMeant(encoding));
    std::string text;
    text.reserve(kLongestSubtitleFile + kChunk);
    std::vector<char> buffer(kChunk);
    std::size_t kept = 0;
    for (;;) {
        const std::size_t room = buffer.size() - kept;
        const std::size_t got = file.read(std::span(reinterpret_cast<std::uint8_t*>(buffer.data()) + kept, room));
        if (file.offset() > kLongestSubtitleFile) {
            throw tooLong(file.name());
        }
        std::string_view bytes(buffer.data(), kept + got);
        Decoder::Stop stop = Decoder::Stop::FullOutput;
        while (stop == Decoder::Stop::FullOutput) {
            stop = decoder.take(bytes, text);
            if (text.size() > kLongestSubtitleFile) {
                throw tooLong(file.name());
            }
        }
        const bool isEnd = got < room;
        if (stop == Decoder::Stop::BadBytes || (isEnd && !bytes.empty())) {
            throw badByte(file.name(), 1 + lineBreaks(text), file.offset() - bytes.size(),
                          byteInWords(static_cast<std::uint8_t>(bytes.front())) +
                              (stop == Decoder::Stop::BadBytes
                                   ? " is not " + encoding
                                   : " is the start of a character that the file's end cuts"));
        }
        if (isEnd) {
            decoder.finish(text);
            return text;
        }
        kept = bytes.size();
        std::copy(bytes.begin(), bytes.end(), buffer.begin());
    }
}

void checkUTF8(const std::string& name, std::string_view text) {
    const std::optional<std::size_t> bad = firstInvalidUTF8Byte(text);
    if (!bad) {
        return;
    }
    if (text.starts_with("\xFF\xFE") || text.starts_with("\xFE\xFF")) {
        throw failureAtByte(name, 0, "UTF-16, by its byte-order mark, and not UTF-8 (try --encoding UTF-16)");
    }
    throw badByte(name, 1 + lineBreaks(text.substr(0, *bad)), *bad,
                  byteInWords(static_cast<std::uint8_t>(text[*bad])) + " is not UTF-8 (try --encoding ISO-8859-1)");
}

}  // namespace qlx::tool
