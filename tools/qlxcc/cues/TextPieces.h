// A text file in UTF-8, piece by piece, whatever encoding it is in.
#pragma once

#include "cues/CueInput.h"
#include "cues/Encoding.h"
#include "io/InputFile.h"
#include "streams/InputKind.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qlx::tool {

/// The encoding of a text by its first bytes: by a byte order mark, as UTF-8 when all of it is, as UTF-16 by its zero
/// bytes, or else windows-1252.
/// @param isWhole Whether nothing stands behind them: a character may be cut else.
[[nodiscard]] std::string_view encodingOf(std::string_view first, bool isWhole) noexcept;

/// The encoding that the declaration of an XML text names; empty where there is none.
[[nodiscard]] std::string_view declaredEncodingOf(std::string_view first) noexcept;

/// What a file is that is a text of cues in any encoding; none for any other.
/// @param encoding Empty: what its bytes say.
[[nodiscard]] std::optional<InputKind> textKindOf(InputFile& file, const std::string& encoding);

/// Gives a text in UTF-8.
class TextPieces {
public:
    /// Finds out the encoding, in the whole file where it is one and no pipe, and says it and what told it when it is not
    /// UTF-8. In a pipe the first piece tells that has more than ASCII.
    /// @param encoding Empty: what the file says.
    TextPieces(InputFile& file, const std::string& encoding, CueInputNotes& notes);

    /// The next piece, valid until the next call; none at the end.
    [[nodiscard]] std::optional<std::string_view> next();

private:
    [[nodiscard]] std::string declaredEncoding();
    void findEncoding();
    void decide(std::string_view bytes, bool isWhole);
    void setEncoding(const std::string& name, std::string_view why);

    InputFile& _file;
    CueInputNotes& _notes;
    std::string _encoding;
    std::unique_ptr<TextDecoder> _decoder;  ///< None of UTF-8, in which the reader finds what is wrong.
    std::vector<std::uint8_t> _bytes;
    std::string _text;
    bool _isEnded = false;
    bool _isUndecided = false;  ///< All that has come is ASCII, and what follows has not been looked at.
};

}  // namespace qlx::tool
