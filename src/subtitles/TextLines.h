// The lines of a text file whose bytes come in pieces.
#pragma once

#include <qlx/base/limits.h>

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace qlx::subtitles {

/// What CR, CR and LF in a row are: some programs write them where CR and LF stood.
enum class DoubleReturn : std::uint8_t {
    TwoEnds,  ///< An end of a line, and that of an empty one.
    OneEnd,
};

/// Lines end in LF, CR, or CR and LF. Takes linear time, and memory for the longest piece and line.
class TextLines {
public:
    /// @param greatest Bytes of a line; what is longer is cut there.
    /// @param limits Of the file.
    explicit TextLines(std::size_t greatest, const ReadLimits& limits = {},
                       DoubleReturn doubleReturn = DoubleReturn::TwoEnds) noexcept
        : _greatest(greatest), _joinsReturns(doubleReturn == DoubleReturn::OneEnd), _budget(limits) {}

    /// What is left of the limits: who gives what the lines hold takes its items from it.
    [[nodiscard]] ReadBudget& budget() noexcept { return _budget; }

    /// Takes the next bytes. The line that was given before is no longer valid.
    void push(std::span<const std::uint8_t> bytes);

    /// Says that the file has ended.
    void finish() noexcept { _isFinished = true; }

    [[nodiscard]] bool isFinished() const noexcept { return _isFinished; }

    /// Gives the next line without its end, and without the byte order mark in front of the first.
    /// @param line Valid until the next call.
    /// @return False when more bytes are needed, or at the end.
    [[nodiscard]] bool next(std::string_view& line);

    /// The number of the line in hand, counted from 1.
    [[nodiscard]] std::uint64_t number() const noexcept { return _number; }

    /// Whether the line in hand is longer than may be.
    [[nodiscard]] bool isCut() const noexcept { return _isCut; }

private:
    /// Where a character stands next; no byte is looked at twice.
    struct Finder {
        char character;
        std::size_t place = 0;  ///< Where it stands, or as far as it has been looked for.
        bool isFound = false;

        [[nodiscard]] std::size_t next(const std::string& text, std::size_t begin);
        void moveBack(std::size_t bytes) noexcept {
            isFound = isFound && place >= bytes;
            place -= place < bytes ? place : bytes;
        }
    };

    [[nodiscard]] bool skipEnd();
    bool takeRest(std::string_view& line);
    void skipCutLine();

    std::size_t _greatest;
    bool _joinsReturns;
    ReadBudget _budget;
    std::string _buffer;
    std::size_t _begin = 0;
    Finder _feed{'\n'};
    Finder _return{'\r'};
    std::uint64_t _number = 0;
    bool _isFinished = false;
    bool _skipsFeed = false;  ///< A CR came before: a LF here belongs to it.
    bool _isCut = false;
    bool _skipsLine = false;  ///< The rest of a line that was cut is passed over.
};

/// Gives the next cue of a parser of lines as far as the limits allow.
template <class Cue, class Parser>
const Cue* nextWithinLimits(Parser& parser, FindingSink* findings) {
    ReadBudget& budget = parser.lines().budget();
    const Cue* const cue = budget.hasEnded() ? nullptr : parser.next();
    if (cue != nullptr && budget.takeItem()) {
        return cue;
    }
    if (const auto finding = budget.takeFinding(parser.lines().number()); finding && findings != nullptr) {
        findings->add(*finding);
    }
    return nullptr;
}

}  // namespace qlx::subtitles
