#include <QLXClosedCaptionsUtilities/platform/TextEncoding.h>

#include <QLXClosedCaptionsUtilities/platform/Text.h>

#include <array>
#include <cstddef>
#include <utility>

namespace qlx {

namespace {

/// Bytes that stand for consecutive characters.
struct Run {
    std::uint8_t first;
    std::uint8_t last;
    char16_t character;
};

/// The characters of the bytes 0xA0 to 0xFF; 0 where a set has none.
using UpperHalf = std::array<char16_t, 96>;

constexpr unsigned kFirstUpper = 0xA0;

template <std::size_t Count>
constexpr UpperHalf upperHalf(const std::array<Run, Count>& runs) {
    UpperHalf table{};
    for (const Run& run : runs) {
        for (unsigned byte = run.first; byte <= run.last; ++byte) {
            table[byte - kFirstUpper] = static_cast<char16_t>(run.character + (byte - run.first));
        }
    }
    return table;
}

constexpr UpperHalf kLatin1 = upperHalf(std::array{Run{0xA0, 0xFF, 0x00A0}});

constexpr UpperHalf kLatinCyrillic = upperHalf(std::array{
    Run{0xA0, 0xA0, 0x00A0},
    Run{0xA1, 0xAC, 0x0401},
    Run{0xAD, 0xAD, 0x00AD},
    Run{0xAE, 0xEF, 0x040E},
    Run{0xF0, 0xF0, 0x2116},  // numero sign
    Run{0xF1, 0xFC, 0x0451},
    Run{0xFD, 0xFD, 0x00A7},
    Run{0xFE, 0xFF, 0x045E},
});

constexpr UpperHalf kLatinArabic = upperHalf(std::array{
    Run{0xA0, 0xA0, 0x00A0},
    Run{0xA4, 0xA4, 0x00A4},
    Run{0xAC, 0xAC, 0x060C},
    Run{0xAD, 0xAD, 0x00AD},
    Run{0xBB, 0xBB, 0x061B},
    Run{0xBF, 0xBF, 0x061F},
    Run{0xC1, 0xDA, 0x0621},
    Run{0xE0, 0xF2, 0x0640},
});

constexpr UpperHalf kLatinGreek = upperHalf(std::array{
    Run{0xA0, 0xA0, 0x00A0},
    Run{0xA1, 0xA2, 0x2018},  // single quotation marks
    Run{0xA3, 0xA3, 0x00A3},
    Run{0xA4, 0xA4, 0x20AC},  // euro sign
    Run{0xA5, 0xA5, 0x20AF},  // drachma sign
    Run{0xA6, 0xA9, 0x00A6},
    Run{0xAA, 0xAA, 0x037A},
    Run{0xAB, 0xAD, 0x00AB},
    Run{0xAF, 0xAF, 0x2015},  // horizontal bar
    Run{0xB0, 0xB3, 0x00B0},
    Run{0xB4, 0xB6, 0x0384},
    Run{0xB7, 0xB7, 0x00B7},
    Run{0xB8, 0xBA, 0x0388},
    Run{0xBB, 0xBB, 0x00BB},
    Run{0xBC, 0xBC, 0x038C},
    Run{0xBD, 0xBD, 0x00BD},
    Run{0xBE, 0xD1, 0x038E},
    Run{0xD3, 0xFE, 0x03A3},
});

constexpr UpperHalf kLatinHebrew = upperHalf(std::array{
    Run{0xA0, 0xA0, 0x00A0}, Run{0xA2, 0xA9, 0x00A2}, Run{0xAA, 0xAA, 0x00D7}, Run{0xAB, 0xB9, 0x00AB},
    Run{0xBA, 0xBA, 0x00F7}, Run{0xBB, 0xBE, 0x00BB}, Run{0xDF, 0xDF, 0x2017},  // double low line
    Run{0xE0, 0xFA, 0x05D0}, Run{0xFD, 0xFE, 0x200E},                           // direction marks
});

/// Null for a set without bytes above 0x7F.
const UpperHalf* upperHalfOf(TextEncoding encoding) {
    switch (encoding) {
    case TextEncoding::Latin1:
        return &kLatin1;
    case TextEncoding::LatinCyrillic:
        return &kLatinCyrillic;
    case TextEncoding::LatinArabic:
        return &kLatinArabic;
    case TextEncoding::LatinGreek:
        return &kLatinGreek;
    case TextEncoding::LatinHebrew:
        return &kLatinHebrew;
    case TextEncoding::ASCII:
    case TextEncoding::UTF8:
        break;
    }
    return nullptr;
}

/// Appends a character of the Basic Multilingual Plane that is not a surrogate.
void appendCharacter(std::string& text, char16_t character) {
    const auto continuation = [&text](unsigned bits) { text += static_cast<char>(0x80U | (bits & 0x3FU)); };
    const unsigned value = character;
    if (value < 0x80) {
        text += static_cast<char>(value);
    } else if (value < 0x800) {
        text += static_cast<char>(0xC0U | value >> 6U);
        continuation(value);
    } else {
        text += static_cast<char>(0xE0U | value >> 12U);
        continuation(value >> 6U);
        continuation(value);
    }
}

}  // namespace

std::optional<std::string> decodedText(std::span<const std::uint8_t> bytes, TextEncoding encoding) {
    if (encoding == TextEncoding::UTF8) {
        std::string text(bytes.begin(), bytes.end());
        return firstInvalidUTF8Byte(text) ? std::nullopt : std::optional(std::move(text));
    }
    const UpperHalf* const upper = upperHalfOf(encoding);
    std::string text;
    text.reserve(bytes.size());
    for (const std::uint8_t byte : bytes) {
        char16_t character = byte;
        if (byte >= 0x80) {
            if (upper == nullptr) {
                return std::nullopt;
            }
            if (byte >= kFirstUpper) {
                character = (*upper)[byte - kFirstUpper];
                if (character == 0) {
                    return std::nullopt;
                }
            }
        }
        appendCharacter(text, character);
    }
    return text;
}

}  // namespace qlx
