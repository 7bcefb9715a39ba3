// Saying what was found while cues were made into packets.
#pragma once

#include <qlx/base/finding.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace qlx::tool {

/// Keeps the words of findings, the first ten of a kind, until they are said: `film.srt: cue 7: caption is shown 3 frames
/// late, 2 pairs short`. Remarks are said as well.
class CueNotes final : public FindingSink {
public:
    /// @param name Of the file.
    /// @param namesSystems Findings of CEA-608 and CEA-708 say which of the two they are of; what both of them find of a
    /// cue is said once.
    explicit CueNotes(std::string name, bool namesSystems = false)
        : _name(std::move(name)), _namesSystems(namesSystems) {}

    /// All of a kind are said, not the first ten.
    void sayAll() noexcept { _saysAll = true; }

    /// The next cue; the offset of findings counts from the first one on.
    void addCue(std::uint64_t number) { addCue(number, _name); }

    /// The same of another file.
    void addCue(std::uint64_t number, const std::string& name);

    /// Findings up to the next call are about this, and not about cues; an empty one takes it back.
    void setPlace(std::string place) { _place = std::move(place); }

    void add(const Finding& finding) override;

    /// Whether there was more than remarks.
    [[nodiscard]] bool isLossy() const;

    /// Says what came since the last call.
    void say();

    /// Says how many more there were of each kind; called behind the last one.
    void finish();

private:
    static constexpr std::uint64_t kShown = 10;

    struct Kind {
        std::uint64_t count = 0;
        std::string text;       ///< Of the first one.
        bool isRemark = false;  ///< The same.
    };

    struct Cue {
        std::uint64_t number = 0;
        std::size_t name = 0;  ///< Of its file, its place.
    };

    /// What was found in CEA-608.
    struct OfLine21 {
        std::uint64_t offset = 0;
        std::string text;
        FindingCode code = FindingCode::None;
        std::optional<std::size_t> note;  ///< Its place among those that are not said yet, if it is one of them.
    };

    [[nodiscard]] std::string noteOf(const Finding& finding, const std::string& text) const;

    /// Whether CEA-608 has found the same of the cue; it is said of both, then.
    bool joinWithLine21(const Finding& finding);

    std::string _name;
    bool _namesSystems;
    bool _saysAll = false;
    std::string _place;
    std::vector<Cue> _cues;
    std::vector<std::string> _names;  ///< Of the cues' files.
    std::vector<std::string> _notes;
    std::vector<OfLine21> _ofLine21;  ///< Of the last cue that had something.
    std::map<FindingCode, Kind> _kinds;
};

}  // namespace qlx::tool
