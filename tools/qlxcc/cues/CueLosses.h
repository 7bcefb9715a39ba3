// What a viewer does not see of a cue as it is written.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>

class QLXSubtitleRecord;

namespace qlx::tool {

class CueTransmission;

/// Compares cues with what a receiver shows of them: the library makes the bytes of a cue, the receivers of `show`
/// decode them. What has been learned of a character is kept, so that a long file is no burden.
class CueLosses {
public:
    /// @param mode 1 CEA-608, 2 teletext.
    explicit CueLosses(std::int32_t mode);

    /// With another way to the viewer.
    explicit CueLosses(std::unique_ptr<CueTransmission> transmission);
    ~CueLosses();
    CueLosses(const CueLosses&) = delete;
    CueLosses& operator=(const CueLosses&) = delete;

    /// `1 row left out: a teletext subtitle has 3 rows of 34 characters; @, ~ as ?`: rows and characters that are not
    /// sent, rows that are shown with another text, characters that are shown as others. Empty when nothing is lost.
    [[nodiscard]] std::string of(const std::shared_ptr<QLXSubtitleRecord>& cue);

private:
    struct Findings;

    void compareRow(std::string_view text, const std::u32string& received, std::size_t number, Findings& findings);
    const std::u32string& shownFor(std::string_view character);
    const std::u32string& receivedRow(std::string text);
    [[nodiscard]] std::string inWords(const Findings& findings) const;

    std::unique_ptr<CueTransmission> _transmission;
    std::size_t _greatestLength;                                ///< Characters of a row that are sent.
    std::unordered_map<std::string, std::u32string> _shown;     ///< By character.
    std::unordered_map<std::string, std::u32string> _received;  ///< By the bytes of a row: most characters have none
                                                                ///< of their own, and drawing a row takes long.
};

}  // namespace qlx::tool
