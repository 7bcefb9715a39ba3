// Findings of a part of the input, with their places in the whole of it.
#pragma once

#include <qlx/base/finding.h>

#include <cstdint>

namespace qlx {

/// Passes findings on with an offset that is greater by where their part begins.
class OffsetSink final : public FindingSink {
public:
    /// @param sink May be null; else it must outlive this.
    OffsetSink(FindingSink* sink, std::uint64_t begin) noexcept : _sink(sink), _begin(begin) {}

    void add(const Finding& finding) override {
        if (_sink != nullptr) {
            Finding placed = finding;
            placed.offset += _begin;
            _sink->add(placed);
        }
    }

private:
    FindingSink* _sink;
    std::uint64_t _begin;
};

}  // namespace qlx
