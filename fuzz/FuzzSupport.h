// What the fuzz targets share.
#pragma once

#include <QLXClosedCaptionsUtilities/platform/Services.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace qlxfuzz {

/// Ends the run, so that the fuzzer keeps the input, when something that must hold does not.
inline void require(bool holds) {
    if (!holds) {
        std::abort();
    }
}

/// Swallows the library's messages while it lives.
class SilentConsole {
public:
    SilentConsole() : _scope(_console) {}

private:
    class Console : public qlx::Console {
    public:
        void print(std::string_view) override {}
        void log(std::string_view) override {}
    };

    Console _console;
    qlx::ScopedService<qlx::Console> _scope;
};

/// Gives the same bytes for every path while it lives.
class OneFile final : public qlx::FileReader {
public:
    explicit OneFile(qlx::Data content) : _content(std::move(content)) {}
    qlx::Data contentsOfFile(const std::string& /*path*/) override { return _content; }

private:
    qlx::Data _content;
    qlx::ScopedService<qlx::FileReader> _service{*this};
};

/// Parameters taken off the front of an input; zeros when it is used up. The rest is copied into an allocation of
/// exactly its size, so that the address sanitizer sees one byte too far.
class Input {
public:
    Input(const std::uint8_t* data, std::size_t size) : _bytes(data, size) {}

    std::uint8_t takeByte() {
        if (_bytes.empty()) {
            return 0;
        }
        const std::uint8_t byte = _bytes.front();
        _bytes = _bytes.subspan(1);
        return byte;
    }

    [[nodiscard]] bool empty() const { return _bytes.empty(); }
    [[nodiscard]] std::vector<std::uint8_t> rest() const { return {_bytes.begin(), _bytes.end()}; }

private:
    std::span<const std::uint8_t> _bytes;
};

/// A packet whose bytes sum up to 0: what is behind the input's first byte, whose last byte is made right when that
/// first one is odd.
inline std::vector<std::uint8_t> takePacket(Input& input) {
    const bool isRepaired = (input.takeByte() & 1U) != 0;
    std::vector<std::uint8_t> bytes = input.rest();
    if (isRepaired && !bytes.empty()) {
        unsigned sum = 0;
        bytes.back() = 0;
        for (const std::uint8_t byte : bytes) {
            sum += byte;
        }
        bytes.back() = static_cast<std::uint8_t>(0U - sum);
    }
    return bytes;
}

}  // namespace qlxfuzz
