// Bytes in memory where the tool reads a file.
#pragma once

#include "io/InputFile.h"

#include <algorithm>
#include <cstring>

namespace qlxtest {

class MemorySource final : public qlx::tool::NamedSource {
public:
    /// `bytes` must outlive the source.
    explicit MemorySource(std::span<const std::uint8_t> bytes) : _bytes(bytes) {}

    [[nodiscard]] const std::string& name() const override { return _name; }
    std::size_t read(std::span<std::uint8_t> to) override {
        ++calls;
        const std::size_t count = std::min(to.size(), _bytes.size() - _offset);
        if (count > 0) {
            std::memcpy(to.data(), _bytes.data() + _offset, count);
        }
        _offset += count;
        return count;
    }
    [[nodiscard]] std::span<const std::uint8_t> peek(std::size_t count) override {
        ++calls;
        return _bytes.subspan(_offset, std::min(count, _bytes.size() - _offset));
    }
    std::uint64_t skip(std::uint64_t count) override {
        const std::uint64_t skipped = std::min<std::uint64_t>(count, _bytes.size() - _offset);
        _offset += static_cast<std::size_t>(skipped);
        return skipped;
    }
    bool seek(std::uint64_t offset) override {
        if (offset > _bytes.size()) {
            return false;
        }
        _offset = static_cast<std::size_t>(offset);
        return true;
    }
    [[nodiscard]] std::uint64_t offset() const override { return _offset; }
    [[nodiscard]] std::optional<std::uint64_t> size() const override { return _bytes.size(); }

    std::uint64_t calls = 0;  ///< Of read() and peek().

private:
    std::span<const std::uint8_t> _bytes;
    std::size_t _offset = 0;
    std::string _name = "memory";
};

}  // namespace qlxtest
