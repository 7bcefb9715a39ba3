// Text files: how much of one is read, and the character encoding that it is in.
#pragma once

#include "io/InputFile.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace qlx::tool {

/// No subtitle file is longer than this; something else was named by mistake.
inline constexpr std::size_t kLongestSubtitleFile = std::size_t{64} * 1024 * 1024;

/// The encoding that is read as `name`: windows-1252 for all names of ISO-8859-1 (`latin1`), as texts that are said to be in
/// it are; it has characters in place of codes that no text has. Any other one is read as it is called.
[[nodiscard]] std::string encodingMeant(const std::string& name);

/// Whether texts can be read in the encoding called `name` (as iconv -l lists them).
[[nodiscard]] bool isKnownEncoding(const std::string& name);

/// Reads a whole file.
/// @param longest Bytes.
/// @throws Failure when it is longer than that: before anything is read where the size is known.
[[nodiscard]] std::string readWholeFile(InputFile& file, std::size_t longest = kLongestSubtitleFile);

/// @throws Failure: the file is longer than `longest` bytes.
[[noreturn]] void throwTooLong(const InputFile& file, std::size_t longest);

/// The same in UTF-8, out of the encoding called `encoding`; the text must not be longer than kLongestSubtitleFile
/// either.
/// @throws Failure that names the first byte that `encoding` does not have, with its line and offset.
[[nodiscard]] std::string readEncodedFile(InputFile& file, const std::string& encoding);

/// Converts a text into UTF-8 piece by piece.
class TextDecoder {
public:
    /// Gets the place of a byte that the encoding does not have, counted from 0, and the byte.
    using Bad = std::function<void(std::uint64_t offset, std::uint8_t byte)>;

    /// @param encoding One that is known; encodingMeant() it is.
    explicit TextDecoder(const std::string& encoding);
    ~TextDecoder();
    TextDecoder(const TextDecoder&) = delete;
    TextDecoder& operator=(const TextDecoder&) = delete;

    /// Appends the text of `bytes`, with U+FFFD in place of each byte that the encoding does not have. What may be the
    /// beginning of a character waits for the next call.
    void take(std::string_view bytes, bool isEnd, std::string& text, const Bad& bad);

private:
    class State;
    std::unique_ptr<State> _state;
};

/// `0xE9`
[[nodiscard]] std::string byteInWords(std::uint8_t byte);

/// @throws Failure that names the first byte that is not UTF-8, with its line and offset, and suggests an encoding.
void checkUTF8(const std::string& name, std::string_view text);

}  // namespace qlx::tool
