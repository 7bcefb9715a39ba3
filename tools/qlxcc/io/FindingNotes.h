// Saying what was found in a file, some of each kind.
#pragma once

#include "io/Progress.h"

#include <qlx/base/finding.h>

#include <cstdint>
#include <functional>
#include <limits>
#include <map>
#include <string>
#include <utility>

namespace qlx::tool {

/// Says the first ten findings of a kind, and in the end how many more there were. Remarks are not said.
class FindingNotes final : public FindingSink {
public:
    /// @param name Of the file.
    /// @param saysRemarks Remarks as well; by default they are passed over.
    /// @param saysAll Not ten of a kind.
    FindingNotes(std::string name, Progress& progress, bool saysRemarks = false, bool saysAll = false)
        : _name(std::move(name)), _progress(progress), _saysRemarks(saysRemarks),
          _shown(saysAll ? std::numeric_limits<std::uint64_t>::max() : kShown) {}

    /// Where the next findings are: `frame 3, line 9`.
    void setPlace(std::string place) { _place = std::move(place); }

    void add(const Finding& finding) override;

    /// Whether add() would print this one now: what it stands behind is to be written first.
    [[nodiscard]] bool prints(const Finding& finding) const;

    /// Whether nothing came but what is passed over.
    [[nodiscard]] bool isEmpty() const noexcept { return !_hasFound; }

    /// Called behind the last one.
    void finish();

private:
    static constexpr std::uint64_t kShown = 10;

    struct Kind {
        std::uint64_t count = 0;
        std::string text;  ///< Of the first one.
    };

    std::string _name;
    Progress& _progress;
    bool _saysRemarks;
    std::uint64_t _shown;    ///< Of a kind.
    bool _hasFound = false;  ///< More than remarks.
    std::string _place;
    std::map<FindingCode, Kind> _kinds;
};

/// Prints the first ten findings of each kind as notes, how many more of it there were, and how many beyond those that are
/// kept.
/// @param place Of all of them: `a.txt: section 3`.
/// @param inWords The note of one of them; empty for one of which nothing is said.
void noteFindings(const std::string& place, const Findings& findings,
                  const std::function<std::string(const Finding&)>& inWords);

/// The same as words: `3 more findings`.
[[nodiscard]] std::string restInWords(const Findings& findings);

}  // namespace qlx::tool
