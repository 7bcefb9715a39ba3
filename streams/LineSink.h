// Findings of what is in a packet, as those of the packet's line.
#pragma once

#include <qlx/base/finding.h>

#include <cstdint>

namespace qlx::streams::detail {

/// Passes findings on with a line as their offset.
class LineSink final : public FindingSink {
public:
    /// @param sink May be null.
    LineSink(FindingSink* sink, std::uint32_t line) noexcept : _sink(sink), _line(line) {}

    void add(const Finding& finding) override {
        if (_sink != nullptr) {
            Finding placed = finding;
            placed.offset = _line;
            _sink->add(placed);
        }
    }

private:
    FindingSink* _sink;
    std::uint32_t _line;
};

}  // namespace qlx::streams::detail
