// What is said of damage in a container.
#pragma once

#include <qlx/base/finding.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace qlx::streams::detail {

/// Passes on what is wrong, but not the same again and again, and not for every packet of a file that is nothing but
/// damage.
class ContainerFindings final : public FindingSink {
public:
    /// As many findings are passed on.
    static constexpr std::size_t kMost = 20;

    /// Where they go from now on; may be null.
    void setSink(FindingSink* sink) noexcept { _sink = sink; }

    void add(const Finding& finding) override { add(finding, {}); }

    /// The same with words of a library.
    void add(const Finding& finding, const std::string& words);

    /// Passes on what is said once in a file, or has a bound of its own.
    void addAlways(const Finding& finding) {
        if (_sink != nullptr) {
            _sink->add(finding);
        }
    }

    /// Passes on what a demuxer has to say, each in its own words.
    /// @param place Near which byte it says so.
    void addForeign(std::uint64_t place, const std::vector<std::string>& texts);

    /// For a long stretch without a packet that is read: a demuxer says nothing of what it passes over while it looks for
    /// the next one.
    void addGap(std::uint64_t begin, std::uint64_t end);

    /// Keeps words that belong to a finding which ends the reading; not without end for who never takes them.
    void keepWords(const std::string& words) {
        if (_words.size() <= 2 * kMost) {
            _words.push_back(words);
        }
    }

    /// The words for the findings of a library that have been passed on since the last call.
    [[nodiscard]] std::vector<std::string> takeWords() { return std::exchange(_words, {}); }

private:
    FindingSink* _sink = nullptr;
    std::optional<Finding> _last;
    std::string _lastWords;
    std::size_t _count = 0;
    std::vector<std::string> _words;
};

/// Passes on what is found in a sample, as being where that is in the file.
class FindingsAt final : public FindingSink {
public:
    FindingsAt(ContainerFindings& findings, std::uint64_t place) noexcept : _findings(findings), _place(place) {}

    void add(const Finding& finding) override {
        Finding placed = finding;
        placed.offset = _place;
        _findings.addAlways(placed);
    }

private:
    ContainerFindings& _findings;
    std::uint64_t _place;
};

}  // namespace qlx::streams::detail
