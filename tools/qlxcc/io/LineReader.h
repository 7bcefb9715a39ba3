// Reading a text line by line, in bounded memory.
#pragma once

#include "io/InputFile.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace qlx::tool {

/// The longest line that is read.
inline constexpr std::size_t kLongestLine = std::size_t{2} * 1024 * 1024;

class LineReader {
public:
    /// @param source Read from where it stands; must outlive the reader.
    explicit LineReader(ByteSource& source) : _source(source) {}

    /// Reads the next line, without its end (a line feed, behind a carriage return or not).
    /// @return False at the end.
    /// @throws Failure when the line is longer than kLongestLine.
    bool next(std::string& line);

    /// The number of the last line, counted from 1.
    [[nodiscard]] std::uint64_t number() const noexcept { return _number; }

    [[nodiscard]] ByteSource& source() const noexcept { return _source; }

private:
    ByteSource& _source;
    std::vector<std::uint8_t> _buffer;
    std::size_t _begin = 0;
    bool _isAtEnd = false;
    std::uint64_t _number = 0;
};

}  // namespace qlx::tool
