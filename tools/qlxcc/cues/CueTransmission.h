// The way of a cue's rows to a viewer: sent by the library, and shown by a receiver.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

class QLXSubtitleRecord;

namespace qlx::tool {

/// What is shown of the rows of a cue that are sent, in the cue's order; none for a row that is not to be seen.
using ShownRows = std::vector<std::optional<std::u32string>>;

class CueTransmission {
public:
    CueTransmission() = default;
    virtual ~CueTransmission() = default;
    CueTransmission(const CueTransmission&) = delete;
    CueTransmission& operator=(const CueTransmission&) = delete;

    /// `a caption`
    [[nodiscard]] virtual std::string_view name() const = 0;

    /// The most rows of a cue that are sent.
    [[nodiscard]] virtual std::size_t rows() const = 0;

    /// @param cue Not null.
    [[nodiscard]] virtual ShownRows shown(const std::shared_ptr<QLXSubtitleRecord>& cue) = 0;

    /// The bytes of a row's text on the way: rows with the same ones are shown alike.
    [[nodiscard]] virtual std::string bytesOf(const std::string& text) = 0;

    /// Takes what makes one character of the row off the front of `text`, which is not empty.
    [[nodiscard]] virtual std::string_view takeCharacter(std::string_view& text) const = 0;

    /// How much of a row's length is taken by a character that is shown as `shown`.
    [[nodiscard]] virtual std::size_t lengthOf(std::u32string_view shown) const = 0;

    /// The characters in the first `length` ones of `text` whose bytes are torn apart on the way, each once.
    [[nodiscard]] virtual std::vector<std::string> torn(std::string_view text, std::size_t length) const = 0;
};

/// @param mode 1 CEA-608, 2 teletext.
[[nodiscard]] std::unique_ptr<CueTransmission> makeTransmission(std::int32_t mode);

}  // namespace qlx::tool
