// Writing cues as an EBU STL file.
#pragma once

#include "cues/StartTimes.h"
#include "io/Rates.h"

#include <qlx/base/finding.h>
#include <qlx/subtitles/stl_writer.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace qlx::tool {

struct CueInput;

/// What a file says besides its cues, where it is another thing than usual, or than a file that is read says.
struct StlOutputOptions {
    std::optional<std::string> title;      ///< UTF-8, as all texts.
    std::optional<std::string> episode;    ///< Its title.
    std::optional<std::string> publisher;  ///< Name.
    std::optional<std::string> reference;  ///< Of the list of subtitles.
    std::optional<std::string> country;    ///< Three letters.
    std::optional<std::string> language;   ///< Its code in the file.
    std::optional<std::string> table;      ///< Character code table: `00` to `04`.
    std::optional<std::string> date;       ///< Of making and revising it: YYMMDD.
    std::optional<Rate> rate;              ///< 25, 29.97 or 30.
    bool isDrop = false;                   ///< At 29.97 the time codes leave numbers out.
    bool isOpen = false;                   ///< Open subtitling.
    bool isSingleHeight = false;           ///< Rows of teletext.
};

/// Whether a rate is one of those that STL files have.
[[nodiscard]] bool isStlRate(const Rate& rate) noexcept;

/// How the labels of a file count that is made of such a one.
[[nodiscard]] LabelCounting stlCounting(const StlOutputOptions& options, const CueInput& input) noexcept;

/// Takes cues, and has the whole file in the end: its head counts them. A file has 12.8 MB at most.
class StlOutput {
public:
    /// @param start Of the programme, known with the first cue; must outlive this, as the options.
    StlOutput(const StlOutputOptions& options, const std::optional<MediaTime>& start, FindingSink* findings)
        : _options(options), _start(start), _findings(findings) {}

    /// @return False when the cue is left out.
    bool write(subtitles::Cue cue, const CueInput& input);

    /// The bytes of the file.
    [[nodiscard]] std::string finish(const CueInput& input);

private:
    subtitles::StlWriter& writer(const CueInput& input);
    void setTexts(subtitles::Gsi& gsi) const;
    void relabel(MediaTime& time) const;

    const StlOutputOptions& _options;
    const std::optional<MediaTime>& _start;
    FindingSink* _findings;
    std::optional<subtitles::StlWriter> _writer;
    std::optional<Rate> _rate;
    std::vector<std::uint8_t> _blocks;
};

}  // namespace qlx::tool
