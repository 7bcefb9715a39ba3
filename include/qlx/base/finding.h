// What a reader or writer has to say of something that is wrong, was left out, or needs a look.
//
//     qlx::Findings findings(10);   // keeps ten, and counts the rest
//     const auto cdp = qlx::cc::parseCdp(userData, &findings);
//     for (const qlx::Finding& finding : findings) { report(finding.offset, finding.text()); }
//     if (findings.rest() != 0) { report(findings.rest()); }
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>

#include <qlx/base/finding_code.h>

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace qlx {

/// How much a finding matters.
enum class Severity : std::uint8_t {
    Remark,   ///< Worth knowing; nothing is wrong.
    Warning,  ///< Something is wrong and was used all the same.
    Error,    ///< Something was left out, or could not be used.
};

/// One thing that was found. Small and trivially copyable: its words are made on demand.
struct Finding {
    FindingCode code = FindingCode::None;  ///< What was found.
    Severity severity = Severity::Error;   ///< How much it matters.
    std::uint64_t offset = 0;  ///< Byte at which it stands, counted from the beginning of the input; or its line.
    std::int64_t first = 0;    ///< As FindingCode says.
    std::int64_t second = 0;   ///< The same.

    /// Whether all fields are equal.
    [[nodiscard]] friend constexpr bool operator==(const Finding&, const Finding&) noexcept = default;

    /// One line in English, without the place: "checksum 1a2, but 2a3 is right".
    [[nodiscard]] QLX_EXPORT std::string text() const;
};

/// Takes findings one by one. What reads and writes gets a pointer to one, which may be null.
class FindingSink {
public:
    FindingSink() = default;
    virtual ~FindingSink() = default;

    /// Takes the next finding, in the order in which a reader or writer comes to them.
    virtual void add(const Finding& finding) = 0;

protected:
    /// Only as a part of what is copied.
    FindingSink(const FindingSink&) = default;
    /// The same.
    FindingSink& operator=(const FindingSink&) = default;
};

/// Passes findings on with the place of the part of the input that they are in, in place of their own.
class PlacedSink final : public FindingSink {
public:
    /// @param sink May be null; else it must outlive this.
    /// @param place What is the offset of all findings.
    explicit PlacedSink(FindingSink* sink, std::uint64_t place = 0) noexcept : _sink(sink), _place(place) {}

    /// The place of what is found from here on.
    void setPlace(std::uint64_t place) noexcept { _place = place; }

    /// Passes the finding on.
    void add(const Finding& finding) override {
        if (_sink != nullptr) {
            Finding placed = finding;
            placed.offset = _place;
            _sink->add(placed);
        }
    }

private:
    FindingSink* _sink;
    std::uint64_t _place;
};

/// Keeps findings, up to a number, and counts the rest.
class Findings final : public FindingSink {
public:
    /// As many are kept unless another number is asked for.
    static constexpr std::size_t kUsualLimit = 1000;

    /// Keeps none yet, and later at most `limit`.
    explicit Findings(std::size_t limit = kUsualLimit) noexcept : _limit(limit) {}

    /// Keeps the finding, or counts it.
    void add(const Finding& finding) override {
        if (_kept.size() < _limit) {
            _kept.push_back(finding);
        } else {
            ++_rest;
        }
    }

    /// Those that are kept; valid until the next change.
    [[nodiscard]] std::span<const Finding> kept() const noexcept { return _kept; }
    /// The first one that is kept.
    [[nodiscard]] auto begin() const noexcept { return _kept.begin(); }
    /// Behind the last one that is kept.
    [[nodiscard]] auto end() const noexcept { return _kept.end(); }
    /// Whether there was none.
    [[nodiscard]] bool empty() const noexcept { return _kept.empty() && _rest == 0; }
    /// How many are kept.
    [[nodiscard]] std::size_t size() const noexcept { return _kept.size(); }
    /// One that is kept; `index` is below size().
    [[nodiscard]] const Finding& operator[](std::size_t index) const noexcept { return _kept[index]; }

    /// How many more there were than are kept.
    [[nodiscard]] std::uint64_t rest() const noexcept { return _rest; }

    /// Forgets all of them.
    void clear() noexcept {
        _kept.clear();
        _rest = 0;
    }

private:
    std::size_t _limit;
    std::vector<Finding> _kept;
    std::uint64_t _rest = 0;
};

}  // namespace qlx
